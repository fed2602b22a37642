// One connection of a client.
#pragma once

#include "Http/HttpProtocol.h"
#include "Http/HttpServer.h"
#include "Http/LimitedLog.h"
#include "Http/LoginQueue.h"
#include "Http/MemoryBudget.h"
#include "Http/PasswordFile.h"
#include "Http/Task.h"
#include "Http/Turns.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <map>
#include <memory>
#include <mutex>
#include <openssl/types.h>
#include <string>

namespace cimom
{

/// What the connections of a server share.
struct ServerState
{
    /// Held by whoever uses a connection or what is in here; not during operations and hashes. Each
    /// thread works on one connection until that waits, so that one lock costs less than many.
    std::mutex mutex;
    HttpOptions options;
    HttpServer::Handler handler;
    LimitedLog log;
    std::shared_ptr<const PasswordFile> users;  ///< null: no authentication
    std::shared_ptr<SSL_CTX> certificate;       ///< of new connections; null: plain HTTP
    MemoryBudget memory;
    LoginQueue logins;
    Turns operations;
    std::map<std::string, std::shared_ptr<Turns::Party>> parties;  ///< of operations, by owner
    std::function<void()> needThread;  ///< called before a thread does what takes long
    std::function<void()> giveTurns;   ///< called when one can be given
    unsigned busy = 0;                 ///< threads that do what takes long
    bool stopping = false;

    /// Goes on with a coroutine until it waits, which may give others a turn.
    void resume(std::coroutine_handle<>);
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

    /// Serves it, from its first resumption on.
    std::coroutine_handle<> coroutine() const { return task_.handle(); }
    /// Ends it. A plain peer that waits for a reply gets this status, unless it is 0.
    void end(int status, const std::string& detail);
    /// Ends it when its client is too slow.
    void endWhenLate(Time now);
    /// Whether there is nothing left to do for it, so that it can be destroyed.
    bool isOver(Time now) const;

    Stage stage() const { return stage_; }
    /// An operation has been begun: the peer may use the server.
    bool isAccepted() const { return party_ != nullptr; }
    const std::string& peer() const { return peer_; }
    /// Whose connection it is: the user's, when it is accepted, else the address's.
    const std::string& owner() const { return owner_; }
    Time deadline() const { return deadline_; }

    /// Sends a refusal as far as that is possible at once, and ends the connection.
    static void refuse(int socket, int status, const std::string& detail);

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
    template <class Start>
    auto transfer(Start);
    template <class Step>
    Task run(Stage, Turns&, Turns::Party&, unsigned rank, bool& wasRun, Step);

    void checkOpen() const;
    void enter(Stage, std::size_t replySize = 0);
    void accept(const std::string& user);

    ServerState& server_;
    const std::string peer_;
    std::string owner_;
    std::shared_ptr<Turns::Party> party_;
    Socket socket_;
    std::unique_ptr<Tls> tls_;
    boost::asio::steady_timer timer_;
    std::string input_;  ///< what has come and is not used yet
    Stage stage_ = Stage::New;
    Time deadline_;
    bool busy_ = false;        ///< does, or waits for a turn to do, what takes long
    bool hasAsked_ = false;    ///< a request has come
    bool keepsAlive_ = false;  ///< another request may follow
    unsigned refusals_ = 0;    ///< operations denied in a row
    Task task_;
};

}  // namespace cimom
