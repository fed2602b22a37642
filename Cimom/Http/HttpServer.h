// The HTTP(S) listener of the CIM server.
#pragma once

#include "CimXml/Service.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

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

struct HttpOptions
{
    std::string address = "127.0.0.1";   ///< name or number of the interface to listen on
    std::uint16_t port = 5988;           ///< 0: any free port
    std::filesystem::path users;         ///< password file; empty: no authentication
    std::string hostName = "localhost";  ///< realm of the authentication
    std::string certificateFile;         ///< PEM; with a key file: HTTPS only
    std::string keyFile;
    std::size_t maxHeader = 64 * 1024;      ///< bytes of request line and header fields
    std::size_t maxBody = 4 * 1024 * 1024;  ///< bytes of a (decoded) request body
    std::size_t maxMemory =
        0;  ///< bytes for large requests together; 0: a quarter of what the process may use
    unsigned maxOperations = 16;  ///< operations at once, each on a thread
    ConnectionLimits connections;
    std::chrono::seconds lastOperations{10};      ///< how long stop() waits for those that run
    std::function<void(const std::string&)> log;  ///< receives one line an event; may be empty
};

/// Accepts CIM-XML requests, authenticates them, hands them to a handler and sends what it returns.
/// Each connection has a thread, which waits for its client most of the time.
/// At the limits of connections the one that waits for its client and whose user, or address, has
/// most of them gives way; without such one the new one gets 503. Requests that do not arrive in
/// time get 408 (over TLS: are closed), larger headers 431, larger bodies 413, bodies for which
/// there is no memory 503; whose reply is not taken in time is closed. Nothing of a body is kept
/// before its sender is known.
class HttpServer
{
public:
    /// Called from several threads at once, with the user "" when there is no authentication.
    using Handler = std::function<CimReply(const CimRequest&)>;

    /// Like stop(), but waits for running operations however long they take.
    virtual ~HttpServer() = default;

    virtual std::uint16_t port() const = 0;
    /// Reads the password file again, then, for connections that begin from now on, the certificate
    /// and its key. Throws std::runtime_error (which file, what is wrong) at the first that cannot
    /// be used: what was read of it before stays in service.
    virtual void reload() = 0;
    /// Accepts nothing more, lets running operations finish and sends their replies. False when
    /// some still run after the time for that: their threads go on to use what the handler uses.
    virtual bool stop() = 0;
};

/// What the limits count as one client: an IPv4 address, or the network (/64) of an IPv6 address,
/// as whoever has one address of it has all.
std::string networkOf(const std::string& address);

/// Listens and serves at once. Throws std::runtime_error (what, where, what to do) when it cannot
/// listen, read the password file or set up TLS.
std::unique_ptr<HttpServer> startHttpServer(const HttpOptions& options,
                                            HttpServer::Handler handler);

}  // namespace cimom
