#include "Http/Connections.h"

#include "Http/HttpProtocol.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <sys/socket.h>

namespace cimom
{

static const char* const tooMany = "Too many connections.";

Connections::Connections(const ConnectionLimits& limits, bool plain)
    : limits_(limits), plain_(plain), watcher_([this] { watch(); })
{
}

Connections::~Connections()
{
    drain(std::chrono::seconds(0));
    watcher_.join();
}

Connection* Connections::open(int socket, const std::string& peer,
                              std::shared_ptr<const void> keeps)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool room = makeRoom(&peer, limits_.mostPerAddress) && makeRoom(nullptr, limits_.most);
    const std::string refusal = stopping_ ? "The server is shutting down." : room ? "" : tooMany;
    const auto deadline = std::chrono::steady_clock::now() + limits_.timeout;
    Connection& connection =
        open_.emplace(socket, Connection{socket, peer, refusal, deadline, std::move(keeps)})
            .first->second;
    if (refusal.empty()) return &connection;
    end(connection, 503, refusal);
    // Nobody may work on what has come already, and unread bytes would take the reply from the
    // peer.
    std::array<char, 4096> unread;
    while (recv(socket, unread.data(), unread.size(), MSG_DONTWAIT) > 0) {
    }
    return &connection;
}

/// Whether there is room for one more connection of the peer (null: of all), if need be after the
/// end of one that was never accepted: of the address that has most of these, the one nearest to
/// its deadline.
bool Connections::makeRoom(const std::string* peer, unsigned most)
{
    unsigned used = 0;
    std::map<std::string_view, std::pair<unsigned, Connection*>> strangers;
    for (auto& [socket, connection] : open_) {
        if (connection.stage == Stage::Ended || (peer && connection.peer != *peer)) continue;
        ++used;
        if (connection.accepted) continue;
        auto& [number, next] = strangers[connection.peer];
        ++number;
        if (!next || connection.deadline < next->deadline) next = &connection;
    }
    if (used < most) return true;
    if (strangers.empty()) return false;
    const auto fewer = [](const auto& a, const auto& b) { return a.second.first < b.second.first; };
    end(*std::max_element(strangers.begin(), strangers.end(), fewer)->second.second, 503, tooMany);
    return true;
}

Stage Connections::close(Connection* connection)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const Stage last = connection->stage;
    open_.erase(connection->socket);
    changed_.notify_all();
    return last;
}

bool Connections::enter(Connection* connection, Stage stage, std::size_t replySize)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool ended = connection->stage == Stage::Ended;
    const bool begins = stage == Stage::Checking || stage == Stage::Working;
    if (ended || (stopping_ && begins)) return !begins;
    connection->stage = stage;
    connection->accepted |= stage == Stage::Working;
    connection->deadline = std::chrono::steady_clock::now() + limits_.timeout +
                           std::chrono::seconds(replySize / limits_.slowestReader);
    if (stopping_) changed_.notify_all();
    return true;
}

void Connections::hold(Connection* connection, std::chrono::milliseconds time)
{
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, time, [&] { return stopping_ || connection->stage == Stage::Ended; });
}

void Connections::extend(Connection* connection, std::size_t size)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    connection->deadline += std::chrono::seconds(size / limits_.slowestReader);
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
        const auto now = std::chrono::steady_clock::now();
        for (auto& [socket, connection] : open_) {
            const Stage stage = connection.stage;
            const bool ours = stage == Stage::Checking || stage == Stage::Working;
            if (ours || stage == Stage::Ended || connection.deadline > now) continue;
            const bool incomplete = stage == Stage::New || stage == Stage::Receiving;
            end(connection, incomplete ? 408 : 0, "");
        }
    }
}

/// Ends the connection; with a status its peer is told so, if it understands.
void Connections::end(Connection& connection, int status, const std::string& detail)
{
    if (plain_ && status != 0 && connection.stage != Stage::Sending) {
        const std::string reply = plainText(plainReply(status, detail, true));
        send(connection.socket, reply.data(), reply.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    shutdown(connection.socket, SHUT_RDWR);
    connection.stage = Stage::Ended;
    changed_.notify_all();
}

}  // namespace cimom
