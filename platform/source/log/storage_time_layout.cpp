#include "ara/log/storage_time_layout.h"

#include <algorithm>
#include <cstring>

#include "ara/log/log_storage_msg.h"
#include "byte_order.h"

namespace ara::log {
namespace {

using bytes::LoadBe;
using bytes::LoadLe;

constexpr std::size_t kMarkSize = LogStorageMsg::kMarkSize;
constexpr std::uint8_t kMarkV2[kMarkSize] = {'D', 'L', 'T', 0x02};
constexpr long kNanosPerSecond = 1000000000;
constexpr time_t kFrom1990 = 631152000;  // 1990-01-01 00:00:00 UTC
constexpr time_t kTo2100 = 4102444800;   // 2100-01-01 00:00:00 UTC

bool Plausible(const timespec& time) {
    return time.tv_nsec < kNanosPerSecond && time.tv_sec >= kFrom1990 && time.tv_sec < kTo2100;
}

// The next version 2 mark at or after pos, or size.
std::size_t NextV2Mark(const std::uint8_t* data, std::size_t pos, std::size_t size) {
    pos = LogStorageMsg::NextMark(data, pos, size);
    while (pos < size && std::memcmp(data + pos, kMarkV2, kMarkSize) != 0) {
        pos = LogStorageMsg::NextMark(data, pos + 1, size);
    }
    return pos;
}

}  // namespace

timespec ReadStorageTime(const std::uint8_t* record, StorageTimeLayout layout) {
    const std::uint8_t* time = record + 4;
    timespec t{};
    switch (layout) {
        case StorageTimeLayout::kA:
            t.tv_sec = static_cast<time_t>(LoadBe(time, 5));
            t.tv_nsec = static_cast<long>(LoadLe(time + 5, 4));
            break;
        case StorageTimeLayout::kB:
            t.tv_sec = static_cast<time_t>(LoadBe(time, 5));
            t.tv_nsec = static_cast<long>(LoadBe(time + 5, 4));
            break;
        case StorageTimeLayout::kC:
            t.tv_nsec = static_cast<long>(LoadLe(time, 4));
            t.tv_sec = static_cast<time_t>(LoadLe(time + 4, 5));
            break;
    }
    return t;
}

std::size_t StorageTimeVote::Count(const std::uint8_t* data, std::size_t size, bool last) {
    std::size_t pos = NextV2Mark(data, 0, size);
    for (; pos < size && !Full(); pos = NextV2Mark(data, pos + 1, size)) {
        switch (LogStorageMsg::Opens(data + pos, size - pos)) {
            case LogStorageMsg::Opening::kCutRecord:
                if (!last) {
                    return pos;
                }
                break;
            case LogStorageMsg::Opening::kWholeRecord:
                ++records_;
                for (const auto layout : {StorageTimeLayout::kA, StorageTimeLayout::kB, StorageTimeLayout::kC}) {
                    fits_[static_cast<std::size_t>(layout)] += Plausible(ReadStorageTime(data + pos, layout)) ? 1 : 0;
                }
                break;
            case LogStorageMsg::Opening::kNothing:
                break;
        }
    }
    return std::min(pos, size - std::min(size, kMarkSize - 1));  // a mark may start in the last three bytes
}

StorageTimeLayout StorageTimeVote::Chosen() const {
    // max_element finds the first of equals: A, then B, on a tie
    return static_cast<StorageTimeLayout>(std::max_element(fits_.begin(), fits_.end()) - fits_.begin());
}

}  // namespace ara::log
