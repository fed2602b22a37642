#include "Http/Session.h"

#include "Model/Errors.h"
#include "Model/Text.h"

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <malloc.h>
#include <new>
#include <sys/socket.h>
#include <utility>

namespace cimom
{

namespace asio = boost::asio;
using boost::system::error_code;
using boost::system::system_error;

namespace
{

const char* const shuttingDown = "The server is shutting down.";
constexpr std::size_t readSize = 4096;  // of a connection that may be idle for long
constexpr std::size_t bodyReadSize = 65536;
constexpr std::size_t smallBody = 65536;               // needs nothing of the budget
constexpr std::uint64_t largeReply = 2 * 1024 * 1024;  // its memory is given back at once
constexpr unsigned mostRefusals = 3;            // in a row; then the client has to connect again
constexpr std::chrono::seconds closingTime{2};  // for the client to end the connection too
constexpr std::chrono::seconds cancelTime{5};   // for what was cancelled to end

/// Awaits an operation of Boost.Asio, which `start` begins with the handler that it is given.
/// Returns the bytes that were transferred; throws system_error.
template <class Start>
class Transfer
{
public:
    Transfer(ServerState& server, Start start) : server_(server), start_(std::move(start)) {}

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> caller) { start_(Handler{this, caller}); }
    std::size_t await_resume() const
    {
        if (error_) throw system_error(error_);
        return size_;
    }

private:
    struct Handler
    {
        void operator()(const error_code& error, std::size_t size = 0) const
        {
            ServerState& server = transfer->server_;
            const std::lock_guard<std::mutex> lock(server.mutex);
            transfer->error_ = error;
            transfer->size_ = size;
            server.resume(caller);
        }
        /// What is over at once goes on in the thread that began it.
        friend bool asio_handler_is_continuation(Handler*) { return true; }

        Transfer* transfer;
        std::coroutine_handle<> caller;
    };

    ServerState& server_;
    Start start_;
    error_code error_;
    std::size_t size_ = 0;
};

/// While it lives, others may use the connections, and this one is not destroyed.
class Busy
{
public:
    Busy(ServerState& server, bool& flag) : server_(server), flag_(flag)
    {
        server_.needThread();
        ++server_.busy;
        flag_ = true;
        server_.mutex.unlock();
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
    ~Busy()
    {
        server_.mutex.lock();
        flag_ = false;
        --server_.busy;
    }

private:
    ServerState& server_;
    bool& flag_;
};

}  // namespace

void ServerState::resume(std::coroutine_handle<> coroutine)
{
    coroutine.resume();
    if (operations.hasNext() || logins.turns().hasNext()) giveTurns();
}

struct Session::Tls
{
    Tls(SSL_CTX* shared, Socket& socket) : context(counted(shared)), stream(socket, context) {}

    /// The same, with one more owner, as the context takes one away.
    static SSL_CTX* counted(SSL_CTX* shared)
    {
        SSL_CTX_up_ref(shared);
        return shared;
    }

    asio::ssl::context context;
    asio::ssl::stream<Socket&> stream;
};

/// One request and its reply.
struct Session::Exchange
{
    Exchange(const HttpOptions& options, MemoryBudget& budget)
        : parser(options.maxHeader, options.maxBody), memory(budget)
    {
    }

    RequestParser parser;
    MemoryShare memory;
    CimRequest request;
    bool isHttp10 = false;
    bool keepAlive = false;
    std::optional<HttpReply> reply;  ///< set before the end of a request: it is refused
};

Session::Session(ServerState& server, Socket socket, const std::string& peer)
    : server_(server),
      peer_(peer),
      owner_("address " + peer),
      socket_(std::move(socket)),
      tls_(server.certificate ? std::make_unique<Tls>(server.certificate.get(), socket_) : nullptr),
      timer_(socket_.get_executor()),
      task_(serve())
{
    enter(Stage::New);
}

Session::~Session() = default;

bool Session::isOver(Time now) const
{
    if (task_.hasEnded()) return true;
    // Without memory, Boost.Asio can drop an operation: the coroutine waits for ever. What is not
    // dropped has ended long before, as its socket is closed.
    return stage_ == Stage::Ended && !busy_ && now > deadline_ + cancelTime;
}

void Session::end(int status, const std::string& detail)
{
    if (stage_ == Stage::Ended) return;
    const bool waitsForReply =
        stage_ == Stage::New || stage_ == Stage::Receiving || stage_ == Stage::Checking;
    const bool canTell = status != 0 && !tls_ && waitsForReply;
    stage_ = Stage::Ended;
    deadline_ = std::chrono::steady_clock::now();
    // By the system's calls: a read or write may be under way on another thread, and ends so.
    if (canTell) {
        refuse(socket_.native_handle(), status, detail);
    } else {
        ::shutdown(socket_.native_handle(), SHUT_RDWR);
    }
    timer_.cancel();
}

void Session::endWhenLate(Time now)
{
    const bool isOurs = busy_ || stage_ == Stage::Checking || stage_ == Stage::Working;
    if (isOurs || now < deadline_) return;
    end(408, "");
}

void Session::refuse(int socket, int status, const std::string& detail)
{
    const std::string reply = headText(plainReply(status, detail, true), "Content-Length: 0\r\n");
    ::send(socket, reply.data(), reply.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    ::shutdown(socket, SHUT_RDWR);
    // Unread bytes would take the reply from the peer.
    std::array<char, 4096> unread;
    for (unsigned part = 0; part < 64; ++part) {
        if (::recv(socket, unread.data(), unread.size(), MSG_DONTWAIT) <= 0) return;
    }
}

/// Throws when its end has been brought about.
void Session::checkOpen() const
{
    if (stage_ == Stage::Ended) throw system_error(asio::error::operation_aborted);
}

/// Notes what it is at, and until when that may take.
void Session::enter(Stage stage, std::size_t replySize)
{
    checkOpen();
    const ConnectionLimits& limits = server_.options.connections;
    stage_ = stage;
    deadline_ = std::chrono::steady_clock::now() +
                (stage == Stage::Closing ? closingTime : limits.timeout) +
                std::chrono::seconds(replySize / limits.slowestReader);
}

/// Notes that an operation of the user begins.
void Session::accept(const std::string& user)
{
    if (party_) return;
    if (server_.users) owner_ = "user " + user;
    std::shared_ptr<Turns::Party>& party = server_.parties[owner_];
    if (!party) party = std::make_shared<Turns::Party>();
    party_ = party;
}

template <class Start>
auto Session::transfer(Start start)
{
    return Transfer<Start>(server_, std::move(start));
}

template <class Buffers>
auto Session::read(const Buffers& buffers)
{
    return transfer([this, buffers](auto handler) {
        tls_ ? tls_->stream.async_read_some(buffers, handler)
             : socket_.async_read_some(buffers, handler);
    });
}

template <class Buffers>
auto Session::write(const Buffers& buffers)
{
    return transfer([this, buffers](auto handler) {
        tls_ ? asio::async_write(tls_->stream, buffers, handler)
             : asio::async_write(socket_, buffers, handler);
    });
}

/// Does what takes long when it has its turn for that; `wasRun` tells whether it got one.
template <class Step>
Task Session::run(Stage stage, Turns& turns, Turns::Party& party, unsigned rank, bool& wasRun,
                  Step step)
{
    Turns::Turn turn(turns, party, rank);
    busy_ = true;
    wasRun = co_await turn;
    busy_ = false;
    checkOpen();
    if (!wasRun) co_return;
    if (stage_ != stage) enter(stage);
    const Busy busy(server_, busy_);
    step();
}

Task Session::readSome(std::size_t most)
{
    const std::size_t had = input_.size();
    input_.resize(had + most);
    const std::size_t came = co_await read(asio::buffer(input_.data() + had, most));
    input_.resize(had + came);
}

Task Session::serve()
{
    try {
        if (tls_) {
            co_await transfer([this](auto handler) {
                tls_->stream.async_handshake(asio::ssl::stream_base::server, handler);
            });
        }
        do {
            co_await exchange();
        } while (keepsAlive_);
        co_await close();
    } catch (const system_error&) {
        // The client has gone, or is not wanted any more.
        if (tls_ && !hasAsked_)
            server_.log.add("TLS from " + peer_ + " ended in its handshake or before a request");
    } catch (const std::exception& error) {
        server_.log.add("connection from " + peer_ + " ended: " + error.what());
    }
    end(0, "");
}

/// One request and its reply, whoever is to blame for what is wrong.
Task Session::exchange()
{
    Exchange x(server_.options, server_.memory);
    keepsAlive_ = false;
    try {
        co_await receive(x);
        if (!x.reply) co_await operate(x);
    } catch (const RequestRefused& refused) {
        if (!x.reply) x.reply = plainReply(refused.status, refused.detail);
        x.reply->close = true;
    } catch (const std::bad_alloc&) {
        x.request = CimRequest();
        malloc_trim(0);  // what others have freed
        x.reply = plainReply(503, "The server has no memory for this request.", true);
    }
    co_await send(x);
}

Task Session::receive(Exchange& x)
{
    RequestHead head;
    co_await receiveHead(x, head);
    enter(Stage::Checking);
    x.isHttp10 = head.isHttp10;
    x.keepAlive = head.keepAlive;
    x.reply = server_.stopping ? plainReply(503, shuttingDown, true) : refuseAtOnce(head);
    if (!x.reply) co_await authenticate(x, head);
    if (!x.reply) x.reply = refuseFields(head);
    const std::string* expectation = head.field("Expect");
    const bool waits =
        expectation && input_.empty() && !x.isHttp10 && equalNoCase(*expectation, "100-continue");
    const std::string* length = head.field("Content-Length");
    const std::size_t announced = length ? std::stoul(*length) : 0;
    if (!x.reply) {
        const std::string user = std::move(x.request.user);
        x.request = cimRequest(head);
        x.request.user = user;
        if (announced > smallBody && !x.memory.growTo(announced)) throw noMemory();
        x.request.body.reserve(announced);
    } else if (waits) {
        x.reply->close = true;  // it may or may not send the body now
    }
    head = RequestHead();
    if (x.reply && x.reply->close) co_return;
    if (waits) co_await write(asio::buffer("HTTP/1.1 100 Continue\r\n\r\n", 25));
    enter(Stage::Receiving);
    co_await receiveBody(x, !x.reply);
}

Task Session::receiveHead(Exchange& x, RequestHead& head)
{
    for (;;) {
        if (auto came = x.parser.takeHead(input_)) {
            head = std::move(*came);
            hasAsked_ = true;
            co_return;
        }
        co_await readSome(readSize);
        if (stage_ == Stage::Idle || stage_ == Stage::New) stage_ = Stage::Receiving;
    }
}

/// Reads the body, and keeps it or not. Without a need to close, the reply follows it.
Task Session::receiveBody(Exchange& x, bool isKept)
{
    std::string& body = x.request.body;
    while (!x.parser.takeBody(input_, body)) {
        if (!isKept) body.clear();
        if (body.size() > smallBody && !x.memory.growTo(body.capacity())) throw noMemory();
        co_await readSome(bodyReadSize);
    }
}

/// Sets the user, or the reply to one who is not let in.
Task Session::authenticate(Exchange& x, const RequestHead& head)
{
    if (!server_.users) co_return;
    const auto credentials = basicCredentials(head);
    if (!credentials) {
        x.reply = unauthorizedReply(server_.options.hostName, "User Unauthorized");
    } else if (!isUtf8(credentials->user)) {
        x.reply = unauthorizedReply(server_.options.hostName, "The user name is not UTF-8.");
    } else {
        co_await checkPassword(x, *credentials);
    }
}

Task Session::checkPassword(Exchange& x, const Credentials& credentials)
{
    const auto users = server_.users;  // may be replaced meanwhile
    const auto& [user, password] = credentials;
    x.request.user = user;
    if (users->isRemembered(user, password)) co_return;
    const auto place = server_.logins.enter(peer_);
    bool isRight = false, wasChecked = false;
    if (place) {
        co_await run(Stage::Checking, server_.logins.turns(), place->party(), place->rank(),
                     wasChecked, [&] { isRight = users->check(user, password); });
    }
    if (!wasChecked) {
        x.reply = plainReply(503, "Too many logins of this address wait. Try again.");
        x.reply->fields.emplace_back("Retry-After", "1");
    } else if (isRight) {
        place->noteRight();
    } else {
        server_.log.add("wrong user or password from " + peer_,
                        ": user " + percentEncoded(user.substr(0, 64)));
        x.reply = unauthorizedReply(server_.options.hostName, "");
        timer_.expires_after(place->noteWrong());
        co_await transfer([this](auto handler) { timer_.async_wait(handler); });
    }
}

Task Session::operate(Exchange& x)
{
    accept(x.request.user);
    std::string failure;
    bool wasRun = false;
    const auto operation = [&] {
        try {
            x.reply = httpReply(server_.handler(x.request));
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            failure = toUtf8(currentError().getMessage());
        }
        x.request = CimRequest();
    };
    if (!server_.stopping)
        co_await run(Stage::Working, server_.operations, *party_, 0, wasRun, operation);
    if (!wasRun) {
        x.reply = plainReply(503, shuttingDown, true);
    } else if (!x.reply) {
        server_.log.add("internal error: " + failure);
        x.reply = plainReply(500, "Internal error.", true);
    }
    refusals_ = x.reply->isDenied ? refusals_ + 1 : 0;
    x.reply->close |= refusals_ >= mostRefusals;
}

Task Session::send(Exchange& x)
{
    HttpReply& reply = *x.reply;
    const bool isLong = reply.rest != nullptr;
    const bool isChunked = isLong && !x.isHttp10;
    reply.close |= !x.keepAlive || (isLong && !isChunked);
    std::string framing = isChunked ? "Transfer-Encoding: chunked\r\n" : "";
    if (!isLong) framing = "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    if (x.isHttp10 && !reply.close) framing += "Connection: Keep-Alive\r\n";
    std::string head = headText(reply, framing);
    enter(Stage::Sending, reply.body.size());
    if (isLong) {
        co_await sendPieces(reply, std::move(head), isChunked);
    } else {
        co_await write(
            std::array{asio::buffer(std::as_const(head)), asio::buffer(std::as_const(reply.body))});
    }
    keepsAlive_ = !reply.close;
    if (!keepsAlive_) co_return;
    enter(Stage::Idle);
    if (input_.empty()) input_ = std::string();
}

/// Sends a long reply: a piece is encoded when the one before it has been taken.
Task Session::sendPieces(HttpReply& reply, std::string head, bool isChunked)
{
    std::uint64_t total = 0;
    for (bool isLast = false;;) {
        std::string end;
        if (isChunked && !reply.body.empty()) {
            std::array<char, 20> size{};
            std::snprintf(size.data(), size.size(), "%zx\r\n", reply.body.size());
            head += size.data();
            end = "\r\n";
        }
        if (isChunked && isLast) end += "0\r\n\r\n";
        co_await write(std::array{asio::buffer(std::as_const(head)),
                                  asio::buffer(std::as_const(reply.body)),
                                  asio::buffer(std::as_const(end))});
        if (isLast) break;
        total += reply.body.size();
        head.clear();
        reply.body.clear();
        bool wasRun = false;
        co_await run(Stage::Sending, server_.operations, *party_, 0, wasRun, [&] {
            isLast = !reply.rest(reply.body);
            if (isLast) reply.rest = nullptr;
        });
        if (!wasRun) co_return;
        deadline_ +=
            std::chrono::seconds(reply.body.size() / server_.options.connections.slowestReader);
    }
    if (total > largeReply) malloc_trim(0);
}

/// Ends the connection after its last reply. Bytes that come meanwhile are read for a while: unread
/// ones would take the reply from the client.
Task Session::close()
{
    enter(Stage::Closing);
    if (tls_) {
        co_await transfer([this](auto handler) {
            tls_->stream.async_shutdown([handler](const error_code&) mutable { handler({}); });
        });
    }
    socket_.shutdown(Socket::shutdown_send);
    input_.resize(bodyReadSize);
    for (std::size_t came = 0; came < 4 * server_.options.maxBody;) {
        came += co_await transfer(
            [this](auto handler) { socket_.async_read_some(asio::buffer(input_), handler); });
    }
}

}  // namespace cimom
