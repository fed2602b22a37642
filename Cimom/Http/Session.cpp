#include "Http/Session.h"

#include "Model/Errors.h"
#include "Model/Text.h"

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/chunk_encode.hpp>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace cimom
{

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using boost::system::system_error;

namespace
{

const char* const shuttingDown = "The server is shutting down.";
constexpr std::size_t readSize = 4096;  // of a connection that may be idle for long
constexpr std::size_t bodyReadSize = 65536;
constexpr std::size_t smallBody = 65536;        // needs nothing of the budget
constexpr int restMilliseconds = 1000;          // of a client, until memory is given back
constexpr unsigned mostDenials = 3;             // in a row; then the client has to connect again
constexpr std::chrono::seconds closingTime{2};  // for the client to end the connection too

/// Takes what is missing of the memory for a request with a body of that size. That of small ones
/// is bounded by the numbers of connections and of operations.
void takeMemory(MemoryShare& memory, std::size_t bodySize)
{
    if (bodySize <= smallBody || memory.growTo(requestMemory(bodySize))) return;
    throw RequestRefused(503, "The server has no memory for this request now. Try again.");
}

/// The address of the client; empty when it has gone.
std::string addressOf(const Session::Socket& socket)
{
    error_code error;
    const auto address = socket.remote_endpoint(error).address();
    return error ? "" : address.to_string();
}

}  // namespace

Session::Session(ServerState& server, Socket socket, const std::string& network)
    : server_(server),
      socket_(std::move(socket)),
      peer_(addressOf(socket_)),
      network_(network),
      owner_("address " + network),
      deadline_(inTime())
{
    if (server.certificate) {
        SSL* const tls = SSL_new(server.certificate.get());
        if (!tls) throw std::bad_alloc();
        tls_.emplace(socket_, tls);
    }
    thread_ = std::thread([this] { run(); });
}

Session::~Session()
{
    if (thread_.joinable()) thread_.join();
}

void Session::end(int status, const std::string& detail)
{
    if (stage_ == Stage::Ended) return;
    const bool waitsForReply = stage_ == Stage::Reading || stage_ == Stage::Waiting;
    // By the system's calls: its thread may be reading or writing, which ends so.
    if (status != 0 && !tls_ && waitsForReply) {
        refuse(socket_.native_handle(), status, detail);
    } else {
        ::shutdown(socket_.native_handle(), SHUT_RDWR);
    }
    stage_ = Stage::Ended;
    server_.changed.notify_all();
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

/// Notes what it is at. Throws when it was ended meanwhile.
void Session::enter(Stage stage, Time deadline)
{
    const Lock lock(server_.mutex);
    if (stage_ == Stage::Ended) throw system_error(asio::error::operation_aborted);
    stage_ = stage;
    deadline_ = deadline;
    if (server_.stopping) server_.changed.notify_all();
}

/// Until when a request, or a reply of that size, has to be through.
Session::Time Session::inTime(std::size_t replySize) const
{
    const ConnectionLimits& limits = server_.options.connections;
    return std::chrono::steady_clock::now() + limits.timeout +
           std::chrono::seconds(replySize / limits.slowestReader);
}

void Session::readSome(std::size_t most)
{
    const std::size_t had = input_.size();
    input_.resize(had + most);
    const auto room = asio::buffer(input_) + had;
    input_.resize(had + (tls_ ? tls_->read_some(room) : socket_.read_some(room)));
}

template <class Buffers>
void Session::write(const Buffers& buffers)
{
    tls_ ? asio::write(*tls_, buffers) : asio::write(socket_, buffers);
}

/// What the thread does. Without memory even for the log, nothing is logged.
void Session::run() noexcept
{
    try {
        serve();
    } catch (...) {
    }
    const Lock lock(server_.mutex);
    end(0);
    isOver_ = true;
}

void Session::serve()
{
    try {
        if (tls_) tls_->handshake(asio::ssl::stream_base::server);
        while (exchange()) {
        }
        close();
    } catch (const system_error&) {
        // The client has gone, or is not wanted any more.
        if (tls_ && !hasAsked_)
            server_.log.add("TLS from " + peer_ + " ended in its handshake or before a request");
    } catch (const std::exception& error) {
        server_.log.add("connection from " + peer_ + " ended: " + error.what());
    }
}

/// One request and its reply, whoever is to blame for what is wrong. Returns whether another one
/// may follow.
bool Session::exchange()
{
    RequestParser parser(server_.options.maxHeader, server_.options.maxBody);
    HttpReply reply;
    try {
        reply = respond(parser);
    } catch (RequestRefused& refused) {
        reply = std::move(refused.reply);
        if (!reply.close) reply.close = !skipBody(parser);
    } catch (const std::bad_alloc&) {
        giveBackMemory();
        reply = plainReply(503, "The server has no memory for this request.", true);
    }
    send(reply, parser);
    if (reply.close) return false;
    // What has come already is answered, even by a server that stops.
    enter(input_.empty() ? Stage::Idle : Stage::Sending, inTime());
    if (input_.empty()) rest();
    return true;
}

/// Keeps no memory for a client that asks for nothing more at once. TLS may have read on, which
/// poll() does not see: its clients are not waited for.
void Session::rest()
{
    input_ = std::string();
    pollfd client{socket_.native_handle(), POLLIN, 0};
    if (!tls_ && ::poll(&client, 1, restMilliseconds) == 0) giveBackMemory();
}

HttpReply Session::respond(RequestParser& parser)
{
    readHead(parser);
    enter(Stage::Waiting);
    RequestHead& head = parser.head();
    checkFraming(head);
    const std::string user = authenticate(head);
    checkFields(head);
    CimRequest request = cimRequest(head);
    request.user = user;
    const auto length = fieldOf(head, "Content-Length");
    const std::size_t announced = length ? std::stoul(std::string(*length)) : 0;
    MemoryShare memory(server_.memory);
    takeMemory(memory, announced);
    request.body.reserve(announced);
    if (waitsForLeave(head)) write(asio::buffer("HTTP/1.1 100 Continue\r\n\r\n", 25));
    head.clear();  // its fields can take much more than the bytes that came
    readBody(parser, request.body, &memory);
    return operate(std::move(request));
}

void Session::readHead(RequestParser& parser)
{
    while (!parser.takeHead(input_)) {
        if (!input_.empty()) enter(Stage::Reading, deadline_);
        readSome(readSize);
    }
    hasAsked_ = true;
    refuseWhenStopping();
}

void Session::refuseWhenStopping()
{
    const Lock lock(server_.mutex);
    if (server_.stopping) throw RequestRefused(503, shuttingDown);
}

/// Whether the client sends the body when it is told to only.
bool Session::waitsForLeave(const RequestHead& head) const
{
    return input_.empty() && head.version() > 10 &&
           equalNoCase(fieldOf(head, "Expect").value_or(""), "100-continue");
}

/// Reads the body, and keeps it when there is a share of the memory for it.
void Session::readBody(RequestParser& parser, std::string& body, MemoryShare* memory)
{
    enter(Stage::Reading, inTime());
    while (!parser.takeBody(input_, body)) {
        memory ? takeMemory(*memory, body.size()) : body.clear();
        readSome(bodyReadSize);
    }
}

/// Reads what is left of a request that is refused; false when the connection had better end.
bool Session::skipBody(RequestParser& parser)
{
    if (waitsForLeave(parser.head())) return false;
    try {
        std::string body;
        readBody(parser, body, nullptr);
        return true;
    } catch (const RequestRefused&) {
        return false;
    }
}

/// The user; throws the refusal of one who is not let in.
std::string Session::authenticate(const RequestHead& head)
{
    std::shared_ptr<const PasswordFile> users;
    {
        const Lock lock(server_.mutex);
        users = server_.users;  // may be replaced meanwhile
    }
    if (!users) return "";
    const std::string& realm = server_.options.hostName;
    const auto credentials = basicCredentials(head);
    if (!credentials) throw unauthorized(realm, "User Unauthorized");
    if (!isUtf8(credentials->user)) throw unauthorized(realm, "The user name is not UTF-8.");
    if (!users->isRemembered(credentials->user, credentials->password))
        checkPassword(*users, *credentials);
    return credentials->user;
}

void Session::checkPassword(const PasswordFile& users, const Credentials& credentials)
{
    const auto place = server_.logins.enter(network_);
    std::optional<bool> isRight;
    if (place) {
        isRight = place->check([&] {
            enter(Stage::Waiting);  // throws when it was ended meanwhile
            return users.check(credentials.user, credentials.password);
        });
    }
    if (!isRight) {
        RequestRefused refused(503, "Too many logins of this address wait. Try again.", false);
        refused.reply.fields.emplace_back("Retry-After", "1");
        throw refused;
    }
    if (*isRight) return;
    server_.log.add("wrong user or password from " + peer_,
                    ": user " + percentEncoded(credentials.user.substr(0, 64)));
    Lock lock(server_.mutex);
    server_.changed.wait_for(lock, place->delay(), [this] { return stage_ == Stage::Ended; });
    throw unauthorized(server_.options.hostName);
}

HttpReply Session::operate(CimRequest request)
{
    enter(Stage::Waiting);
    accept(request.user);
    Turns::Turn turn(server_.operations, owner_);
    turn.wait();
    refuseWhenStopping();
    enter(Stage::Working);
    try {
        CimReply answer = server_.handler(request);
        denials_ = answer.isDenied ? denials_ + 1 : 0;
        HttpReply reply = httpReply(std::move(answer));
        reply.close = denials_ >= mostDenials;
        return reply;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        server_.log.add("internal error: " + toUtf8(currentError().getMessage()));
        return plainReply(500, "Internal error.", true);
    }
}

/// Notes that an operation of the user begins.
void Session::accept(const std::string& user)
{
    if (isAccepted_) return;
    const Lock lock(server_.mutex);
    isAccepted_ = true;
    if (server_.users) owner_ = "user " + user;
}

void Session::send(HttpReply& reply, RequestParser& parser)
{
    const bool isHttp10 = parser.head().version() < 11;
    const bool isLong = reply.rest != nullptr;
    const bool isChunked = isLong && !isHttp10;
    reply.close |= !parser.keepsAlive() || (isLong && !isChunked);
    std::string framing = isChunked ? "Transfer-Encoding: chunked\r\n" : "";
    if (!isLong) framing = "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    if (isHttp10 && !reply.close) framing += "Connection: Keep-Alive\r\n";
    const std::string head = headText(reply, framing);
    enter(Stage::Sending, inTime(reply.body.size()));
    if (isLong) {
        write(asio::buffer(head));
        sendPieces(reply, isChunked);
    } else {
        write(std::array{asio::buffer(head), asio::buffer(std::as_const(reply.body))});
    }
}

/// Sends a long reply: a piece is encoded when the one before it has been taken.
void Session::sendPieces(HttpReply& reply, bool isChunked)
{
    Time deadline = deadline_;
    for (bool isLast = false;;) {
        const auto piece = asio::buffer(std::as_const(reply.body));
        if (isChunked && piece.size() > 0) {
            write(http::make_chunk(piece));
        } else {
            write(piece);
        }
        reply.body.clear();
        if (isLast) break;
        enter(Stage::Sending);  // the client has no part in what follows
        Turns::Turn turn(server_.operations, owner_);
        turn.wait();
        isLast = !reply.rest(reply.body);
        deadline += inTime(reply.body.size()) - inTime();
        enter(Stage::Sending, deadline);
    }
    if (isChunked) write(http::make_chunk_last());
    reply.rest = nullptr;
}

/// Ends the connection after its last reply. Bytes that come meanwhile are read for a while: unread
/// ones would take the reply from the client.
void Session::close()
{
    enter(Stage::Idle, std::chrono::steady_clock::now() + closingTime);
    error_code ignored;
    if (tls_) tls_->shutdown(ignored);
    socket_.shutdown(Socket::shutdown_send);
    input_.resize(bodyReadSize);
    for (std::size_t came = 0; came < 4 * server_.options.maxBody;)
        came += socket_.read_some(asio::buffer(input_));
}

}  // namespace cimom
