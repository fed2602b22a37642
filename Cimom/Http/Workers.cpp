#include "Http/Workers.h"

#include <system_error>
#include <tuple>
#include <utility>

namespace cimom
{

void Workers::Queue::append(Job& job)
{
    job.next_ = nullptr;
    *end = &job;
    end = &job.next_;
    ++size;
}

/// Takes out the job that this pointer of the queue points at.
Workers::Job& Workers::Queue::remove(Job*& position)
{
    Job& job = *position;
    position = job.next_;
    if (end == &job.next_) end = &position;
    --size;
    return job;
}

Workers::Workers(unsigned mostThreads, std::function<void()> wake)
    : wake_(std::move(wake)), mostThreads_(mostThreads)
{
    threads_.reserve(mostThreads);
    threads_.emplace_back([this] { work(); });  // others may fail to start: there is always one
}

void Workers::join()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        over_ = true;
    }
    added_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
    threads_.clear();
}

void Workers::add(Job& job)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    waiting_.append(job);
    if (waiting_.size > idle_ && threads_.size() < mostThreads_) {
        try {
            threads_.emplace_back([this] { work(); });
        } catch (const std::exception&) {
            // One more is not to be had: those that run take this job when they are done.
        }
    }
    added_.notify_one();
}

void Workers::withdraw(const Party& party, unsigned keep)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Job** position = &waiting_.first; *position;) {
        if (&(*position)->party_ != &party || (keep > 0 && keep-- > 0)) {
            position = &(*position)->next_;
        } else {
            Job& job = waiting_.remove(*position);
            job.withdrawn_ = true;
            finished_.append(job);
        }
    }
    wake_();
}

Workers::Job* Workers::finished()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return finished_.first ? &finished_.remove(finished_.first) : nullptr;
}

Workers::Job& Workers::takeNext()
{
    const auto order = [](const Job& job) {
        return std::tuple(job.rank_, job.party_.running, job.party_.last);
    };
    Job** best = &waiting_.first;
    for (Job** position = best; *position; position = &(*position)->next_) {
        if (order(**position) < order(**best)) best = position;
    }
    return waiting_.remove(*best);
}

void Workers::work()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        ++idle_;
        added_.wait(lock, [this] { return over_ || waiting_.first; });
        --idle_;
        if (over_) return;
        Job& job = takeNext();
        ++job.party_.running;
        job.party_.last = ++begun_;
        lock.unlock();
        job.run();
        lock.lock();
        --job.party_.running;
        finished_.append(job);
        wake_();
    }
}

}  // namespace cimom
