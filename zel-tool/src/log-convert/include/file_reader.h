// FileReader: reads a regular file by position. A read that goes on where the one before ended
// is served from a piece of the file read whole; while the caller works through it, a thread of
// its own reads the next piece, so that the system's copy of the file runs beside the decoding.
// Any other read goes straight to the file. Size drops what was read ahead: what follows it
// comes from the file as it is then.
//
// One thread calls it; the thread reading ahead starts with the first whole piece.
#ifndef ZEL_CLT_FILE_READER_H
#define ZEL_CLT_FILE_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "worker.h"

namespace zel::clt {

class FileReader {
public:
    FileReader();
    ~FileReader();
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;

    // False unless path names a regular file that can be read.
    bool Open(const std::string& path);
    bool Size(uint64_t& size);
    // Copies the length bytes at pos into into; false when the file does not hold them all or
    // cannot be read.
    bool Read(uint64_t pos, uint8_t* into, std::size_t length);

private:
    struct Piece {
        std::unique_ptr<uint8_t[]> data;
        uint64_t start = 0;
        std::size_t size = 0;
        bool Holds(uint64_t pos, std::size_t length) const {
            return pos >= start && pos - start <= size && size - (pos - start) >= length;
        }
    };
    // How many of the length bytes at pos it copied into into: fewer at the end of the file or
    // where a read fails.
    std::size_t ReadAt(uint64_t pos, uint8_t* into, std::size_t length) const;
    void Fill(Piece& piece, uint64_t pos) const;

    int fd_ = -1;
    uint64_t next_ = 0;  // where a read that goes on from the one before starts
    Piece current_;      // the piece reads are served from
    Piece ahead_;        // the next one, read by worker_ between its Start and Wait
    Worker worker_;      // last: it ends before the piece it reads into
};

}  // namespace zel::clt

#endif  // ZEL_CLT_FILE_READER_H
