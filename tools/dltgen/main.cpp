// dlt-gen: writes a large, deterministic stored DLT log for tests and benchmarks.
//
//   dlt-gen --records N [--version 1|2] [--layout A|B|C] [--start SECONDS] [--step MICROSECONDS]
//           [--seed S] --out FILE
//   dlt-gen --catalogue FILE
//
// Records mix sizes (a few bytes to about a kilobyte of payload), levels, application and
// context ids, verbose argument types and non-verbose messages; the same arguments give the same
// file. Record n is stored at START + n * STEP (by default 1700000000 s and 1733 us), a version 2
// storage time in LAYOUT (TimeLayout, dlt_record.h; A by default). Records are drawn from a pool
// of encoded records whose counter and time stamps are rewritten (Stamp), so that writing runs at
// disk speed. The catalogue holds one record of every argument type, message type and header
// option (catalogue.h).
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "catalogue.h"
#include "dlt_record.h"

namespace {

using zel::dltgen::Arg;
using zel::dltgen::Put;
using zel::dltgen::Record;
using zel::dltgen::TimeLayout;

struct Timing {
    uint64_t start;
    uint64_t step;  // microseconds
    TimeLayout layout;
};

struct Random {
    uint64_t state;
    uint64_t Next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    uint64_t Below(uint64_t n) { return Next() % n; }
    std::string Bytes(std::size_t n) {
        std::string bytes(n, '\0');
        for (char& ch : bytes) {
            ch = static_cast<char>(Next());
        }
        return bytes;
    }
};

std::string Text(Random& random, std::size_t length) {
    static const char kWords[] = "sensor bus frame timeout retry value ok state engine door speed ";
    std::string text;
    while (text.size() < length) {
        text += kWords[random.Below(sizeof(kWords) - 1)];
    }
    return text;
}

Record MakeRecord(Random& random, int version) {
    static const char* kApps[] = {"ENG", "BRK", "DOOR", "HMI", "NAV", "DIAG", "PWR", "CAM"};
    static const char* kContexts[] = {"MAIN", "CAN", "IO", "NET", "CTRL", "STAT"};
    Record r;
    r.version = version;
    r.apid = kApps[random.Below(8)];
    r.ctid = kContexts[random.Below(6)];
    r.typeInfo = static_cast<uint8_t>(1 + random.Below(6));
    const uint64_t shape = random.Below(100);
    if (shape < 55) {
        r.args = {Arg::String(Text(random, 8 + random.Below(random.Below(10) == 0 ? 900 : 90)))};
    } else if (shape < 75) {
        r.args = {Arg::String(Text(random, 5 + random.Below(20))), Arg::Int(static_cast<int32_t>(random.Next()), 4),
                  Arg::Uint(random.Next(), 8)};
    } else if (shape < 85) {
        r.args = {Arg::String("value"), Arg::Float64(static_cast<double>(random.Below(100000)) / 7.0),
                  Arg::Bool(random.Below(2) == 1), Arg::Hex(random.Next() & 0xFFFF, 2)};
    } else if (shape < 93) {
        r.args = {Arg::String("frame"), Arg::Raw(random.Bytes(4 + random.Below(60)))};
    } else {
        r.verbose = false;
        r.messageId = static_cast<uint32_t>(random.Below(5000));
        const std::string data = random.Bytes(4 + random.Below(40));
        r.payload = version == 1 ? std::string(reinterpret_cast<const char*>(&r.messageId), 4) + data : data;
    }
    return r;
}

// Gives an encoded record the counter and the time stamps of the Nth record of the file.
void Stamp(std::string& s, int version, uint64_t n, const Timing& timing) {
    const uint64_t micros = n * timing.step;
    const uint64_t seconds = micros / 1000000;
    const uint64_t nanos = micros % 1000000 * 1000;
    if (version == 1) {
        s[17] = static_cast<char>(n);
        Put(s, 4, timing.start + seconds, 4, false);
        Put(s, 8, micros % 1000000, 4, false);
        Put(s, 24, micros / 100, 4, true);  // after the standard header's ECU id
    } else {
        // the base header follows the storage header; a verbose record's time stamp its MSIN and NOAR
        const std::size_t base = 14 + static_cast<unsigned char>(s[13]);
        const std::size_t timestampAt = base + 7 + ((s[base] & 3) == 0 ? 2 : 0);
        s[base + 4] = static_cast<char>(n);
        zel::dltgen::PutStorageTime(s, 4, timing.start + seconds, static_cast<uint32_t>(nanos), timing.layout);
        Put(s, timestampAt, 0x80000000u | nanos, 4, true);
        Put(s, timestampAt + 4, seconds, 5, true);
    }
}

int WriteCatalogue(const char* path) {
    std::string bytes;
    for (const Record& record : zel::dltgen::Catalogue()) {
        bytes += zel::dltgen::Encode(record);
    }
    std::FILE* file = std::fopen(path, "wb");
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() || std::fclose(file) != 0) {
        std::perror(path);
        return 1;
    }
    return 0;
}

int Usage(const char* program) {
    std::fprintf(stderr,
                 "usage: %s --records N [--version 1|2] [--layout A|B|C] [--start SECONDS] [--step MICROSECONDS]\n"
                 "           [--seed S] --out FILE\n       %s --catalogue FILE\n",
                 program, program);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::string> options = {
        {"--records", "0"}, {"--version", "1"}, {"--layout", "A"}, {"--start", "1700000000"},
        {"--step", "1733"}, {"--seed", "1"},    {"--out", ""}};
    for (int i = 1; i + 1 < argc; i += 2) {
        const auto option = options.find(argv[i]);
        if (option != options.end()) {
            option->second = argv[i + 1];
        } else if (std::strcmp(argv[i], "--catalogue") == 0 && argc == 3) {
            return WriteCatalogue(argv[i + 1]);
        } else {
            return Usage(argv[0]);
        }
    }
    const uint64_t records = std::strtoull(options["--records"].c_str(), nullptr, 10);
    const int version = std::atoi(options["--version"].c_str());
    const uint64_t seed = std::strtoull(options["--seed"].c_str(), nullptr, 10);
    const std::string out = options["--out"];
    const std::string layout = options["--layout"];
    const Timing timing{std::strtoull(options["--start"].c_str(), nullptr, 10),
                        std::strtoull(options["--step"].c_str(), nullptr, 10),
                        static_cast<TimeLayout>(layout.empty() ? 0 : layout[0] - 'A')};
    if (argc % 2 == 0 || records == 0 || out.empty() || (version != 1 && version != 2) || layout.size() != 1 ||
        layout[0] < 'A' || layout[0] > 'C') {
        return Usage(argv[0]);
    }

    Random random{seed * 0x9E3779B97F4A7C15ULL + 1};
    std::vector<std::string> pool;
    for (int i = 0; i < 4096; ++i) {
        pool.push_back(zel::dltgen::Encode(MakeRecord(random, version)));
    }
    std::FILE* file = std::fopen(out.c_str(), "wb");
    if (file == nullptr) {
        std::perror(out.c_str());
        return 1;
    }
    std::vector<char> buffer(1 << 20);  // glibc ignores the size without a buffer
    std::setvbuf(file, buffer.data(), _IOFBF, buffer.size());
    uint64_t bytes = 0;
    for (uint64_t n = 0; n < records; ++n) {
        std::string& s = pool[random.Below(pool.size())];
        Stamp(s, version, n, timing);
        bytes += std::fwrite(s.data(), 1, s.size(), file);
    }
    if (std::fclose(file) != 0) {
        std::perror(out.c_str());
        return 1;
    }
    std::printf("%llu records, %llu bytes\n", static_cast<unsigned long long>(records),
                static_cast<unsigned long long>(bytes));
    return 0;
}
