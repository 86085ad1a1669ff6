// FileReader: reads a regular file and owns the read position. Read goes on from the position
// and moves it; a read that cannot deliver every byte asked for (the file ends, or the system
// reports a failure) leaves the reader failed: it has no position any more and Size fails.
// ReadAt reads by position and touches neither.
//
// A file that is followed may be truncated and written again while the reader waits: NoteTail
// keeps the bytes just before the position, and Rewritten tells whether they are still there.
//
// One thread calls Read, Seek and Size; ReadAt may be called from any thread at any time.
#ifndef ZEL_CLT_FILE_READER_H
#define ZEL_CLT_FILE_READER_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace zel::clt {

class FileReader {
public:
    FileReader() = default;
    virtual ~FileReader();
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;

    // False unless path names a regular file that can be read.
    bool Open(const std::string& path);
    // False once a read has failed, or when the size cannot be told.
    bool Size(uint64_t& size) const;
    uint64_t Position() const { return position_; }
    void Seek(uint64_t pos) { position_ = pos; }
    bool Failed() const { return failed_; }
    // Fails the reader, as a read past the end of the file would.
    void Fail() { failed_ = true; }
    // Copies up to length bytes from the position and moves past them; returns how many: fewer
    // than length leaves the reader failed.
    std::size_t Read(uint8_t* into, std::size_t length);
    // Copies up to length bytes from pos; returns how many: fewer when the file ends or a read
    // fails before length.
    virtual std::size_t ReadAt(uint64_t pos, uint8_t* into, std::size_t length) const;
    void NoteTail();
    // True when the bytes noted last are no longer the file's bytes before the position.
    bool Rewritten() const;

private:
    // The end of the last record read: a file written again with other records differs there.
    static constexpr std::size_t kTailSize = 64;

    std::size_t Tail(uint8_t* into) const;

    int fd_ = -1;
    uint8_t tail_[kTailSize] = {};
    std::size_t tailSize_ = 0;
    uint64_t position_ = 0;
    bool failed_ = false;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_FILE_READER_H
