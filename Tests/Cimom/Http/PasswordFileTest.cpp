// The cost of a check, and who waits for it. What is right and wrong, in files and requests, is
// tested over the wire.
#include "Http/LoginQueue.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <vector>

namespace cimom
{
namespace
{

const std::string password = "s3cr\xC3\xA4t: x";

/// A file with two users: eva with a strong hash of that password, and zed with a cheap one.
std::filesystem::path passwordFile()
{
    const auto file = std::filesystem::path(::testing::TempDir()) / "qbx_users_test";
    // bcrypt with the lowest cost, of "rootpw"
    std::ofstream(file) << "eva:" << hashPassword(password) << "\r\nzed:"
                        << "$2b$04$KBCwKxOzLha2MUDgW0PjXe81DXgZLaXCar4mHCf9n2OozpWJaJRom\n";
    return file;
}

/// Whether the step takes as much processor time as a strong hash: tens of milliseconds.
template <class Step>
bool costsAHash(Step step)
{
    const std::clock_t start = std::clock();
    step();
    return std::clock() - start > CLOCKS_PER_SEC / 125;
}

TEST(PasswordFile, OnlyTheFirstCheckOfARightPasswordCostsAHash)
{
    EXPECT_EQ(hashPassword(password).substr(0, 3), "$y$");
    EXPECT_NE(hashPassword(password), hashPassword(password));
    const PasswordFile users(passwordFile());
    LoginQueue logins(&users);
    const std::tuple<const char*, std::string, Login::Result, bool> steps[] = {
        {"eva", "wrong", Login::Wrong, true},
        {"eva", password, Login::Right, true},
        {"eva", password, Login::Right, false},
        {"eva", "rootpw", Login::Wrong, true},
        {"eva", password, Login::Right, false},
        {"zed", "rootpw", Login::Right, false},
        {"zed", password, Login::Wrong, false},
        {"eva", password + std::string("\0x", 2), Login::Wrong, false},
    };
    for (const auto& [user, given, result, hashed] : steps) {
        EXPECT_EQ(costsAHash([&, &user = user, &given = given, &result = result] {
                      EXPECT_EQ(logins.check("a", user, given).result, result) << user << given;
                  }),
                  hashed)
            << user << given;
    }
    for (const int delay : {100, 200, 400})
        EXPECT_EQ(logins.check("b", "zed", "wrong").delay.count(), delay);
    EXPECT_THROW(hashPassword(std::string("a\0b", 3)), std::runtime_error);
}

TEST(PasswordFile, UnknownUsersCostWhatKnownOnesCost)
{
    const auto file = passwordFile();
    std::vector<bool> costs[2];
    for (auto& each : costs) {
        const PasswordFile users(file);
        for (char name = 'A'; name <= 'T'; ++name)
            each.push_back(costsAHash([&] { users.verify(std::string(1, name), password); }));
    }
    EXPECT_EQ(costs[0], costs[1]);
    EXPECT_TRUE(std::count(costs[0].begin(), costs[0].end(), true) % 20) << "all alike";
}

TEST(LoginQueue, AddressesTakeTurns)
{
    const PasswordFile users(passwordFile());
    LoginQueue logins(&users);
    std::atomic<unsigned> wrong{0}, busy{0};
    std::vector<std::future<void>> others;
    for (unsigned i = 0; i < 64; ++i) {
        others.push_back(std::async(std::launch::async, [&, i] {
            const Login login = logins.check("a", "eva", std::to_string(i));
            ++(login.result == Login::Busy ? busy : wrong);
        }));
    }
    while (wrong == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const unsigned before = wrong;
    EXPECT_EQ(logins.check("b", "eva", password).result, Login::Right);
    EXPECT_LE(wrong - before, std::thread::hardware_concurrency() + 1);
    others.clear();
    EXPECT_GT(busy, LoginQueue::mostPending);
    EXPECT_EQ(wrong + busy, 64U);
}

}  // namespace
}  // namespace cimom
