// Who may have a password checked, and in which order.
#pragma once

#include "Http/Turns.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace cimom
{

/// Logins that wait for the check of their password. Hashes, which take much time and memory, are
/// computed on half of the processors: first for addresses from which somebody has logged in, then
/// for new ones, and last for those that have sent a wrong password in the last minute. These have
/// a few places each, and of either kind a bounded number of addresses waits. Outlives the password
/// files that are read meanwhile. Safe for any number of threads.
class LoginQueue
{
    enum Rank : unsigned
    {
        Known,
        Unknown,
        Suspect
    };
    struct Address
    {
        Rank rank() const;

        unsigned pending = 0;  ///< logins that wait or are checked
        unsigned wrong = 0;    ///< wrong passwords lately
        bool hasLoggedIn = false;
        std::chrono::steady_clock::time_point suspectUntil;
    };
    using Addresses = std::map<std::string, Address>;

public:
    LoginQueue();

    /// A place in the queue, held as long as this object lives.
    class Place
    {
    public:
        Place(LoginQueue&, Addresses::value_type& of);
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place();

        unsigned rank() const { return rank_; }
        /// Waits for its turn and calls what computes the hash, whose result it notes: whether the
        /// password is right. Nothing when the address has lost the place by wrong ones meanwhile.
        std::optional<bool> check(const std::function<bool()>& isRight);
        /// How long the answer to a wrong password is to be held back: the longer, the more of them
        /// the address has sent lately.
        std::chrono::milliseconds delay() const;

    private:
        bool isLost() const;

        LoginQueue& queue_;
        const std::string& name_;
        Address& address_;
        const Rank rank_;
    };

    /// A place for a login from that address; null when too many wait.
    std::unique_ptr<Place> enter(const std::string& address);

private:
    using Lock = std::lock_guard<std::mutex>;

    bool isFull(const Address&) const;

    std::mutex mutex_;
    Addresses addresses_;
    Turns turns_;
};

}  // namespace cimom
