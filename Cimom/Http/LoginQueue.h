// Who may have a password checked, and in which order.
#pragma once

#include "Http/Turns.h"

#include <array>
#include <chrono>
#include <map>
#include <memory>
#include <string>

namespace cimom
{

/// Logins that wait for their turn. Hashes, which take much time and memory, are computed on half
/// of the processors: first for addresses from which somebody has logged in, then for new ones, and
/// last for those that have sent a wrong password in the last minute. These have a few places each,
/// and of either kind a bounded number of addresses waits. Outlives the password files that are
/// read meanwhile. For one thread.
class LoginQueue
{
    struct Address;

public:
    LoginQueue();

    /// A place in the queue, held as long as this object lives.
    class Place
    {
    public:
        Place(LoginQueue&, Address&);
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place();

        Turns::Party& party() const { return address_; }
        unsigned rank() const { return rank_; }
        void noteRight();
        /// Notes a wrong password; returns how long the answer is to be held back: the longer, the
        /// more of them the address has sent lately.
        std::chrono::milliseconds noteWrong();

    private:
        LoginQueue& queue_;
        Address& address_;
        const unsigned rank_;
    };

    /// A place for a login from that address; null when too many wait.
    std::unique_ptr<Place> enter(const std::string& address);
    /// Of those that have a place, to compute a hash.
    Turns& turns() { return turns_; }

private:
    using Time = std::chrono::steady_clock::time_point;
    enum Rank : unsigned
    {
        Known,
        Unknown,
        Suspect,
        Ranks
    };
    struct Address : Turns::Party
    {
        Rank rank() const;

        unsigned pending = 0;      ///< logins that wait or are checked
        Rank pendingAs = Unknown;  ///< what it was when the first of them came
        unsigned wrong = 0;        ///< wrong passwords lately
        bool hasLoggedIn = false;
        Time suspectUntil;
    };

    Address& addressOf(const std::string& address);

    std::map<std::string, Address> addresses_;
    std::array<unsigned, Ranks> pending_{};  ///< addresses
    Turns turns_;
};

}  // namespace cimom
