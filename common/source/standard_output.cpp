#include "standard_output.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>

namespace zel::clt {
namespace {

// Interrupts a blocked write: its handler does nothing and is installed without SA_RESTART, so
// the write returns. Ignored by default, so a late one is harmless.
constexpr int kWakeSignal = SIGURG;
// A line begun when the output is abandoned is left this long to end before its write is
// interrupted, so that output that still flows is not cut inside a line.
constexpr std::chrono::milliseconds kGrace{100};
// A pipe that has a free page but not the room the next line needs is looked at again after
// this, twice as long each round up to 2^kLongestBackOff times.
constexpr long kBackOffNanoseconds = 100000;
constexpr int kLongestBackOff = 8;

void Wake(int /*sig*/) {}

// The length of data up to and with its first line end, or all of it.
std::size_t ToLineEnd(const char* data, std::size_t size) {
    const void* end = std::memchr(data, '\n', size);
    return end == nullptr ? size : static_cast<std::size_t>(static_cast<const char*>(end) - data) + 1;
}

void InstallWakeHandler() {
    struct sigaction action {};
    action.sa_handler = Wake;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;
    (void)sigaction(kWakeSignal, &action, nullptr);
}

void Sleep(long nanoseconds) {
    timespec request{0, nanoseconds};
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

StandardOutput::StandardOutput() : previous_(std::cout.rdbuf(this)), fd_(STDOUT_FILENO) {
    setp(buffer_, buffer_ + kBufferSize);
    OpenOwnPipe();
}

StandardOutput::~StandardOutput() {
    (void)Flush();
    std::cout.rdbuf(previous_);  // static destructors flush std::cout after this is gone
    if (fd_ != STDOUT_FILENO) {
        (void)close(fd_);
    }
}

void StandardOutput::OpenOwnPipe() {
    struct stat out {};
    if (fstat(STDOUT_FILENO, &out) != 0 || !S_ISFIFO(out.st_mode)) {
        return;
    }
    // a new open file description of the same pipe; it fails without a reader (ENXIO) or /proc
    const int fd = open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat opened {};
    const long page = sysconf(_SC_PAGESIZE);
    const int capacity = fd < 0 ? -1 : fcntl(fd, F_GETPIPE_SZ);
    if (capacity <= 0 || page <= 0 || fstat(fd, &opened) != 0 || opened.st_dev != out.st_dev ||
        opened.st_ino != out.st_ino) {
        if (fd >= 0) {
            (void)close(fd);
        }
        return;  // written as any other output
    }
    fd_ = fd;
    pipeSize_ = static_cast<std::size_t>(capacity);
    pipe_ = std::make_unique<PipeRoom>(static_cast<std::size_t>(page));
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
    InstallWakeHandler();
    std::unique_lock<std::mutex> lock(mutex_);
    abandoned_ = true;
    graceEnd_ = Clock::now() + kGrace;
    // The writer may be between Begin and the call that blocks, where a signal would come too
    // early: it is repeated until the call is over.
    while (true) {
        const bool late = Clock::now() >= graceEnd_;
        if (phase_ == Phase::kIdle && (!midLine_ || late)) {
            return;  // Begin lets no write start any more
        }
        if ((phase_ == Phase::kWaiting && !midLine_) || (phase_ != Phase::kIdle && late)) {
            (void)pthread_kill(writer_, kWakeSignal);
        }
        lock.unlock();
        Sleep(1000000);  // a millisecond
        lock.lock();
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
    for (int round = 0; size > 0;) {
        bool stopping = false;
        if (!Begin(Phase::kWriting, stopping)) {
            return true;  // dropped: the user asked to stop
        }
        const std::size_t chunk = Chunk(data, size, stopping);
        const ssize_t result = chunk == 0 ? -1 : write(fd_, data, chunk);
        const int error = chunk == 0 ? EAGAIN : result == 0 ? EIO : errno;
        End(result > 0 ? data + result - 1 : nullptr);
        if (result > 0) {
            if (pipe_) {
                pipe_->Wrote(static_cast<std::size_t>(result));
            }
            data += result;
            size -= static_cast<std::size_t>(result);
            round = 0;
        } else if (error == EAGAIN || error == EWOULDBLOCK) {
            WaitForRoom(round++);
        } else if (error == EPIPE) {
            EndAsByBrokenPipe();
        } else if (error != EINTR) {  // EINTR: a signal, maybe the one that abandons: Begin looks
            error_ = error;
            return false;
        }
    }
    return true;
}

std::size_t StandardOutput::Chunk(const char* data, std::size_t size, bool stopping) {
    if (stopping) {
        size = ToLineEnd(data, size);  // only the rest of the line begun
    }
    return pipe_ ? WholeLinesThatFit(data, size) : size;
}

std::size_t StandardOutput::WholeLinesThatFit(const char* data, std::size_t size) {
    int unread = 0;
    (void)ioctl(fd_, FIONREAD, &unread);
    std::size_t room = pipe_->Room(pipeSize_, static_cast<std::size_t>(std::max(unread, 0)));
    if (size > room) {  // a reader, or this tool, may have widened the pipe
        const int capacity = fcntl(fd_, F_GETPIPE_SZ);
        pipeSize_ = capacity > 0 ? static_cast<std::size_t>(capacity) : pipeSize_;
        room = pipe_->Room(pipeSize_, static_cast<std::size_t>(std::max(unread, 0)));
    }
    if (size <= room) {
        return size;
    }
    if (const void* end = memrchr(data, '\n', room)) {
        return static_cast<std::size_t>(static_cast<const char*>(end) - data) + 1;
    }
    return ToLineEnd(data, size) > pipeSize_ ? room : 0;  // a line longer than the pipe goes in parts
}

void StandardOutput::WaitForRoom(int round) {
    bool stopping = false;
    if (!Begin(Phase::kWaiting, stopping)) {
        return;
    }
    pollfd out{fd_, POLLOUT, 0};
    if (poll(&out, 1, -1) == 1 && (out.revents & POLLERR) != 0 && pipe_) {
        EndAsByBrokenPipe();  // the reader has gone, and no write would show it
    }
    if (round > 0 && pipe_) {  // a free page, but not the room the next line needs
        const timespec backOff{0, kBackOffNanoseconds << std::min(round - 1, kLongestBackOff)};
        (void)ppoll(nullptr, 0, &backOff, nullptr);  // a wait in poll, as the one above
    }
    End(nullptr);
}

bool StandardOutput::Begin(Phase phase, bool& stopping) {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping = abandoned_;
    if (abandoned_ && (!midLine_ || Clock::now() >= graceEnd_)) {
        return false;
    }
    phase_ = phase;
    writer_ = pthread_self();
    return true;
}

void StandardOutput::End(const char* lastWritten) {
    std::lock_guard<std::mutex> lock(mutex_);
    phase_ = Phase::kIdle;
    if (lastWritten != nullptr) {
        midLine_ = *lastWritten != '\n';
    }
}

StandardOutput* InstalledStandardOutput() { return dynamic_cast<StandardOutput*>(std::cout.rdbuf()); }

bool StandardOutputFailed() {
    const StandardOutput* output = InstalledStandardOutput();
    return output != nullptr && output->Error() != 0;
}

}  // namespace zel::clt
