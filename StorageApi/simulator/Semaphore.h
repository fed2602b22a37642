// The process-wide semaphore of the Storage-system API.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace qbxsim
{

/// A binary semaphore that knows its holder, and so reports the mistakes that on an array only show
/// as a hang or as two calls at once. Misuse aborts in strict mode (see isStrict).
class Semaphore
{
public:
    /// Waits until the semaphore is free and takes it. Returns 0, or EDEADLK without waiting when
    /// the calling thread itself holds it.
    int wait();

    /// Frees the semaphore. A post without a wait is reported and changes nothing.
    void post();

private:
    std::mutex mutex_;
    std::condition_variable freed_;
    bool held_ = false;
    std::thread::id holder_;
};

}  // namespace qbxsim
