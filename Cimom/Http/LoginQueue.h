// Logins: whose password is checked next.
#pragma once

#include "Http/PasswordFile.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace cimom
{

struct Login
{
    enum Result
    {
        Right,
        Wrong,
        Busy  ///< not checked: too many checks wait for this address already
    };
    Result result;
    std::chrono::milliseconds delay{0};  ///< how long the answer is to be held back
};

/// Checks passwords, which costs processor time and memory on purpose: on half of the processors at
/// most, with the addresses taking turns. Passwords that are remembered do not wait. An address
/// that has sent wrong passwords lately gets its answers to further ones later and later, and only
/// a few of its checks may wait. Safe for any number of threads.
class LoginQueue
{
public:
    /// How many checks of an address that has sent wrong passwords may wait.
    static constexpr unsigned mostPending = 16;

    /// `users` (null: nobody is ever checked) must outlive the queue.
    explicit LoginQueue(const PasswordFile* users);

    Login check(const std::string& address, const std::string& user, const std::string& password);

private:
    struct Address
    {
        unsigned pending = 0;     ///< checks that wait or run
        std::uint64_t round = 0;  ///< in which its last check gets its turn
        unsigned wrong = 0;       ///< wrong passwords lately
        std::chrono::steady_clock::time_point lastWrong;
    };

    Address& addressOf(const std::string& address);

    const PasswordFile* const users_;
    const unsigned mostRunning_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, Address> addresses_;  ///< those with checks or wrong passwords lately
    /// Round and number of each waiting check: each address has one in a round.
    std::set<std::pair<std::uint64_t, std::uint64_t>> waiting_;
    std::uint64_t round_ = 0;
    std::uint64_t checks_ = 0;
    unsigned running_ = 0;
};

}  // namespace cimom
