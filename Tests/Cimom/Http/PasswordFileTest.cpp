// The cost of a check. What is right and wrong, in files and requests, is tested over the wire.
#include "Http/PasswordFile.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <tuple>

namespace cimom
{
namespace
{

TEST(PasswordFile, OnlyTheFirstCheckOfARightPasswordCostsAHash)
{
    const std::string password = "s3cr\xC3\xA4t: x", hash = hashPassword(password);
    EXPECT_EQ(hash.substr(0, 3), "$y$");
    EXPECT_NE(hash, hashPassword(password));
    const auto file = std::filesystem::path(::testing::TempDir()) / "qbx_users_test";
    // bcrypt with the lowest cost, of "rootpw"
    std::ofstream(file) << "eva:" << hash << "\r\nzed:"
                        << "$2b$04$KBCwKxOzLha2MUDgW0PjXe81DXgZLaXCar4mHCf9n2OozpWJaJRom\n";
    const PasswordFile users(file);
    const auto costsAHash = [&](const std::string& user, const std::string& given, Login login) {
        const std::clock_t start = std::clock();
        EXPECT_EQ(users.check("x", user, given), login) << user << given;
        // Processor time: the strong hash takes tens of milliseconds.
        return std::clock() - start > CLOCKS_PER_SEC / 125;
    };
    const std::tuple<const char*, std::string, Login, bool> steps[] = {
        {"eva", "wrong", Login::Wrong, true},
        {"eva", password, Login::Right, true},
        {"eva", password, Login::Right, false},
        {"eva", "rootpw", Login::Wrong, true},
        {"eva", password, Login::Right, false},
        {"zed", "rootpw", Login::Right, false},
        {"zed", password, Login::Wrong, false},
        {"eva", password + std::string("\0x", 2), Login::Wrong, false},
    };
    for (const auto& [user, given, login, hashed] : steps)
        EXPECT_EQ(costsAHash(user, given, login), hashed) << user << given;
    // Unknown users cost what the known ones cost, each always the same.
    std::string costs;
    for (unsigned i = 0; i < 40; ++i) {
        const std::string name(1, static_cast<char>('A' + i % 20));
        costs += costsAHash(name, "x", Login::Wrong) ? 'H' : '.';
    }
    EXPECT_EQ(costs.substr(0, 20), costs.substr(20));
    EXPECT_NE(costs.find("H"), costs.npos);
    EXPECT_NE(costs.find("."), costs.npos);
    EXPECT_THROW(hashPassword(std::string("a\0b", 3)), std::runtime_error);
}

}  // namespace
}  // namespace cimom
