#include "forward_pass.h"

#include <algorithm>
#include <vector>

namespace zel::clt {
namespace {

// One piece read on one thread: it stays in the processor's cache while it is decoded.
constexpr std::size_t kReadPiece = 64 * 1024;

}  // namespace

PassEnd RunForwardPass(FileReader& reader, BlockDecoder& decoder, ConvertText& text, TextOutput& out, uint64_t end,
                       const std::atomic<bool>* stop) {
    const uint64_t start = reader.Position();
    if (end < start) {  // the file shrank below the read position: reading on fails
        std::vector<uint8_t> block(decoder.BlockSize());
        return reader.Read(block.data(), block.size()) < block.size() ? PassEnd::kReadFailed : PassEnd::kDone;
    }
    decoder.StartPass(end - start);
    const std::size_t piece = std::max<std::size_t>(1, kReadPiece / decoder.BlockSize()) * decoder.BlockSize();
    while (reader.Position() < end) {
        if (stop != nullptr && stop->load(std::memory_order_relaxed)) {
            return PassEnd::kStopped;
        }
        const auto n = static_cast<std::size_t>(std::min<uint64_t>(piece, end - reader.Position()));
        const std::size_t got = reader.Read(decoder.Room(n), n);
        if (got < n) {
            decoder.Add(decoder.WholeBlocks(got));  // the blocks before the one that failed
            return PassEnd::kReadFailed;
        }
        decoder.Add(n);
        if (text.Lines().Size() >= kOutputChunk && !out.Post(text.Lines())) {
            return PassEnd::kOutputFailed;
        }
    }
    return PassEnd::kDone;
}

}  // namespace zel::clt
