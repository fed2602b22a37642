// Users and their password hashes.
#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
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

    /// True when that is the password of that user that was right last, which is remembered as a
    /// digest under a key of this process. Costs no hash.
    bool remembers(const std::string& user, const std::string& password) const;
    /// True when that user has that password. Costs a hash; for an unknown user always the one of
    /// the same user of the file.
    bool verify(const std::string& user, const std::string& password) const;

private:
    using Digest = std::array<unsigned char, 32>;
    struct User
    {
        std::string hash;
        mutable std::optional<Digest> verified;  ///< of the password that was right last
    };

    void addLine(const std::string& line);

    std::map<std::string, User> users_;
    Digest key_;
    mutable std::mutex mutex_;
};

/// A hash for a password file, with a fresh salt and the strongest method of this machine.
/// Throws std::runtime_error for an empty password or one with a NUL or line end in it.
std::string hashPassword(const std::string& password);

}  // namespace cimom
