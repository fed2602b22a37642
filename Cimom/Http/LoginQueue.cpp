#include "Http/LoginQueue.h"

#include <algorithm>
#include <thread>

namespace cimom
{

namespace
{

constexpr unsigned mostOfSuspect = 4;        // of an address that has sent a wrong password
constexpr unsigned mostPending = 32;         // addresses of a rank; a hash takes tens of ms
constexpr std::size_t mostAddresses = 4096;  // any further ones count as one

}  // namespace

LoginQueue::LoginQueue() : turns_(std::max(1U, std::thread::hardware_concurrency() / 2)) {}

LoginQueue::Rank LoginQueue::Address::rank() const
{
    if (suspectUntil > std::chrono::steady_clock::now()) return Suspect;
    return hasLoggedIn ? Known : Unknown;
}

LoginQueue::Address& LoginQueue::addressOf(const std::string& address)
{
    const auto found = addresses_.find(address);
    if (found != addresses_.end()) return found->second;
    if (addresses_.size() >= mostAddresses) {
        std::erase_if(addresses_, [](const auto& entry) {
            return entry.second.pending == 0 && entry.second.rank() == Unknown;
        });
    }
    return addresses_[addresses_.size() < mostAddresses ? address : ""];
}

std::unique_ptr<LoginQueue::Place> LoginQueue::enter(const std::string& address)
{
    Address& from = addressOf(address);
    const Rank rank = from.rank();
    const bool isFull = rank != Known && from.pending == 0 && pending_[rank] >= mostPending;
    if (isFull || (rank == Suspect && from.pending >= mostOfSuspect)) return nullptr;
    return std::make_unique<Place>(*this, from);
}

LoginQueue::Place::Place(LoginQueue& queue, Address& address)
    : queue_(queue), address_(address), rank_(address.rank())
{
    if (address_.pending++ > 0) return;
    address_.pendingAs = address_.rank();
    ++queue_.pending_[address_.pendingAs];
}

LoginQueue::Place::~Place()
{
    if (--address_.pending == 0) --queue_.pending_[address_.pendingAs];
}

void LoginQueue::Place::noteRight()
{
    address_.hasLoggedIn = true;
}

std::chrono::milliseconds LoginQueue::Place::noteWrong()
{
    if (address_.rank() != Suspect) address_.wrong = 0;
    ++address_.wrong;
    address_.suspectUntil = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    queue_.turns_.refuse(&address_, mostOfSuspect);
    return std::chrono::milliseconds(200U << std::min(address_.wrong, 5U));
}

}  // namespace cimom
