// The HTTP front: the input is what a client sends on one connection before it ends its side.
#include "Fuzz.h"
#include "Http/HttpServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

using namespace cimom;
using fuzz::check;

std::atomic<unsigned> handled;

CimReply handle(const CimRequest& request)
{
    ++handled;
    return request.body.empty() ? CimReply{400, "from-handler", "empty\r\n\xFF", ""}
                                : CimReply{200, "", "", request.body};
}

std::unique_ptr<HttpServer> started(const char* users)
{
    HttpOptions options;
    options.port = 0;
    options.users = users;
    options.maxHeader = options.maxBody = 2000;
    return startHttpServer(options, handle);
}

/// Sends the bytes from a new address, as some limits count by address, and returns all that the
/// server sends back.
std::string exchange(std::uint16_t port, const std::string& request)
{
    static std::uint32_t client = INADDR_LOOPBACK;
    sockaddr_in from{AF_INET, 0, {htonl(++client)}, {}};
    sockaddr_in to{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    check(bind(fd, reinterpret_cast<sockaddr*>(&from), sizeof(from)) == 0 &&
              connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof(to)) == 0,
          "the server can be reached");
    send(fd, request.data(), request.size(), MSG_NOSIGNAL);
    shutdown(fd, SHUT_WR);
    std::string response;
    char part[4096];
    for (ssize_t size = 1; size > 0 || (size < 0 && errno == EINTR);) {  // by libFuzzer's timer
        size = recv(fd, part, sizeof(part), 0);
        if (size > 0) response.append(part, static_cast<std::size_t>(size));
    }
    close(fd);
    return response;
}

/// The value of a field in the head of a reply; empty when it is not there.
std::string field(const std::string& head, const std::string& name)
{
    const std::size_t at = head.find("\r\n" + name + ": ");
    if (at == std::string::npos) return "";
    const std::size_t start = at + name.size() + 4;
    return head.substr(start, head.find("\r\n", start) - start);
}

/// Checks the replies one after the other: their heads, their lengths, and that nothing follows the
/// one that announces the end. Returns how many have come from the handler.
unsigned checkReplies(std::string response, bool mayLackBodies)
{
    unsigned answered = 0;
    while (!response.empty()) {
        const std::size_t end = response.find("\r\n\r\n");
        check(end != std::string::npos && response.compare(0, 7, "HTTP/1.") == 0,
              "a head: " + response);
        const std::string head = response.substr(0, end + 2), status = head.substr(9, 3);
        check(std::all_of(head.begin(), head.end(), [](char c) { return c > 0 && c < 127; }),
              "a head in ASCII: " + head);
        response.erase(0, end + 4);
        const bool isLast = field(head, "Connection") == "close";
        const std::string length = field(head, "Content-Length");
        check(!length.empty() || status == "100", "a length: " + head);
        const std::size_t size = length.empty() ? 0 : std::stoul(length);
        check(response.size() >= size || mayLackBodies, "the whole body: " + response);
        response.erase(0, size);
        check(response.empty() || !isLast, "nothing behind the last reply: " + response);
        answered += status == "200" || field(head, "CIMError") == "from-handler";
    }
    return answered;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto forUsers = started(PROJECT "Tests/Wire/exchanges/users"),
                      forAll = started("");
    const std::string request(data, data + size);
    const bool hasLogin = request.find("Authorization") != std::string::npos;
    handled = 0;
    const std::string response = exchange((hasLogin ? forUsers : forAll)->port(), request);
    const unsigned answered = checkReplies(response, request.find("HEAD ") != std::string::npos);
    check(answered == handled, "each operation is answered: " + response);
    return 0;
}
