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
    const std::tuple<const char*, std::string, bool, bool> steps[] = {
        {"eva", "wrong", false, true},
        {"eva", password, true, true},
        {"eva", password, true, false},
        {"eva", "rootpw", false, true},
        {"eva", password, true, false},
        {"zed", "rootpw", true, false},
        {"zed", password, false, false},
        {"EVA", password, false, true},
        {"eva", password + std::string("\0x", 2), false, false},
    };
    for (const auto& [user, given, right, hashed] : steps) {
        const std::clock_t start = std::clock();
        EXPECT_EQ(users.verify(user, given), right) << user << given;
        // Processor time: the strong hash takes tens of milliseconds.
        EXPECT_EQ(std::clock() - start > CLOCKS_PER_SEC / 125, hashed) << user << given;
    }
    EXPECT_THROW(hashPassword(std::string("a\0b", 3)), std::runtime_error);
}

}  // namespace
}  // namespace cimom
