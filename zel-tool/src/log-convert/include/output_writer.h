// OutputWriter: writes pieces of record lines to standard output on a thread of its own, so
// that the system's copy of one piece into a file or a pipe runs while the next piece is being
// formatted. At most one piece is in flight; the thread starts with the first piece.
//
// Post and Drain are called from one thread, the producer. Drain returns once everything
// posted is written and standard output is flushed: the producer may then use std::cout itself
// until its next Post.
#ifndef ZEL_CLT_OUTPUT_WRITER_H
#define ZEL_CLT_OUTPUT_WRITER_H

#include <condition_variable>
#include <mutex>
#include <thread>

#include "line_buffer.h"

namespace zel::clt {

class OutputWriter {
public:
    OutputWriter() = default;
    ~OutputWriter();
    OutputWriter(const OutputWriter&) = delete;
    OutputWriter& operator=(const OutputWriter&) = delete;

    // Takes the lines for writing and leaves lines empty; waits only while an earlier piece is
    // still being written.
    void Post(LineBuffer& lines);
    void Drain();

private:
    void Run();
    void WaitUntilIdle(std::unique_lock<std::mutex>& lock);

    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable wake_;  // the writer: a piece, or the end
    std::condition_variable idle_;  // the producer: the piece is written
    LineBuffer inFlight_;           // the piece being written, while busy_
    bool busy_ = false;
    bool quit_ = false;
    bool producerWaiting_ = false;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_OUTPUT_WRITER_H
