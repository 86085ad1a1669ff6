#include "standard_output.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

namespace zel::clt {
namespace {

// Interrupts a blocked write: its handler does nothing and is installed without SA_RESTART, so
// the write returns. Ignored by default, so a late one is harmless.
constexpr int kWakeSignal = SIGURG;
// A write in flight is left this many milliseconds to finish before it is interrupted, so that
// output that still flows is not cut inside a line.
constexpr int kGraceMilliseconds = 100;

void Wake(int /*sig*/) {}

void InstallWakeHandler() {
    struct sigaction action {};
    action.sa_handler = Wake;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;
    (void)sigaction(kWakeSignal, &action, nullptr);
}

void SleepOneMillisecond() {
    timespec request{0, 1000000};
    (void)nanosleep(&request, nullptr);
}

// What SIGPIPE's default action does, whatever the logging library made of SIGPIPE: the process
// ends by the signal, and its parent sees that.
[[noreturn]] void EndAsByBrokenPipe() {
    (void)signal(SIGPIPE, SIG_DFL);
    sigset_t pipeOnly;
    sigemptyset(&pipeOnly);
    sigaddset(&pipeOnly, SIGPIPE);
    (void)pthread_sigmask(SIG_UNBLOCK, &pipeOnly, nullptr);
    (void)raise(SIGPIPE);
    _exit(128 + SIGPIPE);
}

}  // namespace

StandardOutput::StandardOutput() : previous_(std::cout.rdbuf(this)) { setp(buffer_, buffer_ + kBufferSize); }

StandardOutput::~StandardOutput() {
    (void)Flush();
    std::cout.rdbuf(previous_);  // static destructors flush std::cout after this is gone
}

void StandardOutput::ReserveStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) != -1 || errno != EBADF) {
            continue;
        }
        const int opened = open("/dev/null", O_RDONLY);  // the lowest free descriptor: fd itself
        if (opened > fd) {
            (void)dup2(opened, fd);
            (void)close(opened);
        }
    }
}

void StandardOutput::EndIfReaderGone() {
    pollfd out{STDOUT_FILENO, 0, 0};
    if (poll(&out, 1, 0) == 1 && (out.revents & POLLERR) != 0) {
        EndAsByBrokenPipe();
    }
}

void StandardOutput::Abandon() {
    abandoned_ = true;
    InstallWakeHandler();
    // The writer may be between its look at abandoned_ and the write itself, where a signal
    // would come too early: it is repeated until the write is over.
    for (int waited = 0;; ++waited) {
        {
            std::lock_guard<std::mutex> lock(writingMutex_);
            if (!writing_) {
                return;
            }
            if (waited >= kGraceMilliseconds) {
                (void)pthread_kill(writer_, kWakeSignal);
            }
        }
        SleepOneMillisecond();
    }
}

int StandardOutput::overflow(int c) {
    if (!Flush()) {
        return traits_type::eof();
    }
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
        *pptr() = traits_type::to_char_type(c);
        pbump(1);
    }
    return traits_type::not_eof(c);
}

std::streamsize StandardOutput::xsputn(const char* text, std::streamsize count) {
    const auto size = static_cast<std::size_t>(count);
    if (size <= static_cast<std::size_t>(epptr() - pptr())) {
        std::memcpy(pptr(), text, size);
        pbump(static_cast<int>(size));
        return count;
    }
    if (!Flush()) {
        return 0;
    }
    if (size < kBufferSize) {
        std::memcpy(pptr(), text, size);
        pbump(static_cast<int>(size));
        return count;
    }
    return WriteAll(text, size) ? count : 0;  // a large piece goes out without another copy
}

int StandardOutput::sync() { return Flush() ? 0 : -1; }

bool StandardOutput::Flush() {
    const auto size = static_cast<std::size_t>(pptr() - pbase());
    setp(buffer_, buffer_ + kBufferSize);  // what failed is not tried again
    return WriteAll(buffer_, size);
}

bool StandardOutput::WriteAll(const char* data, std::size_t size) {
    if (error_ != 0) {
        return false;
    }
    while (size > 0 && !abandoned_) {
        std::size_t written = 0;
        if (!WriteOnce(data, size, written)) {
            return false;
        }
        data += written;
        size -= written;
    }
    return true;  // or dropped: the user asked to stop
}

bool StandardOutput::WriteOnce(const char* data, std::size_t size, std::size_t& written) {
    {
        std::lock_guard<std::mutex> lock(writingMutex_);
        writing_ = true;
        writer_ = pthread_self();
    }
    const ssize_t result = write(STDOUT_FILENO, data, size);
    const int error = result == 0 ? EIO : errno;
    {
        std::lock_guard<std::mutex> lock(writingMutex_);
        writing_ = false;
    }
    if (result > 0) {
        written = static_cast<std::size_t>(result);
        return true;
    }
    if (error == EINTR) {
        return true;  // a signal, maybe the one that abandons: the caller looks
    }
    if (error == EPIPE) {
        EndAsByBrokenPipe();
    }
    error_ = error;
    return false;
}

StandardOutput* InstalledStandardOutput() { return dynamic_cast<StandardOutput*>(std::cout.rdbuf()); }

bool StandardOutputFailed() {
    const StandardOutput* output = InstalledStandardOutput();
    return output != nullptr && output->Error() != 0;
}

}  // namespace zel::clt
