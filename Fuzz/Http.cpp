// The HTTP front: the input is what a client sends on one connection before it ends its side.
#include "Fuzz.h"
#include "Http/HttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

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

HttpOptions options()
{
    HttpOptions options;
    options.port = 0;
    options.maxHeader = options.maxBody = 2000;
    options.connections.most = options.connections.mostPerAddress = 4;
    return options;
}

sockaddr_in address(std::uint32_t host, std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    return address;
}

/// All that the server says. Each time another address asks: limits by address do not matter.
std::string answer(std::uint16_t port, const std::string& said)
{
    static std::uint32_t client = INADDR_LOOPBACK;
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    const timeval patience{20, 0};
    const sockaddr_in from = address(++client, 0), to = address(INADDR_LOOPBACK, port);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    check(bind(fd, reinterpret_cast<const sockaddr*>(&from), sizeof(from)) == 0 &&
              connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof(to)) == 0,
          "the server can be reached");
    send(fd, said.data(), said.size(), MSG_NOSIGNAL);
    shutdown(fd, SHUT_WR);
    std::string told;
    char part[4096];
    ssize_t size = 0;
    do {
        size = recv(fd, part, sizeof(part), 0);
        if (size > 0) told.append(part, static_cast<std::size_t>(size));
    } while (size > 0 || (size < 0 && errno == EINTR));  // by the fuzzer's timer
    check(size == 0 || errno == ECONNRESET, "the server ends the connection");
    close(fd);
    return told;
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
unsigned checkReplies(std::string told, bool mayLackBodies)
{
    unsigned answers = 0;
    while (!told.empty()) {
        const std::size_t end = told.find("\r\n\r\n");
        check(end != std::string::npos && told.compare(0, 7, "HTTP/1.") == 0, "a head: " + told);
        const std::string head = told.substr(0, end + 2), status = head.substr(9, 3);
        check(std::count(head.begin(), head.end(), '\n') ==
                      std::count(head.begin(), head.end(), '\r') &&
                  std::all_of(head.begin(), head.end(), [](char c) { return c > 0 && c < 127; }),
              "a head of lines in ASCII: " + head);
        told.erase(0, end + 4);
        // The HTTP library (0.9.75) sends the head of its own refusals twice, and closes.
        if (told.compare(0, head.size(), head) == 0) return answers;
        const std::string length = field(head, "Content-Length");
        check(!length.empty() || status == "100", "a length: " + head);
        const std::size_t size = length.empty() ? 0 : std::stoul(length);
        check(told.size() >= size || mayLackBodies, "the whole body: " + told);
        told.erase(0, size);
        check(told.empty() || field(head, "Connection") != "close", "behind the end: " + told);
        answers += status == "200" || field(head, "CIMError") == "from-handler";
    }
    return answers;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const PasswordFile users(PROJECT "Tests/Wire/exchanges/users");
    static HttpServer forUsers(options(), &users, handle), forAll(options(), nullptr, handle);
    const std::string said = fuzz::text(data, size);
    const bool hasLogin = said.find("Authorization") != std::string::npos;
    handled = 0;
    const std::string told = answer((hasLogin ? forUsers : forAll).port(), said);
    const unsigned answers = checkReplies(told, said.find("HEAD ") != std::string::npos);
    check(answers == handled, "each operation is answered: " + told);
    return 0;
}
