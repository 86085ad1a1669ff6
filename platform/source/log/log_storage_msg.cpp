#include "ara/log/log_storage_msg.h"

#include <cstring>

#include "payload_text.h"

namespace ara::log {
namespace {

constexpr std::size_t kMarkSize = 4;
constexpr std::size_t kV1StorageSize = 16;
constexpr std::size_t kV1StandardSize = 4;
constexpr std::size_t kExtendedSize = 10;
constexpr std::uint32_t kNanosPerSecond = 1000000000;

// HTYP (version 1)
constexpr std::uint8_t kUseExtendedHeader = 0x01;
constexpr std::uint8_t kPayloadBigEndian = 0x02;
constexpr std::uint8_t kWithEcuId = 0x04;
constexpr std::uint8_t kWithSessionId = 0x08;
constexpr std::uint8_t kWithTimestamp = 0x10;

// HTYP2 (version 2), byte 0 and byte 1
constexpr std::uint8_t kContentMask = 0x03;
constexpr std::uint8_t kContentVerbose = 0;
constexpr std::uint8_t kContentNonVerbose = 1;
constexpr std::uint8_t kContentControl = 2;
constexpr std::uint8_t kV2EcuId = 0x04;
constexpr std::uint8_t kV2AppContextIds = 0x08;
constexpr std::uint8_t kV2SessionId = 0x10;
constexpr std::uint8_t kV2FileLine = 0x01;
constexpr std::uint8_t kV2Tags = 0x02;
constexpr std::uint8_t kV2Privacy = 0x04;
constexpr std::uint8_t kV2Segmentation = 0x08;

constexpr std::uint8_t kMessageTypeControl = 3;
constexpr std::uint8_t kTypeInfoResponse = 2;

std::uint64_t Be(const std::uint8_t* p, std::size_t bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        value = (value << 8) | p[i];
    }
    return value;
}

std::uint64_t Le(const std::uint8_t* p, std::size_t bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes; i-- > 0;) {
        value = (value << 8) | p[i];
    }
    return value;
}

std::uint32_t Be32(const std::uint8_t* p) {
    std::uint32_t value;
    std::memcpy(&value, p, sizeof(value));
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    value = __builtin_bswap32(value);
#endif
    return value;
}

// A version 1 id: its four bytes up to the first NUL.
template <typename Id>
void AssignId(Id& id, const std::uint8_t* p) {
    std::memcpy(id.text, p, 4);  // a fixed size copies in one move
    std::uint8_t length = 0;
    while (length < 4 && p[length] != 0) {
        ++length;
    }
    id.length = length;
}

// A version 2 id: its length byte was checked against the record.
template <typename Id>
void AssignText(Id& id, const std::uint8_t* p, std::size_t length) {
    if (length != 0) {
        std::memcpy(id.text, p, length);
    }
    id.length = static_cast<std::uint8_t>(length);
}

bool IsMark(const std::uint8_t* p) {
    return p[0] == 'D' && p[1] == 'L' && p[2] == 'T' && (p[3] == 0x01 || p[3] == 0x02);
}

// Walks the header fields of a version 2 message, never past its end.
class Cursor {
public:
    Cursor(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool Has(std::size_t n) const { return size_ - pos_ >= n; }
    const std::uint8_t* Take(std::size_t n) {
        const std::uint8_t* p = data_ + pos_;
        pos_ += n;
        return p;
    }
    bool Skip(std::size_t n) {
        if (!Has(n)) {
            return false;
        }
        pos_ += n;
        return true;
    }
    // A length byte followed by that many bytes.
    bool Text(const std::uint8_t*& text, std::size_t& length) {
        if (!Has(1)) {
            return false;
        }
        length = *Take(1);
        if (!Has(length)) {
            return false;
        }
        text = Take(length);
        return true;
    }
    bool SkipText() {
        const std::uint8_t* ignored = nullptr;
        std::size_t length = 0;
        return Text(ignored, length);
    }
    std::size_t Position() const { return pos_; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

}  // namespace

std::int64_t LogStorageMsg::Deserialize(const std::uint8_t* data, std::size_t size) {
    for (std::size_t pos = 0; pos + kMarkSize <= size; ++pos) {
        if (data[pos] != 'D') {
            const void* d = std::memchr(data + pos, 'D', size - pos - kMarkSize + 1);
            if (d == nullptr) {
                break;
            }
            pos = static_cast<const std::uint8_t*>(d) - data;
        }
        if (!IsMark(data + pos)) {
            continue;
        }
        const Outcome outcome =
            data[pos + 3] == 0x01 ? DecodeV1(data + pos, size - pos) : DecodeV2(data + pos, size - pos);
        if (outcome == Outcome::kDecoded) {
            return static_cast<std::int64_t>(pos + length_);
        }
        if (outcome == Outcome::kIncomplete) {
            return 0;
        }
    }
    return 0;
}

LogStorageMsg::Outcome LogStorageMsg::DecodeV1(const std::uint8_t* data, std::size_t size) {
    if (size < kV1StorageSize + kV1StandardSize) {
        return Outcome::kIncomplete;
    }
    const std::uint8_t* standard = data + kV1StorageSize;
    const std::uint8_t htyp = standard[0];
    if (((htyp >> 5) & 0x07) != 1) {
        return Outcome::kInvalid;
    }
    const std::size_t len = Be(standard + 2, 2);
    const std::size_t headers = kV1StandardSize + ((htyp & kWithEcuId) != 0 ? 4 : 0) +
                                ((htyp & kWithSessionId) != 0 ? 4 : 0) + ((htyp & kWithTimestamp) != 0 ? 4 : 0) +
                                ((htyp & kUseExtendedHeader) != 0 ? kExtendedSize : 0);
    if (len < headers) {
        return Outcome::kInvalid;
    }
    if (kV1StorageSize + len > size) {
        return Outcome::kIncomplete;
    }

    length_ = kV1StorageSize + len;
    storageTime_.tv_sec = static_cast<time_t>(Le(data + 4, 4));
    const auto micros = static_cast<std::int32_t>(static_cast<std::uint32_t>(Le(data + 8, 4)));
    storageTime_.tv_nsec = static_cast<long>(micros) * 1000;

    StandardHeader& sh = message_.standard_;
    sh.mcnt_ = standard[1];
    sh.hasExtendedHeader_ = (htyp & kUseExtendedHeader) != 0;
    const std::uint8_t* p = standard + kV1StandardSize;
    p += (htyp & kWithEcuId) != 0 ? 4 : 0;
    p += (htyp & kWithSessionId) != 0 ? 4 : 0;
    dataTime_ = timespec{};
    if ((htyp & kWithTimestamp) != 0) {
        const std::uint64_t tenthsOfMs = Be32(p);
        dataTime_.tv_sec = static_cast<time_t>(tenthsOfMs / 10000);
        dataTime_.tv_nsec = static_cast<long>((tenthsOfMs % 10000) * 100000);
        p += 4;
    }

    ExtendedHeader& eh = message_.extended_;
    PayloadFormat format;
    format.bigEndian = (htyp & kPayloadBigEndian) != 0;
    if (sh.hasExtendedHeader_) {
        eh.msin_ = p[0];
        eh.noar_ = p[1];
        AssignId(eh.apid_, p + 2);
        AssignId(eh.ctid_, p + 6);
        p += kExtendedSize;
        const auto type = static_cast<std::uint8_t>(eh.GetMessageType());
        if (eh.IsVerbose()) {
            format.kind = PayloadFormat::Kind::kVerbose;
            format.noar = eh.noar_;
        } else if (type == kMessageTypeControl) {
            format.kind = PayloadFormat::Kind::kControl;
            format.response = (eh.msin_ >> 4) == kTypeInfoResponse;
        } else {
            format.kind = PayloadFormat::Kind::kNonVerbose;
        }
    } else {
        eh = ExtendedHeader{};
        format.kind = PayloadFormat::Kind::kNonVerbose;
    }
    message_.text_.clear();
    AppendPayloadText(format, p, static_cast<std::size_t>(data + length_ - p), message_.text_);
    return Outcome::kDecoded;
}

LogStorageMsg::Outcome LogStorageMsg::DecodeV2(const std::uint8_t* data, std::size_t size) {
    // storage header: mark, seconds (5), nanoseconds (4), ECU id length, ECU id
    constexpr std::size_t kFixedStorage = 14;
    constexpr std::size_t kBaseSize = 7;  // HTYP2, MCNT, LEN
    if (size < kFixedStorage) {
        return Outcome::kIncomplete;
    }
    const std::size_t storageSize = kFixedStorage + data[13];
    if (size < storageSize + kBaseSize) {
        return Outcome::kIncomplete;
    }
    const std::uint8_t* base = data + storageSize;
    const std::uint8_t htyp0 = base[0];
    const std::uint8_t htyp1 = base[1];
    const std::uint8_t content = htyp0 & kContentMask;
    if (((htyp0 >> 5) & 0x07) != 2 || content > kContentControl) {
        return Outcome::kInvalid;
    }
    const std::size_t len = Be(base + 5, 2);
    if (len < kBaseSize) {
        return Outcome::kInvalid;
    }
    if (storageSize + len > size) {
        return Outcome::kIncomplete;
    }

    Cursor c(base + kBaseSize, len - kBaseSize);
    std::uint8_t msin = 0;
    std::uint8_t noar = 0;
    std::uint32_t messageId = 0;
    timespec dataTime{};
    auto timestamp = [&] {
        if (!c.Has(9)) {
            return false;
        }
        const std::uint8_t* t = c.Take(9);
        dataTime.tv_nsec = static_cast<long>(Be(t, 4) & 0x7FFFFFFF);  // bit 31: since the ECU started
        dataTime.tv_sec = static_cast<time_t>(Be(t + 4, 5));
        return true;
    };
    if (content == kContentVerbose || content == kContentControl) {
        if (!c.Has(2)) {
            return Outcome::kInvalid;
        }
        msin = *c.Take(1);
        noar = *c.Take(1);
    }
    if (content != kContentControl && !timestamp()) {
        return Outcome::kInvalid;
    }
    if (content == kContentNonVerbose) {
        if (!c.Has(4)) {
            return Outcome::kInvalid;
        }
        messageId = static_cast<std::uint32_t>(Be(c.Take(4), 4));
    }

    const std::uint8_t* apid = nullptr;
    const std::uint8_t* ctid = nullptr;
    std::size_t apidLength = 0;
    std::size_t ctidLength = 0;
    const bool hasIds = (htyp0 & kV2AppContextIds) != 0;
    if ((htyp0 & kV2EcuId) != 0 && !c.SkipText()) {
        return Outcome::kInvalid;
    }
    if (hasIds && (!c.Text(apid, apidLength) || !c.Text(ctid, ctidLength))) {
        return Outcome::kInvalid;
    }
    if ((htyp0 & kV2SessionId) != 0 && !c.Skip(4)) {
        return Outcome::kInvalid;
    }
    if ((htyp1 & kV2FileLine) != 0 && (!c.SkipText() || !c.Skip(4))) {
        return Outcome::kInvalid;
    }
    if ((htyp1 & kV2Tags) != 0) {
        if (!c.Has(1)) {
            return Outcome::kInvalid;
        }
        for (std::size_t tags = *c.Take(1); tags > 0; --tags) {
            if (!c.SkipText()) {
                return Outcome::kInvalid;
            }
        }
    }
    if ((htyp1 & kV2Privacy) != 0 && !c.Skip(1)) {
        return Outcome::kInvalid;
    }
    if ((htyp1 & kV2Segmentation) != 0 && !c.SkipText()) {
        return Outcome::kInvalid;
    }

    length_ = storageSize + len;
    storageTime_.tv_sec = static_cast<time_t>(Be(data + 4, 5));
    // the real writer stores the nanoseconds little-endian; a value that only makes sense
    // big-endian was written by an older writer
    std::uint32_t nanos = static_cast<std::uint32_t>(Le(data + 9, 4));
    const auto bigEndian = static_cast<std::uint32_t>(Be(data + 9, 4));
    if (nanos >= kNanosPerSecond && bigEndian < kNanosPerSecond) {
        nanos = bigEndian;
    }
    storageTime_.tv_nsec = static_cast<long>(nanos);
    dataTime_ = dataTime;

    StandardHeader& sh = message_.standard_;
    sh.mcnt_ = base[4];
    sh.hasExtendedHeader_ = hasIds && content != kContentNonVerbose;
    ExtendedHeader& eh = message_.extended_;
    eh.msin_ = msin;
    eh.noar_ = noar;
    AssignText(eh.apid_, apid, hasIds ? apidLength : 0);
    AssignText(eh.ctid_, ctid, hasIds ? ctidLength : 0);

    PayloadFormat format;
    switch (content) {
        case kContentVerbose:
            format.kind = PayloadFormat::Kind::kVerbose;
            format.noar = noar;
            break;
        case kContentNonVerbose:
            format.kind = PayloadFormat::Kind::kNonVerbose;
            format.hasMessageId = true;
            format.messageId = messageId;
            break;
        default:
            format.kind = PayloadFormat::Kind::kControl;
            format.response = (msin >> 4) == kTypeInfoResponse;
            break;
    }
    const std::uint8_t* payload = base + kBaseSize + c.Position();
    message_.text_.clear();
    AppendPayloadText(format, payload, static_cast<std::size_t>(data + length_ - payload), message_.text_);
    return Outcome::kDecoded;
}

}  // namespace ara::log
