// Who may do what takes long, in which order.
#pragma once

#include <coroutine>
#include <cstddef>
#include <cstdint>

namespace cimom
{

/// A bounded number of turns, which coroutines await. Nothing is allocated for that. For one thread
/// at a time.
class Turns
{
public:
    /// Whose turns they are.
    struct Party
    {
        unsigned running = 0;    ///< turns that it has
        std::uint64_t last = 0;  ///< when it got one, in turns
    };

    /// A turn, once it has been awaited, which lasts as long as this object. Awaiting it returns
    /// false when it was refused.
    class Turn
    {
    public:
        /// The lower the rank, the earlier; among equals the party with fewest turns, then the one
        /// whose last turn is longest ago, then whoever came first.
        Turn(Turns& turns, Party& party, unsigned rank) : turns_(turns), party_(party), rank_(rank)
        {
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn();

        bool await_ready();
        void await_suspend(std::coroutine_handle<> caller);
        bool await_resume() const { return state_ == Granted; }

    private:
        friend Turns;
        enum
        {
            Waiting,
            Granted,
            Refused
        } state_ = Waiting;

        Turns& turns_;
        Party& party_;
        const unsigned rank_;
        std::coroutine_handle<> caller_;
        Turn* next_ = nullptr;
    };

    explicit Turns(unsigned most) : most_(most) {}

    /// Refuses what a party (null: any) has waiting beyond the first so many.
    void refuse(const Party*, unsigned keep);
    /// Whether a coroutine waits that can have its turn, or was refused.
    bool hasNext() const { return first_ && (running_ < most_ || refused_ > 0); }
    /// Gives the next of these its turn, if it was not refused; it has to be resumed then.
    std::coroutine_handle<> next();

private:
    void grant(Turn&);

    const unsigned most_;
    unsigned running_ = 0;
    unsigned refused_ = 0;  ///< of those that have not been resumed
    std::uint64_t granted_ = 0;
    Turn* first_ = nullptr;  ///< of all that have not been resumed, in the order of arrival
};

}  // namespace cimom
