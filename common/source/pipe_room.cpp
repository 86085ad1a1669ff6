#include "pipe_room.h"

#include <algorithm>

namespace zel::clt {

void PipeRoom::Wrote(std::size_t size) {
    writes_.push_back(size);
    kept_ += size;
}

std::size_t PipeRoom::Room(std::size_t capacity, std::size_t unread) {
    widest_ = std::max(widest_, capacity);
    // the pipe never holds more than it ever could: older writes are read
    while (writes_.size() > 1 && kept_ - writes_.front() >= widest_) {
        kept_ -= writes_.front();
        writes_.pop_front();
    }
    const std::size_t pages = capacity / page_;
    const std::size_t taken = PagesTaken(unread);
    return taken >= pages ? 0 : (pages - taken) * page_;
}

std::size_t PipeRoom::PagesTaken(std::size_t unread) const {
    std::size_t pages = 0;
    for (auto write = writes_.rbegin(); write != writes_.rend() && unread > 0; ++write) {
        if (unread >= *write) {
            pages += PagesFor(*write);
            unread -= *write;
            continue;
        }
        // the unread end of a write: its last page holds what lies beyond its whole pages
        const std::size_t last = *write % page_ == 0 ? page_ : *write % page_;
        pages += unread <= last ? 1 : 1 + PagesFor(unread - last);
        return pages;
    }
    return unread > 0 ? pages + PagesFor(unread) + 1 : pages;
}

}  // namespace zel::clt
