// The connections of a listener: counted against the limits, and watched for slow requests.
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

/// One accepted connection. Owned by Connections; fields belong to it.
struct Connection
{
    int socket;
    std::string peer;
    bool refused;                                 ///< beyond a limit: to be told so and closed
    bool busy = false;                            ///< a request is complete and being answered
    bool begun = false;                           ///< the header of a request has arrived
    bool served = false;                          ///< at least one request was answered
    bool ended = false;                           ///< the peer was seen to have ended its side
    std::chrono::steady_clock::time_point since;  ///< start of the wait for a request
};

/// Counts connections, in total and by peer, and ends those that do not send a complete request in
/// time or at all. Safe for any number of threads.
class Connections
{
public:
    /// `canSpeak`: sockets carry plain HTTP, so that a slow peer can be sent a 408.
    Connections(unsigned limit, unsigned limitPerPeer, std::chrono::seconds timeout, bool canSpeak);
    ~Connections();

    Connection* open(int socket, const std::string& peer);
    /// Must be called before the socket is closed; the connection is gone afterwards.
    void close(Connection*);
    void requestBegun(Connection*);
    void requestComplete(Connection*);
    void requestAnswered(Connection*);

private:
    void watch();
    void endIfSlow(Connection&) const;
    static void endIfAbandoned(Connection&);

    const unsigned limit_;
    const unsigned limitPerPeer_;
    const std::chrono::seconds timeout_;
    const bool canSpeak_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::map<const Connection*, std::unique_ptr<Connection>> open_;
    std::map<std::string, unsigned> byPeer_;
    std::thread watcher_;
};

}  // namespace cimom
