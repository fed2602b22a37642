#include "Http/LoginQueue.h"

#include <algorithm>
#include <memory>
#include <thread>

namespace cimom
{

namespace
{

constexpr std::chrono::minutes lately{1};
constexpr std::size_t mostAddresses = 4096;  // any further ones count as one

}  // namespace

LoginQueue::LoginQueue(const PasswordFile* users)
    : users_(users), mostRunning_(std::max(1U, std::thread::hardware_concurrency() / 2))
{
}

LoginQueue::Address& LoginQueue::addressOf(const std::string& address)
{
    const auto latest = std::chrono::steady_clock::now() - lately;
    for (auto entry = addresses_.begin(); entry != addresses_.end();) {
        const bool old = entry->second.lastWrong < latest;
        if (old) entry->second.wrong = 0;
        entry = old && entry->second.pending == 0 ? addresses_.erase(entry) : std::next(entry);
    }
    const bool room = addresses_.size() < mostAddresses || addresses_.count(address) != 0;
    return addresses_[room ? address : ""];
}

Login LoginQueue::check(const std::string& address, const std::string& user,
                        const std::string& password)
{
    if (users_->remembers(user, password)) return {Login::Right};
    std::unique_lock<std::mutex> lock(mutex_);
    Address& from = addressOf(address);
    from.round = std::max(from.round + 1, round_);
    const auto turn = std::make_pair(from.round, ++checks_);
    waiting_.insert(turn);
    ++from.pending;
    bool runs = false;
    const std::shared_ptr<void> atEnd(nullptr, [&](void*) {
        if (!lock) lock.lock();
        waiting_.erase(turn);
        running_ -= runs ? 1 : 0;
        --from.pending;
        changed_.notify_all();
    });
    bool known = false;
    bool busy = false;
    changed_.wait(lock, [&] {
        known = users_->remembers(user, password);
        busy = from.wrong != 0 && from.pending > mostPending;
        return known || busy || (running_ < mostRunning_ && *waiting_.begin() == turn);
    });
    if (known) return {Login::Right};
    if (busy) return {Login::Busy};
    waiting_.erase(turn);
    round_ = turn.first;
    ++running_;
    runs = true;
    lock.unlock();
    const bool right = users_->verify(user, password);
    lock.lock();
    if (right) return {Login::Right};
    from.lastWrong = std::chrono::steady_clock::now();
    const unsigned doublings = std::min(from.wrong++, 6U);
    return {Login::Wrong, std::chrono::milliseconds(100U << doublings)};
}

}  // namespace cimom
