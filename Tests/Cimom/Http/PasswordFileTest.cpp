#include "Http/PasswordFile.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>

namespace cimom
{
namespace
{

namespace fs = std::filesystem;

// bcrypt with the lowest cost, of "rootpw".
const std::string cheapHash = "$2b$04$KBCwKxOzLha2MUDgW0PjXe81DXgZLaXCar4mHCf9n2OozpWJaJRom";

PasswordFile load(const std::string& content)
{
    const fs::path file = fs::path(::testing::TempDir()) / "qbx_users_test";
    std::ofstream(file, std::ios::binary) << content;
    return PasswordFile(file);
}

TEST(PasswordFile, OnlyTheFirstCheckOfARightPasswordCostsAHash)
{
    const std::string password = "s3cr\xC3\xA4t: x";
    const std::string hash = hashPassword(password);
    EXPECT_EQ(hash.substr(0, 3), "$y$");
    EXPECT_NE(hash, hashPassword(password));
    const PasswordFile users = load("# comment\n\neva:" + hash + "\r\nzed:" + cheapHash + "\n");
    const struct
    {
        std::string user;
        std::string password;
        bool right;
        bool hashed;
    } steps[] = {
        {"eva", "wrong", false, true},
        {"eva", password, true, true},
        {"eva", password, true, false},
        {"eva", "", false, true},
        {"eva", "rootpw", false, true},
        {"eva", password, true, false},
        {"zed", "rootpw", true, false},
        {"zed", password, false, false},
        {"EVA", password, false, true},
        {"eva", password + " ", false, true},
        {"eva", password + std::string("\0x", 2), false, false},
    };
    for (const auto& step : steps) {
        const std::clock_t start = std::clock();
        EXPECT_EQ(users.verify(step.user, step.password), step.right) << step.password;
        // Processor time: the strong hash takes tens of milliseconds.
        EXPECT_EQ(std::clock() - start > CLOCKS_PER_SEC / 125, step.hashed) << step.password;
    }
}

TEST(PasswordFile, FaultsNameTheLine)
{
    const std::string advice =
        ": not a password hash of a strong method; make one with qbx-cimserver --hash-password";
    const std::pair<std::string, std::string> cases[] = {
        {"", ":1: no user in the password file; add \"user:hash\""},
        {"root\n", ":1: expected \"user:hash\""},
        {"# x\n:" + cheapHash, ":2: expected \"user:hash\""},
        {"root:rootpw\n", ":1: user root" + advice},
        {"root:$1$abcdefgh$G//4keteveJp0qb8z2DxG/\n", ":1: user root" + advice},
        {"root:abJnggxhB/yWI\n", ":1: user root" + advice},
        {"root:" + cheapHash + "\nroot:" + cheapHash, ":2: user root is listed twice"},
    };
    for (const auto& [content, fault] : cases) {
        try {
            load(content);
            ADD_FAILURE() << content;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(std::string(error.what()).substr(std::string(error.what()).find(':')), fault);
        }
    }
    EXPECT_THROW(PasswordFile{"/"}, std::runtime_error);
    EXPECT_THROW(hashPassword(std::string("a\0b", 3)), std::runtime_error);
    EXPECT_THROW(hashPassword("a\n"), std::runtime_error);
}

}  // namespace
}  // namespace cimom
