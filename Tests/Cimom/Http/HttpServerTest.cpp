// What needs operations that wait: threads and the stop. The protocol is tested over the wire.
#include "Http/HttpServer.h"

#include <arpa/inet.h>
#include <future>
#include <gtest/gtest.h>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace cimom
{
namespace
{

using namespace std::chrono_literals;

/// A request whose operation takes that long.
std::string request(std::chrono::milliseconds time, const std::string& connection = "close")
{
    return "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: text/xml\r\nCIMOperation: MethodCall\r\n"
           "CIMMethod: " +
           std::to_string(time.count()) + "\r\nConnection: " + connection +
           "\r\nContent-Length: 2\r\n\r\nhi";
}

/// All that the server at this port answers to these bytes; nothing when it does not listen.
std::string answer(std::uint16_t port, const std::string& bytes)
{
    std::string text;
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
        send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        char part[4096];
        for (ssize_t size; (size = recv(fd, part, sizeof(part), 0)) > 0;)
            text.append(part, static_cast<std::size_t>(size));
    }
    close(fd);
    return text;
}

class HttpServerTest : public ::testing::Test
{
protected:
    /// A server whose operations wait until so many have come, which `met` tells.
    void start(unsigned wanted)
    {
        options.port = 0;
        server.emplace(options, nullptr, [this, wanted](const CimRequest& request) {
            if (++arrived == wanted) all.set_value();
            EXPECT_EQ(met.wait_for(20s), std::future_status::ready);
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(*request.method)));
            return CimReply();
        });
    }

    std::future<std::string> ask(const std::string& bytes)
    {
        return std::async(std::launch::async, answer, server->port(), bytes);
    }

    HttpOptions options;
    std::atomic<unsigned> arrived{0};
    std::promise<void> all;
    const std::shared_future<void> met = all.get_future().share();
    std::optional<HttpServer> server;  // last: ends before what it uses
};

TEST_F(HttpServerTest, OperationsRunSideBySideAndAsLongAsTheyWant)
{
    options.connections.timeout = 1s;
    start(8);
    std::vector<std::future<std::string>> answers;
    for (int i = 0; i < 8; ++i)
        answers.push_back(ask(request(1500ms)));
    for (auto& each : answers)
        EXPECT_EQ(each.get().substr(0, 13), "HTTP/1.1 200 ");
}

TEST_F(HttpServerTest, StopLetsOperationsFinishAndRefusesNewOnes)
{
    start(2);
    auto slow = ask(request(1000ms));
    auto twice = ask(request(200ms, "keep-alive") + request(0ms));
    met.wait();
    server->stop();
    EXPECT_EQ(slow.get().substr(0, 13), "HTTP/1.1 200 ");
    const std::string both = twice.get();
    EXPECT_EQ(both.substr(0, 13), "HTTP/1.1 200 ");
    EXPECT_NE(both.find("PGErrorDetail: The%20server%20is%20shutting%20down."), std::string::npos);
    EXPECT_EQ(answer(server->port(), request(0ms)), "");
    EXPECT_EQ(arrived, 2U);
    server->stop();
}

}  // namespace
}  // namespace cimom
