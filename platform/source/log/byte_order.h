// Integers and ids as DLT lays them out: unsigned integers of 1 to 8 bytes in either byte order,
// and the 4-character ids of version 1 headers and control messages (NUL-padded, "*" for all).
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

}  // namespace ara::log::bytes

#endif  // ARA_LOG_BYTE_ORDER_H
