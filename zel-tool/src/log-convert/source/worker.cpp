#include "worker.h"

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
    if (!thread_.joinable()) {
        thread_ = std::thread(&Worker::Run, this);
    }
    wake_.notify_one();
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
