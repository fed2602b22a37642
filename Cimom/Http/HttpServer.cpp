#include "Http/HttpServer.h"

#include "Http/Connections.h"
#include "Http/HttpProtocol.h"
#include "Http/LoginQueue.h"
#include "Http/PasswordFile.h"
#include "Model/Errors.h"
#include "Model/Text.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <gnutls/abstract.h>
#include <malloc.h>
#include <map>
#include <microhttpd.h>
#include <mutex>
#include <netdb.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace cimom
{

namespace
{

/// How long stop() waits for clients to read the last replies.
constexpr std::chrono::seconds lastReplies{5};

/// No key exchange without forward secrecy, no signature with SHA-1.
const char* const tlsPriorities =
    "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2:-RSA:-SIGN-RSA-SHA1:-SIGN-ECDSA-SHA1:"
    "-SIGN-DSA-SHA1";

/// A log of lines that clients cause, as often as they like: the first few of equal lines in a
/// minute, then their number. Safe for any number of threads.
class LimitedLog
{
public:
    explicit LimitedLog(const std::function<void(const std::string&)>& write) : write_(write) {}
    ~LimitedLog() { tell(); }

    /// The detail is written behind the line, and makes it no other one.
    void add(const std::string& line, const std::string& detail = "")
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (std::chrono::steady_clock::now() > end_) tell();
        const unsigned number = ++numbers_[numbers_.size() < 256 ? line : "further events"];
        if (number <= first && write_) write_(line + detail);
    }

private:
    static constexpr unsigned first = 5;

    /// Tells the numbers, and begins a new minute.
    void tell()
    {
        for (const auto& [line, number] : numbers_) {
            if (number > first && write_)
                write_(line + " (" + std::to_string(number - first) + " more of these)");
        }
        numbers_.clear();
        end_ = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    }

    const std::function<void(const std::string&)>& write_;
    std::mutex mutex_;
    std::map<std::string, unsigned> numbers_;
    std::chrono::steady_clock::time_point end_;
};

constexpr std::size_t pieceSize = 64 * 1024;           // of a long reply, for the HTTP library
constexpr std::uint64_t largeReply = 2 * 1024 * 1024;  // its memory is given back at once

/// One request and its reply.
struct Exchange
{
    Connections& connections;
    Connection* const connection;
    CimRequest request = {};
    std::size_t received = 0;             ///< bytes of the body
    std::optional<HttpReply> reply = {};  ///< set before the end of a request: it is refused
    std::size_t sent = 0;                 ///< bytes of the reply's present body
    std::uint64_t total = 0;              ///< bytes of a long reply so far
};

std::string cannotListen(const HttpOptions& options)
{
    return "cannot listen on " + options.address + " port " + std::to_string(options.port) + ": ";
}

std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> resolve(const HttpOptions& options)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    addrinfo* found = nullptr;
    const std::string port = std::to_string(options.port);
    const int status = getaddrinfo(options.address.c_str(), port.c_str(), &hints, &found);
    if (status != 0) {
        throw std::runtime_error(cannotListen(options) + gai_strerror(status) +
                                 "; give an address of this machine");
    }
    return {found, freeaddrinfo};
}

std::string numericAddress(const sockaddr* address)
{
    std::array<char, NI_MAXHOST> text{};
    const socklen_t size =
        address->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    const int status =
        getnameinfo(address, size, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST);
    return status == 0 ? text.data() : "unknown";
}

using Users = std::shared_ptr<const PasswordFile>;
using Certificate = std::shared_ptr<gnutls_certificate_credentials_st>;

Users readUsers(const HttpOptions& options)
{
    return options.users.empty() ? nullptr : std::make_shared<const PasswordFile>(options.users);
}

/// The certificate and key of the options' files; none without TLS. Throws std::runtime_error.
Certificate readCertificate(const HttpOptions& options)
{
    if (options.certificateFile.empty()) return nullptr;
    readFile(options.certificateFile, "certificate");  // says which one cannot be read
    readFile(options.keyFile, "key");
    gnutls_certificate_credentials_t made = nullptr;
    gnutls_certificate_allocate_credentials(&made);
    const Certificate result(made, gnutls_certificate_free_credentials);
    const int status = gnutls_certificate_set_x509_key_file(
        made, options.certificateFile.c_str(), options.keyFile.c_str(), GNUTLS_X509_FMT_PEM);
    if (status >= 0) return result;
    throw std::runtime_error(options.certificateFile + " and " + options.keyFile +
                             " are no PEM certificate and its key: " + gnutls_strerror(status));
}

Connection* connectionOf(MHD_Connection* handle)
{
    const auto* info = MHD_get_connection_info(handle, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return static_cast<Connection*>(info->socket_context);
}

struct Server final : HttpServer
{
    Server(HttpOptions given, Handler requestHandler)
        : options(std::move(given)),
          handler(std::move(requestHandler)),
          lines(options.log),
          users(readUsers(options)),
          certificate(readCertificate(options)),
          connections(options.connections, !certificate)
    {
        const bool tls = certificate != nullptr;
        // Never asked, as each connection is given its certificate.
        gnutls_certificate_retrieve_function2* const ask = [](auto...) { return -1; };
        const std::array<MHD_OptionItem, 3> tlsOptions = {
            {{tls ? MHD_OPTION_HTTPS_CERT_CALLBACK : MHD_OPTION_END, 0,
              reinterpret_cast<void*>(ask)},
             {MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char*>(tlsPriorities)},
             {MHD_OPTION_END, 0, nullptr}}};
        const auto address = resolve(options);
        // The library's own limits lie behind ours, which answer before they close.
        const auto seconds = static_cast<unsigned>(options.connections.timeout.count());
        daemon = MHD_start_daemon(
            MHD_USE_THREAD_PER_CONNECTION | MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_AUTO |
                MHD_USE_ITC | MHD_USE_ERROR_LOG | MHD_USE_SUPPRESS_DATE_NO_CLOCK |
                (tls ? MHD_USE_TLS : MHD_NO_FLAG) |
                (address->ai_family == AF_INET6 ? MHD_USE_DUAL_STACK : MHD_NO_FLAG),
            options.port, nullptr, nullptr, &onRequest, this, MHD_OPTION_SOCK_ADDR,
            address->ai_addr, MHD_OPTION_EXTERNAL_LOGGER, &onLog, this,
            MHD_OPTION_NOTIFY_CONNECTION, &onConnection, this, MHD_OPTION_NOTIFY_COMPLETED,
            &onCompleted, this, MHD_OPTION_CONNECTION_TIMEOUT, 2 * seconds + 2,
            MHD_OPTION_CONNECTION_LIMIT, 2 * options.connections.most + 16,
            MHD_OPTION_CONNECTION_MEMORY_LIMIT, options.maxHeader + 4096, MHD_OPTION_ARRAY,
            tlsOptions.data(), MHD_OPTION_END);
        if (!daemon) {
            throw std::runtime_error(
                cannotListen(options) + lastLibraryMessage +
                "; choose an address of this machine and a port that is free (0: any)");
        }
        boundPort = MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT)->port;
        running = true;
    }

    ~Server() override { stop(); }

    std::uint16_t port() const override { return boundPort; }

    void reload() override
    {
        std::atomic_store(&users, readUsers(options));
        std::atomic_store(&certificate, readCertificate(options));
    }

    void stop() override
    {
        if (!daemon) return;
        const int listener = MHD_quiesce_daemon(daemon);
        shutdown(listener, SHUT_RDWR);
        // The library must have no connection left when it stops: one on which it finds a malformed
        // request meanwhile would crash it (0.9.75 builds an error reply that it did not queue).
        connections.drain(lastReplies);
        MHD_stop_daemon(daemon);
        close(listener);
        daemon = nullptr;
    }

    // What the HTTP library calls: onConnection on its own thread, the others on the connection's.

    static void onConnection(void* cls, MHD_Connection* handle, void** context,
                             MHD_ConnectionNotificationCode code)
    {
        auto& self = *static_cast<Server*>(cls);
        if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
            auto* ended = static_cast<Connection*>(*context);
            const std::string peer = ended->peer;
            if (self.connections.close(ended) == Stage::New && !self.options.keyFile.empty())
                self.lines.add("TLS from " + peer + " ended in its handshake or before a request");
            return;
        }
        const auto* socket = MHD_get_connection_info(handle, MHD_CONNECTION_INFO_CONNECTION_FD);
        const auto* address = MHD_get_connection_info(handle, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
        const auto* tls = MHD_get_connection_info(handle, MHD_CONNECTION_INFO_GNUTLS_SESSION);
        const Certificate certificate = std::atomic_load(&self.certificate);
        if (tls) {
            gnutls_credentials_set(static_cast<gnutls_session_t>(tls->tls_session),
                                   GNUTLS_CRD_CERTIFICATE, certificate.get());
        }
        Connection* connection = self.connections.open(
            socket->connect_fd, numericAddress(address->client_addr), certificate);
        *context = connection;
        if (connection->refusal.empty()) return;
        self.lines.add("refused a connection from " + connection->peer + ": " +
                       connection->refusal);
    }

    static MHD_Result onRequest(void* cls, MHD_Connection* handle, const char*, const char* verb,
                                const char*, const char* data, std::size_t* size, void** context)
    {
        auto& self = *static_cast<Server*>(cls);
        if (!*context) {
            // onCompleted deletes it
            auto* exchange = new Exchange{self.connections, connectionOf(handle)};
            *context = exchange;
            exchange->reply =
                self.guarded([&] { return self.refuse(handle, verb, exchange->request.user); });
            self.connections.enter(connectionOf(handle), Stage::Receiving);
            // Without a need to close, the reply follows the body, which nobody looks at.
            const bool atOnce = exchange->reply && exchange->reply->close;
            return atOnce ? self.send(handle, *exchange) : MHD_YES;
        }
        auto& exchange = *static_cast<Exchange*>(*context);
        if (*size != 0) return self.receive(exchange, data, std::exchange(*size, 0));
        if (!exchange.reply)
            exchange.reply = self.guarded([&] { return self.answer(handle, exchange.request); });
        return self.send(handle, exchange);
    }

    static void onCompleted(void* cls, MHD_Connection* handle, void** context,
                            MHD_RequestTerminationCode)
    {
        const std::unique_ptr<Exchange> exchange(static_cast<Exchange*>(*context));
        *context = nullptr;
        if (exchange && exchange->total > largeReply) malloc_trim(0);
        static_cast<Server*>(cls)->connections.enter(connectionOf(handle), Stage::Idle);
    }

    /// Hands over what fits of a long reply, and has its next piece encoded.
    static ssize_t onPiece(void* cls, std::uint64_t position, char* buffer, std::size_t size)
    {
        auto& exchange = *static_cast<Exchange*>(cls);
        HttpReply& reply = *exchange.reply;
        exchange.total = position;
        if (exchange.sent == reply.body.size()) {
            if (!reply.rest) return MHD_CONTENT_READER_END_OF_STREAM;
            exchange.sent = 0;
            reply.body.clear();
            try {
                if (!reply.rest(reply.body)) reply.rest = nullptr;
            } catch (...) {  // no memory
                return MHD_CONTENT_READER_END_WITH_ERROR;
            }
            exchange.connections.extend(exchange.connection, reply.body.size());
        }
        const std::size_t handed = reply.body.copy(buffer, size, exchange.sent);
        exchange.sent += handed;
        return static_cast<ssize_t>(handed);
    }

    static void onLog(void* cls, const char* format, va_list arguments)
        __attribute__((format(printf, 2, 0)))
    {
        auto& self = *static_cast<Server*>(cls);
        std::array<char, 512> line{};
        std::vsnprintf(line.data(), line.size(), format, arguments);
        std::string text = line.data();
        text.erase(text.find_last_not_of('\n') + 1);
        if (self.running) return self.lines.add(text);
        const std::lock_guard<std::mutex> lock(self.mutex);
        self.lastLibraryMessage = text;  // still starting: part of the exception
    }

    /// What the step returns; whatever it throws ends here.
    template <class Step>
    std::optional<HttpReply> guarded(Step step)
    {
        try {
            return step();
        } catch (...) {
            lines.add("internal error: " + toUtf8(currentError().getMessage()));
            return plainReply(500, "Internal error.", true);
        }
    }

    /// The reply to a request that is not even to be read; nothing when it may go on.
    std::optional<HttpReply> refuse(MHD_Connection* handle, const char* verb, std::string& user)
    {
        if (auto reply = refuseToGo(handle, Stage::Checking)) return reply;
        if (auto reply = refuseAtOnce(handle, verb, options.maxBody)) return reply;
        if (auto reply = authenticate(handle, user)) return reply;
        return refuseFields(handle);
    }

    std::optional<HttpReply> authenticate(MHD_Connection* handle, std::string& user)
    {
        const Users known = std::atomic_load(&users);
        if (!known) return std::nullopt;
        const auto credentials = basicCredentials(handle);
        if (!credentials) return unauthorizedReply(options.hostName, "User Unauthorized");
        user = credentials->user;
        if (!isUtf8(user))
            return unauthorizedReply(options.hostName, "The user name is not UTF-8.");
        Connection* connection = connectionOf(handle);
        const Login login = logins.check(*known, connection->peer, user, credentials->password);
        if (login == Login::Right) return std::nullopt;
        if (login == Login::Busy) {
            HttpReply reply = plainReply(503, "Too many logins of this address wait. Try again.");
            reply.fields.emplace_back("Retry-After", "1");
            return reply;
        }
        lines.add("wrong user or password from " + connection->peer,
                  ": user " + percentEncoded(user.substr(0, 64)));
        connections.hold(connection, logins.delay(connection->peer));
        return unauthorizedReply(options.hostName, "");
    }

    MHD_Result receive(Exchange& exchange, const char* data, std::size_t size) const
    {
        exchange.received += size;
        const bool refused = exchange.reply && !exchange.reply->close;
        if (exchange.received <= options.maxBody) {
            if (!refused) exchange.request.body.append(data, size);
            return MHD_YES;
        }
        // A chunked body of unknown length: read on for a while so that the client sees the reply.
        if (refused || exchange.received > 4 * options.maxBody) return MHD_NO;
        exchange.request.body = std::string();
        exchange.reply = tooLargeReply(options.maxBody);
        return MHD_YES;
    }

    /// Notes that the server, not its client, takes time now; a reply when it must not.
    std::optional<HttpReply> refuseToGo(MHD_Connection* handle, Stage stage)
    {
        if (connections.enter(connectionOf(handle), stage)) return std::nullopt;
        return plainReply(503, "The server is shutting down.", true);
    }

    HttpReply answer(MHD_Connection* handle, CimRequest& request)
    {
        if (auto reply = refuseToGo(handle, Stage::Working)) return *reply;
        readCimFields(handle, request);
        return httpReply(handler(request));
    }

    /// Queues the reply, which has to live until the exchange is completed.
    MHD_Result send(MHD_Connection* handle, Exchange& exchange)
    {
        HttpReply& reply = *exchange.reply;
        connections.enter(connectionOf(handle), Stage::Sending, reply.body.size());
        MHD_Response* response =
            reply.rest ? MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, pieceSize, &onPiece,
                                                           &exchange, nullptr)
                       : MHD_create_response_from_buffer(reply.body.size(), reply.body.data(),
                                                         MHD_RESPMEM_PERSISTENT);
        if (!response) return MHD_NO;
        for (const auto& [name, value] : reply.fields)
            MHD_add_response_header(response, name.c_str(), value.c_str());
        if (reply.close) MHD_add_response_header(response, "Connection", "close");
        const MHD_Result result =
            MHD_queue_response(handle, static_cast<unsigned>(reply.status), response);
        MHD_destroy_response(response);
        return result;
    }

    const HttpOptions options;
    const Handler handler;
    LimitedLog lines;
    LoginQueue logins;
    std::mutex mutex;
    std::string lastLibraryMessage;
    // Replaced while others use them: by atomic functions only.
    Users users;
    Certificate certificate;  ///< of new connections
    Connections connections;
    std::uint16_t boundPort = 0;
    MHD_Daemon* daemon = nullptr;
    std::atomic<bool> running{false};
};

}  // namespace

std::unique_ptr<HttpServer> startHttpServer(HttpOptions options, HttpServer::Handler handler)
{
    return std::make_unique<Server>(std::move(options), std::move(handler));
}

}  // namespace cimom
