#include "storage_layout_scan.h"

#include <algorithm>

namespace zel::clt {
namespace {

// Longer than the longest record (a storage header of 269 bytes and a LEN of 65535), so a piece
// that starts at a mark holds its record whole unless the bytes scanned end first; and below the
// 128 KB from which the allocator maps memory of its own, a cost that showed on small files.
constexpr std::size_t kPiece = 72 * 1024;

}  // namespace

void StorageLayoutScan::Look(const FileReader& reader, uint64_t from, uint64_t size) {
    if (decided_) {
        return;
    }
    if (from != 0 && from + kLayoutWindow > size) {
        ara::log::StorageTimeVote pass;
        Count(reader, pass, from, size);
        if (pass.Records() == 0) {
            return;  // the pass decodes no version 2 record
        }
    }
    // Once a pass holds a version 2 record, the window holds one too, or the file is longer
    // than the window: this decides.
    Count(reader, vote_, 0, std::min(size, kLayoutWindow));
    decided_ = vote_.Records() != 0 || size >= kLayoutWindow;
}

void StorageLayoutScan::Count(const FileReader& reader, ara::log::StorageTimeVote& vote, uint64_t from, uint64_t end) {
    if (!piece_) {
        piece_.reset(new uint8_t[kPiece]);
    }
    while (from < end && !vote.Full()) {
        const auto n = static_cast<std::size_t>(std::min<uint64_t>(kPiece, end - from));
        const std::size_t got = reader.ReadAt(from, piece_.get(), n);
        const bool last = got < n || from + n == end;  // a failed read ends it: the pass meets the failure
        from += vote.Count(piece_.get(), got, last);
        if (last) {
            break;
        }
    }
}

}  // namespace zel::clt
