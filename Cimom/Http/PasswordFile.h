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

    /// Whether this is the password that was right last for that user. It is kept as a digest under
    /// a key of this process: asking costs no hash.
    bool isRemembered(const std::string& user, const std::string& password) const;
    /// Whether the password is the user's; a right one is remembered. Costs a hash, unless it is
    /// remembered: much time and memory. An unknown user costs as much as some user of the file,
    /// always the same one.
    bool check(const std::string& user, const std::string& password) const;

private:
    using Digest = std::array<unsigned char, 32>;
    struct User
    {
        std::string hash;
        mutable std::optional<Digest> remembered;  ///< of the password that was right last
    };
    using Users = std::map<std::string, User>;

    void addLine(const std::string& line);
    Users::const_iterator standInFor(const std::string& unknown) const;

    Users users_;
    Digest key_;
    mutable std::mutex mutex_;  ///< of what is remembered
};

/// A hash for a password file, with a fresh salt and the strongest method of this machine.
/// Throws std::runtime_error for an empty password or one with a NUL or line end in it.
std::string hashPassword(const std::string& password);

}  // namespace cimom
