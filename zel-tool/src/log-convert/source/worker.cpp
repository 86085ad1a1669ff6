#include "worker.h"

#include <system_error>

namespace zel::clt {

Worker::~Worker() {
    if (thread_.joinable()) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            quit_ = true;  // a run in flight is finished first
        }
        wake_.notify_one();
        thread_.join();
    }
}

void Worker::Start() {
    {
        std::unique_lock<std::mutex> lock(mutex_);
        WaitUntilIdle(lock);
        busy_ = true;
    }
    if (noThread_ || (!thread_.joinable() && !StartThread())) {
        // no thread to be had: the owner runs the job itself, and the run is over however the
        // job ends
        struct EndOfRun {
            Worker& worker;
            ~EndOfRun() {
                std::lock_guard<std::mutex> lock(worker.mutex_);
                worker.busy_ = false;
            }
        } endOfRun{*this};
        job_();
        return;
    }
    wake_.notify_one();
}

bool Worker::StartThread() {
    try {
        thread_ = std::thread(&Worker::Run, this);
        return true;
    } catch (const std::exception&) {  // system_error: out of threads; bad_alloc: of memory
        noThread_ = true;
        return false;
    }
}

void Worker::Wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    WaitUntilIdle(lock);
}

void Worker::WaitUntilIdle(std::unique_lock<std::mutex>& lock) {
    if (busy_) {
        ownerWaiting_ = true;
        idle_.wait(lock, [this] { return !busy_; });
        ownerWaiting_ = false;
    }
}

void Worker::Run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        wake_.wait(lock, [this] { return busy_ || quit_; });
        if (!busy_) {
            return;
        }
        lock.unlock();
        job_();
        lock.lock();
        busy_ = false;
        if (ownerWaiting_) {  // a wake-up costs a system call: only when it is waited for
            idle_.notify_one();
        }
    }
}

}  // namespace zel::clt
