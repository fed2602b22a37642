#include "Http/Listener.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace cimom
{

namespace
{

std::string adviceFor(int error)
{
    if (error == EADDRINUSE)
        return "; stop what uses the port, or choose another (0: any free port)";
    if (error == EACCES) return "; ports below 1024 need privileges, choose a higher one";
    if (error == EADDRNOTAVAIL) return "; listen on an address of this machine";
    return "";
}

std::uint16_t portOf(int socket)
{
    sockaddr_storage bound{};
    socklen_t size = sizeof(bound);
    if (getsockname(socket, reinterpret_cast<sockaddr*>(&bound), &size) != 0) return 0;
    return ntohs(bound.ss_family == AF_INET6
                     ? reinterpret_cast<const sockaddr_in6&>(bound).sin6_port
                     : reinterpret_cast<const sockaddr_in&>(bound).sin_port);
}

}  // namespace

Listener listenOn(const std::string& address, std::uint16_t port)
{
    const std::string where =
        "cannot listen on " + address + " port " + std::to_string(port) + ": ";
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    addrinfo* found = nullptr;
    const int status = getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (status != 0)
        throw std::runtime_error(where + gai_strerror(status) +
                                 "; give an address of this machine");
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, freeaddrinfo);
    const int fd = ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    if (fd >= 0 && setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes)) == 0 &&
        bind(fd, found->ai_addr, found->ai_addrlen) == 0 && listen(fd, SOMAXCONN) == 0) {
        return {fd, portOf(fd), found->ai_family == AF_INET6};
    }
    const int error = errno;
    if (fd >= 0) close(fd);
    throw std::runtime_error(where + std::strerror(error) + adviceFor(error));
}

}  // namespace cimom
