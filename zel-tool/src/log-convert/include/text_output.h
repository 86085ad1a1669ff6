// TextOutput: where a conversion hands its text, in order, in pieces of whole lines.
#ifndef ZEL_CLT_TEXT_OUTPUT_H
#define ZEL_CLT_TEXT_OUTPUT_H

#include "line_buffer.h"

namespace zel::clt {

class TextOutput {
public:
    virtual ~TextOutput() = default;
    // Takes the lines, leaving lines empty (its room may be kept); false once the output has
    // failed: nothing more is worth making.
    virtual bool Post(LineBuffer& lines) = 0;
    // The same, for a caller that has nothing else to do: the lines may be written on its
    // thread before this returns.
    virtual bool Write(LineBuffer& lines) { return Post(lines); }
};

}  // namespace zel::clt

#endif  // ZEL_CLT_TEXT_OUTPUT_H
