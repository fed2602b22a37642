// What needs operations that wait, fail or have much to say. The protocol is tested over the wire.
#include "Http/HttpServer.h"

#include <Pegasus/Common/Exception.h>

#include <arpa/inet.h>
#include <future>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <semaphore>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace cimom
{
namespace
{

using namespace std::chrono_literals;

std::string head(const std::string& length, const std::string& more = "")
{
    return "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: text/xml\r\nCIMOperation: MethodCall\r\n" +
           more + "Content-Length: " + length + "\r\n\r\n";
}

const std::string request = head("2") + "hi";
const std::string lastRequest = head("2", "Connection: close\r\n") + "hi";

/// A client's connection from an address of this machine.
class Client
{
public:
    explicit Client(std::uint16_t port, const std::string& sent = "", std::uint32_t source = 1)
        : socket_(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in from{AF_INET, 0, {htonl((127U << 24) + source)}, {}};
        sockaddr_in to{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
        bind(socket_, reinterpret_cast<sockaddr*>(&from), sizeof(from));
        connect(socket_, reinterpret_cast<sockaddr*>(&to), sizeof(to));
        send(sent);
    }
    Client(Client&& other) noexcept : socket_(std::exchange(other.socket_, -1)) {}
    ~Client() { close(socket_); }

    void send(const std::string& bytes) const
    {
        ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

    /// All that comes until the server ends the connection; rests between reading parts of it.
    std::string receive(std::chrono::milliseconds rest = 0ms) const
    {
        std::string text;
        while (receivePart(text))
            std::this_thread::sleep_for(rest);
        return text;
    }
    /// The status of the next reply, which has no body; 0 when the connection has ended.
    int receiveStatus() const
    {
        std::string text;
        while (text.find("\r\n\r\n") == text.npos && receivePart(text)) {
        }
        return text.empty() ? 0 : std::stoi(text.substr(9));
    }

private:
    bool receivePart(std::string& text) const
    {
        char part[32768];
        const ssize_t size = recv(socket_, part, sizeof(part), 0);
        if (size > 0) text.append(part, static_cast<std::size_t>(size));
        return size > 0;
    }

    int socket_;
};

/// A server whose operations are the test's.
class HttpServerTest : public ::testing::Test
{
protected:
    HttpServerTest() { options.port = 0; }
    ~HttpServerTest() override { release(); }

    void start(HttpServer::Handler handler)
    {
        server = startHttpServer(options, std::move(handler));
    }

    /// Starts it with operations that arrive, and end when they are released.
    void startBlocking()
    {
        start([this](const CimRequest&) {
            arrived.release();
            released.wait();
            return CimReply();
        });
    }
    void release()
    {
        if (!std::exchange(isReleased, true)) mayEnd.set_value();
    }

    Client client(const std::string& sent, std::uint32_t source = 1) const
    {
        return Client(server->port(), sent, source);
    }

    HttpOptions options;
    std::counting_semaphore<> arrived{0};
    bool isReleased = false;
    std::promise<void> mayEnd;
    const std::shared_future<void> released = mayEnd.get_future().share();
    std::unique_ptr<HttpServer> server;
};

TEST_F(HttpServerTest, RunsOperationsSideBySide)
{
    startBlocking();
    std::vector<Client> clients;
    for (unsigned i = 0; i < options.maxOperations; ++i)
        clients.push_back(client(request));
    for (unsigned i = 0; i < options.maxOperations; ++i)
        arrived.acquire();
    release();
    for (const Client& each : clients)
        EXPECT_EQ(each.receiveStatus(), 200);
}

TEST_F(HttpServerTest, OperationsMayTakeLongerThanRequests)
{
    options.connections.timeout = 1s;
    startBlocking();
    const Client slow = client(request);
    EXPECT_EQ(client("").receiveStatus(), 408);  // after the time for a request
    release();
    EXPECT_EQ(slow.receiveStatus(), 200);
}

TEST_F(HttpServerTest, StopLetsOperationsFinishAndRefusesMore)
{
    startBlocking();
    const Client running = client(request + request);
    arrived.acquire();
    auto stopped = std::async(std::launch::async, [this] { return server->stop(); });
    // It listens until it begins to stop. What is refused begins no operation, which would block.
    while (client("GET / HTTP/1.1\r\nConnection: close\r\n\r\n").receive() != "") {
    }
    release();
    const std::string replies = running.receive();
    EXPECT_EQ(replies.substr(0, 13), "HTTP/1.1 200 ");
    EXPECT_NE(replies.find("PGErrorDetail: The%20server%20is%20shutting%20down"), replies.npos);
    EXPECT_TRUE(stopped.get());
    EXPECT_TRUE(server->stop());
}

TEST_F(HttpServerTest, StopEndsInTimeWhileAnOperationRuns)
{
    std::string log;
    options.log = [&](const std::string& line) { log += line + "\n"; };
    options.lastOperations = 0s;
    startBlocking();
    const Client running = client(request);
    arrived.acquire();
    EXPECT_FALSE(server->stop());
    EXPECT_EQ(running.receive(), "");
    EXPECT_EQ(log, "stops while 1 operations still run\n");
}

TEST_F(HttpServerTest, ReadersMustTakeTheirReplyInTime)
{
    options.connections.timeout = 1s;
    options.connections.slowestReader = 16 << 20;  // bytes a second, and the size of the reply
    start([](const CimRequest&) { return CimReply{200, "", "", std::string(16 << 20, 'x')}; });
    EXPECT_GT(client(lastRequest).receive().size(), 16U << 20);
    EXPECT_LT(client(lastRequest).receive(10ms).size(),
              16U << 20);  // in 5 s or more
}

TEST_F(HttpServerTest, LogsWhatFailedAndHowOften)
{
    std::string log;
    options.log = [&](const std::string& line) { log += line + "\n"; };
    start([&](const CimRequest&) -> CimReply {
        if (log.empty()) throw Pegasus::Exception("no \xC3\xA4");
        throw std::runtime_error("no disk");
    });
    for (unsigned i = 0; i < 8; ++i)
        EXPECT_EQ(client(request).receiveStatus(), 500);
    server.reset();
    const std::string disk = "internal error: no disk", each = disk + "\n";
    EXPECT_EQ(log, "internal error: no \xC3\xA4\n" + each + each + each + each + each + disk +
                       " (2 more of these)\n");
}

TEST_F(HttpServerTest, AnswersAFailedAllocationWith503)
{
    start([](const CimRequest&) -> CimReply { throw std::bad_alloc(); });
    EXPECT_EQ(client(request).receiveStatus(), 503);
}

TEST_F(HttpServerTest, RefusesABodyBeyondTheMemoryOfAllBeforeItComes)
{
    options.maxMemory = requestMemory(1'000'000);
    startBlocking();
    const std::string large = head("900000");
    const Client first = client(large + std::string(900'000, 'x'));
    arrived.acquire();
    EXPECT_EQ(client(large).receiveStatus(), 503);
    const Client small = client(request);
    arrived.acquire();
    release();
    EXPECT_EQ(first.receiveStatus(), 200);
    EXPECT_EQ(client(large + std::string(900'000, 'x')).receiveStatus(), 200);
}

TEST_F(HttpServerTest, EndsTheConnectionOfAUserWhoIsDeniedAgainAndAgain)
{
    start([](const CimRequest&) {
        CimReply reply;
        reply.isDenied = true;
        return reply;
    });
    const std::string replies = client(request + request + request + request).receive();
    const std::size_t last = replies.find("Connection: close");
    EXPECT_NE(last, replies.npos);
    EXPECT_EQ(replies.find("HTTP/1.1 200 ", last), replies.npos);
}

TEST_F(HttpServerTest, RefusesConnectionsWhenAllAreAtWork)
{
    options.connections.most = 1;
    startBlocking();
    const Client running = client(request);
    arrived.acquire();
    EXPECT_NE(client("").receive().find("Too%20many%20connections."), std::string::npos);
}

TEST(NetworkOf, IsTheAddressOrTheNetworkOfIPv6)
{
    EXPECT_EQ(networkOf("192.0.2.7"), "192.0.2.7");
    EXPECT_EQ(networkOf("::ffff:192.0.2.7"), "192.0.2.7");
    EXPECT_EQ(networkOf("2001:db8:1:2:3:4:5:6"), "2001:db8:1:2::/64");
}

}  // namespace
}  // namespace cimom
