// One connection of a client.
#pragma once

#include "Http/HttpProtocol.h"
#include "Http/HttpServer.h"
#include "Http/LimitedLog.h"
#include "Http/LoginQueue.h"
#include "Http/MemoryBudget.h"
#include "Http/PasswordFile.h"
#include "Http/Task.h"
#include "Http/Workers.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <map>
#include <memory>
#include <openssl/types.h>
#include <string>

namespace cimom
{

/// What the connections of a server share. Used by their one thread alone.
struct ServerState
{
    HttpOptions options;
    HttpServer::Handler handler;
    LimitedLog log;
    std::shared_ptr<const PasswordFile> users;  ///< null: no authentication
    std::shared_ptr<SSL_CTX> certificate;       ///< of new connections; null: plain HTTP
    MemoryBudget memory;
    LoginQueue logins;
    Workers operations;
    std::map<std::string, std::shared_ptr<Workers::Party>> parties;  ///< of operations, by owner
    bool stopping = false;
};

/// What a connection is at. New: no request has come yet; Idle: the last one is answered;
/// Receiving: a request comes in; Checking: it is seen who sends it; Working: on an operation;
/// Sending: a reply; Closing: until the client has ended it too; Ended: its end has been brought
/// about.
enum class Stage
{
    New,
    Idle,
    Receiving,
    Checking,
    Working,
    Sending,
    Closing,
    Ended
};

/// One connection: its requests are read, answered by operations and replied to, one after the
/// other, by one coroutine. Whatever goes wrong ends this connection alone.
class Session
{
public:
    using Time = std::chrono::steady_clock::time_point;
    using Socket = boost::asio::ip::tcp::socket;

    Session(ServerState&, Socket, const std::string& peer);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /// Begins to serve it.
    void start();
    /// Ends it. A plain peer that waits for a reply gets this status, unless it is 0.
    void end(int status, const std::string& detail);
    /// Ends it when its client is too slow.
    void endWhenLate(Time now);
    /// Whether there is nothing left to do for it, so that it can be destroyed.
    bool isOver(Time now) const;

    Stage stage() const { return stage_; }
    bool isWorking() const { return stage_ == Stage::Working || blocked_; }
    /// An operation has been begun: the peer may use the server.
    bool isAccepted() const { return party_ != nullptr; }
    const std::string& peer() const { return peer_; }
    /// Whose connection it is: the user's, when it is accepted, else the address's.
    const std::string& owner() const { return owner_; }
    Time deadline() const { return deadline_; }

    /// Sends a refusal as far as that is possible at once.
    static void sendAtOnce(Socket&, int status, const std::string& detail);

private:
    struct Exchange;
    struct Tls;

    Task serve();
    Task exchange();
    Task receive(Exchange&);
    Task receiveHead(Exchange&, RequestHead&);
    Task authenticate(Exchange&, const RequestHead&);
    Task checkPassword(Exchange&, const Credentials&);
    Task receiveBody(Exchange&, bool isKept);
    Task operate(Exchange&);
    Task send(Exchange&);
    Task sendPieces(HttpReply&, std::string head, bool isChunked);
    Task close();
    Task readSome(std::size_t most);

    template <class Buffers>
    auto read(const Buffers&);
    template <class Buffers>
    auto write(const Buffers&);
    template <class Step>
    auto run(Workers&, Workers::Party&, unsigned rank, Step);

    void enter(Stage, std::size_t replySize = 0);
    void accept(const std::string& user);

    ServerState& server_;
    const std::string peer_;
    std::string owner_;
    std::shared_ptr<Workers::Party> party_;
    Socket socket_;
    std::unique_ptr<Tls> tls_;
    boost::asio::steady_timer timer_;
    std::string input_;  ///< what has come and is not used yet
    Stage stage_ = Stage::New;
    Time deadline_;
    bool blocked_ = false;     ///< waits for a worker
    bool hasAsked_ = false;    ///< a request has come
    bool keepsAlive_ = false;  ///< another request may follow
    unsigned refusals_ = 0;    ///< operations denied in a row
    Task task_;
};

}  // namespace cimom
