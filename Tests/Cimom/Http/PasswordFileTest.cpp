// The cost of a check. What is right and wrong, in files and requests, is tested over the wire.
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

/// User eva with a strong hash, which takes tens of milliseconds, and zed with a cheap one.
class PasswordFileCost : public ::testing::Test
{
protected:
    static constexpr const char* evasPassword = "s3cr\xC3\xA4t: x";

    static std::filesystem::path written()
    {
        const auto file = std::filesystem::path(::testing::TempDir()) / "qbx_users_test";
        // bcrypt with the lowest cost, of "rootpw"
        std::ofstream(file) << "eva:" << hashPassword(evasPassword) << "\r\nzed:"
                            << "$2b$04$KBCwKxOzLha2MUDgW0PjXe81DXgZLaXCar4mHCf9n2OozpWJaJRom\n";
        return file;
    }

    /// Whether the check takes the processor time of a strong hash.
    bool costsStrongHash(const std::string& user, const std::string& password)
    {
        const std::clock_t start = std::clock();
        users.check(user, password);
        return std::clock() - start > CLOCKS_PER_SEC / 125;
    }

    const PasswordFile users{written()};
};

TEST_F(PasswordFileCost, RightPasswordCostsOneHash)
{
    EXPECT_TRUE(costsStrongHash("eva", evasPassword));
    EXPECT_FALSE(costsStrongHash("eva", evasPassword));
    EXPECT_TRUE(users.isRemembered("eva", evasPassword));
}

TEST_F(PasswordFileCost, WrongPasswordCostsAHashAndForgetsNothing)
{
    EXPECT_TRUE(users.check("eva", evasPassword));
    EXPECT_TRUE(costsStrongHash("eva", "rootpw"));
    EXPECT_FALSE(users.check("eva", "rootpw"));
    EXPECT_FALSE(users.isRemembered("eva", "rootpw"));
    EXPECT_TRUE(users.isRemembered("eva", evasPassword));
}

TEST_F(PasswordFileCost, PasswordsAreOfOneUser)
{
    EXPECT_TRUE(users.check("zed", "rootpw"));
    EXPECT_FALSE(users.check("zed", evasPassword));
    EXPECT_FALSE(users.check("nobody", "rootpw"));
}

TEST_F(PasswordFileCost, TextBehindANulCounts)
{
    EXPECT_TRUE(users.check("eva", evasPassword));
    EXPECT_FALSE(users.check("eva", evasPassword + std::string("\0x", 2)));
}

TEST_F(PasswordFileCost, UnknownUsersCostWhatKnownOnesDoAndAlwaysTheSame)
{
    std::string first, second;
    for (char name = 'A'; name < 'U'; ++name)
        first += costsStrongHash({name}, "x") ? 'H' : '.';
    for (char name = 'A'; name < 'U'; ++name)
        second += costsStrongHash({name}, "x") ? 'H' : '.';
    EXPECT_EQ(first, second);
    EXPECT_NE(first.find('H'), first.npos);
    EXPECT_NE(first.find('.'), first.npos);
}

TEST(HashPassword, MakesADifferentStrongHashEachTime)
{
    EXPECT_EQ(hashPassword("x").substr(0, 3), "$y$");
    EXPECT_NE(hashPassword("x"), hashPassword("x"));
}

TEST(HashPassword, RejectsPasswordsThatNoHashCovers)
{
    EXPECT_THROW(hashPassword(""), std::runtime_error);
    EXPECT_THROW(hashPassword(std::string("a\0b", 3)), std::runtime_error);
    EXPECT_THROW(hashPassword("a\nb"), std::runtime_error);
}

}  // namespace
}  // namespace cimom
