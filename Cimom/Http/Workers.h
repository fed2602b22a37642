// Threads for what may block: the operations of clients, the hashes of their passwords.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace cimom
{

/// A bounded number of threads, started as they are needed. Nothing is allocated for a job between
/// add() and its end, so that none is lost when memory is short.
class Workers
{
public:
    /// Whose jobs compete for the threads.
    struct Party
    {
        // The workers' alone.
        unsigned running = 0;    ///< of its jobs
        std::uint64_t last = 0;  ///< when one was begun, in jobs
    };

    /// What is to be run. Owned by the caller, and left alone between add() and finished().
    class Job
    {
    public:
        /// The lower the rank, the earlier; among equals the party with fewest running jobs, then
        /// the one whose turn is longest ago, then whoever came first.
        Job(Party& party, unsigned rank) : party_(party), rank_(rank) {}
        virtual ~Job() = default;

        virtual void run() noexcept = 0;
        /// Called by whoever takes the job from finished().
        virtual void resume() = 0;
        /// Whether it was taken back before it ran.
        bool wasWithdrawn() const { return withdrawn_; }

    private:
        friend Workers;
        Party& party_;
        const unsigned rank_;
        bool withdrawn_ = false;
        Job* next_ = nullptr;
    };

    /// `wake` is called by the threads when there is something finished; it may throw nothing.
    Workers(unsigned mostThreads, std::function<void()> wake);
    ~Workers() { join(); }

    /// Waits until the running jobs have ended; no other is run any more.
    void join();

    void add(Job&);
    /// Takes back what a party has waiting beyond the first so many jobs.
    void withdraw(const Party&, unsigned keep);
    /// The next job that has ended or was taken back; null when there is none.
    Job* finished();

private:
    /// Jobs in the order of their arrival.
    struct Queue
    {
        void append(Job&);
        Job& remove(Job*& position);

        Job* first = nullptr;
        Job** end = &first;
        std::size_t size = 0;
    };

    void work();
    Job& takeNext();

    const std::function<void()> wake_;
    const unsigned mostThreads_;
    std::mutex mutex_;
    std::condition_variable added_;
    Queue waiting_;
    Queue finished_;
    std::uint64_t begun_ = 0;  ///< jobs
    std::size_t idle_ = 0;     ///< threads
    bool over_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace cimom
