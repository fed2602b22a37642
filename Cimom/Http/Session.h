// One connection of a client.
#pragma once

#include "Http/HttpServer.h"
#include "Http/LimitedLog.h"
#include "Http/LoginQueue.h"
#include "Http/MemoryBudget.h"
#include "Http/PasswordFile.h"
#include "Http/RequestParser.h"
#include "Http/Turns.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace cimom
{

/// What the connections of a server share.
struct ServerState
{
    const HttpOptions options;
    const HttpServer::Handler handler;
    LimitedLog log;
    MemoryBudget memory;
    LoginQueue logins;
    Turns operations;

    std::shared_ptr<const PasswordFile> users;  ///< null: no authentication
    std::shared_ptr<SSL_CTX> certificate;       ///< of new connections; null: plain HTTP
    bool stopping = false;
    std::mutex mutex{};                 ///< of these three, and of what sessions are at
    std::condition_variable changed{};  ///< a session has ended, or, while it stops, begun a stage
};

/// What a connection is at. Idle: it waits for the client to begin a request, or to end it;
/// Reading: a request, the first one of a connection from its beginning; Waiting: for the turn of
/// the request, or for a password to be checked; Working: on an operation; Sending: the reply;
/// Ended: it was shut down.
enum class Stage
{
    Idle,
    Reading,
    Waiting,
    Working,
    Sending,
    Ended
};

/// One connection, served by a thread of its own: its requests are read, answered by operations and
/// replied to, one after the other. Whatever goes wrong ends this connection alone. Others may look
/// at it and end it, with the lock of the server.
class Session
{
public:
    using Time = std::chrono::steady_clock::time_point;
    using Socket = boost::asio::ip::tcp::socket;

    /// Begins to serve it. Called with the lock, as all public functions but the destructor.
    Session(ServerState&, Socket, const std::string& network);
    /// Waits for its end.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Shuts it down, so that its thread ends. A plain client that waits for a reply gets this
    /// status, unless it is 0.
    void end(int status, const std::string& detail = "");
    /// Sends a refusal as far as that is possible at once, and shuts the connection down.
    static void refuse(int socket, int status, const std::string& detail);

    Stage stage() const { return stage_; }
    /// Until when the client has time for what it is at.
    Time deadline() const { return deadline_; }
    /// Nothing of it runs any more.
    bool isOver() const { return isOver_; }
    /// An operation has been begun: the client may use the server.
    bool isAccepted() const { return isAccepted_; }
    const std::string& network() const { return network_; }
    /// Whose connection it is: the user's, when it is accepted, else the network's.
    const std::string& owner() const { return owner_; }

private:
    using Lock = std::unique_lock<std::mutex>;

    void run() noexcept;
    void serve();
    bool exchange();
    void rest();
    HttpReply respond(RequestParser&);
    void readHead(RequestParser&);
    void readBody(RequestParser&, std::string& body, MemoryShare*);
    bool skipBody(RequestParser&);
    std::string authenticate(const RequestHead&);
    void checkPassword(const PasswordFile&, const Credentials&);
    HttpReply operate(CimRequest);
    void send(HttpReply&, RequestParser&);
    void sendPieces(HttpReply&, bool isChunked);
    void close();

    bool waitsForLeave(const RequestHead&) const;
    void refuseWhenStopping();
    void accept(const std::string& user);
    void readSome(std::size_t most);
    template <class Buffers>
    void write(const Buffers&);
    void enter(Stage, Time deadline = Time::max());
    Time inTime(std::size_t replySize = 0) const;

    ServerState& server_;
    Socket socket_;
    std::optional<boost::asio::ssl::stream<Socket&>> tls_;
    const std::string peer_;
    const std::string network_;
    std::string owner_;
    bool isAccepted_ = false;
    Stage stage_ = Stage::Reading;
    Time deadline_;
    bool isOver_ = false;
    std::string input_;      ///< what has come and is not used yet
    bool hasAsked_ = false;  ///< a request has come
    unsigned denials_ = 0;   ///< operations denied in a row
    std::thread thread_;     ///< the last member: it uses the others
};

}  // namespace cimom
