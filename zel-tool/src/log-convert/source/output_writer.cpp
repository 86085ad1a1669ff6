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
        changed_.notify_all();
        thread_.join();
    }
}

void OutputWriter::Post(LineBuffer& lines) {
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return !busy_; });
        std::swap(inFlight_, lines);
        busy_ = true;
    }
    lines.Clear();  // the piece written before, kept for its room
    if (!thread_.joinable()) {
        thread_ = std::thread(&OutputWriter::Run, this);
    }
    changed_.notify_all();
}

void OutputWriter::Drain() {
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return !busy_; });
    }
    std::cout.flush();
}

void OutputWriter::Run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return busy_ || quit_; });
        if (!busy_) {
            return;
        }
        lock.unlock();
        std::cout.write(inFlight_.Data(), static_cast<std::streamsize>(inFlight_.Size()));
        std::cout.flush();
        lock.lock();
        busy_ = false;
        changed_.notify_all();
    }
}

}  // namespace zel::clt
