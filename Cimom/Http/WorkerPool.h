// A fixed number of threads that work through a queue.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace cimom
{

/// Jobs must not throw. Safe for any number of threads.
class WorkerPool
{
public:
    explicit WorkerPool(unsigned threads);
    /// Like stop().
    ~WorkerPool() { stop(); }

    /// Queues a job; false when the pool has been stopped.
    bool submit(std::function<void()> job);
    /// Takes no more jobs, finishes those it has and ends the threads.
    void stop();

private:
    void work();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> jobs_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace cimom
