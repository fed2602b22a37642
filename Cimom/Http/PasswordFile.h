// Users and their password hashes.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace cimom
{

/// What a login comes to. Busy: it is not checked, because too many of its address wait.
enum class Login
{
    Right,
    Wrong,
    Busy
};

/// The users of a password file: one "user:hash" a line, hashes as crypt(3) makes them, blank lines
/// and lines that start with "#" ignored. Read once. Safe for any number of threads.
class PasswordFile
{
public:
    /// Throws std::runtime_error with "FILE:LINE: what is wrong and what to do".
    explicit PasswordFile(const std::filesystem::path& file);

    /// Checks the password of a user that somebody at that address sends. The password that was
    /// right last is remembered (as a digest under a key of this process): only the first check of
    /// it costs a hash and waits. Hashes, which take much time and memory, are computed on half of
    /// the processors, in turn; an address that has sent a wrong password in the last minute has a
    /// few places only. An unknown user costs as much as some user of the file, always the
    /// same one.
    Login check(const std::string& address, const std::string& user,
                const std::string& password) const;
    /// How long the answer to a wrong password from that address is to be held back: the longer,
    /// the more of them it has sent lately.
    std::chrono::milliseconds delay(const std::string& address) const;

private:
    using Digest = std::array<unsigned char, 32>;
    using Time = std::chrono::steady_clock::time_point;
    struct User
    {
        std::string hash;
        mutable std::optional<Digest> verified;  ///< of the password that was right last
    };
    struct Address
    {
        unsigned pending = 0;  ///< logins that wait or are checked
        unsigned wrong = 0;    ///< wrong passwords lately
        Time limitedUntil;
    };

    void addLine(const std::string& line);
    Address& addressOf(const std::string& address) const;

    std::map<std::string, User> users_;
    Digest key_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    mutable std::list<const Address*> queue_;  ///< of logins; the first ones are being checked
    mutable std::map<std::string, Address> addresses_;
};

/// A hash for a password file, with a fresh salt and the strongest method of this machine.
/// Throws std::runtime_error for an empty password or one with a NUL or line end in it.
std::string hashPassword(const std::string& password);

}  // namespace cimom
