// The forward pass of a conversion: the bytes from the reader's position up to an end go
// through the decoder into the text, and the text goes to the output in pieces of about
// kOutputChunk, in file order. The decoder and the text hold the state between passes; the
// reader ends at the end of the pass, or failed.
//
// Stop, when given, ends the pass soon after it is set from another thread (after the piece
// being decoded).
#ifndef ZEL_CLT_FORWARD_PASS_H
#define ZEL_CLT_FORWARD_PASS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "block_decoder.h"
#include "convert_text.h"
#include "file_reader.h"
#include "text_output.h"

namespace zel::clt {

// Record lines go to the output in pieces of about this size. Waking the writer thread costs
// tens of microseconds on a virtual machine: 64 KB pieces made the tool slower than writing
// itself, 512 KB ones leave that cost at a few per cent.
constexpr std::size_t kOutputChunk = 512 * 1024;

enum class PassEnd { kDone, kStopped, kReadFailed, kOutputFailed };

PassEnd RunForwardPass(FileReader& reader, BlockDecoder& decoder, ConvertText& text, TextOutput& out, uint64_t end,
                       const std::atomic<bool>* stop);

}  // namespace zel::clt

#endif  // ZEL_CLT_FORWARD_PASS_H
