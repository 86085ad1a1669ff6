// BlockDecoder: the forward decoding of a stored log file, fed with the file's bytes in order.
//
// A pass covers the bytes [start, end) and judges them in blocks of blockSize bytes counted from
// its start, the last block ending with the pass. After each block every complete record in
// the bytes held is decoded, except one that ends exactly with a block that is not the last:
// the bytes after it decide whether it is whole, so it is judged again with the next block.
// Bytes in front of the first place that may still open a record are dropped; from there on
// the bytes are carried to the next block (an incomplete record, at most two records long).
//
// The state that ties one block to the next is where the block ends and where decoding resumes
// (the first byte carried): the same two give the same decoding of what follows, whatever came
// before. The reporter hears, in file order, of every record, of every run of bytes dropped, and
// of every block end with the count of bytes carried from it. The decoder knows no file
// positions: its caller reads the file and feeds it, and gives it the file's layout of version 2
// storage times (StorageLayoutScan) before the first block, the same for every decoder of a file.
//
// One thread uses a decoder; the reporter outlives it.
#ifndef ZEL_CLT_BLOCK_DECODER_H
#define ZEL_CLT_BLOCK_DECODER_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "ara/log/log_storage_msg.h"

namespace zel::clt {

constexpr std::size_t kBlockSize = 2048;

class DecodeReporter {
public:
    virtual ~DecodeReporter() = default;
    // Bytes (at least one) that cannot be part of a record, reported before the next record.
    virtual void Dropped(uint64_t bytes) = 0;
    virtual void Decoded(const ara::log::LogStorageMsg& record) = 0;
    // A block was judged; decoding resumes carried bytes before its end.
    virtual void BlockDone(std::size_t carried) { (void)carried; }
};

class BlockDecoder {
public:
    explicit BlockDecoder(DecodeReporter& reporter, std::size_t blockSize = kBlockSize);
    BlockDecoder(const BlockDecoder&) = delete;
    BlockDecoder& operator=(const BlockDecoder&) = delete;

    void SetStorageLayout(ara::log::StorageTimeLayout layout) { record_.SetStorageLayout(layout); }
    ara::log::StorageTimeLayout StorageLayout() const { return record_.GetStorageLayout(); }
    // Forgets the bytes held.
    void Reset() { begin_ = end_ = 0; }
    // Takes n bytes as carried, after those held, without judging them: bytes that a block
    // ending where they end left incomplete.
    void Carry(const uint8_t* bytes, std::size_t n);
    // Begins a pass over the next length bytes; the bytes held are kept.
    void StartPass(uint64_t length);
    // Room for the next n bytes of the pass; Add(n) takes them once they are written there.
    uint8_t* Room(std::size_t n);
    // Takes n bytes written into Room and judges every block they complete.
    void Add(std::size_t n);
    // How many of the next n bytes make whole blocks: what a read that got only n bytes may
    // still hand to Add.
    std::size_t WholeBlocks(std::size_t n) const;
    // At the end of a plain conversion nothing completes the carried bytes: the first one is
    // dropped and the rest judged again, until none is carried.
    void Drain();

    // How many bytes a decoder of a file of whole records likely carries at a block end that it
    // did not reach: decoding resumes at the start of the record that holds the byte before the
    // block end (0 where no record reaches it). data holds the before bytes in front of the block
    // end and what follows of size bytes, at least a mark's length less one where there is more.
    std::size_t CarriedAt(const uint8_t* data, std::size_t before, std::size_t size);

    // The bytes carried: they start where decoding resumes and end with the last block judged.
    const uint8_t* Carried() const { return readDataBuf_.get() + begin_; }
    std::size_t CarriedSize() const { return end_ - begin_; }
    std::size_t BlockSize() const { return blockSize_; }

private:
    // Hands the reporter every record in the bytes held up to end, to be printed, and drops what
    // cannot open one; last: no byte follows them in this pass.
    void PrintLog(std::size_t end, bool last);
    // Drops the bytes from begin_ (up to limit) that lie before the first that may open a
    // record; returns how many.
    std::size_t DiscardLeftData(std::size_t limit);

    DecodeReporter& reporter_;
    const std::size_t blockSize_;
    ara::log::LogStorageMsg record_;          // reused for every record
    std::unique_ptr<uint8_t[]> readDataBuf_;  // the bytes held: those carried, then the newest
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0;    // where decoding resumes
    std::size_t end_ = 0;      // the end of the bytes held
    uint64_t toBlockEnd_ = 0;  // bytes still to come before the next block is judged
    uint64_t toPassEnd_ = 0;   // bytes still to come in this pass
};

}  // namespace zel::clt

#endif  // ZEL_CLT_BLOCK_DECODER_H
