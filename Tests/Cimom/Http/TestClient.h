// A plain socket client for tests of the HTTP server.
#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <cstdlib>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace cimom::test
{

class TestClient
{
public:
    /// Connects and sends these bytes.
    explicit TestClient(std::uint16_t port, const std::string& bytes = "")
        : socket_(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const auto* generic = reinterpret_cast<const sockaddr*>(&address);
        connected = connect(socket_, generic, sizeof(address)) == 0 && send(bytes);
    }
    ~TestClient() { close(socket_); }
    TestClient(const TestClient&) = delete;
    TestClient& operator=(const TestClient&) = delete;

    /// False when the server has ended the connection.
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

    /// The head of the next reply, or the text before the end of the connection. Replies must not
    /// have bodies.
    std::string read()
    {
        std::size_t end;
        while ((end = unread_.find("\r\n\r\n")) == std::string::npos && more()) {
        }
        const std::string head = unread_.substr(0, end);
        unread_.erase(0, head.size() + 4);
        return head;
    }

    /// True when the server ends the connection.
    bool closed()
    {
        while (more()) {
        }
        return ended_;
    }

    bool connected;

private:
    /// False when the connection ends or nothing comes.
    bool more()
    {
        pollfd wait{socket_, POLLIN, 0};
        if (ended_ || poll(&wait, 1, 20000) != 1) return false;
        char chunk[4096];
        const auto size = recv(socket_, chunk, sizeof(chunk), 0);
        ended_ = size <= 0;
        if (!ended_) unread_.append(chunk, static_cast<std::size_t>(size));
        return !ended_;
    }

    int socket_;
    bool ended_ = false;
    std::string unread_;
};

}  // namespace cimom::test
