#include "Http/WorkerPool.h"

namespace cimom
{

WorkerPool::WorkerPool(unsigned threads)
{
    for (unsigned i = 0; i < threads; ++i)
        threads_.emplace_back([this] { work(); });
}

bool WorkerPool::submit(std::function<void()> job)
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) return false;
        jobs_.push_back(std::move(job));
    }
    wake_.notify_one();
    return true;
}

void WorkerPool::stop()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) {
        if (thread.joinable()) thread.join();
    }
}

void WorkerPool::work()
{
    for (;;) {
        std::unique_lock<std::mutex> lock(mutex_);
        wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
        if (jobs_.empty()) return;
        const std::function<void()> job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        job();
    }
}

}  // namespace cimom
