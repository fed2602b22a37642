#include "Http/PasswordFile.h"

#include <algorithm>
#include <cerrno>
#include <crypt.h>
#include <cstring>
#include <fstream>
#include <gnutls/crypto.h>
#include <stdexcept>
#include <thread>

namespace cimom
{

namespace
{

const long mostRunning = std::max(1U, std::thread::hardware_concurrency() / 2);
constexpr unsigned mostPending = 4;          // of an address that has sent a wrong password
constexpr std::size_t mostAddresses = 4096;  // any further ones count as one

/// Whether the password has that hash, compared in a time that depends on the length only.
bool hasHash(const std::string& password, const std::string& hash) noexcept
{
    crypt_data data{};
    const char* computed = crypt_rn(password.c_str(), hash.c_str(), &data, sizeof(data));
    return computed && gnutls_memcmp(computed, hash.c_str(), hash.size() + 1) == 0;
}

/// The digest of the text under a key.
template <class Key>
std::array<unsigned char, 32> digest(const Key& key, const std::string& text)
{
    std::array<unsigned char, 32> digest{};
    if (gnutls_hmac_fast(GNUTLS_MAC_SHA256, key.data(), key.size(), text.data(), text.size(),
                         digest.data()) != 0) {
        throw std::runtime_error("no digest");
    }
    return digest;
}

/// Yescrypt, scrypt, bcrypt and SHA-512; not DES, MD5, NT or SHA-256.
bool isStrongHash(const char* hash)
{
    return crypt_checksalt(hash) == CRYPT_SALT_OK;
}

}  // namespace

PasswordFile::PasswordFile(const std::filesystem::path& file)
{
    std::ifstream in(file);
    std::string line;
    for (unsigned number = 1; std::getline(in, line); ++number) {
        try {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            if (!line.empty() && line[0] != '#') addLine(line);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(file.string() + ":" + std::to_string(number) + ": " +
                                     error.what());
        }
    }
    if (!in.eof())
        throw std::runtime_error(file.string() +
                                 ": cannot read the password file: " + std::strerror(errno));
    if (users_.empty())
        throw std::runtime_error(file.string() +
                                 ":1: no user in the password file; add \"user:hash\"");
    if (gnutls_rnd(GNUTLS_RND_KEY, key_.data(), key_.size()) != 0)
        throw std::runtime_error("no random numbers");
}

void PasswordFile::addLine(const std::string& line)
{
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos || colon == 0)
        throw std::runtime_error("expected \"user:hash\"");
    const std::string user = line.substr(0, colon);
    const std::string hash = line.substr(colon + 1);
    if (!isStrongHash(hash.c_str())) {
        throw std::runtime_error("user " + user +
                                 ": not a password hash of a strong method; make one with "
                                 "qbx-cimserver --hash-password");
    }
    if (!users_.emplace(user, User{hash, std::nullopt}).second)
        throw std::runtime_error("user " + user + " is listed twice");
}

PasswordFile::Address& PasswordFile::addressOf(const std::string& address) const
{
    const Time now = std::chrono::steady_clock::now();
    for (auto entry = addresses_.begin(); entry != addresses_.end();) {
        const bool over = entry->second.pending == 0 && entry->second.limitedUntil < now;
        entry = over ? addresses_.erase(entry) : std::next(entry);
    }
    return addresses_[addresses_.size() < mostAddresses ? address : ""];
}

Login PasswordFile::check(const std::string& address, const std::string& user,
                          const std::string& password) const
{
    if (password.find('\0') != std::string::npos) return Login::Wrong;
    const auto found = users_.find(user);
    const bool known = found != users_.end();
    // The methods of the file may differ. Which one a name costs is the same after a restart.
    const unsigned char choice = digest(users_.begin()->second.hash, user)[0];
    const User& expected =
        (known ? found : std::next(users_.begin(), choice % users_.size()))->second;
    const Digest mark = digest(key_, password);
    const auto isRemembered = [&] {
        return known && expected.verified &&
               gnutls_memcmp(expected.verified->data(), mark.data(), mark.size()) == 0;
    };
    std::unique_lock<std::mutex> lock(mutex_);
    if (isRemembered()) return Login::Right;
    Address& from = addressOf(address);
    const auto isBusy = [&] {
        return from.pending > mostPending && from.limitedUntil > std::chrono::steady_clock::now();
    };
    const auto turn = queue_.insert(queue_.end(), &from);
    ++from.pending;
    changed_.wait(lock, [&] {
        return isRemembered() || isBusy() || std::distance(queue_.begin(), turn) < mostRunning;
    });
    Login login = isRemembered() ? Login::Right : Login::Busy;
    if (login == Login::Busy && !isBusy()) {
        lock.unlock();
        login = hasHash(password, expected.hash) && known ? Login::Right : Login::Wrong;
        lock.lock();
        if (login == Login::Right) expected.verified = mark;
        if (login == Login::Wrong) {
            ++from.wrong;
            from.limitedUntil = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        }
    }
    --from.pending;
    queue_.erase(turn);
    changed_.notify_all();
    return login;
}

std::chrono::milliseconds PasswordFile::delay(const std::string& address) const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::chrono::milliseconds(200U << std::min(addressOf(address).wrong, 5U));
}

std::string hashPassword(const std::string& password)
{
    if (password.empty()) throw std::runtime_error("the password is empty");
    if (password.find_first_of(std::string("\0\r\n", 3)) != std::string::npos)
        throw std::runtime_error("the password contains a NUL or a line end");
    std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> settings{};
    const char* made = crypt_gensalt_rn(nullptr, 0, nullptr, 0, settings.data(), settings.size());
    crypt_data data{};
    const char* hash = made ? crypt_rn(password.c_str(), made, &data, sizeof(data)) : nullptr;
    if (!hash || !isStrongHash(hash))
        throw std::runtime_error("this machine's crypt has no strong method");
    return hash;
}

}  // namespace cimom
