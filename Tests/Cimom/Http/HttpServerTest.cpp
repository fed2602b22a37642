// What needs operations that wait, fail or have much to say. The protocol is tested over the wire.
#include "Http/HttpServer.h"

#include <Pegasus/Common/Exception.h>

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

const std::string request =
    "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: text/xml\r\nCIMOperation: MethodCall\r\n"
    "Content-Length: 2\r\n\r\nhi";

/// All that the server at this port answers to these bytes, to a client that rests between reading
/// parts of it; nothing when it does not listen.
std::string answer(std::uint16_t port, const std::string& bytes,
                   std::chrono::milliseconds rest = 0ms)
{
    std::string text;
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
        send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        char part[32768];
        for (ssize_t size; (size = recv(fd, part, sizeof(part), 0)) > 0;) {
            text.append(part, static_cast<std::size_t>(size));
            std::this_thread::sleep_for(rest);
        }
    }
    close(fd);
    return text;
}

TEST(HttpServer, OperationsRunSideBySideForAsLongAsTheyWantAndStopLetsThemFinish)
{
    constexpr unsigned clients = 8;
    std::atomic<unsigned> arrived{0};
    std::promise<void> all;
    const std::shared_future<void> met = all.get_future().share();
    HttpOptions options;
    options.port = 0;
    options.connections.timeout = 1s;
    const auto server = startHttpServer(options, [&](const CimRequest&) {
        const unsigned number = ++arrived;
        if (number == clients) all.set_value();
        EXPECT_EQ(met.wait_for(20s), std::future_status::ready);
        std::this_thread::sleep_for(number == 1 ? 4s : 3s);
        return CimReply();
    });
    std::vector<std::future<std::string>> answers;
    for (unsigned i = 0; i < clients; ++i)
        answers.push_back(
            std::async(std::launch::async, answer, server->port(), request + request, 0ms));
    met.wait();
    std::this_thread::sleep_for(1500ms);  // more than the time for a request
    server->stop();
    unsigned refused = 0;
    for (auto& each : answers) {
        const std::string both = each.get(), down = "PGErrorDetail: The%20server%20is%20shutting";
        EXPECT_EQ(both.substr(0, 13), "HTTP/1.1 200 ");
        refused += both.find(down) != std::string::npos;
    }
    EXPECT_GE(refused, clients - 1);  // the last reply may be the last thing that the server does
    EXPECT_EQ(answer(server->port(), request), "");
    EXPECT_EQ(arrived, clients);
    server->stop();
}

TEST(HttpServer, ReadersMustTakeTheirReplyInTime)
{
    HttpOptions options;
    options.port = 0;
    options.connections.timeout = 1s;
    options.connections.slowestReader = 16 << 20;  // bytes a second, and the size of the reply
    const auto server = startHttpServer(options, [](const CimRequest&) {
        return CimReply{200, "", "", std::string(16 << 20, 'x')};
    });
    EXPECT_GT(answer(server->port(), request).size(), 16U << 20);
    EXPECT_LT(answer(server->port(), request, 10ms).size(), 16U << 20);  // in 5 s or more
}

TEST(HttpServer, LogsWhatFailedAndHowOften)
{
    std::string log;
    HttpOptions options;
    options.port = 0;
    options.log = [&](const std::string& line) { log += line + "\n"; };
    auto server = startHttpServer(options, [&](const CimRequest&) -> CimReply {
        if (log.empty()) throw Pegasus::Exception("no \xC3\xA4");
        throw std::runtime_error("no disk");
    });
    for (unsigned i = 0; i < 8; ++i)
        EXPECT_EQ(answer(server->port(), request).substr(0, 13), "HTTP/1.1 500 ");
    server.reset();
    const std::string disk = "internal error: no disk", each = disk + "\n";
    EXPECT_EQ(log, "internal error: no \xC3\xA4\n" + each + each + each + each + each + disk +
                       " (2 more of these)\n");
}

}  // namespace
}  // namespace cimom
