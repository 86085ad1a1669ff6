// Converts arbitrary bytes as a stored log file, standard output discarded: once whole, and once
// in follow mode that goes back to the last few records (0..3, from the size) and is stopped
// before it starts following.
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <iostream>
#include <string>

#include "log_convert_service.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/zel-fuzz-convert-" + std::to_string(getpid()) + ".log";
    std::ofstream(path, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(data), size);
    std::streambuf* const saved = std::cout.rdbuf(nullptr);  // a stream without a buffer writes nothing
    for (const bool follow : {false, true}) {
        zel::clt::LogConvertService service({follow, true, true, static_cast<int32_t>(size % 4), path});
        if (follow) service.Stop();
        service.ConvertLogFile();
    }
    std::cout.rdbuf(saved);
    unlink(path.c_str());
    return 0;
}
