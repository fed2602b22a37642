#include "Http/Connections.h"

#include "Http/HttpProtocol.h"

#include <algorithm>
#include <array>
#include <sys/socket.h>

namespace cimom
{

Connections::Connections(const ConnectionLimits& limits, bool plain)
    : limits_(limits), plain_(plain), watcher_([this] { watch(); })
{
}

Connections::~Connections()
{
    drain(std::chrono::seconds(0));
    watcher_.join();
}

Connection* Connections::open(int socket, const std::string& peer)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::string refusal = refusalOf(peer);
    Connection& connection = open_.emplace(socket, Connection{socket, peer, refusal}).first->second;
    if (refusal.empty()) return &connection;
    end(connection, 503, refusal);
    // Nobody may work on what has come already, and unread bytes would take the reply from the
    // peer.
    std::array<char, 4096> unread;
    while (recv(socket, unread.data(), unread.size(), MSG_DONTWAIT) > 0) {
    }
    return &connection;
}

std::string Connections::refusalOf(const std::string& peer) const
{
    if (stopping_) return "The server is shutting down.";
    const auto ofPeer = std::count_if(open_.begin(), open_.end(),
                                      [&](const auto& entry) { return entry.second.peer == peer; });
    const bool room = open_.size() < limits_.most && ofPeer < limits_.mostPerAddress;
    return room ? "" : "Too many connections.";
}

void Connections::close(Connection* connection)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    open_.erase(connection->socket);
    changed_.notify_all();
}

bool Connections::enter(Connection* connection, Stage stage)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (stopping_ && stage == Stage::Working) return false;
    connection->stage = stage;
    connection->since = std::chrono::steady_clock::now();
    if (stopping_) changed_.notify_all();
    return true;
}

bool Connections::any(Stage stage) const
{
    return std::any_of(open_.begin(), open_.end(),
                       [&](const auto& entry) { return entry.second.stage == stage; });
}

void Connections::drain(std::chrono::seconds forReplies)
{
    std::unique_lock<std::mutex> lock(mutex_);
    stopping_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !any(Stage::Working); });
    changed_.wait_for(lock, forReplies, [this] { return !any(Stage::Sending); });
    for (const auto& [socket, connection] : open_)
        shutdown(socket, SHUT_RDWR);
    changed_.wait(lock, [this] { return open_.empty(); });
}

void Connections::watch()
{
    std::unique_lock<std::mutex> lock(mutex_);
    while (!changed_.wait_for(lock, std::chrono::milliseconds(250), [this] { return stopping_; })) {
        const auto latest = std::chrono::steady_clock::now() - limits_.timeout;
        for (auto& [socket, connection] : open_) {
            if (connection.since > latest) continue;
            if (connection.stage == Stage::Idle) end(connection, 0, "");
            if (connection.stage == Stage::New || connection.stage == Stage::Receiving)
                end(connection, 408, "");
        }
    }
}

/// Ends the connection; with a status its peer is told so, if it understands.
void Connections::end(Connection& connection, int status, const std::string& detail)
{
    if (plain_ && status != 0) {
        const std::string reply = plainText(plainReply(status, detail, true));
        send(connection.socket, reply.data(), reply.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    shutdown(connection.socket, SHUT_RDWR);
    connection.stage = Stage::Ended;
}

}  // namespace cimom
