#include "file_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zel::clt {

FileReader::~FileReader() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool FileReader::Open(const std::string& path) {
    // without O_NONBLOCK, opening a FIFO named like a log would wait for a writer; regular files
    // read the same either way
    fd_ = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat st {};
    return fd_ >= 0 && fstat(fd_, &st) == 0 && S_ISREG(st.st_mode);
}

bool FileReader::Size(uint64_t& size) const {
    struct stat st {};
    if (failed_ || fstat(fd_, &st) != 0) {
        return false;
    }
    size = static_cast<uint64_t>(st.st_size);
    return true;
}

std::size_t FileReader::Read(uint8_t* into, std::size_t length) {
    const std::size_t got = ReadAt(position_, into, length);
    position_ += got;
    if (got < length) {
        failed_ = true;
    }
    return got;
}

std::size_t FileReader::ReadAt(uint64_t pos, uint8_t* into, std::size_t length) const {
    std::size_t done = 0;
    while (done < length) {
        const ssize_t got = pread(fd_, into + done, length - done, static_cast<off_t>(pos + done));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {  // a failure, or the end of the file
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    return done;
}

void FileReader::NoteTail() { tailSize_ = Tail(tail_); }

bool FileReader::Rewritten() const {
    uint8_t now[kTailSize];
    return Tail(now) != tailSize_ || std::memcmp(now, tail_, tailSize_) != 0;
}

std::size_t FileReader::Tail(uint8_t* into) const {
    const auto size = static_cast<std::size_t>(std::min<uint64_t>(kTailSize, position_));
    return ReadAt(position_ - size, into, size);
}

}  // namespace zel::clt
