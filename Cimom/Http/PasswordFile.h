// Users and their password hashes.
#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace cimom
{

/// The users of a password file: one "user:hash" a line, hashes as crypt(3) makes them, blank lines
/// and lines that start with "#" ignored. Read once. Safe for any number of threads.
class PasswordFile
{
public:
    /// Throws std::runtime_error with "FILE:LINE: what is wrong and what to do".
    explicit PasswordFile(const std::filesystem::path& file);

    /// True when that user has that password. A password that was right once is remembered (as a
    /// digest under a key of this process), so that only the first check of it costs a hash; an
    /// unknown user costs as much as a wrong password.
    bool verify(const std::string& user, const std::string& password) const;

    /// How many hashes were computed so far.
    unsigned long hashesComputed() const;

private:
    using Digest = std::array<unsigned char, 32>;
    Digest digest(const std::string& user, const std::string& password) const;
    void addLine(const std::string& line);

    std::map<std::string, std::string> hashes_;
    Digest key_;
    mutable std::mutex mutex_;
    mutable std::set<Digest> verified_;
    mutable unsigned long hashesComputed_ = 0;
};

/// A hash for a password file, with a fresh salt and the strongest method of this machine.
/// Throws std::runtime_error for an empty password or one with a NUL or line end in it.
std::string hashPassword(const std::string& password);

}  // namespace cimom
