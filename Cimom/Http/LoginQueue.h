// The order in which passwords are checked, and how many of them.
#pragma once

#include <chrono>
#include <condition_variable>
#include <list>
#include <map>
#include <mutex>
#include <string>

namespace cimom
{

class PasswordFile;

/// What a login comes to. Busy: it is not checked, because too many of its address wait.
enum class Login
{
    Right,
    Wrong,
    Busy
};

/// Logins that wait for their turn. Hashes, which take much time and memory, are computed on half
/// of the processors, in turn; an address that has sent a wrong password in the last minute has a
/// few places only. Who sends a password that is remembered does not wait. Outlives the password
/// files that are read meanwhile. Safe for any number of threads.
class LoginQueue
{
public:
    /// Checks the password of a user that somebody at that address sends.
    Login check(const PasswordFile& users, const std::string& address, const std::string& user,
                const std::string& password);
    /// How long the answer to a wrong password from that address is to be held back: the longer,
    /// the more of them it has sent lately.
    std::chrono::milliseconds delay(const std::string& address);

private:
    using Time = std::chrono::steady_clock::time_point;
    struct Address
    {
        unsigned pending = 0;  ///< logins that wait or are checked
        unsigned wrong = 0;    ///< wrong passwords lately
        Time limitedUntil;

        bool isBusy() const;
    };

    Address& addressOf(const std::string& address);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::list<const Address*> queue_;  ///< the first ones are being checked
    std::map<std::string, Address> addresses_;
};

}  // namespace cimom
