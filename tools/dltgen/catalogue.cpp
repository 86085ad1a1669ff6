#include "catalogue.h"

#include <limits>
#include <string>
#include <utility>

namespace zel::dltgen {
namespace {

// One argument of every type, at every width, signs and special values included; bytes above
// 0x7F wherever text or raw data can hold them.
std::vector<Arg> EveryArgument() {
    using Float = std::numeric_limits<float>;
    using Double = std::numeric_limits<double>;
    const std::string sixteen("\x01\x23\x45\x67\x89\xAB\xCD\xEF\xFE\xDC\xBA\x98\x76\x54\x32\x10", 16);
    std::vector<Arg> args = {Arg::String("plain text"), Arg::String(std::string("line\r\nends\0after NUL", 20)),
                             Arg::String("utf-8 \xC3\xBC\xE2\x82\xAC", true), Arg::Bool(true), Arg::Bool(false)};
    args.insert(args.end(),
                {Arg::Float32(-1.5f), Arg::Float32(Float::quiet_NaN()), Arg::Float32(-Float::infinity()),
                 Arg::Float64(6.02214076e23), Arg::Float64(-Double::quiet_NaN()), Arg::Float64(Double::denorm_min())});
    args.insert(args.end(), {Arg::Raw(std::string("\x00\x7F\x80\xFF", 4)), Arg::Uint128(sixteen),
                             Arg::Int(42, 4).Named("speed", "km/h"), Arg::String("named").Named("label"),
                             Arg::Bool(true).Named("flag")});
    for (const int bytes : {1, 2, 4, 8}) {
        const uint64_t top = 1ULL << (8 * bytes - 1);
        const auto max = static_cast<int64_t>(top - 1);
        args.insert(args.end(), {Arg::Int(-max - 1, bytes), Arg::Int(max, bytes), Arg::Int(-1, bytes),
                                 Arg::Uint(top | 1, bytes), Arg::Hex(top | 0x5A, bytes), Arg::Bin(top | 0x5A, bytes)});
    }
    return args;
}

}  // namespace

std::vector<Record> Catalogue() {
    std::vector<Record> records;
    const std::vector<Arg> args = EveryArgument();
    auto add = [&records](Record r) {
        const auto n = static_cast<uint32_t>(records.size());
        r.mcnt = static_cast<uint8_t>(n);
        r.seconds = 1700000000 + n;
        r.subseconds = r.version == 1 ? n * 12345 % 1000000 : n * 7654321 % 1000000000;
        records.push_back(std::move(r));
    };
    for (const int version : {1, 2}) {
        Record base;
        base.version = version;
        for (const bool bigEndian : version == 1 ? std::vector<bool>{false, true} : std::vector<bool>{false}) {
            Record r = base;
            r.bigEndian = bigEndian;
            for (const Arg& arg : args) {
                r.args = {arg};
                add(r);
            }
            r.args = args;
            add(r);
            r.args.back().value.pop_back();  // an argument list that ends early shows the rest in hex
            add(r);
        }
        const std::vector<std::pair<MessageType, int>> types = {{MessageType::kLog, 0},
                                                                {MessageType::kLog, 6},
                                                                {MessageType::kLog, 9},
                                                                {MessageType::kAppTrace, 1},
                                                                {MessageType::kNwTrace, 2}};
        Record typed = base;
        typed.apid = "A\xE4";
        typed.ctid = "\xFF\x01";
        typed.args = {Arg::String("typed")};
        for (const auto& [type, info] : types) {
            typed.type = type;
            typed.typeInfo = static_cast<uint8_t>(info);
            add(typed);
        }
        Record control = base;
        control.type = MessageType::kControl;
        control.verbose = false;
        // requests carry no status; responses one, named or not, and maybe more bytes
        const std::vector<std::pair<uint8_t, std::string>> services = {
            {1, std::string("\x01\0\0\0LOG\0TEST\x04remo", 17)},
            {2, std::string("\x03\0\0\0\x02\x07\x08", 7)},
            {2, std::string("\x13\0\0\0\xEE", 5)},
            {2, std::string("\xF0\0\0\0", 4)}};
        for (const auto& [info, payload] : services) {
            control.typeInfo = info;
            control.payload = payload;
            add(control);
        }
        Record plain = base;  // non-verbose, without ids or time stamp
        plain.verbose = false;
        plain.extended = false;
        plain.withEcuId = false;
        plain.timestamp.reset();
        plain.messageId = 0x89ABCDEF;
        plain.payload = version == 1 ? std::string("\xEF\xCD\xAB\x89\x00\x80\xFF", 7) : std::string("\x00\x80\xFF", 3);
        add(plain);
    }
    Record v2;  // every optional field of the version 2 extension header
    v2.version = 2;
    v2.sessionId = 0xDEADBEEF;
    v2.fileLine = std::pair{std::string("main.cpp"), 4242u};
    v2.tags = {"t1", "\xC3\xA9t\xC3\xA9"};
    v2.privacy = 3;
    v2.segmentation = std::string("\x01\x02\x03", 3);
    v2.tsRelative = false;
    v2.args = {Arg::String("all fields")};
    add(v2);
    v2.layout = TimeLayout::kB;  // a record of another writer: the file's layout reads it
    add(v2);
    return records;
}

}  // namespace zel::dltgen
