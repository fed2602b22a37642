// A listening TCP socket.
#pragma once

#include <cstdint>
#include <string>

namespace cimom
{

struct Listener
{
    int socket;
    std::uint16_t port;  ///< the one that was bound
    bool ipv6;
};

/// Binds and listens. Throws std::runtime_error with address, port, reason and what to do.
Listener listenOn(const std::string& address, std::uint16_t port);

}  // namespace cimom
