#include "output_writer.h"

#include <iostream>
#include <utility>

namespace zel::clt {

OutputWriter::~OutputWriter() {
    if (thread_.joinable()) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            quit_ = true;
        }
        wake_.notify_one();
        thread_.join();
    }
}

void OutputWriter::Post(LineBuffer& lines) {
    {
        std::unique_lock<std::mutex> lock(mutex_);
        WaitUntilIdle(lock);
        std::swap(inFlight_, lines);
        busy_ = true;
    }
    lines.Clear();  // the piece written before, kept for its room
    if (!thread_.joinable()) {
        thread_ = std::thread(&OutputWriter::Run, this);
    }
    wake_.notify_one();
}

void OutputWriter::Drain() {
    {
        std::unique_lock<std::mutex> lock(mutex_);
        WaitUntilIdle(lock);
    }
    std::cout.flush();
}

void OutputWriter::WaitUntilIdle(std::unique_lock<std::mutex>& lock) {
    if (busy_) {
        producerWaiting_ = true;
        idle_.wait(lock, [this] { return !busy_; });
        producerWaiting_ = false;
    }
}

void OutputWriter::Run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        wake_.wait(lock, [this] { return busy_ || quit_; });
        if (!busy_) {
            return;
        }
        lock.unlock();
        std::cout.write(inFlight_.Data(), static_cast<std::streamsize>(inFlight_.Size()));  // Drain flushes
        lock.lock();
        busy_ = false;
        if (producerWaiting_) {  // a wake-up costs a system call: only when it is waited for
            idle_.notify_one();
        }
    }
}

}  // namespace zel::clt
