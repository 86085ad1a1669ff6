// PipeRoom: how many bytes a pipe takes now without cutting a write short, as its one writer
// counts it. Kept by StandardOutput and called only on the thread that writes.
//
// The kernel holds a pipe's bytes in a fixed number of pages (F_GETPIPE_SZ / page size). A
// write tops up the last page with what it carries beyond whole pages when that fits there, and
// otherwise fills new pages from their start; a page stays taken until its last byte is read.
// So the unread bytes (FIONREAD) take at most the pages they would take if no write ever topped
// a page up, each write of n bytes in ceil(n / page) pages of its own. PipeRoom keeps the sizes
// of the latest writes to count that; a write of at most Room bytes then needs no more pages
// than are free, and a non-blocking write takes it whole. Unread bytes older than the writes
// kept (another writer's) count as packed into pages, plus one.
#ifndef ZEL_CLT_PIPE_ROOM_H
#define ZEL_CLT_PIPE_ROOM_H

#include <cstddef>
#include <deque>

namespace zel::clt {

class PipeRoom {
public:
    explicit PipeRoom(std::size_t page) : page_(page) {}

    void Wrote(std::size_t size);
    // Bytes a write may hand over to a pipe of capacity bytes (F_GETPIPE_SZ; anyone may change
    // it) that holds unread bytes (FIONREAD). Asked before each write.
    std::size_t Room(std::size_t capacity, std::size_t unread);

private:
    std::size_t PagesTaken(std::size_t unread) const;
    std::size_t PagesFor(std::size_t bytes) const { return (bytes + page_ - 1) / page_; }

    std::size_t page_;
    std::size_t widest_ = 0;          // the largest capacity seen: no more than this is unread
    std::deque<std::size_t> writes_;  // newest last, as many as may still be unread
    std::size_t kept_ = 0;            // their sum
};

}  // namespace zel::clt

#endif  // ZEL_CLT_PIPE_ROOM_H
