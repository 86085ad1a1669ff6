// LogStorageMsg: one record of a stored DLT log file, decoded from bytes.
//
// A stored file is a plain sequence of records, each opened by a storage header whose mark is
// "DLT" and a version byte. Integers are big-endian (BE) or little-endian (LE) as marked.
//
// Version 1                                  Version 2
//   storage header, 16 bytes                   storage header, 15 + n bytes
//     0  4  "DLT" 0x01                           0  4  "DLT" 0x02
//     4  4  seconds (LE)                         4  9  storage time, in the file's layout
//     8  4  microseconds (LE, signed)                  (storage_time_layout.h): A is seconds
//    12  4  ECU id                                     (BE 5), then nanoseconds (LE 4)
//   standard header                             13  1  n, ECU id length;  14  n  ECU id
//     0  1  HTYP: 0x01 extended header,         base header
//           0x02 payload BE, 0x04 ECU id,         0  4  HTYP2: byte 0 bits 0-1 content (0 verbose,
//           0x08 session id, 0x10 timestamp,            1 non-verbose, 2 control), bit 2 ECU id,
//           0xE0 version (must be 1)                     bit 3 app/context ids, bit 4 session id,
//     1  1  MCNT                                         bits 5-7 version (must be 2); byte 1
//     2  2  LEN (BE): the message without                bit 0 file and line, bit 1 tags, bit 2
//           the storage header                           privacy level, bit 3 segmentation
//     then, as flagged: ECU id (4),               4  1  MCNT
//     session id (BE 4), timestamp (BE 4,         5  2  LEN (BE): the message without the
//     0.1 ms since the ECU started)                     storage header
//   extended header, when flagged, 10 bytes       then verbose: MSIN, NOAR, timestamp;
//     0  1  MSIN: bit 0 verbose, bits 1-3         non-verbose: timestamp, message id (BE 4);
//           type (0 log, 1 app trace, 2 network   control: MSIN, NOAR. Timestamp: nanoseconds
//           trace, 3 control), bits 4-7 type      (BE 4; bit 31 set: since the ECU started)
//           info (the level of a log message)     and seconds (BE 5).
//     1  1  NOAR                                 extension header, in flag order: ECU id, app
//     2  4  APID;  6  4  CTID                    and context ids (length byte + text each),
//   payload: the rest                            session id (BE 4), file name (length byte +
//                                                text) and line (BE 4), tags (count, then
//                                                length byte + text each), privacy level (1),
//                                                segmentation (length byte, then skipped)
//                                              payload: the rest; verbose arguments LE
//
// Deserialize finds records in order: the first storage mark whose headers are valid (right
// version, LEN at least the headers it announces) opens the next record. When that record is
// wholly inside the bytes it is decoded; otherwise nothing is, so that a record cut at the end
// of the bytes is completed by more bytes instead of being searched for marks in its payload.
// A decoded record is taken when a mark (or the end of the bytes) follows it. When something
// else follows, its writer died inside it and a restarted writer went on: if a complete valid
// record starts inside its span, decoding restarts there and the bytes in front are skipped; a
// record without one is taken as it is, so a payload that carries a whole record stays one.
// Garbage in front of the record is skipped and counted in the result. A version 2 storage time
// is read in the layout set (A until then); nothing else depends on it.
#ifndef ARA_LOG_LOG_STORAGE_MSG_H
#define ARA_LOG_LOG_STORAGE_MSG_H

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <utility>
#include <vector>

#include "ara/log/log_lt_message.h"
#include "ara/log/storage_time_layout.h"

namespace ara::log {

class LogStorageMsg {
public:
    // Bytes consumed from the front (skipped garbage plus the record), or 0 when no complete
    // record is there.
    std::int64_t Deserialize(const std::vector<std::uint8_t>& bytes) { return Deserialize(bytes.data(), bytes.size()); }
    std::int64_t Deserialize(const std::uint8_t* data, std::size_t size);

    // The decoded record's own length: storage header plus LEN.
    std::uint64_t GetLength() const { return length_; }
    // First the data time (the message's own time stamp), second the management time (when
    // the log daemon stored it).
    std::pair<timespec, timespec> GetPlatformTime() const { return {dataTime_, storageTime_}; }
    const LogLTMessage& GetLogMsg() const { return message_; }
    // The layout of version 2 storage times: one per file, the same for every decoder of it.
    void SetStorageLayout(StorageTimeLayout layout) { storageLayout_ = layout; }
    StorageTimeLayout GetStorageLayout() const { return storageLayout_; }

    // The storage mark: "DLT" and the version byte.
    static constexpr std::size_t kMarkSize = 4;
    // True when at least kMarkSize bytes are there and they are a storage mark: "DLT" and the
    // version byte 1 or 2.
    static bool StartsWithMark(const std::uint8_t* data, std::size_t size) {
        return size >= kMarkSize && data[0] == 'D' && data[1] == 'L' && data[2] == 'T' &&
               (data[3] == 0x01 || data[3] == 0x02);
    }
    // Where the next storage mark starts at or after pos in the size bytes of data; size where
    // none does.
    static std::size_t NextMark(const std::uint8_t* data, std::size_t pos, std::size_t size);
    // True when data (at least one byte) may open a record: a storage mark (or the start of one,
    // cut by the end of the bytes) whose headers are valid or not all there yet. A mark with
    // invalid headers cannot open a record, however many bytes follow.
    static bool CanOpenRecord(const std::uint8_t* data, std::size_t size);
    // What a storage mark at data (at least 4 bytes) opens: nothing (its headers are invalid), a
    // record that the end of the bytes cuts, or a whole record with valid headers.
    enum class Opening : std::uint8_t { kNothing, kCutRecord, kWholeRecord };
    static Opening Opens(const std::uint8_t* data, std::size_t size);

    // What walking one record's headers found; defined and used by the decoder alone.
    struct Layout;

private:
    // Where a complete valid record starts inside [from, end); 0 when one starts there but is
    // not complete yet; end when there is none.
    static std::size_t FindInnerRecord(const std::uint8_t* data, std::size_t from, std::size_t end, std::size_t size);
    void Assign(const std::uint8_t* data, const Layout& record);

    std::uint64_t length_ = 0;
    timespec dataTime_{};
    timespec storageTime_{};
    LogLTMessage message_;
    StorageTimeLayout storageLayout_ = StorageTimeLayout::kA;
};

}  // namespace ara::log

#endif  // ARA_LOG_LOG_STORAGE_MSG_H
