// Converts arbitrary bytes as a stored log file, standard output discarded: once whole, and once
// in follow mode that goes back to the last few records (0..3, from the size) and is stopped
// when the first pass flushes its text, before it starts following.
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <iostream>
#include <streambuf>
#include <string>

#include "log_convert_service.h"

namespace {

// Discards what it receives; a flush stops the service given.
struct StopAtFlush : std::streambuf {
    zel::clt::LogConvertService* service = nullptr;
    std::streamsize xsputn(const char* /*text*/, std::streamsize count) override { return count; }
    int overflow(int c) override { return traits_type::not_eof(c); }
    int sync() override {
        if (service != nullptr) {
            service->Stop();
        }
        return 0;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/zel-fuzz-convert-" + std::to_string(getpid()) + ".log";
    std::ofstream(path, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(data), size);
    StopAtFlush out;
    std::streambuf* const saved = std::cout.rdbuf(&out);
    for (const bool follow : {false, true}) {
        zel::clt::LogConvertService service({follow, true, true, static_cast<int32_t>(size % 4), path});
        out.service = follow ? &service : nullptr;
        service.ConvertLogFile();
    }
    std::cout.rdbuf(saved);
    unlink(path.c_str());
    return 0;
}
