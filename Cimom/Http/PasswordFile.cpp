#include "Http/PasswordFile.h"

#include <algorithm>
#include <cerrno>
#include <crypt.h>
#include <cstring>
#include <fstream>
#include <gnutls/crypto.h>
#include <memory>
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
    const auto data = std::make_unique<crypt_data>();
    const char* hash = crypt_rn(password.c_str(), settings.c_str(), data.get(), sizeof(*data));
    return hash ? hash : "";
}

/// Compares in a time that depends on the length only.
bool sameText(const std::string& a, const std::string& b)
{
    unsigned char difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

/// Yescrypt, scrypt, bcrypt and the SHA-2 methods; not DES, MD5 or NT.
bool isStrongHash(const std::string& hash)
{
    static const std::string_view methods[] = {"$y$", "$gy$", "$7$", "$2b$", "$2y$", "$6$", "$5$"};
    const auto starts = [&](std::string_view method) {
        return hash.compare(0, method.size(), method) == 0;
    };
    return std::any_of(std::begin(methods), std::end(methods), starts) &&
           crypt_checksalt(hash.c_str()) == CRYPT_SALT_OK;
}

std::string newSettings()
{
    char settings[CRYPT_GENSALT_OUTPUT_SIZE];
    if (!crypt_gensalt_rn(nullptr, 0, nullptr, 0, settings, sizeof(settings))) {
        throw std::runtime_error(std::string("no salt for a password hash: ") +
                                 std::strerror(errno));
    }
    return settings;
}

}  // namespace

PasswordFile::PasswordFile(const std::filesystem::path& file)
{
    std::ifstream in(file);
    if (!in)
        throw std::runtime_error(file.string() +
                                 ": cannot read the password file: " + std::strerror(errno));
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
    if (in.bad())
        throw std::runtime_error(file.string() +
                                 ": cannot read the password file: " + std::strerror(errno));
    if (hashes_.empty())
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
    if (!isStrongHash(hash)) {
        throw std::runtime_error("user " + user +
                                 ": not a password hash of a strong method; make one with "
                                 "qbx-cimserver --hash-password");
    }
    if (!hashes_.emplace(user, hash).second)
        throw std::runtime_error("user " + user + " is listed twice");
}

PasswordFile::Digest PasswordFile::digest(const std::string& user,
                                          const std::string& password) const
{
    const std::string text = user + ':' + password;  // a user name holds no colon
    Digest digest{};
    if (gnutls_hmac_fast(GNUTLS_MAC_SHA256, key_.data(), key_.size(), text.data(), text.size(),
                         digest.data()) != 0) {
        throw std::runtime_error("no digest");
    }
    return digest;
}

bool PasswordFile::verify(const std::string& user, const std::string& password) const
{
    if (password.find('\0') != std::string::npos) return false;
    const auto found = hashes_.find(user);
    const bool known = found != hashes_.end();
    const Digest mark = digest(user, password);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (known && verified_.count(mark) != 0) return true;
        ++hashesComputed_;
    }
    const std::string& expected = known ? found->second : hashes_.begin()->second;
    if (!sameText(hashWith(password, expected), expected) || !known) return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    verified_.insert(mark);
    return true;
}

unsigned long PasswordFile::hashesComputed() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return hashesComputed_;
}

std::string hashPassword(const std::string& password)
{
    if (password.empty()) throw std::runtime_error("the password is empty");
    if (password.find_first_of(std::string("\0\r\n", 3)) != std::string::npos) {
        throw std::runtime_error("the password contains a NUL or a line end");
    }
    const std::string hash = hashWith(password, newSettings());
    if (!isStrongHash(hash)) throw std::runtime_error("this machine's crypt has no strong method");
    return hash;
}

}  // namespace cimom
