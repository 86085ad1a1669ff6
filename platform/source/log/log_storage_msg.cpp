#include "ara/log/log_storage_msg.h"

#include <algorithm>
#include <cstring>

#include "byte_order.h"
#include "payload_text.h"

namespace ara::log {
namespace {

using bytes::IdLength;
using bytes::LoadBe;
using bytes::LoadLe;
using bytes::Reader;

constexpr std::size_t kMarkSize = LogStorageMsg::kMarkSize;
constexpr std::size_t kV1StorageSize = 16;
constexpr std::size_t kV1StandardSize = 4;
constexpr std::size_t kExtendedSize = 10;

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

// An id whose length was checked against the record.
template <typename Id>
void AssignText(Id& id, const std::uint8_t* p, std::size_t length) {
    if (length != 0) {
        std::memcpy(id.text, p, length);
    }
    id.length = static_cast<std::uint8_t>(length);
}

// A mark at p, whose four bytes are there.
bool IsMark(const std::uint8_t* p) { return LogStorageMsg::StartsWithMark(p, kMarkSize); }

}  // namespace

// What the header walk of one record found: everything the record line needs but the payload
// text and a version 2 storage time (read in the file's layout once the record is taken). Ids
// point into the record. A complete walk sets the first five fields; the others only where the
// header has them. One is made per record: the first five have no initial value, since zeroing
// the whole struct showed as a few per cent of the decoding.
struct LogStorageMsg::Layout {
    std::size_t length;    // storage header plus LEN
    timespec storageTime;  // version 1
    std::uint8_t mcnt;
    bool hasIds;
    const std::uint8_t* payload;
    timespec dataTime{};
    std::uint8_t msin = 0;
    std::uint8_t noar = 0;
    const std::uint8_t* apid = nullptr;
    const std::uint8_t* ctid = nullptr;
    std::size_t apidLength = 0;
    std::size_t ctidLength = 0;
    PayloadFormat format;
};

namespace {

using Layout = LogStorageMsg::Layout;
enum class Outcome { kInvalid, kIncomplete, kComplete };

// The payload's kind: verbose arguments, a control message (a response carries a status) or
// non-verbose data.
void SetPayloadKind(bool verbose, bool control, Layout& r) {
    if (verbose) {
        r.format.kind = PayloadFormat::Kind::kVerbose;
        r.format.noar = r.noar;
    } else if (control) {
        r.format.kind = PayloadFormat::Kind::kControl;
        r.format.response = (r.msin >> 4) == kTypeInfoResponse;
    } else {
        r.format.kind = PayloadFormat::Kind::kNonVerbose;
    }
}

Outcome ParseV1(const std::uint8_t* data, std::size_t size, Layout& r) {
    if (size < kV1StorageSize + kV1StandardSize) {
        return Outcome::kIncomplete;
    }
    const std::uint8_t* standard = data + kV1StorageSize;
    const std::uint8_t htyp = standard[0];
    if (((htyp >> 5) & 0x07) != 1) {
        return Outcome::kInvalid;
    }
    const std::size_t len = LoadBe(standard + 2, 2);
    const std::size_t ecu = (htyp & kWithEcuId) != 0 ? 4 : 0;
    const std::size_t session = (htyp & kWithSessionId) != 0 ? 4 : 0;
    const std::size_t timestamp = (htyp & kWithTimestamp) != 0 ? 4 : 0;
    r.hasIds = (htyp & kUseExtendedHeader) != 0;
    if (len < kV1StandardSize + ecu + session + timestamp + (r.hasIds ? kExtendedSize : 0)) {
        return Outcome::kInvalid;
    }
    r.length = kV1StorageSize + len;
    if (r.length > size) {
        return Outcome::kIncomplete;
    }
    r.storageTime.tv_sec = static_cast<time_t>(LoadLe(data + 4, 4));
    r.storageTime.tv_nsec = static_cast<long>(static_cast<std::int32_t>(LoadLe(data + 8, 4))) * 1000;
    r.mcnt = standard[1];
    const std::uint8_t* p = standard + kV1StandardSize + ecu + session;
    if (timestamp != 0) {
        const std::uint64_t tenthsOfMs = LoadBe(p, 4);
        r.dataTime.tv_sec = static_cast<time_t>(tenthsOfMs / 10000);
        r.dataTime.tv_nsec = static_cast<long>((tenthsOfMs % 10000) * 100000);
        p += timestamp;
    }
    if (r.hasIds) {
        r.msin = p[0];
        r.noar = p[1];
        r.apid = p + 2;
        r.apidLength = IdLength(r.apid);
        r.ctid = p + 6;
        r.ctidLength = IdLength(r.ctid);
        p += kExtendedSize;
    }
    r.format.bigEndian = (htyp & kPayloadBigEndian) != 0;
    const bool verbose = (r.msin & 0x01) != 0;
    const bool control = ((r.msin >> 1) & 0x07) == kMessageTypeControl;
    SetPayloadKind(r.hasIds && verbose, r.hasIds && control, r);
    r.payload = p;
    return Outcome::kComplete;
}

// Version 2 base header after HTYP2, MCNT and LEN: message info, argument count, time stamp and
// message id as the content type has them.
bool ParseV2Conditional(std::uint8_t content, Reader& c, Layout& r) {
    if (content != kContentNonVerbose) {
        const std::uint8_t* info = c.Take(2);
        if (info == nullptr) {
            return false;
        }
        r.msin = info[0];
        r.noar = info[1];
    }
    if (content != kContentControl) {
        const std::uint8_t* t = c.Take(9);
        if (t == nullptr) {
            return false;
        }
        r.dataTime.tv_nsec = static_cast<long>(LoadBe(t, 4) & 0x7FFFFFFF);  // bit 31: since the ECU started
        r.dataTime.tv_sec = static_cast<time_t>(LoadBe(t + 4, 5));
    }
    if (content == kContentNonVerbose) {
        r.format.hasMessageId = true;
        return c.U32(r.format.messageId);
    }
    return true;
}

// Version 2 extension header: its fields in the order of their flags.
bool ParseV2Extension(std::uint8_t htyp0, std::uint8_t htyp1, Reader& c, Layout& r) {
    if ((htyp0 & kV2EcuId) != 0 && !c.SkipText()) {
        return false;
    }
    if ((htyp0 & kV2AppContextIds) != 0 && (!c.Text(r.apid, r.apidLength) || !c.Text(r.ctid, r.ctidLength))) {
        return false;
    }
    if ((htyp0 & kV2SessionId) != 0 && !c.Skip(4)) {
        return false;
    }
    if ((htyp1 & kV2FileLine) != 0 && (!c.SkipText() || !c.Skip(4))) {
        return false;
    }
    if ((htyp1 & kV2Tags) != 0) {
        const std::uint8_t* count = c.Take(1);
        if (count == nullptr) {
            return false;
        }
        for (std::size_t tags = *count; tags > 0; --tags) {
            if (!c.SkipText()) {
                return false;
            }
        }
    }
    if ((htyp1 & kV2Privacy) != 0 && !c.Skip(1)) {
        return false;
    }
    return (htyp1 & kV2Segmentation) == 0 || c.SkipText();
}

Outcome ParseV2(const std::uint8_t* data, std::size_t size, Layout& r) {
    constexpr std::size_t kFixedStorage = 14;  // mark, storage time (9), ECU id length
    constexpr std::size_t kBaseSize = 7;       // HTYP2, MCNT, LEN
    if (size < kFixedStorage) {
        return Outcome::kIncomplete;
    }
    const std::size_t storageSize = kFixedStorage + data[13];
    if (size < storageSize + kBaseSize) {
        return Outcome::kIncomplete;
    }
    const std::uint8_t* base = data + storageSize;
    const std::uint8_t content = base[0] & kContentMask;
    const std::size_t len = LoadBe(base + 5, 2);
    if (((base[0] >> 5) & 0x07) != 2 || content > kContentControl || len < kBaseSize) {
        return Outcome::kInvalid;
    }
    r.length = storageSize + len;
    if (r.length > size) {
        return Outcome::kIncomplete;
    }
    Reader c(base + kBaseSize, len - kBaseSize, /*bigEndian=*/true);
    if (!ParseV2Conditional(content, c, r) || !ParseV2Extension(base[0], base[1], c, r)) {
        return Outcome::kInvalid;
    }
    r.mcnt = base[4];
    r.hasIds = (base[0] & kV2AppContextIds) != 0 && content != kContentNonVerbose;
    SetPayloadKind(content == kContentVerbose, content == kContentControl, r);
    r.payload = base + kBaseSize + c.Position();
    return Outcome::kComplete;
}

Outcome Parse(const std::uint8_t* data, std::size_t size, Layout& r) {
    return data[3] == 0x01 ? ParseV1(data, size, r) : ParseV2(data, size, r);
}

// True when the bytes after a record may open the next one: a mark, the start of one cut by
// the end of the bytes, or nothing.
bool OpensNext(const std::uint8_t* p, std::size_t size) {
    return size >= kMarkSize ? IsMark(p) : std::memcmp(p, "DLT", size) == 0;
}

}  // namespace

std::size_t LogStorageMsg::NextMark(const std::uint8_t* data, std::size_t pos, std::size_t size) {
    while (pos + kMarkSize <= size) {
        const void* d = std::memchr(data + pos, 'D', size - pos - kMarkSize + 1);
        if (d == nullptr) {
            break;
        }
        pos = static_cast<std::size_t>(static_cast<const std::uint8_t*>(d) - data);
        if (IsMark(data + pos)) {
            return pos;
        }
        ++pos;
    }
    return size;
}

LogStorageMsg::Opening LogStorageMsg::Opens(const std::uint8_t* data, std::size_t size) {
    Layout ignored;
    switch (Parse(data, size, ignored)) {
        case Outcome::kComplete:
            return Opening::kWholeRecord;
        case Outcome::kIncomplete:
            return Opening::kCutRecord;
        case Outcome::kInvalid:
            break;
    }
    return Opening::kNothing;
}

bool LogStorageMsg::CanOpenRecord(const std::uint8_t* data, std::size_t size) {
    if (size < kMarkSize) {
        return OpensNext(data, size);
    }
    return IsMark(data) && Opens(data, size) != Opening::kNothing;
}

// A record that is not followed by a mark was cut when its writer died when a complete record
// starts inside it: decoding goes on there and the bytes in front are skipped. A record starting
// inside it but not yet complete is waited for.
std::int64_t LogStorageMsg::Deserialize(const std::uint8_t* data, std::size_t size) {
    for (std::size_t pos = NextMark(data, 0, size); pos < size; pos = NextMark(data, pos + 1, size)) {
        Layout record;
        const Outcome outcome = Parse(data + pos, size - pos, record);
        if (outcome == Outcome::kIncomplete) {
            return 0;
        }
        if (outcome == Outcome::kInvalid) {
            continue;
        }
        const std::size_t end = pos + record.length;
        std::size_t inner = end;
        if (!OpensNext(data + end, size - end)) {
            inner = FindInnerRecord(data, pos + 1, end, size);
        }
        if (inner == 0) {
            return 0;
        }
        if (inner < end) {
            pos = inner - 1;  // the next mark searched for is the inner one
            continue;
        }
        Assign(data + pos, record);
        return static_cast<std::int64_t>(end);
    }
    return 0;
}

std::size_t LogStorageMsg::FindInnerRecord(const std::uint8_t* data, std::size_t from, std::size_t end,
                                           std::size_t size) {
    // a mark that starts inside the span may end past it
    const std::size_t limit = std::min(end + kMarkSize - 1, size);
    for (std::size_t pos = NextMark(data, from, limit); pos < end; pos = NextMark(data, pos + 1, limit)) {
        Layout record;
        switch (Parse(data + pos, size - pos, record)) {
            case Outcome::kComplete:
                return pos;
            case Outcome::kIncomplete:
                return 0;
            case Outcome::kInvalid:
                break;
        }
    }
    return end;
}

void LogStorageMsg::Assign(const std::uint8_t* data, const Layout& record) {
    length_ = record.length;
    storageTime_ = data[3] == 0x01 ? record.storageTime : ReadStorageTime(data, storageLayout_);
    dataTime_ = record.dataTime;
    message_.standard_.mcnt_ = record.mcnt;
    message_.standard_.hasExtendedHeader_ = record.hasIds;
    ExtendedHeader& eh = message_.extended_;
    eh.msin_ = record.msin;
    AssignText(eh.apid_, record.apid, record.apidLength);
    AssignText(eh.ctid_, record.ctid, record.ctidLength);
    message_.text_.clear();
    AppendPayloadText(record.format, record.payload, static_cast<std::size_t>(data + length_ - record.payload),
                      message_.text_);
}

}  // namespace ara::log
