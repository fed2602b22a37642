#include "Http/PasswordFile.h"

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

class PasswordFileTest : public ::testing::Test
{
protected:
    PasswordFile load(const std::string& content) const
    {
        std::ofstream(file_, std::ios::binary) << content;
        return PasswordFile(file_);
    }
    std::string failure(const std::string& content) const
    {
        try {
            load(content);
        } catch (const std::runtime_error& error) {
            const std::string text = error.what();
            return text.compare(0, file_.string().size(), file_.string()) == 0
                       ? text.substr(file_.string().size())
                       : text;
        }
        return "accepted";
    }

    const fs::path file_ = fs::path(::testing::TempDir()) / "qbx_users_test";
};

TEST_F(PasswordFileTest, HashesOfThisProgramAreAccepted)
{
    const std::string hash = hashPassword("s3cr\xC3\xA4t: x");
    EXPECT_EQ(hash.substr(0, 3), "$y$");
    EXPECT_NE(hash, hashPassword("s3cr\xC3\xA4t: x"));
    const PasswordFile users = load("# comment\n\neva:" + hash + "\r\n");
    EXPECT_TRUE(users.verify("eva", "s3cr\xC3\xA4t: x"));
    EXPECT_FALSE(users.verify("eva", "s3cr\xC3\xA4t:"));
    EXPECT_FALSE(users.verify("eva", ""));
}

TEST_F(PasswordFileTest, OnlyTheFirstCheckOfARightPasswordCostsAHash)
{
    const PasswordFile users = load("root:" + cheapHash + "\nadm:" + cheapHash + "\n");
    const struct
    {
        std::string user;
        std::string password;
        bool right;
        unsigned long hashes;
    } steps[] = {
        {"root", "rootpw", true, 1}, {"root", "rootpw", true, 1}, {"adm", "rootpw", true, 2},
        {"root", "wrong", false, 3}, {"root", "wrong", false, 4}, {"nosuch", "rootpw", false, 5},
        {"", "rootpw", false, 6},    {"root", "rootpw", true, 6},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(users.verify(step.user, step.password), step.right)
            << step.user << " " << step.password;
        EXPECT_EQ(users.hashesComputed(), step.hashes) << step.user << " " << step.password;
    }
}

TEST_F(PasswordFileTest, FaultsNameTheLine)
{
    const std::string advice =
        ": not a password hash of a strong method; make one with qbx-cimserver --hash-password";
    EXPECT_EQ(failure(""), ":1: no user in the password file; add \"user:hash\"");
    EXPECT_EQ(failure("root\n"), ":1: expected \"user:hash\"");
    EXPECT_EQ(failure("# x\n:" + cheapHash), ":2: expected \"user:hash\"");
    EXPECT_EQ(failure("root:\n"), ":1: user root" + advice);
    EXPECT_EQ(failure("root:rootpw\n"), ":1: user root" + advice);
    EXPECT_EQ(failure("root:$1$abcdefgh$G//4keteveJp0qb8z2DxG/\n"), ":1: user root" + advice);
    EXPECT_EQ(failure("root:abJnggxhB/yWI\n"), ":1: user root" + advice);
    EXPECT_EQ(failure("root:*\n"), ":1: user root" + advice);
    EXPECT_EQ(failure("root:" + cheapHash + "\nroot:" + cheapHash),
              ":2: user root is listed twice");
    fs::remove(file_);
    EXPECT_THROW(PasswordFile{file_}, std::runtime_error);
    EXPECT_THROW(PasswordFile{fs::path("/")}, std::runtime_error);
}

TEST(PasswordHash, RefusesWhatCouldNotBeSent)
{
    EXPECT_THROW(hashPassword(""), std::runtime_error);
    EXPECT_THROW(hashPassword(std::string("a\0b", 3)), std::runtime_error);
    EXPECT_THROW(hashPassword("a\n"), std::runtime_error);
}

}  // namespace
}  // namespace cimom
