#include "Http/LoginQueue.h"

#include "Http/PasswordFile.h"

#include <algorithm>
#include <thread>

namespace cimom
{

namespace
{

const long mostRunning = std::max(1U, std::thread::hardware_concurrency() / 2);
constexpr unsigned mostPending = 4;          // of an address that has sent a wrong password
constexpr std::size_t mostAddresses = 4096;  // any further ones count as one

}  // namespace

bool LoginQueue::Address::isBusy() const
{
    return pending > mostPending && limitedUntil > std::chrono::steady_clock::now();
}

LoginQueue::Address& LoginQueue::addressOf(const std::string& address)
{
    const Time now = std::chrono::steady_clock::now();
    for (auto entry = addresses_.begin(); entry != addresses_.end();) {
        const bool over = entry->second.pending == 0 && entry->second.limitedUntil < now;
        entry = over ? addresses_.erase(entry) : std::next(entry);
    }
    return addresses_[addresses_.size() < mostAddresses ? address : ""];
}

Login LoginQueue::check(const PasswordFile& users, const std::string& address,
                        const std::string& user, const std::string& password)
{
    const auto isRemembered = [&] { return users.isRemembered(user, password); };
    if (isRemembered()) return Login::Right;
    std::unique_lock<std::mutex> lock(mutex_);
    Address& from = addressOf(address);
    const auto turn = queue_.insert(queue_.end(), &from);
    ++from.pending;
    changed_.wait(lock, [&] {
        return isRemembered() || from.isBusy() || std::distance(queue_.begin(), turn) < mostRunning;
    });
    Login login = Login::Busy;
    if (isRemembered()) {
        login = Login::Right;
    } else if (!from.isBusy()) {
        lock.unlock();
        login = users.check(user, password) ? Login::Right : Login::Wrong;
        lock.lock();
        if (login == Login::Wrong) {
            ++from.wrong;
            from.limitedUntil = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        }
    }
    --from.pending;
    queue_.erase(turn);
    changed_.notify_all();
    return login;
}

std::chrono::milliseconds LoginQueue::delay(const std::string& address)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::chrono::milliseconds(200U << std::min(addressOf(address).wrong, 5U));
}

}  // namespace cimom
