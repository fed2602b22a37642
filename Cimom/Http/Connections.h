// The connections of a server: counted against the limits, watched for slow clients, and ended.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
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
    /// Bytes a second: a reply has to be taken within the timeout and its size divided by this.
    std::size_t slowestReader = 16 * 1024;
};

/// What a connection is at. New: no request has come yet; Checking: a header has come, it is seen
/// who sends it; Receiving: the body has not come yet; Working: on an operation; Idle: the last
/// request is answered; Ended: its end has been brought about.
enum class Stage
{
    New,
    Idle,
    Checking,
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
    std::chrono::steady_clock::time_point deadline;  ///< of the stage
    std::shared_ptr<const void> keeps;               ///< what has to live as long as it does
    Stage stage = Stage::New;
    bool accepted = false;  ///< an operation has been begun: the peer may use the server
};

/// Refuses connections beyond the limits and ends those that do not send a complete request, or
/// take its reply, in time. Safe for any number of threads.
class Connections
{
public:
    /// `plain`: the sockets carry plain HTTP, so that a peer can be told why its connection ends.
    Connections(const ConnectionLimits&, bool plain);
    /// Like drain(), without time for the last replies.
    ~Connections();

    /// Registers a new connection. At a limit, it displaces a connection that was never accepted,
    /// of its address or of the one that has most of these. Without such one it has its refusal
    /// set, is told so and ended at once; it is closed like any other. `keeps` lives until then.
    Connection* open(int socket, const std::string& peer, std::shared_ptr<const void> keeps);
    /// Forgets a connection and returns what it was at; to be called before its socket is closed.
    Stage close(Connection*);

    /// Notes what a connection is at. False when the server stops, or the connection was ended, and
    /// a request would be checked or carried out: that must not be done then.
    bool enter(Connection*, Stage, std::size_t replySize = 0);
    /// Gives time for more of a reply.
    void extend(Connection*, std::size_t size);
    /// Waits for that long, or until the connection is ended or the server stops.
    void hold(Connection*, std::chrono::milliseconds);

    /// Refuses new connections and requests, waits for running operations, for that long at most
    /// for their replies to be read, then ends all connections and waits until they are closed.
    void drain(std::chrono::seconds forReplies);

private:
    bool any(Stage) const;
    bool makeRoom(const std::string* peer, unsigned most);
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
