#include "Http/Turns.h"

#include <tuple>

namespace cimom
{

bool Turns::Turn::await_ready()
{
    if (turns_.first_ || turns_.running_ >= turns_.most_) return false;
    turns_.grant(*this);
    return true;
}

void Turns::Turn::await_suspend(std::coroutine_handle<> caller)
{
    caller_ = caller;
    Turn** end = &turns_.first_;
    while (*end)
        end = &(*end)->next_;
    *end = this;
}

Turns::Turn::~Turn()
{
    for (Turn** turn = &turns_.first_; *turn; turn = &(*turn)->next_) {
        if (*turn != this) continue;
        *turn = next_;  // it waits for nothing any more
        if (state_ == Refused) --turns_.refused_;
        break;
    }
    if (state_ != Granted) return;
    --turns_.running_;
    --party_.running;
}

void Turns::grant(Turn& turn)
{
    turn.state_ = Turn::Granted;
    ++running_;
    ++turn.party_.running;
    turn.party_.last = ++granted_;
}

void Turns::refuse(const Party* party, unsigned keep)
{
    for (Turn* turn = first_; turn; turn = turn->next_) {
        if (turn->state_ == Turn::Refused || (party && &turn->party_ != party)) continue;
        if (keep > 0) {
            --keep;
        } else {
            turn->state_ = Turn::Refused;
            ++refused_;
        }
    }
}

std::coroutine_handle<> Turns::next()
{
    const auto order = [](const Turn& turn) {
        return std::tuple(turn.state_ != Turn::Refused, turn.rank_, turn.party_.running,
                          turn.party_.last);
    };
    Turn** best = &first_;
    for (Turn** turn = best; *turn; turn = &(*turn)->next_) {
        if (order(**turn) < order(**best)) best = turn;
    }
    Turn& next = **best;
    *best = next.next_;
    if (next.state_ == Turn::Refused) {
        --refused_;
    } else {
        grant(next);
    }
    return next.caller_;
}

}  // namespace cimom
