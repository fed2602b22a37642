// What needs operations that wait: threads and the stop. The protocol is tested over the wire.
#include "Http/HttpServer.h"

#include <arpa/inet.h>
#include <future>
#include <gtest/gtest.h>
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

TEST(HttpServer, OperationsRunSideBySideForAsLongAsTheyWantAndStopLetsThemFinish)
{
    constexpr unsigned clients = 8;
    const std::string request =
        "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: text/xml\r\nCIMOperation: MethodCall\r\n"
        "Content-Length: 2\r\n\r\nhi";
    std::atomic<unsigned> arrived{0};
    std::promise<void> all;
    const std::shared_future<void> met = all.get_future().share();
    HttpOptions options;
    options.port = 0;
    options.connections.timeout = 1s;
    HttpServer server(options, nullptr, [&](const CimRequest&) {
        const unsigned number = ++arrived;
        if (number == clients) all.set_value();
        EXPECT_EQ(met.wait_for(20s), std::future_status::ready);
        std::this_thread::sleep_for(number == 1 ? 4s : 3s);
        return CimReply();
    });
    std::vector<std::future<std::string>> answers;
    for (unsigned i = 0; i < clients; ++i)
        answers.push_back(std::async(std::launch::async, answer, server.port(), request + request));
    met.wait();
    std::this_thread::sleep_for(1500ms);  // more than the time for a request
    server.stop();
    unsigned refused = 0;
    for (auto& each : answers) {
        const std::string both = each.get(), down = "PGErrorDetail: The%20server%20is%20shutting";
        EXPECT_EQ(both.substr(0, 13), "HTTP/1.1 200 ");
        refused += both.find(down) != std::string::npos;
    }
    EXPECT_GE(refused, clients - 1);  // the last reply may be the last thing that the server does
    EXPECT_EQ(answer(server.port(), request), "");
    EXPECT_EQ(arrived, clients);
    server.stop();
}

}  // namespace
}  // namespace cimom
