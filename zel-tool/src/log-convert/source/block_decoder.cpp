#include "block_decoder.h"

#include <algorithm>
#include <cstring>

namespace zel::clt {
namespace {

constexpr std::size_t kMarkSize = ara::log::LogStorageMsg::kMarkSize;

}  // namespace

BlockDecoder::BlockDecoder(DecodeReporter& reporter, std::size_t blockSize)
    : reporter_(reporter), blockSize_(blockSize) {}

void BlockDecoder::Carry(const uint8_t* bytes, std::size_t n) {
    if (n != 0) {
        std::memcpy(Room(n), bytes, n);
        end_ += n;
    }
}

void BlockDecoder::StartPass(uint64_t length) {
    toPassEnd_ = length;
    toBlockEnd_ = std::min<uint64_t>(blockSize_, length);
}

uint8_t* BlockDecoder::Room(std::size_t n) {
    if (capacity_ - end_ < n) {
        const std::size_t held = end_ - begin_;
        if (capacity_ - held < n) {
            const std::size_t capacity = std::max(2 * capacity_, held + n);
            std::unique_ptr<uint8_t[]> grown(new uint8_t[capacity]);
            if (held != 0) {
                std::memcpy(grown.get(), readDataBuf_.get() + begin_, held);
            }
            readDataBuf_ = std::move(grown);
            capacity_ = capacity;
        } else if (held != 0) {
            std::memmove(readDataBuf_.get(), readDataBuf_.get() + begin_, held);
        }
        begin_ = 0;
        end_ = held;
    }
    return readDataBuf_.get() + end_;
}

void BlockDecoder::Add(std::size_t n) {
    std::size_t judged = end_;  // the end of the bytes judged so far
    end_ += n;
    toPassEnd_ -= n;
    while (toBlockEnd_ != 0 && toBlockEnd_ <= end_ - judged) {
        judged += static_cast<std::size_t>(toBlockEnd_);
        const bool last = judged == end_ && toPassEnd_ == 0;
        PrintLog(judged, last);
        toBlockEnd_ = std::min<uint64_t>(blockSize_, toPassEnd_ + (end_ - judged));
    }
    if (toBlockEnd_ != 0) {
        toBlockEnd_ -= end_ - judged;  // counted from the end of the bytes held
    }
}

std::size_t BlockDecoder::WholeBlocks(std::size_t n) const {
    if (n < toBlockEnd_) {
        return 0;
    }
    const uint64_t whole = toBlockEnd_ + (n - toBlockEnd_) / blockSize_ * blockSize_;
    return static_cast<std::size_t>(std::min<uint64_t>(whole, toPassEnd_));  // 0 once the pass is over
}

void BlockDecoder::Drain() {
    // a read that failed left the pass short: a record that ends with the bytes held still
    // waits for bytes after it, as it did in the blocks before
    const bool last = toPassEnd_ == 0;
    while (begin_ < end_) {
        ++begin_;
        reporter_.Dropped(1);
        PrintLog(end_, last);
    }
}

void BlockDecoder::PrintLog(std::size_t end, bool last) {
    const uint8_t* data = readDataBuf_.get();
    std::size_t offset = begin_;
    while (offset < end) {
        const int64_t consumed = record_.Deserialize(data + offset, end - offset);
        if (consumed < 1 || (offset + static_cast<std::size_t>(consumed) == end && !last)) {
            break;
        }
        offset += static_cast<std::size_t>(consumed);
        const uint64_t skipped = static_cast<uint64_t>(consumed) - record_.GetLength();
        if (skipped != 0) {
            reporter_.Dropped(skipped);
        }
        reporter_.Decoded(record_);
    }
    begin_ = offset;
    const std::size_t discarded = DiscardLeftData(end);
    if (discarded != 0) {
        reporter_.Dropped(discarded);
    }
    reporter_.BlockDone(end - begin_);
}

std::size_t BlockDecoder::DiscardLeftData(std::size_t limit) {
    const std::size_t size = limit - begin_;
    if (size < kMarkSize) {  // too short to tell
        return 0;
    }
    // A mark whose headers are known to be invalid is garbage, so at most one record is ever
    // carried. The block may end inside the mark of the next record, so a tail that begins
    // like a mark is kept too.
    const uint8_t* data = readDataBuf_.get() + begin_;
    std::size_t first = 0;
    while (first < size) {
        const void* d = std::memchr(data + first, 'D', size - first);
        first = d == nullptr ? size : static_cast<std::size_t>(static_cast<const uint8_t*>(d) - data);
        if (first == size || ara::log::LogStorageMsg::CanOpenRecord(data + first, size - first)) {
            break;
        }
        ++first;
    }
    begin_ += first;
    return first;
}

std::size_t BlockDecoder::CarriedAt(const uint8_t* data, std::size_t before, std::size_t size) {
    for (std::size_t n = before; n > 0;) {
        const void* d = memrchr(data, 'D', n);
        if (d == nullptr) {
            break;
        }
        const auto r = static_cast<std::size_t>(static_cast<const uint8_t*>(d) - data);
        if (ara::log::LogStorageMsg::StartsWithMark(data + r, size - r) &&
            ara::log::LogStorageMsg::CanOpenRecord(data + r, size - r)) {
            // a record that ends before the block end is done, and so is what lies behind it
            const int64_t consumed = record_.Deserialize(data + r, before - r);
            const bool done = consumed > 0 && static_cast<uint64_t>(consumed) == record_.GetLength() &&
                              static_cast<std::size_t>(consumed) < before - r;
            return done ? 0 : before - r;
        }
        n = r;
    }
    return 0;
}

}  // namespace zel::clt
