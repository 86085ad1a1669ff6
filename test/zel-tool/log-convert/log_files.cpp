#include "log_files.h"

#include <stdlib.h>

#include <cstdio>
#include <ctime>
#include <filesystem>

#include "process.h"

namespace zel::test {
namespace {

constexpr long kBaseSeconds = 1700000000;

std::string PayloadText(int i, std::size_t size) {
    std::string text = "record " + std::to_string(i) + " ";
    while (text.size() < size) {
        text += static_cast<char>('a' + text.size() % 26);
    }
    return text.substr(0, std::max(size, text.size()));
}

}  // namespace

dltgen::Record Numbered(int i, std::size_t payloadSize) {
    dltgen::Record r;
    r.mcnt = static_cast<uint8_t>(i % 256);
    r.timestamp = static_cast<uint32_t>(i) * 10000;
    r.seconds = kBaseSeconds + i;
    r.args = {dltgen::Arg::String(PayloadText(i, payloadSize))};
    return r;
}

std::string LineOf(int i, std::size_t payloadSize) {
    const time_t stored = kBaseSeconds + i;
    tm utc{};
    gmtime_r(&stored, &utc);
    char text[128];
    std::snprintf(text, sizeof(text), "%d.000000 %04d/%02d/%02d %02d:%02d:%02d.000000 %03d APP CTX info [", i,
                  utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, i % 256);
    return text + PayloadText(i, payloadSize) + "]\n";
}

std::string Records(int first, int last, std::size_t payloadSize) {
    std::string bytes;
    for (int i = first; i <= last; ++i) {
        bytes += dltgen::Encode(Numbered(i, payloadSize));
    }
    return bytes;
}

std::string Lines(int first, int last, std::size_t payloadSize) {
    std::string lines;
    for (int i = first; i <= last; ++i) {
        lines += LineOf(i, payloadSize);
    }
    return lines;
}

std::string DiscardLine(std::size_t bytes) {
    return "Log file cannot be parse completely. Discard " + std::to_string(bytes) + " bytes.\n";
}

TempDir::TempDir() {
    char pattern[] = "/tmp/zel-convert-XXXXXX";
    dir_ = mkdtemp(pattern);
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
}

std::string TempDir::Write(const std::string& name, const std::string& bytes) const {
    WriteFile(Path(name), bytes);
    return Path(name);
}

}  // namespace zel::test
