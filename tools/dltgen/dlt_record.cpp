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

uint32_t LengthCode(int bytes) {
    switch (bytes) {
        case 1:
            return 1;
        case 2:
            return 2;
        case 4:
            return 3;
        case 8:
            return 4;
        default:
            return 5;
    }
}

std::string Le(uint64_t value, int bytes) {
    std::string out;
    for (int i = 0; i < bytes; ++i) {
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
    }
    return out;
}

std::string Be(uint64_t value, int bytes) {
    std::string out;
    for (int i = bytes - 1; i >= 0; --i) {
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
    }
    return out;
}

// An unsigned number in the payload's byte order.
std::string Ordered(uint64_t value, int bytes, bool bigEndian) {
    return bigEndian ? Be(value, bytes) : Le(value, bytes);
}

std::string Reversed(std::string s) { return {s.rbegin(), s.rend()}; }

std::string EncodeArg(const Arg& arg, bool bigEndian) {
    uint32_t typeInfo = arg.typeInfo | (arg.name.empty() ? 0 : kVariable);
    std::string out = Ordered(typeInfo, 4, bigEndian);
    const std::string name = arg.name.empty() ? "" : arg.name + '\0';
    const std::string unit = arg.unit.empty() ? "" : arg.unit + '\0';
    if ((typeInfo & (kString | kRaw)) != 0) {
        out += Ordered(arg.value.size(), 2, bigEndian);
        if (!name.empty()) {
            out += Ordered(name.size(), 2, bigEndian) + name;
        }
        return out + arg.value;
    }
    if (!name.empty()) {
        out += Ordered(name.size(), 2, bigEndian);
        if ((typeInfo & kBool) == 0) {
            out += Ordered(unit.size(), 2, bigEndian);
        }
        out += name;
        if ((typeInfo & kBool) == 0) {
            out += unit;
        }
    }
    return out + (bigEndian ? Reversed(arg.value) : arg.value);
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

std::string Id4(const std::string& id) {
    std::string out = id.substr(0, 4);
    out.resize(4, '\0');
    return out;
}

std::string ShortText(const std::string& text) { return static_cast<char>(text.size()) + text; }

uint8_t Msin(const Record& r) {
    return static_cast<uint8_t>((r.verbose ? 1 : 0) | (static_cast<uint8_t>(r.type) << 1) | (r.typeInfo << 4));
}

std::string EncodeV1(const Record& r) {
    const std::string payload = Payload(r);
    std::string headers;
    uint8_t htyp = 0x20;
    if (r.extended) htyp |= 0x01;
    if (r.bigEndian) htyp |= 0x02;
    if (r.withEcuId) {
        htyp |= 0x04;
        headers += Id4(r.ecu);
    }
    if (r.sessionId) {
        htyp |= 0x08;
        headers += Be(*r.sessionId, 4);
    }
    if (r.timestamp) {
        htyp |= 0x10;
        headers += Be(*r.timestamp, 4);
    }
    if (r.extended) {
        headers += static_cast<char>(Msin(r));
        headers += static_cast<char>(r.verbose ? r.args.size() : 0);
        headers += Id4(r.apid) + Id4(r.ctid);
    }
    const std::size_t len = r.lengthOverride ? *r.lengthOverride : 4 + headers.size() + payload.size();
    std::string out = "DLT\x01" + Le(r.seconds, 4) + Le(r.subseconds, 4) + Id4(r.ecu);
    out += static_cast<char>(htyp);
    out += static_cast<char>(r.mcnt);
    out += Be(len, 2);
    return out + headers + payload;
}

std::string EncodeV2(const Record& r) {
    const std::string payload = Payload(r);
    const uint8_t content = r.type == MessageType::kControl ? 2 : (r.verbose ? 0 : 1);
    uint8_t htyp0 = static_cast<uint8_t>(0x40 | content);
    uint8_t htyp1 = 0;
    std::string conditional;
    if (content != 1) {
        conditional += static_cast<char>(Msin(r));
        conditional += static_cast<char>(r.verbose ? r.args.size() : 0);
    }
    if (content != 2) {
        conditional += Be((r.tsRelative ? 0x80000000u : 0) | r.tsNanos, 4) + Be(r.tsSeconds, 5);
    }
    if (content == 1) {
        conditional += Be(r.messageId, 4);
    }
    std::string extension;
    if (r.withEcuId) {
        htyp0 |= 0x04;
        extension += ShortText(r.ecu);
    }
    if (r.extended) {
        htyp0 |= 0x08;
        extension += ShortText(r.apid) + ShortText(r.ctid);
    }
    if (r.sessionId) {
        htyp0 |= 0x10;
        extension += Be(*r.sessionId, 4);
    }
    if (r.fileLine) {
        htyp1 |= 0x01;
        extension += ShortText(r.fileLine->first) + Be(r.fileLine->second, 4);
    }
    if (!r.tags.empty()) {
        htyp1 |= 0x02;
        extension += static_cast<char>(r.tags.size());
        for (const auto& tag : r.tags) {
            extension += ShortText(tag);
        }
    }
    if (r.privacy) {
        htyp1 |= 0x04;
        extension += static_cast<char>(*r.privacy);
    }
    if (r.segmentation) {
        htyp1 |= 0x08;
        extension += ShortText(*r.segmentation);
    }
    const std::size_t len =
        r.lengthOverride ? *r.lengthOverride : 7 + conditional.size() + extension.size() + payload.size();
    const std::string nanos = r.nanosBigEndian ? Be(r.subseconds, 4) : Le(r.subseconds, 4);
    std::string out = "DLT\x02" + Be(r.seconds, 5) + nanos + ShortText(r.ecu);
    out += static_cast<char>(htyp0);
    out += static_cast<char>(htyp1);
    out += std::string(2, '\0');
    out += static_cast<char>(r.mcnt);
    out += Be(len, 2);
    return out + conditional + extension + payload;
}

}  // namespace

Arg Arg::String(const std::string& text, bool utf8) { return {kString | (utf8 ? kUtf8 : 0), "", "", text + '\0', 0}; }
Arg Arg::Bool(bool value) { return {kBool | 1, "", "", std::string(1, value ? 1 : 0), 1}; }
Arg Arg::Int(int64_t value, int bytes) {
    return {kSint | LengthCode(bytes), "", "", Le(static_cast<uint64_t>(value), bytes), bytes};
}
Arg Arg::Uint(uint64_t value, int bytes) { return {kUint | LengthCode(bytes), "", "", Le(value, bytes), bytes}; }
Arg Arg::Hex(uint64_t value, int bytes) { return {kUint | kHex | LengthCode(bytes), "", "", Le(value, bytes), bytes}; }
Arg Arg::Bin(uint64_t value, int bytes) { return {kUint | kBin | LengthCode(bytes), "", "", Le(value, bytes), bytes}; }
Arg Arg::Float32(float value) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return {kFloat | 3, "", "", Le(bits, 4), 4};
}
Arg Arg::Float64(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return {kFloat | 4, "", "", Le(bits, 8), 8};
}
Arg Arg::Raw(const std::string& bytes) { return {kRaw, "", "", bytes, 0}; }
Arg Arg::Uint128(const std::string& sixteenBytes) { return {kUint | 5, "", "", sixteenBytes, 16}; }
Arg&& Arg::Named(std::string argName, std::string argUnit) && {
    name = std::move(argName);
    unit = std::move(argUnit);
    return std::move(*this);
}

std::string Encode(const Record& record) { return record.version == 2 ? EncodeV2(record) : EncodeV1(record); }

}  // namespace zel::dltgen
