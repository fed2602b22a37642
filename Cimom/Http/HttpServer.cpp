#include "Http/HttpServer.h"

#include "Http/Session.h"
#include "Http/Tls.h"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <list>
#include <map>
#include <poll.h>
#include <stdexcept>
#include <tuple>

namespace cimom
{

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace
{

using namespace std::chrono_literals;
using Lock = std::unique_lock<std::mutex>;

constexpr auto lastReplies = 5s;  // how long stop() waits for clients to read them
constexpr int sweepMilliseconds = 250;
const char* const tooMany = "Too many connections.";

std::shared_ptr<const PasswordFile> readUsers(const HttpOptions& options)
{
    return options.users.empty() ? nullptr : std::make_shared<const PasswordFile>(options.users);
}

std::shared_ptr<SSL_CTX> readTlsFiles(const HttpOptions& options)
{
    if (options.certificateFile.empty()) return nullptr;
    return readCertificate(options.certificateFile, options.keyFile);
}

class Server final : public HttpServer
{
public:
    Server(const HttpOptions& options, Handler handler)
        : state_{options,
                 std::move(handler),
                 LimitedLog(options.log),
                 MemoryBudget(budgetOf(options.maxMemory)),
                 {},
                 Turns(options.maxOperations),
                 readUsers(options),
                 readTlsFiles(options)}
    {
        listen();
        thread_ = std::thread([this] { run(); });
    }

    ~Server() override { stop(); }

    std::uint16_t port() const override { return port_; }

    void reload() override
    {
        const auto users = readUsers(state_.options);
        {
            const Lock lock(state_.mutex);
            state_.users = users;
        }
        const auto certificate = readTlsFiles(state_.options);
        const Lock lock(state_.mutex);
        state_.certificate = certificate;
    }

    bool stop() override
    {
        Lock lock(state_.mutex);
        if (std::exchange(state_.stopping, true)) return hasDrained_;
        lock.unlock();
        ::shutdown(acceptor_.native_handle(), SHUT_RDWR);
        thread_.join();
        error_code ignored;
        acceptor_.close(ignored);
        lock.lock();
        const auto areNone = [this](Stage stage) {
            return [this, stage] { return count(stage) == 0; };
        };
        hasDrained_ =
            state_.changed.wait_for(lock, state_.options.lastOperations, areNone(Stage::Working));
        state_.changed.wait_for(lock, lastReplies, areNone(Stage::Sending));
        if (!hasDrained_)
            state_.log.add("stops while " + std::to_string(count(Stage::Working)) +
                           " operations still run");
        for (Session& session : sessions_)
            session.end(0);
        lock.unlock();
        if (hasDrained_) sessions_.clear();
        return hasDrained_;
    }

private:
    void listen()
    {
        const HttpOptions& options = state_.options;
        const std::string port = std::to_string(options.port);
        try {
            const auto flags = tcp::resolver::passive | tcp::resolver::numeric_service;
            const tcp::endpoint endpoint =
                *tcp::resolver(io_).resolve(options.address, port, flags).begin();
            acceptor_.open(endpoint.protocol());
            acceptor_.set_option(tcp::acceptor::reuse_address(true));
            if (endpoint.protocol() == tcp::v6()) acceptor_.set_option(asio::ip::v6_only(false));
            acceptor_.bind(endpoint);
            acceptor_.listen();
            acceptor_.non_blocking(true);
            port_ = acceptor_.local_endpoint().port();
        } catch (const boost::system::system_error& error) {
            throw std::runtime_error(
                "cannot listen on " + options.address + " port " + port + ": " +
                error.code().message() +
                "; choose an address of this machine and a port that is free (0: any)");
        }
    }

    /// Accepts connections, ends those of slow clients and forgets what has ended.
    void run()
    {
        const int acceptor = acceptor_.native_handle();
        for (bool canAccept = true;;) {
            pollfd listening{canAccept ? acceptor : -1, POLLIN, 0};
            ::poll(&listening, 1, sweepMilliseconds);
            const Lock lock(state_.mutex);
            if (state_.stopping) break;
            try {
                sweep();
                canAccept = acceptAll();
            } catch (const std::exception&) {
                canAccept = false;  // there is no memory now
            }
        }
    }

    void sweep()
    {
        const auto now = std::chrono::steady_clock::now();
        for (Session& session : sessions_) {
            if (now > session.deadline()) session.end(408);
        }
        const auto before = sessions_.size();
        sessions_.remove_if([](const Session& session) { return session.isOver(); });
        const bool isBusy = count(Stage::Working) + count(Stage::Sending) > 0;
        if (sessions_.size() < before && !isBusy) giveBackMemory();
    }

    /// Accepts what is there; false when that is not possible now.
    bool acceptAll()
    {
        error_code error;
        while (!error) {
            tcp::socket socket(io_);
            acceptor_.accept(socket, error);
            if (!error) admit(std::move(socket));
        }
        return error == asio::error::would_block;
    }

    void admit(tcp::socket socket)
    {
        error_code error;
        const auto address = socket.remote_endpoint(error).address();
        if (error) return;  // the client has gone
        socket.set_option(tcp::no_delay(true), error);
        const std::string network = networkOf(address.to_string());
        const int number = socket.native_handle();
        const ConnectionLimits& limits = state_.options.connections;
        if (!makeRoom(&network, limits.mostPerAddress) || !makeRoom(nullptr, limits.most)) {
            state_.log.add("refused a connection from " + network + ": " + tooMany);
            if (!state_.certificate) Session::refuse(number, 503, tooMany);
            return;
        }
        sessions_.emplace_back(state_, std::move(socket), network);
    }

    /// Whether there is room for one more connection of that network (null: of all), if need be
    /// after the end of another one: of the owner that has most of those that can be ended.
    bool makeRoom(const std::string* network, unsigned most)
    {
        std::vector<Session*> sessions;
        std::map<std::string_view, unsigned> held;
        for (Session& session : sessions_) {
            if (session.stage() == Stage::Ended || (network && session.network() != *network))
                continue;
            sessions.push_back(&session);
            ++held[session.owner()];
        }
        if (sessions.size() < most) return true;
        std::erase_if(sessions, [&](const Session* session) {
            return !givesWay(session->stage(), held[session->owner()]);
        });
        const auto order = [&](const Session* session) {
            return std::tuple(held[session->owner()], !session->isAccepted(),
                              session->stage() == Stage::Idle,
                              -session->deadline().time_since_epoch());
        };
        const auto last = std::max_element(sessions.begin(), sessions.end(),
                                           [&](auto* a, auto* b) { return order(a) < order(b); });
        if (last == sessions.end()) return false;
        (*last)->end(503, tooMany);
        return true;
    }

    /// Operations are not ended, and replies only of who has more than a quarter of all
    /// connections.
    bool givesWay(Stage stage, unsigned heldByOwner) const
    {
        if (stage == Stage::Sending) return heldByOwner > state_.options.connections.most / 4;
        return stage != Stage::Working;
    }

    /// Sessions at that stage.
    unsigned count(Stage stage) const
    {
        unsigned number = 0;
        for (const Session& session : sessions_)
            number += session.stage() == stage;
        return number;
    }

    ServerState state_;
    asio::io_context io_;
    tcp::acceptor acceptor_{io_};
    std::list<Session> sessions_;
    std::thread thread_;  ///< accepts
    std::uint16_t port_ = 0;
    bool hasDrained_ = true;
};

}  // namespace

std::string networkOf(const std::string& address)
{
    const auto parsed = asio::ip::make_address(address);
    if (parsed.is_v4()) return address;
    const auto v6 = parsed.to_v6();
    if (v6.is_v4_mapped()) return asio::ip::make_address_v4(asio::ip::v4_mapped, v6).to_string();
    auto bytes = v6.to_bytes();
    std::fill(bytes.begin() + 8, bytes.end(), std::uint8_t{0});
    return asio::ip::address_v6(bytes).to_string() + "/64";
}

std::unique_ptr<HttpServer> startHttpServer(const HttpOptions& options, HttpServer::Handler handler)
{
    return std::make_unique<Server>(options, std::move(handler));
}

}  // namespace cimom
