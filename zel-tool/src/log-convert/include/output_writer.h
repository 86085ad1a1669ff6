// OutputWriter: writes pieces of record lines to standard output on a thread of its own, so
// that the system's copy of one piece into a file or a pipe runs while the next piece is being
// formatted. At most one piece is in flight; the thread starts with the first piece.
//
// Post, Write and Drain are called from one thread, the producer. Drain returns once everything
// posted is written and standard output is flushed: the producer may then use std::cout itself
// until its next Post.
#ifndef ZEL_CLT_OUTPUT_WRITER_H
#define ZEL_CLT_OUTPUT_WRITER_H

#include "line_buffer.h"
#include "text_output.h"
#include "worker.h"

namespace zel::clt {

class OutputWriter : public TextOutput {
public:
    OutputWriter();

    // Takes the lines for writing and leaves lines empty; waits only while an earlier piece is
    // still being written. False once a write to standard output has failed (StandardOutput).
    bool Post(LineBuffer& lines) override;
    // Writes the lines on the calling thread, after the piece in flight, and leaves them empty.
    bool Write(LineBuffer& lines) override;
    void Drain();

private:
    LineBuffer inFlight_;  // the piece being written
    Worker worker_;        // last: it ends before the piece it writes
};

}  // namespace zel::clt

#endif  // ZEL_CLT_OUTPUT_WRITER_H
