// LineBuffer: a growable run of characters for output that is assembled in place. Unlike a
// string it does not fill the room it makes, so writing a line costs only the line.
#ifndef ZEL_CLT_LINE_BUFFER_H
#define ZEL_CLT_LINE_BUFFER_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

namespace zel::clt {

class LineBuffer {
public:
    // Room for at least n more characters; returns where they go. Pointers from earlier calls
    // are no longer valid.
    char* Reserve(std::size_t n) {
        if (capacity_ - size_ < n) {
            const std::size_t capacity = std::max(2 * capacity_, size_ + n);
            std::unique_ptr<char[]> grown(new char[capacity]);
            if (size_ != 0) {
                std::memcpy(grown.get(), data_.get(), size_);
            }
            data_ = std::move(grown);
            capacity_ = capacity;
        }
        return data_.get() + size_;
    }
    // Takes the characters written up to end (a pointer into the reserved room) as part of
    // the buffer.
    void Commit(const char* end) { size_ = static_cast<std::size_t>(end - data_.get()); }

    const char* Data() const { return data_.get(); }
    std::size_t Size() const { return size_; }
    bool Empty() const { return size_ == 0; }
    void Clear() { size_ = 0; }
    // Drops the first n characters.
    void DropFront(std::size_t n) {
        if (n != 0) {
            std::memmove(data_.get(), data_.get() + n, size_ - n);
            size_ -= n;
        }
    }

private:
    std::unique_ptr<char[]> data_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_LINE_BUFFER_H
