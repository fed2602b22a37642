// What needs inner knobs of the server: limits, time, threads and the stop. What a client sees of
// the protocol, the tests over the wire show.
#include "Http/HttpServer.h"
#include "TestClient.h"

#include <gtest/gtest.h>
#include <mutex>
#include <thread>
#include <vector>

namespace cimom
{
namespace
{

using test::TestClient;
using namespace std::chrono_literals;

const std::string head =
    "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: text/xml\r\nCIMOperation: MethodCall\r\n";
const std::string request = head + "Content-Length: 2\r\n\r\nhi";

class HttpServerTest : public ::testing::Test
{
protected:
    HttpServerTest()
    {
        options.port = 0;
        options.log = [this](const std::string& line) {
            const std::lock_guard<std::mutex> lock(mutex);
            log += line + "\n";
        };
    }

    /// A server that answers 200 and no body to every request that it lets through to `operation`.
    void start()
    {
        server = std::make_unique<HttpServer>(options, nullptr, [this](const CimRequest&) {
            operation();
            return CimReply();
        });
    }

    /// What the server answers to these bytes.
    std::string answer(const std::string& bytes = request)
    {
        return TestClient(server->port(), bytes).read();
    }

    /// Waits until so many operations run at once; false when they do not come.
    bool meet(unsigned wanted)
    {
        std::unique_lock<std::mutex> lock(mutex);
        ++arrived;
        changed.notify_all();
        return changed.wait_for(lock, 20s, [&] { return arrived >= wanted; });
    }

    HttpOptions options;
    std::function<void()> operation = [] {};
    std::mutex mutex;
    std::condition_variable changed;
    unsigned arrived = 0;
    std::string log;
    std::unique_ptr<HttpServer> server;  // last: ends before what it uses
};

bool has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST_F(HttpServerTest, LimitsAreAnswered)
{
    options.maxHeader = 8192;
    options.maxBody = 1000;
    operation = [] { throw std::runtime_error("nobody is here"); };
    start();
    const std::string tooLarge =
        "PGErrorDetail: The%20request%20body%20is%20larger%20than%201000%20bytes.";
    const std::string chunked = head + "Transfer-Encoding: chunked\r\n\r\n";
    const std::string chunk = "3e8\r\n" + std::string(1000, 'x') + "\r\n";
    const struct
    {
        std::string bytes;
        int status;
        std::string text;
    } cases[] = {
        {head + "Content-Length: 1001\r\n\r\n", 413, tooLarge},
        {head + "Content-Length: 99999999999999999999999\r\n\r\n", 413, ""},
        {chunked + chunk + "1\r\nx\r\n0\r\n\r\n", 413, tooLarge},
        {chunked + chunk + "0\r\n\r\n", 500, "Internal%20error."},
        {head + "Content-Length: 1000\r\n\r\n" + std::string(1000, 'x'), 500, "Internal%20error."},
        {head + "X: " + std::string(20000, 'x') + "\r\n\r\n", 431, ""},
        {"POST /" + std::string(20000, 'x') + " HTTP/1.1\r\nHost: x\r\n\r\n", 414, ""},
        {head + "\r\n", 411, "Content-Length"},
    };
    for (const auto& c : cases) {
        TestClient client(server->port(), c.bytes);
        const std::string reply = client.read();
        EXPECT_EQ(reply.substr(0, 13), "HTTP/1.1 " + std::to_string(c.status) + " ");
        EXPECT_TRUE(has(reply, c.text)) << reply;
        EXPECT_TRUE(client.closed()) << reply;
    }
    TestClient endless(server->port(), chunked);
    int chunks = 0;
    while (chunks < 100000 && endless.send(chunk))
        ++chunks;
    EXPECT_LT(chunks, 100000);
    EXPECT_TRUE(has(log, "internal error: nobody is here")) << log;
}

TEST_F(HttpServerTest, ConnectionsBeyondTheLimitsAreToldSoAtOnce)
{
    for (unsigned* limit : {&options.connections.most, &options.connections.mostPerAddress}) {
        options.connections = ConnectionLimits();
        *limit = 2;
        log.clear();
        start();
        const TestClient first(server->port());
        auto second = std::make_unique<TestClient>(server->port());
        TestClient refused(server->port());
        const std::string reply = refused.read();
        EXPECT_TRUE(has(reply, "HTTP/1.1 503 ")) << reply;
        EXPECT_TRUE(has(reply, "PGErrorDetail: Too%20many%20connections.")) << reply;
        EXPECT_TRUE(refused.closed());
        second.reset();  // makes room, soon
        std::string status;
        for (int i = 0; i < 100 && !has(status, " 200 "); ++i) {
            std::this_thread::sleep_for(20ms);
            status = answer();
        }
        EXPECT_TRUE(has(status, " 200 ")) << status;
        server.reset();
        EXPECT_TRUE(has(log, "refused a connection from 127.0.0.1: Too many connections.")) << log;
    }
}

TEST_F(HttpServerTest, SlowRequestsAreEndedAndSlowOperationsAreNot)
{
    options.connections.timeout = 1s;
    operation = [] { std::this_thread::sleep_for(2500ms); };
    start();
    TestClient slow(server->port(), request);
    for (const std::string& part : {std::string(), head, head + "Content-Length: 9\r\n\r\nx"}) {
        TestClient client(server->port(), part);
        EXPECT_EQ(client.read().substr(0, 13), "HTTP/1.1 408 ") << part;
        EXPECT_TRUE(client.closed());
    }
    EXPECT_EQ(slow.read().substr(0, 13), "HTTP/1.1 200 ");
    EXPECT_EQ(slow.read(), "");  // idle: ended without a word
    EXPECT_TRUE(slow.closed());
}

TEST_F(HttpServerTest, WhoEndsSendingGetsTheReplyToAWholeRequestAndTheEndOfAPart)
{
    start();
    const std::pair<std::string, std::string> cases[] = {
        {request, "HTTP/1.1 200 "}, {head, ""}, {request.substr(0, request.size() - 1), ""}};
    for (const auto& [bytes, reply] : cases) {
        TestClient client(server->port(), bytes);
        client.endSending();
        EXPECT_EQ(client.read().substr(0, 13), reply) << bytes;
        EXPECT_TRUE(client.closed());
    }
}

TEST_F(HttpServerTest, OperationsRunSideBySide)
{
    operation = [this] { EXPECT_TRUE(meet(8)); };
    start();
    std::vector<std::unique_ptr<TestClient>> clients;
    for (int i = 0; i < 8; ++i)
        clients.push_back(std::make_unique<TestClient>(server->port(), request));
    for (const auto& client : clients)
        EXPECT_EQ(client->read().substr(0, 13), "HTTP/1.1 200 ");
}

TEST_F(HttpServerTest, StopLetsOperationsFinishAndRefusesNewOnes)
{
    operation = [this] {
        meet(2);
        std::this_thread::sleep_for(500ms);
    };
    start();
    TestClient busy(server->port(), request);
    TestClient open(server->port());
    TestClient gone(server->port(), request);
    gone.endSending();
    meet(3);
    std::thread stop([this] { server->stop(); });
    std::this_thread::sleep_for(100ms);
    open.send(request);
    EXPECT_TRUE(has(open.read(), "The%20server%20is%20shutting%20down."));
    EXPECT_FALSE(TestClient(server->port()).connected);
    EXPECT_EQ(busy.read().substr(0, 13), "HTTP/1.1 200 ");
    EXPECT_TRUE(busy.closed());
    stop.join();
    server->stop();
}

}  // namespace
}  // namespace cimom
