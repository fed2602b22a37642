#include "Http/Connections.h"

#include <string_view>
#include <sys/socket.h>

namespace cimom
{

Connections::Connections(unsigned limit, unsigned limitPerPeer, std::chrono::seconds timeout,
                         bool canSpeak)
    : limit_(limit), limitPerPeer_(limitPerPeer), timeout_(timeout), canSpeak_(canSpeak)
{
    watcher_ = std::thread([this] { watch(); });
}

Connections::~Connections()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    watcher_.join();
}

Connection* Connections::open(int socket, const std::string& peer)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool refused = open_.size() >= limit_ || byPeer_[peer] >= limitPerPeer_;
    auto connection = std::make_unique<Connection>();
    connection->socket = socket;
    connection->peer = peer;
    connection->refused = refused;
    connection->since = std::chrono::steady_clock::now();
    ++byPeer_[peer];
    Connection* const handle = connection.get();
    open_.emplace(handle, std::move(connection));
    return handle;
}

void Connections::close(Connection* connection)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (--byPeer_[connection->peer] == 0) byPeer_.erase(connection->peer);
    open_.erase(connection);
}

void Connections::requestBegun(Connection* connection)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    connection->begun = true;
}

void Connections::requestComplete(Connection* connection)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    connection->busy = true;
}

void Connections::requestAnswered(Connection* connection)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    connection->busy = connection->begun = false;
    connection->served = true;
    connection->since = std::chrono::steady_clock::now();
}

void Connections::watch()
{
    std::unique_lock<std::mutex> lock(mutex_);
    while (!wake_.wait_for(lock, std::chrono::milliseconds(250), [this] { return stopping_; })) {
        for (const auto& [handle, connection] : open_) {
            endIfSlow(*connection);
            endIfAbandoned(*connection);
        }
    }
}

/// The HTTP library may miss the end of a stream that comes together with data, and would wait for
/// the rest of the request. Two looks, because the first may come while it reads the last bytes.
void Connections::endIfAbandoned(Connection& connection)
{
    if (connection.busy) return;
    char byte = 0;
    const bool ended = ::recv(connection.socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
    if (ended && connection.ended) {
        ::shutdown(connection.socket, SHUT_RDWR);
        connection.busy = true;
    }
    connection.ended = ended;
}

void Connections::endIfSlow(Connection& connection) const
{
    if (connection.busy || std::chrono::steady_clock::now() - connection.since < timeout_) return;
    static constexpr std::string_view tooSlow =
        "HTTP/1.1 408 Request Timeout\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    const bool idle = connection.served && !connection.begun;
    if (canSpeak_ && !idle)
        ::send(connection.socket, tooSlow.data(), tooSlow.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    ::shutdown(connection.socket, SHUT_RDWR);
    connection.busy = true;  // nothing more to watch
}

}  // namespace cimom
