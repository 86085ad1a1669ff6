// The forward pass of a conversion: the bytes from the reader's position up to an end go
// through the decoder into the text, and the text goes to the output in pieces of about
// kOutputChunk, in file order. The decoder and the text hold the state between passes; the
// reader ends at the end of the pass, or failed.
//
// A long pass may be cut into spans that several threads decode at once (parallel_pass.h); its
// shape says how. Whatever the shape, the text is the same byte for byte. Stop, when given, ends
// the pass soon after it is set from another thread (after the piece being decoded).
#ifndef ZEL_CLT_FORWARD_PASS_H
#define ZEL_CLT_FORWARD_PASS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "block_decoder.h"
#include "convert_text.h"
#include "file_reader.h"
#include "processor_budget.h"
#include "text_output.h"

namespace zel::clt {

// Record lines go to the output in pieces of about this size. Waking the writer thread costs
// tens of microseconds on a virtual machine: 64 KB pieces made the tool slower than writing
// itself, 512 KB ones leave that cost at a few per cent.
constexpr std::size_t kOutputChunk = 512 * 1024;

struct PassShape {
    unsigned workers = 1;       // threads that decode spans; with 1 the caller decodes alone
    uint64_t spanSize = 0;      // bytes per span: whole blocks, above 0 where workers > 1
    std::size_t textLimit = 0;  // the room for a span's text: a span ends early rather than outgrow it
};

// How a pass over bytes is cut: on one thread below a few megabytes or below two processors'
// worth of the budget, otherwise on as many as the budget allows (rounded up), at most 16, with
// spans small enough that what the workers hold (ParallelPass::MostHeld) stays within 10 MB and
// the whole conversion within 16 MB.
PassShape ShapeFor(uint64_t bytes, const ProcessorBudget& budget);
// The same with this process's budget, which is read (ThisProcessBudget) only for a pass long
// enough for workers.
PassShape ShapeFor(uint64_t bytes);

enum class PassEnd { kDone, kStopped, kReadFailed, kOutputFailed };

PassEnd RunForwardPass(FileReader& reader, BlockDecoder& decoder, ConvertText& text, TextOutput& out, uint64_t end,
                       const PassShape& shape, const std::atomic<bool>* stop);

// One step of a pass: reads the next n bytes into the decoder, which judges every whole block of
// them (after a short read, the whole blocks before the failure: kReadFailed), and hands the text
// to out once it holds a piece of kOutputChunk, on this thread when write is set (TextOutput).
PassEnd DecodeNext(FileReader& reader, BlockDecoder& decoder, ConvertText& text, std::size_t n, TextOutput& out,
                   bool write);

}  // namespace zel::clt

#endif  // ZEL_CLT_FORWARD_PASS_H
