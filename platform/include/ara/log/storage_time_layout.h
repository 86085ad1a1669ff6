// The three layouts of a version 2 storage time, and the choice of one for a file.
//
// Bytes 4-12 of a version 2 storage header hold the time the log daemon stored the record. The
// writers disagree on their layout (BE: big-endian, LE: little-endian):
//
//   layout  bytes 4-8        bytes 9-12        written by
//   A       seconds (BE 5)   nanoseconds (LE)  the COVESA daemon on a little-endian host
//   B       seconds (BE 5)   nanoseconds (BE)  the layout that daemon's header declares
//   C       bytes 4-7 nanoseconds (LE), 8-12 seconds (LE 5): the COVESA viewer
//
// A file holds one layout. StorageTimeVote chooses it from the file's own records: a record fits
// a layout when, read that way, its nanoseconds are below 10^9 and its seconds lie in the years
// 1990 to 2099. The layout that the most records fit wins, the first of A, B, C on a tie: A, then
// B where the records fit more than one, and the one that fits the most where none fits all.
//
// A vote is used by one thread.
#ifndef ARA_LOG_STORAGE_TIME_LAYOUT_H
#define ARA_LOG_STORAGE_TIME_LAYOUT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace ara::log {

enum class StorageTimeLayout : std::uint8_t { kA, kB, kC };

// The storage time of the version 2 record at record, read in layout.
timespec ReadStorageTime(const std::uint8_t* record, StorageTimeLayout layout);

class StorageTimeVote {
public:
    // Records counted at most: a few suffice to tell the layouts apart.
    static constexpr std::size_t kMostRecords = 256;

    // Counts, in order and up to kMostRecords in all, every version 2 record whose mark lies in
    // the bytes and whose headers are valid and lie wholly inside them. Where the end of the bytes
    // cuts a record: with last, nothing follows the bytes and it is passed over; otherwise counting
    // stops there, to go on from it with the bytes that follow. Returns how far the marks were
    // judged: that record, or the last three bytes, which may begin a mark.
    std::size_t Count(const std::uint8_t* data, std::size_t size, bool last);

    std::size_t Records() const { return records_; }
    bool Full() const { return records_ >= kMostRecords; }
    // The layout the most records counted fit; A when none was counted.
    StorageTimeLayout Chosen() const;

private:
    std::array<std::size_t, 3> fits_{};  // by layout
    std::size_t records_ = 0;
};

}  // namespace ara::log

#endif  // ARA_LOG_STORAGE_TIME_LAYOUT_H
