#include "Http/PasswordFile.h"

#include "Model/Text.h"

#include <crypt.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <sstream>
#include <stdexcept>

namespace cimom
{

namespace
{

/// Whether the password has that hash, compared in a time that depends on the length only.
bool hasHash(const std::string& password, const std::string& hash) noexcept
{
    crypt_data data{};
    const char* computed = crypt_rn(password.c_str(), hash.c_str(), &data, sizeof(data));
    return computed && CRYPTO_memcmp(computed, hash.c_str(), hash.size() + 1) == 0;
}

/// The digest of the text under a key.
template <class Key>
std::array<unsigned char, 32> digest(const Key& key, const std::string& text)
{
    std::array<unsigned char, 32> digest{};
    if (!HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
              reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data(),
              nullptr)) {
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
    std::istringstream in(readFile(file, "password"));
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
    if (users_.empty())
        throw std::runtime_error(file.string() +
                                 ":1: no user in the password file; add \"user:hash\"");
    if (RAND_bytes(key_.data(), static_cast<int>(key_.size())) != 1)
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
    if (!users_.emplace(user, User{hash, {}}).second)
        throw std::runtime_error("user " + user + " is listed twice");
}

/// The user whose hash is computed for a name that is not in the file: the methods of the file may
/// differ, and which one a name costs is the same after a restart.
PasswordFile::Users::const_iterator PasswordFile::standInFor(const std::string& unknown) const
{
    const unsigned char choice = digest(users_.begin()->second.hash, unknown)[0];
    return std::next(users_.begin(), static_cast<long>(choice % users_.size()));
}

bool PasswordFile::isRemembered(const std::string& user, const std::string& password) const
{
    const Digest mark = digest(key_, password);
    const auto found = users_.find(user);
    const std::lock_guard<std::mutex> lock(mutex_);
    return found != users_.end() && found->second.remembered &&
           CRYPTO_memcmp(found->second.remembered->data(), mark.data(), mark.size()) == 0;
}

bool PasswordFile::check(const std::string& user, const std::string& password) const
{
    // crypt(3) would compare what is before the NUL only.
    if (password.find('\0') != std::string::npos) return false;
    if (isRemembered(user, password)) return true;
    const auto found = users_.find(user);
    const auto standIn = standInFor(user);  // always sought, so that it tells nobody who is known
    const bool known = found != users_.end();
    const bool matches = hasHash(password, (known ? found : standIn)->second.hash);
    if (!known || !matches) return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    found->second.remembered = digest(key_, password);
    return true;
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
