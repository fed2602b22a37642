#include "Semaphore.h"

#include "Log.h"

#include <cerrno>

namespace qbxsim
{

int Semaphore::wait()
{
    std::unique_lock lock(mutex_);
    if (held_ && holder_ == std::this_thread::get_id()) {
        reportMisuse("cim_sem_wait by the thread that holds the semaphore would wait for ever");
        return EDEADLK;
    }
    freed_.wait(lock, [this] { return !held_; });
    held_ = true;
    holder_ = std::this_thread::get_id();
    return 0;
}

void Semaphore::post()
{
    {
        const std::lock_guard lock(mutex_);
        if (!held_) {
            reportMisuse("cim_sem_post without a cim_sem_wait");
            return;
        }
        held_ = false;
    }
    freed_.notify_one();
}

}  // namespace qbxsim
