#include "forward_pass.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <vector>

#include "parallel_pass.h"

namespace zel::clt {
namespace {

// A pass shorter than this takes a few milliseconds on one thread: starting more does not pay.
constexpr uint64_t kParallelFrom = 4 * 1024 * 1024;
constexpr unsigned kMostWorkers = 16;
// What the workers' buffers may hold: with the one thread's own (its text, the piece being
// written, its decoder) and the program, the conversion stays within 16 MB.
constexpr uint64_t kPassBudget = 10 * 1024 * 1024;
constexpr uint64_t kLargestSpan = 512 * 1024;
constexpr uint64_t kSmallestSpan = 64 * 1024;
// Spans are halved from the largest down to no less than the smallest: every size on the way is
// whole blocks and above 0.
static_assert(kSmallestSpan > 0 && kSmallestSpan % kBlockSize == 0 && kLargestSpan % kSmallestSpan == 0 &&
                  ((kLargestSpan / kSmallestSpan) & (kLargestSpan / kSmallestSpan - 1)) == 0,
              "a span is whole blocks");
// One piece read on one thread: it stays in the processor's cache while it is decoded.
constexpr std::size_t kOneThreadPiece = 64 * 1024;

}  // namespace

PassShape ShapeFor(uint64_t bytes, const ProcessorBudget& budget) {
    const double usable = budget.Usable();
    if (usable < 2 || bytes < kParallelFrom) {  // below two processors' worth, workers only cost
        return PassShape{};
    }
    const unsigned workers = std::min(static_cast<unsigned>(std::ceil(usable)), kMostWorkers);
    PassShape shape{workers, kLargestSpan, 2 * kLargestSpan};  // a text up to twice its span
    while (ParallelPass::MostHeld(shape) > kPassBudget && shape.spanSize > kSmallestSpan) {
        shape.spanSize /= 2;
        shape.textLimit = static_cast<std::size_t>(2 * shape.spanSize);
    }
    assert(shape.spanSize > 0 && shape.spanSize % kBlockSize == 0);
    return shape;
}

PassShape ShapeFor(uint64_t bytes) {
    return bytes < kParallelFrom ? PassShape{} : ShapeFor(bytes, ThisProcessBudget());
}

PassEnd RunForwardPass(FileReader& reader, BlockDecoder& decoder, ConvertText& text, TextOutput& out, uint64_t end,
                       const PassShape& shape, const std::atomic<bool>* stop) {
    const uint64_t start = reader.Position();
    if (end < start) {  // the file shrank below the read position: reading on fails
        std::vector<uint8_t> block(decoder.BlockSize());
        return reader.Read(block.data(), block.size()) < block.size() ? PassEnd::kReadFailed : PassEnd::kDone;
    }
    decoder.StartPass(end - start);
    if (shape.workers > 1 && end - start > shape.spanSize) {
        const PassEnd result = ParallelPass(reader, decoder, text, out, shape, stop).Run(end);
        if (result != PassEnd::kDone) {
            return result;
        }
    }
    const std::size_t piece = std::max<std::size_t>(1, kOneThreadPiece / decoder.BlockSize()) * decoder.BlockSize();
    while (reader.Position() < end) {
        if (stop != nullptr && stop->load(std::memory_order_relaxed)) {
            return PassEnd::kStopped;
        }
        const auto n = static_cast<std::size_t>(std::min<uint64_t>(piece, end - reader.Position()));
        const PassEnd result = DecodeNext(reader, decoder, text, n, out, false);
        if (result != PassEnd::kDone) {
            return result;
        }
    }
    return PassEnd::kDone;
}

PassEnd DecodeNext(FileReader& reader, BlockDecoder& decoder, ConvertText& text, std::size_t n, TextOutput& out,
                   bool write) {
    const std::size_t got = reader.Read(decoder.Room(n), n);
    if (got < n) {
        decoder.Add(decoder.WholeBlocks(got));  // the blocks before the one that failed
        return PassEnd::kReadFailed;
    }
    decoder.Add(n);
    if (text.Lines().Size() >= kOutputChunk && !(write ? out.Write(text.Lines()) : out.Post(text.Lines()))) {
        return PassEnd::kOutputFailed;
    }
    return PassEnd::kDone;
}

}  // namespace zel::clt
