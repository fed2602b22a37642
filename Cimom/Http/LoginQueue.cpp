#include "Http/LoginQueue.h"

#include <algorithm>
#include <thread>

namespace cimom
{

namespace
{

constexpr unsigned mostOfSuspect = 4;        // of an address that has sent a wrong password
constexpr unsigned mostWaiting = 32;         // addresses of a rank; a hash takes tens of ms
constexpr std::size_t mostAddresses = 4096;  // any further ones count as one

}  // namespace

LoginQueue::LoginQueue() : turns_(std::max(1U, std::thread::hardware_concurrency() / 2)) {}

LoginQueue::Rank LoginQueue::Address::rank() const
{
    if (suspectUntil > std::chrono::steady_clock::now()) return Suspect;
    return hasLoggedIn ? Known : Unknown;
}

bool LoginQueue::isFull(const Address& from) const
{
    const Rank rank = from.rank();
    if (rank == Suspect && from.pending >= mostOfSuspect) return true;
    if (rank == Known || from.pending > 0) return false;
    return std::count_if(addresses_.begin(), addresses_.end(), [&](const auto& entry) {
               return entry.second.pending > 0 && entry.second.rank() == rank;
           }) >= mostWaiting;
}

std::unique_ptr<LoginQueue::Place> LoginQueue::enter(const std::string& address)
{
    const Lock lock(mutex_);
    if (addresses_.size() >= mostAddresses && !addresses_.contains(address)) {
        std::erase_if(addresses_, [](const auto& entry) {
            return entry.second.pending == 0 && entry.second.rank() == Unknown;
        });
    }
    const bool hasRoom = addresses_.size() < mostAddresses || addresses_.contains(address);
    auto& from = *addresses_.try_emplace(hasRoom ? address : "").first;
    return isFull(from.second) ? nullptr : std::make_unique<Place>(*this, from);
}

LoginQueue::Place::Place(LoginQueue& queue, Addresses::value_type& of)
    : queue_(queue), name_(of.first), address_(of.second), rank_(address_.rank())
{
    ++address_.pending;
}

LoginQueue::Place::~Place()
{
    const Lock lock(queue_.mutex_);
    --address_.pending;
}

bool LoginQueue::Place::isLost() const
{
    const Lock lock(queue_.mutex_);
    return address_.rank() == Suspect && address_.pending > mostOfSuspect;
}

std::optional<bool> LoginQueue::Place::check(const std::function<bool()>& isRight)
{
    Turns::Turn turn(queue_.turns_, name_, rank_);
    turn.wait();
    if (isLost()) return std::nullopt;
    const bool result = isRight();
    const Lock lock(queue_.mutex_);
    if (result) {
        address_.hasLoggedIn = true;
    } else {
        address_.wrong = address_.rank() == Suspect ? address_.wrong + 1 : 1;
        address_.suspectUntil = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    }
    return result;
}

std::chrono::milliseconds LoginQueue::Place::delay() const
{
    const Lock lock(queue_.mutex_);
    return std::chrono::milliseconds(200U << std::min(address_.wrong, 5U));
}

}  // namespace cimom
