#include "Http/PasswordFile.h"

#include "Model/Text.h"

#include <algorithm>
#include <cerrno>
#include <crypt.h>
#include <cstring>
#include <fstream>
#include <gnutls/crypto.h>
#include <stdexcept>
#include <string_view>

namespace cimom
{

namespace
{

/// The crypt(3) hash of the password under these settings (a hash serves as its own settings);
/// empty when the settings are unknown.
std::string hashWith(const std::string& password, const std::string& settings)
{
    crypt_data data{};
    const char* hash = crypt_rn(password.c_str(), settings.c_str(), &data, sizeof(data));
    return hash ? hash : "";
}

/// Whether the password has that hash, compared in a time that depends on the length only.
bool hasHash(const std::string& password, const std::string& hash)
{
    const std::string computed = hashWith(password, hash);
    return computed.size() == hash.size() &&
           gnutls_memcmp(computed.data(), hash.data(), hash.size()) == 0;
}

using Digest = std::array<unsigned char, 32>;

/// Of the text under a key. Throws std::runtime_error when there is none.
template <class Key>
Digest digest(const Key& key, const std::string& text)
{
    Digest result{};
    if (gnutls_hmac_fast(GNUTLS_MAC_SHA256, key.data(), key.size(), text.data(), text.size(),
                         result.data()) != 0) {
        throw std::runtime_error("no digest");
    }
    return result;
}

/// Yescrypt, scrypt, bcrypt and SHA-512; not DES, MD5, NT or SHA-256.
bool isStrongHash(const std::string& hash)
{
    static const std::string_view methods[] = {"$y$", "$gy$", "$7$", "$2b$", "$2y$", "$6$"};
    const auto starts = [&](std::string_view method) {
        return hash.compare(0, method.size(), method) == 0;
    };
    return std::any_of(std::begin(methods), std::end(methods), starts) &&
           crypt_checksalt(hash.c_str()) == CRYPT_SALT_OK;
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
    if (!isUtf8(user)) throw std::runtime_error("the user name is not UTF-8");
    const std::string hash = line.substr(colon + 1);
    if (!isStrongHash(hash)) {
        throw std::runtime_error("user " + user +
                                 ": not a password hash of a strong method; make one with "
                                 "qbx-cimserver --hash-password");
    }
    if (!users_.emplace(user, User{hash, std::nullopt}).second)
        throw std::runtime_error("user " + user + " is listed twice");
}

bool PasswordFile::remembers(const std::string& user, const std::string& password) const
{
    const auto found = users_.find(user);
    if (found == users_.end()) return false;
    const Digest mark = digest(key_, password);
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto& right = found->second.verified;
    return right && gnutls_memcmp(right->data(), mark.data(), mark.size()) == 0;
}

bool PasswordFile::verify(const std::string& user, const std::string& password) const
{
    if (password.find('\0') != std::string::npos) return false;
    const auto found = users_.find(user);
    if (found == users_.end()) {
        // Each unknown name costs what some user costs, the same after a restart: the methods of
        // the file may differ.
        const Digest choice = digest(users_.begin()->second.hash, user);
        const auto number = static_cast<std::ptrdiff_t>(choice[0] % users_.size());
        hasHash(password, std::next(users_.begin(), number)->second.hash);
        return false;
    }
    if (!hasHash(password, found->second.hash)) return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    found->second.verified = digest(key_, password);
    return true;
}

std::string hashPassword(const std::string& password)
{
    if (password.empty()) throw std::runtime_error("the password is empty");
    if (password.find_first_of(std::string("\0\r\n", 3)) != std::string::npos)
        throw std::runtime_error("the password contains a NUL or a line end");
    std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> settings{};
    const char* made = crypt_gensalt_rn(nullptr, 0, nullptr, 0, settings.data(), settings.size());
    const std::string hash = made ? hashWith(password, made) : "";
    if (!isStrongHash(hash)) throw std::runtime_error("this machine's crypt has no strong method");
    return hash;
}

}  // namespace cimom
