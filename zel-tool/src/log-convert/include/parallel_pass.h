// ParallelPass: a forward pass (forward_pass.h) cut into spans that worker threads decode at
// once, while the calling thread joins their text in file order.
//
// Spans are whole blocks of the pass. A worker starts its span in the state that a file of
// whole records gives there: decoding resumes at the start of the record that holds the byte
// before the span (at the span's start where no record reaches it). It decodes the span with a
// text of its own, which holds back the count of bytes dropped in front of its first record,
// and notes after each block how many bytes it carries, how long its text is and how many bytes
// it dropped since its last record.
//
// The calling thread holds the true state: the reader's position, the decoder and the text. At
// a block end where a span noted the same count of carried bytes (so decoding resumes at the
// same byte) and, once the span has had a record, the same count of dropped bytes, what the span
// decoded from there on is exactly what one decoder would have made: its text goes out, behind
// the held count joined to the true one, and the true state moves to the span's end. Where the
// states differ, the calling thread decodes the block itself and compares again at the next
// block end. What a span left undecoded (its text had no room, or a read failed) the
// calling thread decodes itself the same way; a failing read then fails the reader, as it
// would on one thread. The calling thread also writes the text (TextOutput::Write): besides
// joining it has nothing to do, and handing each span to a writer thread cost more than it saved.
//
// Memory: at most workers + 1 spans are decoded or waiting, each in a slot with its text, made
// once at the text limit (or twice the span, if less). A worker judges its span a block at a
// time and ends it early rather than let the text outgrow that room: a block goes in only while
// the room left holds 6 characters for every byte it judges, the carried ones included (no
// record and no garbage makes more); the span's first block goes in whatever its text. Each
// worker reads its span in pieces of 128 KB into its decoder, whose buffer holds a piece and the
// bytes carried before it: 256 KB, or 512 KB once two records of over 64 KB are carried
// together. MostHeld adds these up, for ShapeFor to keep within its budget. The calling thread
// holds besides its own text (room for a piece of output and a read piece) and decoder.
#ifndef ZEL_CLT_PARALLEL_PASS_H
#define ZEL_CLT_PARALLEL_PASS_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "forward_pass.h"

namespace zel::clt {

class ParallelPass {
public:
    ParallelPass(FileReader& reader, BlockDecoder& decoder, ConvertText& text, TextOutput& out, const PassShape& shape,
                 const std::atomic<bool>* stop);
    ~ParallelPass();
    ParallelPass(const ParallelPass&) = delete;
    ParallelPass& operator=(const ParallelPass&) = delete;

    // Decodes from the reader's position towards end, in the pass the decoder has started.
    // kDone may leave the reader short of end where no thread could be started, or the threads
    // ran out of memory; the caller then goes on alone. The threads started are joined before
    // it returns, whatever way.
    PassEnd Run(uint64_t end);
    // Bytes the calling thread decoded itself: what wrong guesses and spans left undecoded cost.
    uint64_t Redecoded() const { return redecoded_; }
    // The most that the texts of the spans in flight and the workers' decoders hold in a pass of
    // this shape (see the top of this file).
    static uint64_t MostHeld(const PassShape& shape);

    struct Checkpoint;
    struct Span;
    class SpanText;
    class Crew;

private:
    void Work();
    // False where memory ran out: the span is left whole to the joining thread.
    bool DecodeOrLeave(std::size_t index, Span& span, SpanText& text, BlockDecoder& decoder,
                       std::vector<uint8_t>& look);
    void Decode(std::size_t index, Span& span, SpanText& text, BlockDecoder& decoder, std::vector<uint8_t>& look);
    // How many bytes decoder likely carries at the block end at (BlockDecoder::CarriedAt); reads
    // them into look, where they start at bytes.
    std::size_t LikelyCarried(uint64_t at, BlockDecoder& decoder, std::vector<uint8_t>& look,
                              const uint8_t*& bytes) const;
    PassEnd Join();
    PassEnd JoinSpan(Span& span);
    bool Same(const Checkpoint& checkpoint) const;
    PassEnd Splice(Span& span, std::size_t k);
    // Decodes the block at the reader's position on this thread.
    PassEnd DecodeBlock();
    bool Stopping() const { return stop_ != nullptr && stop_->load(std::memory_order_relaxed); }

    FileReader& reader_;
    BlockDecoder& decoder_;
    ConvertText& text_;
    TextOutput& out_;
    const PassShape shape_;
    const std::atomic<bool>* const stop_;
    uint64_t start_ = 0;
    uint64_t end_ = 0;
    std::size_t spanCount_ = 0;
    std::vector<uint8_t> initial_;  // the bytes carried into the pass
    uint64_t redecoded_ = 0;

    std::mutex mutex_;
    std::condition_variable spanDone_;  // the joining thread: a span is decoded
    std::condition_variable slotFree_;  // the workers: a span was joined, its slot is free
    std::vector<Span> slots_;           // span i is decoded into slot i % size
    std::size_t next_ = 0;              // the next span a worker takes
    std::size_t joined_ = 0;            // the spans joined so far
    unsigned live_ = 0;                 // worker threads that still take spans
    std::atomic<bool> quit_{false};     // the join has ended: spans in flight end at their next piece
};

}  // namespace zel::clt

#endif  // ZEL_CLT_PARALLEL_PASS_H
