// StandardOutput: the stream buffer behind std::cout from its construction (in main) to its
// destruction, which puts the one before back. It writes to standard output itself, so that a
// failed write is seen instead of lost in a library's buffer:
//   - a reader that has gone (EPIPE) ends the process as SIGPIPE's default action would, however
//     the logging library has set SIGPIPE, and prints nothing;
//   - any other failure is kept (Error) and fails the stream, so std::cout turns bad and takes
//     nothing more; main reports it on standard error and exits with status 255;
//   - an output that takes nothing for now (O_NONBLOCK, set by a process that shares it) is
//     waited on with poll.
// A pipe is written through a description of its own (opened on /proc/self/fd/1, non-blocking,
// so the one shared with other processes is left as it is), and only in whole lines that fit
// in the pipe's free pages (PipeRoom); for the next line it waits (poll, and while a free page
// is not room enough, a back-off of up to 26 ms). So the pipe never holds part of a line,
// whenever the reader stops reading. A line longer than the whole pipe cannot wait for room: it
// goes in parts as the pipe takes them; so does a write another writer of the pipe cut short.
//
// Abandon (a stop the user asked for) drops what is not yet written, now and from then on: no
// line starts after it. A line already begun (a write in flight, a long line in parts) is given
// 100 ms to end, then cut: a blocked write is interrupted with SIGURG. Abandon returns once no
// write can start any more, so a stop waits on the output for that grace at most.
//
// Writes come from one thread at a time (the owner of std::cout at that moment); Abandon may be
// called from any thread, concurrently with a write. A write about to start and Abandon decide
// under one lock, so none starts unseen after a stop.
#ifndef ZEL_CLT_STANDARD_OUTPUT_H
#define ZEL_CLT_STANDARD_OUTPUT_H

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <streambuf>

#include "pipe_room.h"

namespace zel::clt {

class StandardOutput : public std::streambuf {
public:
    StandardOutput();
    ~StandardOutput() override;
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    // Descriptors 0, 1 and 2 that the process was started without are opened on /dev/null, for
    // reading only: no file opened later takes their place, and a write there fails (EBADF).
    static void ReserveStandardDescriptors();
    // Ends the process as SIGPIPE would when standard output is a pipe whose reader has gone.
    static void EndIfReaderGone();
    // The errno of the first failed write; 0 while none has failed.
    int Error() const { return error_.load(); }
    void Abandon();

protected:
    int overflow(int c) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int sync() override;

private:
    using Clock = std::chrono::steady_clock;
    // What the writing thread is in, for Abandon: a write, or a wait for room.
    enum class Phase { kIdle, kWriting, kWaiting };

    void OpenOwnPipe();
    bool Flush();
    // Writes all of it unless a write fails (false) or the output is abandoned.
    bool WriteAll(const char* data, std::size_t size);
    // How much of data one write hands over now; 0: none before there is room.
    std::size_t Chunk(const char* data, std::size_t size, bool stopping);
    std::size_t WholeLinesThatFit(const char* data, std::size_t size);
    void WaitForRoom(int round);
    // False once the output is abandoned and no line is left to end; stopping: it is abandoned.
    bool Begin(Phase phase, bool& stopping);
    void End(const char* lastWritten);

    static constexpr std::size_t kBufferSize = 64 * 1024;
    char buffer_[kBufferSize];
    std::streambuf* previous_;
    std::atomic<int> error_{0};
    int fd_;                          // standard output, or the pipe's own description
    std::unique_ptr<PipeRoom> pipe_;  // while fd_ is a pipe's own description
    std::size_t pipeSize_ = 0;        // its capacity when last read
    std::mutex mutex_;                // guards the members below, shared with Abandon
    bool abandoned_ = false;
    Clock::time_point graceEnd_{};
    bool midLine_ = false;  // the last byte written did not end a line
    Phase phase_ = Phase::kIdle;
    pthread_t writer_{};
};

// The StandardOutput behind std::cout, or nullptr when std::cout writes elsewhere (a test's capture).
StandardOutput* InstalledStandardOutput();
// True once a write to the installed StandardOutput has failed; safe from any thread.
bool StandardOutputFailed();

}  // namespace zel::clt

#endif  // ZEL_CLT_STANDARD_OUTPUT_H
