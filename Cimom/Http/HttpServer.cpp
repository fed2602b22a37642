#include "Http/HttpServer.h"

#include "Http/Connections.h"
#include "Http/HttpProtocol.h"
#include "Http/Listener.h"
#include "Http/WorkerPool.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <microhttpd.h>
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

/// One request on its way: read, handed to a worker, answered.
struct Exchange
{
    HttpHead head;
    CimRequest request;
    std::optional<Credentials> credentials;
    std::optional<HttpReply>
        reply;  ///< known as soon as the request can be answered without its handler
    std::size_t received = 0;
    bool atWorker = false;
    Connection* connection = nullptr;
    MHD_Connection* handle = nullptr;
};

std::string readFile(const std::string& file, const std::string& what)
{
    std::ifstream in(file, std::ios::binary);
    std::string content(std::istreambuf_iterator<char>(in), {});
    if (!in)
        throw std::runtime_error("cannot read the " + what + " file " + file + ": " +
                                 std::strerror(errno));
    return content;
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

Connection* connectionOf(MHD_Connection* handle)
{
    const auto* info = MHD_get_connection_info(handle, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return static_cast<Connection*>(info->socket_context);
}

MHD_Result addField(void* fields, MHD_ValueKind, const char* name, const char* value)
{
    using Fields = decltype(HttpHead::fields);
    static_cast<Fields*>(fields)->emplace_back(name, value ? value : "");
    return MHD_YES;
}

}  // namespace

struct HttpServer::Impl
{
    Impl(HttpOptions given, const PasswordFile* passwords, Handler requestHandler)
        : options(std::move(given)),
          users(passwords),
          handler(std::move(requestHandler)),
          connections(options.maxConnections, options.maxConnectionsPerAddress, options.timeout,
                      options.certificateFile.empty()),
          workers(options.threads)
    {
    }

    void start();
    void stop();

    // What the HTTP library calls.
    static void onConnection(void* cls, MHD_Connection*, void** context,
                             MHD_ConnectionNotificationCode);
    static MHD_Result onRequest(void* cls, MHD_Connection*, const char* url, const char* verb,
                                const char* version, const char* data, std::size_t* size,
                                void** exchange);
    static void onCompleted(void* cls, MHD_Connection*, void** exchange,
                            MHD_RequestTerminationCode);
    static void onLog(void* cls, const char* format, va_list arguments)
        __attribute__((format(printf, 2, 0)));

    std::optional<HttpReply> beginExchange(Exchange&);
    MHD_Result receive(Exchange&, const char* data, std::size_t size);
    MHD_Result requestRead(Exchange&);
    void work(Exchange&);
    HttpReply answer(Exchange&);
    static MHD_Result send(Exchange&);
    void log(const std::string& line) const
    {
        if (options.log) options.log(line);
    }

    const HttpOptions options;
    const PasswordFile* const users;
    const Handler handler;
    std::string certificate;
    std::string key;
    std::string lastLibraryMessage;
    Connections connections;
    WorkerPool workers;
    MHD_Daemon* daemon = nullptr;
    std::atomic<bool> running{false};
    std::uint16_t port = 0;
    std::mutex mutex;
    std::condition_variable answered;
    unsigned atWork = 0;  ///< exchanges between the end of their request and the end of their reply
};

void HttpServer::Impl::start()
{
    const bool tls = !options.certificateFile.empty();
    if (tls) {
        certificate = readFile(options.certificateFile, "certificate");
        key = readFile(options.keyFile, "key");
    }
    const Listener listener = listenOn(options.address, options.port);
    port = listener.port;
    unsigned flags = MHD_USE_AUTO | MHD_USE_INTERNAL_POLLING_THREAD | MHD_ALLOW_SUSPEND_RESUME |
                     MHD_USE_ERROR_LOG | MHD_USE_SUPPRESS_DATE_NO_CLOCK;
    if (tls) flags |= MHD_USE_TLS;
    if (listener.ipv6) flags |= MHD_USE_IPv6;
    // The library's own limits lie behind ours, which answer before they close.
    const auto seconds = static_cast<unsigned>(options.timeout.count());
    const std::array<MHD_OptionItem, 4> tlsOptions = {
        {{tls ? MHD_OPTION_HTTPS_MEM_CERT : MHD_OPTION_END, 0, certificate.data()},
         {MHD_OPTION_HTTPS_MEM_KEY, 0, key.data()},
         {MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char*>("NORMAL:-VERS-TLS1.0:-VERS-TLS1.1")},
         {MHD_OPTION_END, 0, nullptr}}};
    daemon = MHD_start_daemon(
        flags, 0, nullptr, nullptr, &Impl::onRequest, this, MHD_OPTION_EXTERNAL_LOGGER,
        &Impl::onLog, this, MHD_OPTION_LISTEN_SOCKET, listener.socket, MHD_OPTION_NOTIFY_CONNECTION,
        &Impl::onConnection, this, MHD_OPTION_NOTIFY_COMPLETED, &Impl::onCompleted, this,
        MHD_OPTION_CONNECTION_TIMEOUT, 2 * seconds + 2, MHD_OPTION_CONNECTION_LIMIT,
        2 * options.maxConnections + 16, MHD_OPTION_CONNECTION_MEMORY_LIMIT,
        options.maxHeader + 4096, MHD_OPTION_ARRAY, tlsOptions.data(), MHD_OPTION_END);
    running = daemon != nullptr;
    if (running) return;
    close(listener.socket);
    throw std::runtime_error("cannot start the HTTP server: " + lastLibraryMessage +
                             (tls ? "; check that " + options.certificateFile + " and " +
                                        options.keyFile + " are a PEM certificate and its key"
                                  : ""));
}

void HttpServer::Impl::stop()
{
    if (!daemon) return;
    const int listener = MHD_quiesce_daemon(daemon);
    if (listener >= 0) close(listener);
    workers.stop();
    {
        std::unique_lock<std::mutex> lock(mutex);
        answered.wait_for(lock, lastReplies, [this] { return atWork == 0; });
    }
    MHD_stop_daemon(daemon);
    daemon = nullptr;
}

void HttpServer::Impl::onConnection(void* cls, MHD_Connection* handle, void** context,
                                    MHD_ConnectionNotificationCode code)
{
    auto& self = *static_cast<Impl*>(cls);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        self.connections.close(static_cast<Connection*>(*context));
        return;
    }
    const auto* socket = MHD_get_connection_info(handle, MHD_CONNECTION_INFO_CONNECTION_FD);
    const auto* address = MHD_get_connection_info(handle, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    Connection* connection =
        self.connections.open(socket->connect_fd, numericAddress(address->client_addr));
    if (connection->refused) self.log("too many connections: refused one from " + connection->peer);
    *context = connection;
}

MHD_Result HttpServer::Impl::onRequest(void* cls, MHD_Connection* handle, const char*,
                                       const char* verb, const char*, const char* data,
                                       std::size_t* size, void** context)
{
    auto& self = *static_cast<Impl*>(cls);
    if (!*context) {
        auto created = std::make_unique<Exchange>();
        Exchange& exchange = *created;
        *context = created.release();  // onCompleted deletes it
        exchange.handle = handle;
        exchange.connection = connectionOf(handle);
        exchange.head.verb = verb;
        MHD_get_connection_values(handle, MHD_HEADER_KIND, addField, &exchange.head.fields);
        self.connections.requestBegun(exchange.connection);
        exchange.reply = self.beginExchange(exchange);
        return exchange.reply && exchange.reply->close ? send(exchange) : MHD_YES;
    }
    auto& exchange = *static_cast<Exchange*>(*context);
    if (*size != 0) {
        const MHD_Result result = self.receive(exchange, data, *size);
        *size = 0;
        return result;
    }
    return exchange.atWorker ? send(exchange) : self.requestRead(exchange);
}

/// Looks at the header. A reply that ends the connection is sent at once; another one when the
/// body, which nobody needs, has been read.
std::optional<HttpReply> HttpServer::Impl::beginExchange(Exchange& exchange)
{
    if (exchange.connection->refused) return plainReply(503, "Too many connections.", true);
    if (auto reply = refuseAtOnce(exchange.head, options.maxBody)) return reply;
    if (users) {
        exchange.credentials = basicCredentials(exchange.head.find("Authorization"));
        // Wrong credentials get their 401 from a worker: checking them takes a while.
        if (exchange.credentials) return std::nullopt;
        return unauthorizedReply(options.hostName, false);
    }
    return refuseFields(exchange.head);
}

MHD_Result HttpServer::Impl::receive(Exchange& exchange, const char* data, std::size_t size)
{
    exchange.received += size;
    if (exchange.received <= options.maxBody) {
        if (!exchange.reply) exchange.request.body.append(data, size);
        return MHD_YES;
    }
    // A chunked body of unknown length: read on for a while so that the client sees the reply.
    if (exchange.received > 4 * options.maxBody) return MHD_NO;
    if (!exchange.reply || exchange.reply->status != 413) {
        exchange.request.body.clear();
        exchange.reply = plainReply(
            413, "The request body is larger than " + std::to_string(options.maxBody) + " bytes.",
            true);
    }
    return MHD_YES;
}

MHD_Result HttpServer::Impl::requestRead(Exchange& exchange)
{
    connections.requestComplete(exchange.connection);
    if (exchange.reply) return send(exchange);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ++atWork;
    }
    exchange.atWorker = true;
    MHD_suspend_connection(exchange.handle);
    if (!workers.submit([this, &exchange] { work(exchange); })) {
        exchange.reply = plainReply(503, "The server is shutting down.", true);
        MHD_resume_connection(exchange.handle);
    }
    return MHD_YES;
}

void HttpServer::Impl::work(Exchange& exchange)
{
    try {
        exchange.reply = answer(exchange);
    } catch (const std::exception& error) {
        log(std::string("internal error: ") + error.what());
        exchange.reply = plainReply(500, "Internal error.", true);
    } catch (...) {
        log("internal error");
        exchange.reply = plainReply(500, "Internal error.", true);
    }
    exchange.request.body.clear();
    exchange.request.body.shrink_to_fit();
    MHD_resume_connection(exchange.handle);
}

HttpReply HttpServer::Impl::answer(Exchange& exchange)
{
    if (exchange.credentials &&
        !users->verify(exchange.credentials->user, exchange.credentials->password)) {
        log("wrong user or password from " + exchange.connection->peer);
        return unauthorizedReply(options.hostName, true);
    }
    if (auto reply = refuseFields(exchange.head)) return *reply;
    CimRequest request = cimRequest(exchange.head);
    request.body = std::move(exchange.request.body);
    if (exchange.credentials) request.user = exchange.credentials->user;
    return httpReply(exchange.head, handler(request));
}

MHD_Result HttpServer::Impl::send(Exchange& exchange)
{
    HttpReply& reply = *exchange.reply;
    // The exchange outlives the response, so that a large body is not copied.
    MHD_Response* response = MHD_create_response_from_buffer(reply.body.size(), reply.body.data(),
                                                             MHD_RESPMEM_PERSISTENT);
    if (!response) return MHD_NO;
    for (const auto& [name, value] : reply.fields)
        MHD_add_response_header(response, name.c_str(), value.c_str());
    if (reply.close) MHD_add_response_header(response, "Connection", "close");
    const MHD_Result result =
        MHD_queue_response(exchange.handle, static_cast<unsigned>(reply.status), response);
    MHD_destroy_response(response);
    return result;
}

void HttpServer::Impl::onCompleted(void* cls, MHD_Connection*, void** context,
                                   MHD_RequestTerminationCode)
{
    auto& self = *static_cast<Impl*>(cls);
    const std::unique_ptr<Exchange> exchange(static_cast<Exchange*>(*context));
    *context = nullptr;
    if (!exchange) return;
    self.connections.requestAnswered(exchange->connection);
    if (!exchange->atWorker) return;
    const std::lock_guard<std::mutex> lock(self.mutex);
    --self.atWork;
    self.answered.notify_all();
}

void HttpServer::Impl::onLog(void* cls, const char* format, va_list arguments)
{
    auto& self = *static_cast<Impl*>(cls);
    std::array<char, 512> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    std::string text = line.data();
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    if (self.running) return self.log(text);
    const std::lock_guard<std::mutex> lock(self.mutex);
    self.lastLibraryMessage = text;  // still starting: part of the exception
}

HttpServer::HttpServer(HttpOptions options, const PasswordFile* users, Handler handler)
    : impl_(std::make_unique<Impl>(std::move(options), users, std::move(handler)))
{
    impl_->start();
}

HttpServer::~HttpServer()
{
    stop();
}

std::uint16_t HttpServer::port() const
{
    return impl_->port;
}

void HttpServer::stop()
{
    impl_->stop();
}

}  // namespace cimom
