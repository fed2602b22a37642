#include "FakeObjectManager.h"
#include "Http/HttpProtocol.h"
#include "Http/HttpServer.h"
#include "Http/Listener.h"
#include "HttpTestClient.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

using test::FakeObjectManager;
using test::TestClient;

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const std::string body =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
    "PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"EnumerateClassNames\"><LOCALNAMESPACEPATH>"
    "<NAMESPACE NAME=\"root\"/></LOCALNAMESPACEPATH></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";

/// The head of a good request without its end, so that a test can add fields.
std::string head(const std::string& extra = "", const std::string& version = "1.1")
{
    return "POST /cimom HTTP/" + version +
           "\r\nHost: x\r\nContent-Type: application/xml\r\nCIMOperation: MethodCall\r\n"
           "CIMMethod: EnumerateClassNames\r\nCIMObject: root\r\n" +
           extra;
}

std::string request(const std::string& extra = "", const std::string& version = "1.1")
{
    return head(extra, version) + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
           body;
}

std::string base64(const std::string& text)
{
    static const char* const digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    for (std::size_t i = 0; i < text.size(); i += 3) {
        unsigned bits = 0;
        for (std::size_t j = 0; j < 3; ++j)
            bits = bits << 8 | (i + j < text.size() ? (unsigned char)text[i + j] : 0U);
        for (std::size_t j = 0; j < 4; ++j)
            result += i + j > text.size() ? '=' : digits[bits >> (18 - 6 * j) & 63];
    }
    return result;
}

std::string basic(const std::string& credentials)
{
    return "Authorization: Basic " + base64(credentials) + "\r\n";
}

class HttpServerTest : public ::testing::Test
{
protected:
    HttpServerTest()
    {
        options.port = 0;
        options.hostName = "vm";
    }

    HttpServer& start(const PasswordFile* users = nullptr)
    {
        options.log = [this](const std::string& line) {
            const std::lock_guard<std::mutex> lock(logMutex);
            logged += line + "\n";
        };
        server = std::make_unique<HttpServer>(options, users, [this](const CimRequest& cimRequest) {
            return answerCimRequest(manager, "vm", cimRequest);
        });
        return *server;
    }

    std::string log()
    {
        const std::lock_guard<std::mutex> lock(logMutex);
        return logged;
    }

    /// The status of the reply to these bytes; 0 when there is none.
    int statusOf(const std::string& bytes)
    {
        TestClient client(server->port());
        client.send(bytes);
        const auto reply = client.read();
        return reply ? reply->status : 0;
    }

    HttpOptions options;
    FakeObjectManager manager;
    std::mutex logMutex;
    std::string logged;
    std::unique_ptr<HttpServer> server;  // last: ends before what it uses
};

PasswordFile testUsers()
{
    return PasswordFile(fs::path(QBX_TEST_DATA) / "users");
}

TEST_F(HttpServerTest, AuthenticationMatrix)
{
    const PasswordFile users = testUsers();
    start(&users);
    const struct
    {
        std::string authorization;
        int status;
        std::string detail;
        std::string user;
    } cases[] = {
        {"", 401, "User%20Unauthorized", ""},
        {"Authorization: \r\n", 401, "User%20Unauthorized", ""},
        {"Authorization: Basic\r\n", 401, "User%20Unauthorized", ""},
        {"Authorization: Digest foo\r\n", 401, "User%20Unauthorized", ""},
        {"Authorization: Basic !!!\r\n", 401, "User%20Unauthorized", ""},
        {basic("root"), 401, "User%20Unauthorized", ""},
        {basic("root:bad"), 401, "-", ""},
        {basic("root:"), 401, "-", ""},
        {basic("root:rootpw "), 401, "-", ""},
        {basic("ROOT:rootpw"), 401, "-", ""},
        {basic("nosuch:rootpw"), 401, "-", ""},
        {basic(":rootpw"), 401, "-", ""},
        {basic(std::string("root:rootpw\0x", 13)), 401, "-", ""},
        {basic("nobody:rootpw"), 401, "-", ""},
        {basic("root:rootpw"), 200, "-", "root"},
        {"authorization: bASIC " + base64("nobody:nobodypw") + "\r\n", 200, "-", "nobody"},
    };
    TestClient client(server->port());
    for (const auto& c : cases) {
        // One connection for all: a 401 leaves it open for the next attempt.
        ASSERT_TRUE(client.send(request(c.authorization)));
        const auto reply = client.read();
        ASSERT_TRUE(reply) << c.authorization;
        EXPECT_EQ(reply->status, c.status) << c.authorization;
        EXPECT_EQ(reply->field("PGErrorDetail"), c.detail) << c.authorization;
        EXPECT_EQ(reply->field("WWW-Authenticate"), c.status == 401 ? "Basic realm=\"vm\"" : "-");
        if (c.status == 200) {
            EXPECT_EQ(manager.lastCall(), "enumerateClassNames user=" + c.user + " root - deep=0");
        }
    }
    EXPECT_EQ(manager.calls().size(), 2U);
    EXPECT_EQ(log().find("rootpw"), std::string::npos) << log();
    EXPECT_EQ(log().find(base64("root:bad")), std::string::npos) << log();
}

TEST_F(HttpServerTest, CredentialsAreCheckedBeforeAnythingElseAboutTheRequest)
{
    const PasswordFile users = testUsers();
    start(&users);
    const std::string noType = "POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\n";
    EXPECT_EQ(statusOf(noType + "\r\njunk"), 401);
    EXPECT_EQ(statusOf(noType + basic("root:bad") + "\r\njunk"), 401);
    EXPECT_EQ(statusOf(noType + basic("root:rootpw") + "\r\njunk"), 400);
    EXPECT_EQ(statusOf("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n"), 401);
}

TEST_F(HttpServerTest, KeepAliveCloseAndPipelining)
{
    start();
    TestClient client(server->port());
    client.send(request() + request() + request("Connection: close\r\n"));
    for (int i = 0; i < 3; ++i) {
        const auto reply = client.read();
        ASSERT_TRUE(reply) << i;
        EXPECT_EQ(reply->status, 200);
        EXPECT_EQ(reply->field("Date"), "-");
    }
    EXPECT_TRUE(client.closed());
    EXPECT_EQ(manager.calls().size(), 3U);
}

TEST_F(HttpServerTest, ErrorRepliesHaveALengthAndKeepTheConnection)
{
    start();
    TestClient client(server->port());
    for (int i = 0; i < 3; ++i) {
        client.send(head("Content-Length: 5\r\n\r\n") + "hello");
        const auto reply = client.read();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->statusLine, "HTTP/1.1 400 Bad Request");
        EXPECT_EQ(reply->field("Content-Length"), "0");
        EXPECT_EQ(reply->field("CIMError"), "request-not-valid");
    }
    client.send(request());
    EXPECT_EQ(client.read()->status, 200);
}

TEST_F(HttpServerTest, ChunkedBodies)
{
    start();
    std::string chunked;
    char size[20];
    for (std::size_t at = 0; at < body.size(); at += 7) {
        const std::string part = body.substr(at, 7);
        std::snprintf(size, sizeof(size), "%zx;ext=1\r\n", part.size());
        chunked += size + part + "\r\n";
    }
    EXPECT_EQ(
        statusOf(head("Transfer-Encoding: chunked\r\n\r\n") + chunked + "0\r\nTrailer: x\r\n\r\n"),
        200);
    EXPECT_EQ(statusOf(head("Transfer-Encoding: chunked\r\n\r\n") + "zz\r\n"), 400);
    EXPECT_EQ(manager.calls().size(), 1U);
}

TEST_F(HttpServerTest, MandatoryPost)
{
    start();
    TestClient client(server->port());
    const std::string fields =
        "M-POST /cimom HTTP/1.1\r\nHost: x\r\nContent-Type: application/xml\r\n"
        "Man: http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=7\r\n7-CIMOperation: MethodCall\r\n"
        "7-CIMMethod: EnumerateClassNames\r\n7-CIMObject: root\r\nContent-Length: ";
    client.send(fields + std::to_string(body.size()) + "\r\n\r\n" + body);
    const auto reply = client.read();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->field("Man"), "http://www.dmtf.org/cim/mapping/http/v1.0; ns=36");
    EXPECT_EQ(reply->field("36-CIMOperation"), "MethodResponse");
    EXPECT_EQ(reply->field("CIMOperation"), "-");
}

TEST_F(HttpServerTest, LimitsAreAnswered)
{
    options.maxHeader = 8192;
    options.maxBody = 1000;
    start();
    const std::string big(1001, ' ');
    const struct
    {
        std::string bytes;
        int status;
        std::string detail;
    } cases[] = {
        {head("Content-Length: 1001\r\n\r\n"), 413,
         "The%20request%20body%20is%20larger%20than%201000%20bytes."},
        {head("Content-Length: 99999999999999\r\n\r\n"), 413,
         "The%20request%20body%20is%20larger%20than%201000%20bytes."},
        {head("Content-Length: 99999999999999999999999\r\n\r\n"), 413, "-"},
        {head("Transfer-Encoding: chunked\r\n\r\n") + "3e9\r\n" + big + "\r\n0\r\n\r\n", 413,
         "The%20request%20body%20is%20larger%20than%201000%20bytes."},
        {head("Content-Length: 1000\r\n\r\n") + std::string(1000, ' '), 400,
         "Validation%20error%3A%20on%20line%201%3A%20Expected%20%3C%3Fxml%20...%20%3F%3E%20style%20declaration"},
        {head("X: " + std::string(20000, 'x') + "\r\n\r\n"), 431, "-"},
        {"POST /" + std::string(20000, 'x') + " HTTP/1.1\r\nHost: x\r\n\r\n", 414, "-"},
    };
    for (const auto& c : cases) {
        TestClient client(server->port());
        client.send(c.bytes);
        const auto reply = client.read();
        ASSERT_TRUE(reply) << c.bytes.substr(0, 300);
        EXPECT_EQ(reply->status, c.status) << c.bytes.substr(0, 300);
        EXPECT_EQ(reply->field("PGErrorDetail"), c.detail);
        EXPECT_TRUE(c.status == 400 || client.closed());
    }
    EXPECT_TRUE(manager.calls().empty());
}

TEST_F(HttpServerTest, AnEndlessChunkedBodyIsCutOff)
{
    options.maxBody = 10000;
    start();
    TestClient client(server->port());
    client.send(head("Transfer-Encoding: chunked\r\n\r\n"));
    const std::string chunk = "1000\r\n" + std::string(4096, 'x') + "\r\n";
    bool cutOff = false;
    for (int i = 0; i < 10000 && !cutOff; ++i)
        cutOff = !client.send(chunk);
    EXPECT_TRUE(cutOff);
}

TEST_F(HttpServerTest, TooManyConnectionsAreToldSo)
{
    options.maxConnections = 3;
    options.maxConnectionsPerAddress = 3;
    start();
    std::vector<std::unique_ptr<TestClient>> clients;
    for (int i = 0; i < 3; ++i) {
        clients.push_back(std::make_unique<TestClient>(server->port()));
        clients.back()->send(request());
        EXPECT_EQ(clients.back()->read()->status, 200);
    }
    TestClient refused(server->port());
    refused.send(request());
    const auto reply = refused.read();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 503);
    EXPECT_EQ(reply->field("PGErrorDetail"), "Too%20many%20connections.");
    EXPECT_TRUE(refused.closed());
    EXPECT_NE(log().find("too many connections: refused one from 127.0.0.1"), std::string::npos)
        << log();
    // One that ends makes room.
    clients.pop_back();
    int status = 503;
    for (int i = 0; i < 100 && status == 503; ++i) {
        std::this_thread::sleep_for(50ms);
        status = statusOf(request());
    }
    EXPECT_EQ(status, 200);
}

TEST_F(HttpServerTest, SlowRequestsAreToldSo)
{
    options.timeout = 1s;
    start();
    const struct
    {
        std::string what;
        std::string start;
        int status;  ///< 0: closed without a word
    } cases[] = {
        {"nothing", "", 408},
        {"part of the header", "POST /cimom HT", 408},
        {"part of the body", head("Content-Length: 100\r\n\r\n") + "<?xml", 408},
        {"nothing after a request", request(), 0},
    };
    for (const auto& c : cases) {
        TestClient client(server->port());
        client.send(c.start);
        if (c.status == 0) {
            EXPECT_EQ(client.read()->status, 200);
        }
        const auto reply = client.read();
        EXPECT_EQ(reply ? reply->status : 0, c.status) << c.what;
        EXPECT_TRUE(client.closed()) << c.what;
    }
    // A byte now and then does not help.
    TestClient drip(server->port());
    bool open = true;
    for (int i = 0; i < 100 && open; ++i) {
        open = drip.send("P") && !drip.read(100);
    }
    EXPECT_FALSE(open);
}

TEST_F(HttpServerTest, WhoEndsSendingGetsTheReplyToAWholeRequestAndTheEndOfAPart)
{
    manager.onCall = [](const std::string&, const std::string&) {
        std::this_thread::sleep_for(50ms);
    };
    start();
    for (const std::string& part :
         {request().substr(0, 5), request().substr(0, 100), head("Content-Length: 9\r\n\r\n")}) {
        TestClient client(server->port());
        client.send(part);
        client.endSending();
        EXPECT_TRUE(client.closed(5000)) << part;
    }
    TestClient client(server->port());
    client.send(request());
    client.endSending();
    const auto reply = client.read();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
}

TEST_F(HttpServerTest, ASlowOperationIsNoSlowRequest)
{
    options.timeout = 1s;
    manager.onCall = [](const std::string&, const std::string&) {
        std::this_thread::sleep_for(2500ms);
    };
    start();
    EXPECT_EQ(statusOf(request()), 200);
}

/// Holds operations until so many have come together.
class Gate
{
public:
    explicit Gate(int wanted) : wanted_(wanted) {}
    /// True when all came within 20 s.
    bool pass()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        ++arrived_;
        wake_.notify_all();
        return wake_.wait_for(lock, 20s, [this] { return arrived_ >= wanted_; });
    }

private:
    const int wanted_;
    int arrived_ = 0;
    std::mutex mutex_;
    std::condition_variable wake_;
};

TEST_F(HttpServerTest, OperationsRunSideBySide)
{
    Gate gate(4);
    std::atomic<int> together{0};
    options.threads = 4;
    manager.onCall = [&](const std::string&, const std::string&) {
        if (gate.pass()) ++together;
    };
    start();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] { EXPECT_EQ(statusOf(request()), 200); });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(together, 4);
}

TEST_F(HttpServerTest, ManyConnectionsAtOnce)
{
    const PasswordFile users = testUsers();
    start(&users);
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 40; ++i) {
        threads.emplace_back([&] {
            TestClient client(server->port());
            for (int j = 0; j < 10; ++j) {
                client.send(request(basic(j % 2 ? "root:rootpw" : "nobody:nobodypw")));
                const auto reply = client.read();
                if (reply && reply->status == 200) ++good;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, 400);
    // Right passwords cost a hash for the first requests only.
    EXPECT_LE(users.hashesComputed(), 2U * options.threads);
}

TEST_F(HttpServerTest, ALargeReplyArrivesWhole)
{
    for (int i = 0; i < 200000; ++i)
        manager.names.append(CIMName(String(("Class_" + std::to_string(i)).c_str())));
    start();
    TestClient client(server->port());
    client.send(request());
    std::this_thread::sleep_for(200ms);
    const auto reply = client.read();
    ASSERT_TRUE(reply);
    EXPECT_GT(reply->body.size(), 5000000U);
    EXPECT_NE(reply->body.find("\"Class_199999\""), std::string::npos);
    EXPECT_EQ(reply->body.substr(reply->body.size() - 7), "</CIM>\n");
}

TEST_F(HttpServerTest, StopLetsOperationsFinishAndRefusesNewOnes)
{
    Gate started(2);
    manager.onCall = [&](const std::string&, const std::string&) {
        started.pass();
        std::this_thread::sleep_for(300ms);
    };
    start();
    const std::uint16_t port = server->port();
    TestClient client(port);
    client.send(request());
    started.pass();
    server->stop();
    const auto reply = client.read();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_TRUE(client.closed());
    EXPECT_FALSE(TestClient(port).connected());
    server->stop();
}

TEST_F(HttpServerTest, AClientThatLeavesDuringItsOperationHarmsNobody)
{
    Gate started(2);
    manager.onCall = [&](const std::string&, const std::string&) {
        started.pass();
        std::this_thread::sleep_for(100ms);
    };
    start();
    {
        TestClient client(server->port());
        client.send(request());
        started.pass();
    }
    EXPECT_EQ(statusOf(request()), 200);
}

TEST(HttpListener, SaysWhatIsInTheWay)
{
    const Listener first = listenOn("127.0.0.1", 0);
    const auto failure = [](const std::string& address, std::uint16_t port) -> std::string {
        try {
            ::close(listenOn(address, port).socket);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    };
    const std::string port = std::to_string(first.port);
    EXPECT_EQ(
        failure("127.0.0.1", first.port),
        "cannot listen on 127.0.0.1 port " + port +
            ": Address already in use; stop what uses the port, or choose another (0: any free port)");
    EXPECT_EQ(failure("192.0.2.1", 0),
              "cannot listen on 192.0.2.1 port 0: Cannot assign requested address; "
              "listen on an address of this machine");
    EXPECT_EQ(failure("no.such.host.invalid", 0).substr(0, 52),
              "cannot listen on no.such.host.invalid port 0: Name o");
    ::close(first.socket);
}

TEST(HttpTls, AKeyThatIsNoneIsNamed)
{
    const fs::path file = fs::path(::testing::TempDir()) / "no_certificate.pem";
    std::ofstream(file) << "nothing";
    HttpOptions options;
    options.port = 0;
    options.certificateFile = options.keyFile = file.string();
    const auto failure = [&]() -> std::string {
        try {
            HttpServer server(options, nullptr, nullptr);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_NE(failure().find("check that " + file.string()), std::string::npos) << failure();
    options.certificateFile = "/nonexistent/cert.pem";
    EXPECT_EQ(failure(),
              "cannot read the certificate file /nonexistent/cert.pem: No such file or directory");
}

TEST(HttpProtocol, ContentTypesOfTheProtocol)
{
    const std::pair<const char*, bool> cases[] = {
        {"application/xml", true},
        {"text/xml; charset=\"utf-8\"", true},
        {"Application/XML;charset=UTF-8", true},
        {" text/xml ; charset=utf-8 ", true},
        {"text/xml; charset=iso-8859-1", false},
        {"text/xml; x=y", false},
        {"text/plain", false},
        {"", false},
        {";", false},
    };
    for (const auto& [type, accepted] : cases) {
        const HttpHead good{
            "POST", {{"Host", "x"}, {"CIMOperation", "MethodCall"}, {"content-type", type}}};
        EXPECT_EQ(!refuseFields(good).has_value(), accepted) << type;
    }
}

}  // namespace
}  // namespace cimom
