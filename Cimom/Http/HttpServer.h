// The HTTP(S) listener of the CIM server.
#pragma once

#include "CimXml/Service.h"
#include "Http/Connections.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace cimom
{

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
    ConnectionLimits connections;
    std::function<void(const std::string&)> log;  ///< receives one line an event; may be empty
};

/// Accepts CIM-XML requests, authenticates them, hands them to a handler and sends what it returns;
/// each connection on a thread of its own. Connections beyond the limits get 503, requests that do
/// not arrive in time 408 (over TLS: closed), larger headers 431 and larger bodies 413; whose reply
/// is not taken in time is closed. Nothing of a body is kept before its sender is known.
class HttpServer
{
public:
    /// Called from several threads at once, with the user "" when there is no authentication.
    using Handler = std::function<CimReply(const CimRequest&)>;

    /// Like stop().
    virtual ~HttpServer() = default;

    virtual std::uint16_t port() const = 0;
    /// Reads the password file again, then, for connections that begin from now on, the certificate
    /// and its key. Throws std::runtime_error (which file, what is wrong) at the first that cannot
    /// be used: what was read of it before stays in service.
    virtual void reload() = 0;
    /// Accepts nothing more, lets running operations finish and sends their replies.
    virtual void stop() = 0;
};

/// Listens and serves at once. Throws std::runtime_error (what, where, what to do) when it cannot
/// listen, read the password file or set up TLS.
std::unique_ptr<HttpServer> startHttpServer(HttpOptions options, HttpServer::Handler handler);

}  // namespace cimom
