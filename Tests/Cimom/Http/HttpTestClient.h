// A plain socket client for tests of the HTTP server.
#pragma once

#include <algorithm>
#include <arpa/inet.h>
#include <cstdint>
#include <cstdlib>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <string>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace cimom::test
{

struct TestReply
{
    int status = 0;
    std::string statusLine;
    std::vector<std::pair<std::string, std::string>> fields;
    std::string body;

    /// The field's value; "-" when it is absent.
    std::string field(const std::string& name) const
    {
        for (const auto& [key, value] : fields) {
            if (strcasecmp(key.c_str(), name.c_str()) == 0) return value;
        }
        return "-";
    }
};

/// Splits the head of a reply; the body is whatever follows it.
inline TestReply parseReply(const std::string& text)
{
    TestReply reply;
    std::size_t at = 0;
    const auto line = [&] {
        const std::size_t end = std::min(text.find("\r\n", at), text.size());
        std::string result = text.substr(at, end - at);
        at = std::min(end + 2, text.size());
        return result;
    };
    reply.statusLine = line();
    if (reply.statusLine.size() > 9) reply.status = std::atoi(reply.statusLine.c_str() + 9);
    for (std::string field = line(); !field.empty(); field = line()) {
        const std::size_t colon = std::min(field.find(':'), field.size() - 1);
        const std::size_t value = field.find_first_not_of(' ', colon + 1);
        reply.fields.emplace_back(field.substr(0, colon),
                                  value == std::string::npos ? "" : field.substr(value));
    }
    reply.body = text.substr(at);
    return reply;
}

class TestClient
{
public:
    explicit TestClient(std::uint16_t port)
    {
        socket_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ =
            connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }
    ~TestClient() { ::close(socket_); }
    TestClient(const TestClient&) = delete;
    TestClient& operator=(const TestClient&) = delete;

    bool connected() const { return connected_; }

    bool send(const std::string& bytes)
    {
        for (std::size_t done = 0; done < bytes.size();) {
            const auto sent =
                ::send(socket_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
            if (sent <= 0) return false;
            done += static_cast<std::size_t>(sent);
        }
        return true;
    }

    /// Tells the server that nothing more will be sent.
    void endSending() { shutdown(socket_, SHUT_WR); }

    /// The next reply; nothing when the connection ends or nothing comes for that long.
    std::optional<TestReply> read(int milliseconds = 20000)
    {
        std::size_t end;
        while ((end = buffer_.find("\r\n\r\n")) == std::string::npos) {
            if (!more(milliseconds)) return std::nullopt;
        }
        TestReply reply = parseReply(buffer_.substr(0, end + 4));
        const std::string length = reply.field("Content-Length");
        const std::size_t size = length == "-" ? 0 : std::strtoul(length.c_str(), nullptr, 10);
        while (buffer_.size() < end + 4 + size) {
            if (!more(milliseconds)) return std::nullopt;
        }
        reply.body = buffer_.substr(end + 4, size);
        buffer_.erase(0, end + 4 + size);
        if (reply.status == 100) return read(milliseconds);
        return reply;
    }

    /// True when the server ends the connection within that time.
    bool closed(int milliseconds = 20000)
    {
        while (more(milliseconds)) {
        }
        return ended_;
    }

private:
    bool more(int milliseconds)
    {
        pollfd wait{socket_, POLLIN, 0};
        if (ended_ || poll(&wait, 1, milliseconds) != 1) return false;
        char chunk[65536];
        const auto size = recv(socket_, chunk, sizeof(chunk), 0);
        ended_ = size <= 0;
        if (!ended_) buffer_.append(chunk, static_cast<std::size_t>(size));
        return !ended_;
    }

    int socket_;
    bool connected_;
    bool ended_ = false;
    std::string buffer_;
};

}  // namespace cimom::test
