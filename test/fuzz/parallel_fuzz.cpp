// Converts arbitrary bytes in one forward pass on one thread and again cut into spans on
// several, and traps where the two differ in any byte of the text, in how the pass ended or in
// what it left carried. The first six bytes choose the shape, small enough that spans start
// everywhere a record, a mark or garbage can lie: blocks of 1 to 32 bytes (or the real 2048),
// spans of 1 to 4 blocks (more in a long file) on 2 to 4 threads or 16, a text limit that may end
// spans early, where the pass starts, and a read failure at some offset or none. The rest is the
// file, whose own version 2 records choose how both read their storage times (a seed per layout).
#include <cstddef>
#include <cstdint>
#include <string>

#include "forward_pass.h"

namespace {

using namespace zel::clt;

// The file in memory, failing every read at and after failAt.
class MemoryFile : public FileReader {
public:
    MemoryFile(const uint8_t* data, std::size_t size, std::size_t failAt) : data_(data), size_(size), failAt_(failAt) {}
    std::size_t ReadAt(uint64_t pos, uint8_t* into, std::size_t length) const override {
        const uint64_t end = std::min<uint64_t>({pos + length, size_, failAt_});
        const std::size_t n = end > pos ? static_cast<std::size_t>(end - pos) : 0;
        std::copy(data_ + pos, data_ + pos + n, into);
        return n;
    }

private:
    const uint8_t* data_;
    std::size_t size_;
    std::size_t failAt_;
};

struct Collect : TextOutput {
    bool Post(LineBuffer& lines) override {
        text.append(lines.Data(), lines.Size());
        lines.Clear();
        return true;
    }
    std::string text;
};

// The pass, then the end of a plain conversion; everything it printed and how it ended.
std::string Convert(const uint8_t* data, std::size_t size, std::size_t block, std::size_t start, std::size_t failAt,
                    const PassShape& shape) {
    MemoryFile file(data, size, failAt);
    ConvertText text(true, true);
    BlockDecoder decoder(text, block);
    ara::log::StorageTimeVote vote;
    vote.Count(data, size, true);
    decoder.SetStorageLayout(vote.Chosen());
    Collect out;
    file.Seek(start);
    const PassEnd end = RunForwardPass(file, decoder, text, out, size, shape, nullptr);
    std::string state = std::to_string(static_cast<int>(end)) + " " + std::to_string(file.Failed()) + " " +
                        std::to_string(file.Failed() ? 0 : file.Position()) + " " +
                        std::to_string(decoder.CarriedSize()) + " " + std::to_string(text.DroppedSinceRecord()) + "\n";
    decoder.Drain();
    text.ReportDropped();
    out.Post(text.Lines());
    return state + out.text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr std::size_t kShapeBytes = 6;
    constexpr uint64_t kMostSpans = 8;  // each costs the threads a hand-over
    if (size < kShapeBytes) {
        return 0;
    }
    const uint8_t* file = data + kShapeBytes;
    const std::size_t fileSize = size - kShapeBytes;
    const std::size_t block = data[0] == 0xFF ? kBlockSize : 1 + data[0] % 32;
    uint64_t span = block * (1 + data[2] % 4u);
    while (fileSize / span > kMostSpans) {
        span *= 2;
    }
    const PassShape shape{data[1] == 0xFF ? 16 : 2 + data[1] % 3u, span,
                          data[3] & 0x80 ? static_cast<std::size_t>(-1) : (data[3] & 0x7Fu) * 8};
    const std::size_t start = data[4] < 0xC0 ? 0 : (data[4] & 0x3Fu) * fileSize / 64;
    const std::size_t failAt = data[5] < 0xC0 ? static_cast<std::size_t>(-1) : (data[5] & 0x3Fu) * fileSize / 64;
    if (Convert(file, fileSize, block, start, failAt, PassShape{}) !=
        Convert(file, fileSize, block, start, failAt, shape)) {
        __builtin_trap();
    }
    return 0;
}
