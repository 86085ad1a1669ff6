// StandardOutput: the stream buffer behind std::cout from its construction (in main) to its
// destruction, which puts the one before back. It writes to descriptor 1
// itself, so that a failed write is seen instead of lost in a library's buffer:
//   - a reader that has gone (EPIPE) ends the process as SIGPIPE's default action would, however
//     the logging library has set SIGPIPE, and prints nothing;
//   - any other failure is kept (Error) and fails the stream, so std::cout turns bad and takes
//     nothing more; main reports it on standard error and exits with status 255.
// Abandon drops what is not yet written, now and from then on, and ends a write that is blocked
// (a reader that stopped reading), so that a stop the user asked for never waits on the output.
//
// Writes come from one thread at a time (the owner of std::cout at that moment); Abandon may be
// called from any thread, concurrently with a write.
#ifndef ZEL_CLT_STANDARD_OUTPUT_H
#define ZEL_CLT_STANDARD_OUTPUT_H

#include <pthread.h>

#include <atomic>
#include <mutex>
#include <streambuf>

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
    bool Flush();
    // Writes all of it unless a write fails (false) or the output is abandoned.
    bool WriteAll(const char* data, std::size_t size);
    bool WriteOnce(const char* data, std::size_t size, std::size_t& written);

    static constexpr std::size_t kBufferSize = 64 * 1024;
    char buffer_[kBufferSize];
    std::streambuf* previous_;
    std::atomic<int> error_{0};
    std::atomic<bool> abandoned_{false};
    std::mutex writingMutex_;  // guards writing_ and writer_, so Abandon signals only a live write
    bool writing_ = false;
    pthread_t writer_{};
};

// The StandardOutput behind std::cout, or nullptr when std::cout writes elsewhere (a test's capture).
StandardOutput* InstalledStandardOutput();
// True once a write to the installed StandardOutput has failed; safe from any thread.
bool StandardOutputFailed();

}  // namespace zel::clt

#endif  // ZEL_CLT_STANDARD_OUTPUT_H
