// The connections of a server: counted against the limits, watched for slow requests, and ended.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace cimom
{

struct ConnectionLimits
{
    unsigned most = 256;               ///< connections at once
    unsigned mostPerAddress = 128;     ///< connections at once from one address
    std::chrono::seconds timeout{30};  ///< for the header of a request to arrive, and for its body
};

/// What a connection is at. New: no request has come yet; Receiving: a header has come, the body
/// has not; Idle: the last request is answered; Ended: its end has been brought about.
enum class Stage
{
    New,
    Idle,
    Receiving,
    Working,
    Sending,
    Ended
};

/// One accepted connection. Owned by Connections, which alone changes it.
struct Connection
{
    int socket;
    std::string peer;     ///< numeric address
    std::string refusal;  ///< why it was ended at once; empty: it was not
    Stage stage = Stage::New;
    std::chrono::steady_clock::time_point since = std::chrono::steady_clock::now();
};

/// Refuses connections beyond the limits and ends those that do not send a complete request in
/// time. Safe for any number of threads.
class Connections
{
public:
    /// `plain`: the sockets carry plain HTTP, so that a peer can be told why its connection ends.
    Connections(const ConnectionLimits&, bool plain);
    /// Like drain(), without time for the last replies.
    ~Connections();

    /// Registers a new connection. One beyond the limits has its refusal set, is told so and ended
    /// at once; it is closed like any other.
    Connection* open(int socket, const std::string& peer);
    /// Forgets a connection; to be called before its socket is closed.
    void close(Connection*);

    /// Notes what a connection is at. False when the server stops and it would be working: the
    /// request must not be carried out then.
    bool enter(Connection*, Stage);

    /// Refuses new connections and requests, waits for running operations, for that long at most
    /// for their replies to be read, then ends all connections and waits until they are closed.
    void drain(std::chrono::seconds forReplies);

private:
    bool any(Stage) const;
    std::string refusalOf(const std::string& peer) const;
    void watch();
    void end(Connection&, int status, const std::string& detail);

    const ConnectionLimits limits_;
    const bool plain_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    std::map<int, Connection> open_;  ///< by socket
    std::thread watcher_;
};

}  // namespace cimom
