#include "Http/Turns.h"

#include <algorithm>
#include <tuple>

namespace cimom
{

Turns::Turn::Turn(Turns& turns, const std::string& owner, unsigned rank)
    : turns_(turns), rank_(rank)
{
    const std::lock_guard lock(turns.mutex_);
    turns.waiting_.push_back(this);
    try {
        owner_ = turns.owners_.try_emplace(owner).first;
    } catch (...) {
        turns.waiting_.pop_back();
        throw;
    }
    ++owner_->second.waiting;
    turns.give();
}

Turns::Turn::~Turn()
{
    const std::lock_guard lock(turns_.mutex_);
    Owner& owner = owner_->second;
    if (isGiven_) {
        --owner.running;
        ++turns_.free_;
    } else {
        --owner.waiting;
        std::erase(turns_.waiting_, this);
    }
    if (owner.running + owner.waiting == 0) turns_.owners_.erase(owner_);
    turns_.give();
}

void Turns::Turn::wait()
{
    std::unique_lock lock(turns_.mutex_);
    given_.wait(lock, [this] { return isGiven_; });
}

bool Turns::Turn::isGiven() const
{
    const std::lock_guard lock(turns_.mutex_);
    return isGiven_;
}

/// Gives what is free to those that come first.
void Turns::give()
{
    const auto isEarlier = [](const Turn* a, const Turn* b) {
        const auto order = [](const Turn& turn) {
            const Owner& owner = turn.owner_->second;
            return std::tuple(turn.rank_, owner.running, owner.last);
        };
        return order(*a) < order(*b);
    };
    while (free_ > 0 && !waiting_.empty()) {
        const auto next = std::min_element(waiting_.begin(), waiting_.end(), isEarlier);
        Turn& turn = **next;
        waiting_.erase(next);
        Owner& owner = turn.owner_->second;
        --owner.waiting;
        ++owner.running;
        owner.last = ++given_;
        --free_;
        turn.isGiven_ = true;
        turn.given_.notify_one();
    }
}

}  // namespace cimom
