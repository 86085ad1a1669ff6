#include "dlt_record.h"

#include <cstring>

namespace zel::dltgen {
namespace {

constexpr uint32_t kBool = 0x10;
constexpr uint32_t kSint = 0x20;
constexpr uint32_t kUint = 0x40;
constexpr uint32_t kFloat = 0x80;
constexpr uint32_t kString = 0x200;
constexpr uint32_t kRaw = 0x400;
constexpr uint32_t kVariable = 0x800;
constexpr uint32_t kUtf8 = 0x8000;
constexpr uint32_t kHex = 0x10000;
constexpr uint32_t kBin = 0x18000;

uint32_t LengthCode(int bytes) { return bytes == 1 ? 1 : bytes == 2 ? 2 : bytes == 4 ? 3 : bytes == 8 ? 4 : 5; }

// A number of WIDTH bytes, in either byte order.
std::string Ordered(uint64_t value, int width, bool bigEndian) {
    std::string out(static_cast<std::size_t>(width), '\0');
    Put(out, 0, value, width, bigEndian);
    return out;
}

std::string Be(uint64_t value, int width) { return Ordered(value, width, true); }

// A number argument: its length code in the type info, its value little-endian.
Arg Number(uint32_t type, uint64_t value, int bytes) {
    return {type | LengthCode(bytes), "", "", Ordered(value, bytes, false)};
}

// Variable info (name, and unit for numbers other than Bool) goes between the type info and
// the value; strings and raw data announce their length first.
std::string EncodeArg(const Arg& arg, bool bigEndian) {
    const bool named = !arg.name.empty();
    const uint32_t typeInfo = arg.typeInfo | (named ? kVariable : 0);
    const bool text = (typeInfo & (kString | kRaw)) != 0;
    const bool withUnit = named && !text && (typeInfo & kBool) == 0;
    const std::string name = named ? arg.name + '\0' : "";
    const std::string unit = withUnit && !arg.unit.empty() ? arg.unit + '\0' : "";
    std::string out = Ordered(typeInfo, 4, bigEndian);
    if (text) out += Ordered(arg.value.size(), 2, bigEndian);
    if (named) out += Ordered(name.size(), 2, bigEndian);
    if (withUnit) out += Ordered(unit.size(), 2, bigEndian);
    out += name + unit;
    return out + (text || !bigEndian ? arg.value : std::string(arg.value.rbegin(), arg.value.rend()));
}

std::string Payload(const Record& r) {
    if (r.payload) {
        return *r.payload;
    }
    std::string out;
    for (const Arg& arg : r.args) {
        out += EncodeArg(arg, r.version == 1 && r.bigEndian);
    }
    return out;
}

std::string Id4(const std::string& id) { return (id + std::string(4, '\0')).substr(0, 4); }

std::string ShortText(const std::string& text) { return static_cast<char>(text.size()) + text; }

// The message info byte (verbose flag, type, type info) and the argument count.
std::string MsinNoar(const Record& r) {
    const auto msin = static_cast<char>((r.verbose ? 1 : 0) | (static_cast<uint8_t>(r.type) << 1) | (r.typeInfo << 4));
    return {msin, static_cast<char>(r.verbose ? r.args.size() : 0)};
}

std::string EncodeV1(const Record& r) {
    const std::string payload = Payload(r);
    std::string headers = r.withEcuId ? Id4(r.ecu) : "";
    headers += r.sessionId ? Be(*r.sessionId, 4) : "";
    headers += r.timestamp ? Be(*r.timestamp, 4) : "";
    headers += r.extended ? MsinNoar(r) + Id4(r.apid) + Id4(r.ctid) : "";
    const auto htyp = static_cast<char>(0x20 | (r.extended ? 0x01 : 0) | (r.bigEndian ? 0x02 : 0) |
                                        (r.withEcuId ? 0x04 : 0) | (r.sessionId ? 0x08 : 0) | (r.timestamp ? 0x10 : 0));
    const std::size_t len = r.lengthOverride ? *r.lengthOverride : 4 + headers.size() + payload.size();
    std::string out = "DLT\x01" + Ordered(r.seconds, 4, false) + Ordered(r.subseconds, 4, false) + Id4(r.ecu);
    out += {htyp, static_cast<char>(r.mcnt)};
    return out + Be(len, 2) + headers + payload;
}

std::string EncodeV2(const Record& r) {
    const std::string payload = Payload(r);
    const uint8_t content = r.type == MessageType::kControl ? 2 : (r.verbose ? 0 : 1);
    std::string conditional = content != 1 ? MsinNoar(r) : "";
    conditional += content != 2 ? Be((r.tsRelative ? 0x80000000u : 0) | r.tsNanos, 4) + Be(r.tsSeconds, 5) : "";
    conditional += content == 1 ? Be(r.messageId, 4) : "";
    std::string extension = r.withEcuId ? ShortText(r.ecu) : "";
    extension += r.extended ? ShortText(r.apid) + ShortText(r.ctid) : "";
    extension += r.sessionId ? Be(*r.sessionId, 4) : "";
    extension += r.fileLine ? ShortText(r.fileLine->first) + Be(r.fileLine->second, 4) : "";
    if (!r.tags.empty()) {
        extension += static_cast<char>(r.tags.size());
        for (const auto& tag : r.tags) {
            extension += ShortText(tag);
        }
    }
    extension += r.privacy ? std::string(1, static_cast<char>(*r.privacy)) : "";
    extension += r.segmentation ? ShortText(*r.segmentation) : "";
    const auto htyp0 = static_cast<char>(0x40 | content | (r.withEcuId ? 0x04 : 0) | (r.extended ? 0x08 : 0) |
                                         (r.sessionId ? 0x10 : 0));
    const auto htyp1 = static_cast<char>((r.fileLine ? 0x01 : 0) | (r.tags.empty() ? 0 : 0x02) |
                                         (r.privacy ? 0x04 : 0) | (r.segmentation ? 0x08 : 0));
    const std::size_t len =
        r.lengthOverride ? *r.lengthOverride : 7 + conditional.size() + extension.size() + payload.size();
    std::string out = "DLT\x02" + std::string(9, '\0') + ShortText(r.ecu);
    PutStorageTime(out, 4, r.seconds, r.subseconds, r.layout);
    out += {htyp0, htyp1, '\0', '\0', static_cast<char>(r.mcnt)};
    return out + Be(len, 2) + conditional + extension + payload;
}

}  // namespace

Arg Arg::String(const std::string& text, bool utf8) { return {kString | (utf8 ? kUtf8 : 0), "", "", text + '\0'}; }
Arg Arg::Bool(bool value) { return Number(kBool, value ? 1 : 0, 1); }
Arg Arg::Int(int64_t value, int bytes) { return Number(kSint, static_cast<uint64_t>(value), bytes); }
Arg Arg::Uint(uint64_t value, int bytes) { return Number(kUint, value, bytes); }
Arg Arg::Hex(uint64_t value, int bytes) { return Number(kUint | kHex, value, bytes); }
Arg Arg::Bin(uint64_t value, int bytes) { return Number(kUint | kBin, value, bytes); }
Arg Arg::Float32(float value) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return Number(kFloat, bits, 4);
}
Arg Arg::Float64(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return Number(kFloat, bits, 8);
}
Arg Arg::Raw(const std::string& bytes) { return {kRaw, "", "", bytes}; }
Arg Arg::Uint128(const std::string& sixteenBytes) { return {kUint | 5, "", "", sixteenBytes}; }
Arg&& Arg::Named(std::string argName, std::string argUnit) && {
    name = std::move(argName);
    unit = std::move(argUnit);
    return std::move(*this);
}

std::string Encode(const Record& record) { return record.version == 2 ? EncodeV2(record) : EncodeV1(record); }

void Put(std::string& out, std::size_t at, uint64_t value, int width, bool bigEndian) {
    for (int i = 0; i < width; ++i, value >>= 8) {
        out[at + static_cast<std::size_t>(bigEndian ? width - 1 - i : i)] = static_cast<char>(value & 0xFF);
    }
}

void PutStorageTime(std::string& out, std::size_t at, uint64_t seconds, uint32_t nanos, TimeLayout layout) {
    if (layout == TimeLayout::kC) {
        Put(out, at, nanos, 4, false);
        Put(out, at + 4, seconds, 5, false);
    } else {
        Put(out, at, seconds, 5, true);
        Put(out, at + 5, nanos, 4, layout == TimeLayout::kB);
    }
}

}  // namespace zel::dltgen
