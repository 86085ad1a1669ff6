// StorageLayoutScan: decides a file's layout of version 2 storage times (storage_time_layout.h)
// once, from the file's first kLayoutWindow bytes, so that every pass over the file reads the
// same times: the whole conversion, the tail of follow mode, the pass of each growth, and every
// span of a parallel pass take the layout from here before they decode.
//
// The version 2 records in the window decide, up to StorageTimeVote::kMostRecords of them; a
// file that is longer than the window and has none there reads version 2 records in layout A.
// The decision waits for the first pass that may decode a version 2 record: before it, no text
// depends on the layout. A pass shorter than the window that does not start the file (a tail,
// a growth) is searched for one first, so a version 1 file is read twice only up to its first
// kLayoutWindow bytes; a followed file that starts empty or with version 1 records only decides
// on the first version 2 records appended to it, from the window as it is then.
//
// One thread uses it. It reads by position (FileReader::ReadAt) and moves no read position.
#ifndef ZEL_CLT_STORAGE_LAYOUT_SCAN_H
#define ZEL_CLT_STORAGE_LAYOUT_SCAN_H

#include <cstdint>
#include <memory>

#include "ara/log/storage_time_layout.h"
#include "file_reader.h"

namespace zel::clt {

constexpr uint64_t kLayoutWindow = 256 * 1024;

class StorageLayoutScan {
public:
    // Decides the layout, unless decided, if the pass over the bytes [from, size) of the file
    // (from: where the bytes it carries in begin) may need it.
    void Look(const FileReader& reader, uint64_t from, uint64_t size);
    // The layout decided, or A while undecided (no version 2 record has been decoded).
    ara::log::StorageTimeLayout Layout() const { return vote_.Chosen(); }

private:
    // Counts the version 2 records of the file's bytes [from, end) into vote.
    void Count(const FileReader& reader, ara::log::StorageTimeVote& vote, uint64_t from, uint64_t end);

    ara::log::StorageTimeVote vote_;
    bool decided_ = false;
    std::unique_ptr<uint8_t[]> piece_;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_STORAGE_LAYOUT_SCAN_H
