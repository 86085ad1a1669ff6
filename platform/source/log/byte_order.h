// Integers and ids as DLT lays them out: unsigned integers of 1 to 8 bytes in either byte order,
// and the 4-character ids of version 1 headers and control messages (NUL-padded, "*" for all);
// and Reader, which walks the fields of one header or payload without reading past its end.
// Every reader and writer of those bytes in the platform layer goes through here.
#ifndef ARA_LOG_BYTE_ORDER_H
#define ARA_LOG_BYTE_ORDER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "ara/core/string.h"

namespace ara::log::bytes {

constexpr std::size_t kIdSize = 4;

// An unsigned integer of n bytes, 1 to 8. Fixed widths load in one move.
inline std::uint64_t Load(const std::uint8_t* p, std::size_t n, bool bigEndian) {
    std::uint64_t value = 0;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    switch (n) {
        case 2: {
            std::uint16_t v;
            std::memcpy(&v, p, 2);
            value = v;
            break;
        }
        case 4: {
            std::uint32_t v;
            std::memcpy(&v, p, 4);
            value = v;
            break;
        }
        case 8:
            std::memcpy(&value, p, 8);
            break;
        default:
            for (std::size_t i = n; i-- > 0;) {
                value = (value << 8) | p[i];
            }
            break;
    }
    return bigEndian ? __builtin_bswap64(value) >> (64 - 8 * n) : value;
#else
    for (std::size_t i = 0; i < n; ++i) {
        value = (value << 8) | p[bigEndian ? i : n - 1 - i];
    }
    return value;
#endif
}

inline std::uint64_t LoadBe(const std::uint8_t* p, std::size_t n) { return Load(p, n, true); }
inline std::uint64_t LoadLe(const std::uint8_t* p, std::size_t n) { return Load(p, n, false); }

inline void StoreLe32(std::vector<char>& out, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<char>((value >> shift) & 0xFF));
    }
}

// The characters of an id that go on the wire: at most four.
inline core::StringView WireId(core::StringView id) { return id.substr(0, kIdSize); }

// Appends an id as its four bytes, NUL-padded; "*" (all) is four NULs.
inline void StoreId(std::vector<char>& out, core::StringView id) {
    const core::StringView wire = id == "*" ? core::StringView() : WireId(id);
    for (std::size_t i = 0; i < kIdSize; ++i) {
        out.push_back(i < wire.size() ? wire[i] : '\0');
    }
}

// The length of a stored 4-byte id, up to its first NUL.
inline std::size_t IdLength(const std::uint8_t* id) {
    std::size_t length = 0;
    while (length < kIdSize && id[length] != 0) {
        ++length;
    }
    return length;
}

// Reads a byte range front to back, integers in one byte order, never past the end: a read
// that does not fit fails and leaves the position where it was.
class Reader {
public:
    Reader(const std::uint8_t* data, std::size_t size, bool bigEndian)
        : data_(data), size_(size), bigEndian_(bigEndian) {}

    std::size_t Position() const { return pos_; }
    std::size_t Left() const { return size_ - pos_; }
    const std::uint8_t* Here() const { return data_ + pos_; }

    // The next n bytes, or nullptr when fewer are left.
    const std::uint8_t* Take(std::size_t n) {
        if (Left() < n) {
            return nullptr;
        }
        const std::uint8_t* p = data_ + pos_;
        pos_ += n;
        return p;
    }
    bool Skip(std::size_t n) { return Take(n) != nullptr; }
    // An integer of 1 to 8 bytes; any other width does not decode.
    bool Unsigned(std::size_t bytes, std::uint64_t& value) {
        if (bytes == 0 || bytes > sizeof(value) || Left() < bytes) {
            return false;
        }
        value = Load(Take(bytes), bytes, bigEndian_);
        return true;
    }
    bool U16(std::uint16_t& value) { return Fixed(value); }
    bool U32(std::uint32_t& value) { return Fixed(value); }
    // A length byte followed by that many bytes.
    bool Text(const std::uint8_t*& text, std::size_t& length) {
        const std::size_t start = pos_;
        const std::uint8_t* n = Take(1);
        if (n == nullptr || (text = Take(*n)) == nullptr) {
            pos_ = start;
            return false;
        }
        length = *n;
        return true;
    }
    bool SkipText() {
        const std::uint8_t* ignored = nullptr;
        std::size_t length = 0;
        return Text(ignored, length);
    }

private:
    template <typename T>
    bool Fixed(T& value) {
        std::uint64_t v = 0;
        const bool ok = Unsigned(sizeof(T), v);
        value = static_cast<T>(v);
        return ok;
    }

    const std::uint8_t* data_;
    std::size_t size_;
    bool bigEndian_;
    std::size_t pos_ = 0;
};

}  // namespace ara::log::bytes

#endif  // ARA_LOG_BYTE_ORDER_H
