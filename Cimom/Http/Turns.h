// Who may do what takes long, in which order.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace cimom
{

/// A bounded number of turns, for which threads wait. Safe for any number of threads.
class Turns
{
    struct Owner
    {
        unsigned waiting = 0;
        unsigned running = 0;
        std::uint64_t last = 0;  ///< when it got a turn, in turns
    };
    using Owners = std::map<std::string, Owner>;

public:
    /// A place in the queue, and then a turn; given back at the end of this object.
    class Turn
    {
    public:
        /// The lower the rank, the earlier; among equals the owner with fewest turns, then the one
        /// whose last turn is longest ago, then whoever came first.
        Turn(Turns& turns, const std::string& owner, unsigned rank = 0);
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn();

        void wait();
        bool isGiven() const;

    private:
        friend Turns;

        Turns& turns_;
        Owners::iterator owner_;
        const unsigned rank_;
        bool isGiven_ = false;
        std::condition_variable given_;
    };

    explicit Turns(unsigned most) : free_(most) {}

private:
    void give();

    mutable std::mutex mutex_;
    unsigned free_;
    std::uint64_t given_ = 0;
    Owners owners_;               ///< those that have or wait for a turn
    std::vector<Turn*> waiting_;  ///< in the order of arrival
};

}  // namespace cimom
