// Worker: runs one job, fixed when it is made, on a thread of its own, one run at a time. The
// thread starts with the first run; where none can be started (the process is out of threads
// or memory), Start runs the job itself, then and on every later run: a start is tried once. Start and Wait are called
// from one thread, the owner; the job may touch what the owner leaves alone between Start and the next Wait.
#ifndef ZEL_CLT_WORKER_H
#define ZEL_CLT_WORKER_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace zel::clt {

class Worker {
public:
    explicit Worker(std::function<void()> job) : job_(std::move(job)) {}
    // Waits for the run in flight, then ends the thread.
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Waits for the run before, then starts one.
    void Start();
    // Returns once no run is in flight.
    void Wait();

private:
    bool StartThread();
    void Run();
    void WaitUntilIdle(std::unique_lock<std::mutex>& lock);

    std::function<void()> job_;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable wake_;  // the worker: a run, or the end
    std::condition_variable idle_;  // the owner: the run is over
    bool busy_ = false;
    bool quit_ = false;
    bool noThread_ = false;  // a start failed: the owner runs the job
    bool ownerWaiting_ = false;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_WORKER_H
