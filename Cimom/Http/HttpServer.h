// The HTTP(S) listener of the CIM server.
#pragma once

#include "CimXml/Service.h"
#include "Http/Connections.h"
#include "Http/PasswordFile.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace cimom
{

struct HttpOptions
{
    std::string address = "127.0.0.1";   ///< name or number of the interface to listen on
    std::uint16_t port = 5988;           ///< 0: any free port
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
    /// Called from several threads at once.
    using Handler = std::function<CimReply(const CimRequest&)>;

    /// Listens and serves at once. `users` null: no authentication, every request has the user "".
    /// Throws std::runtime_error (what, where, what to do) when it cannot listen or TLS cannot be
    /// set up. `users` must outlive the server.
    HttpServer(HttpOptions options, const PasswordFile* users, Handler handler);
    /// Like stop().
    ~HttpServer();

    std::uint16_t port() const;
    /// Reads the files of certificate and key again, for connections that begin from now on. Throws
    /// std::runtime_error (which files, what is wrong): the earlier ones stay in service then.
    void reloadCertificate();
    /// Accepts nothing more, lets running operations finish and sends their replies.
    void stop();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace cimom
