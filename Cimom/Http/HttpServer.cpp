#include "Http/HttpServer.h"

#include "Http/Session.h"
#include "Http/Tls.h"

#include <atomic>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <cstring>
#include <list>
#include <netdb.h>
#include <stdexcept>
#include <thread>
#include <tuple>

namespace cimom
{

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace
{

using namespace std::chrono_literals;

constexpr auto lastReplies = 5s;  // how long stop() waits for clients to read them
constexpr auto sweepInterval = 250ms;
constexpr auto stopInterval = 10ms;  // the same while it stops
const char* const tooMany = "Too many connections.";

std::string cannotListen(const HttpOptions& options)
{
    return "cannot listen on " + options.address + " port " + std::to_string(options.port) + ": ";
}

tcp::endpoint resolve(const HttpOptions& options)
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
    tcp::endpoint endpoint;
    endpoint.resize(found->ai_addrlen);
    std::memcpy(endpoint.data(), found->ai_addr, found->ai_addrlen);
    freeaddrinfo(found);
    return endpoint;
}

std::shared_ptr<const PasswordFile> readUsers(const HttpOptions& options)
{
    return options.users.empty() ? nullptr : std::make_shared<const PasswordFile>(options.users);
}

std::shared_ptr<SSL_CTX> readTlsFiles(const HttpOptions& options)
{
    if (options.certificateFile.empty()) return nullptr;
    return readCertificate(options.certificateFile, options.keyFile);
}

std::size_t bodyMemory(const HttpOptions& options)
{
    return options.maxMemory != 0 ? options.maxMemory : usableMemory() / 8;
}

class Server final : public HttpServer
{
public:
    Server(HttpOptions options, Handler handler)
        : state_{options,
                 std::move(handler),
                 LimitedLog(options.log),
                 readUsers(options),
                 readTlsFiles(options),
                 MemoryBudget(bodyMemory(options)),
                 LoginQueue([this] { wake(); }),
                 Workers(options.maxOperations, [this] { wake(); }),
                 {}}
    {
        listen();
        thread_ = std::thread([this] { run(); });
    }

    ~Server() override
    {
        stop();
        state_.operations.join();
        state_.logins.workers().join();
    }

    std::uint16_t port() const override { return port_; }

    void reload() override
    {
        asio::post(io_, [this, users = readUsers(state_.options)] { state_.users = users; });
        asio::post(io_, [this, made = readTlsFiles(state_.options)] { state_.certificate = made; });
    }

    bool stop() override
    {
        if (!thread_.joinable()) return hasDrained_;
        asio::post(io_, [this] { beginStop(); });
        thread_.join();
        return hasDrained_;
    }

private:
    using Time = Session::Time;

    void listen()
    {
        try {
            const tcp::endpoint endpoint = resolve(state_.options);
            acceptor_.open(endpoint.protocol());
            acceptor_.set_option(tcp::acceptor::reuse_address(true));
            if (endpoint.protocol() == tcp::v6()) acceptor_.set_option(asio::ip::v6_only(false));
            acceptor_.bind(endpoint);
            acceptor_.listen();
            port_ = acceptor_.local_endpoint().port();
        } catch (const boost::system::system_error& error) {
            throw std::runtime_error(
                cannotListen(state_.options) + error.code().message() +
                "; choose an address of this machine and a port that is free (0: any)");
        }
    }

    /// Serves the connections until the server has stopped. What fails here for want of memory is
    /// done again.
    void run()
    {
        while (!isOver_) {
            try {
                sweep();
                io_.run();
            } catch (const std::exception&) {
                std::this_thread::sleep_for(stopInterval);
            }
        }
    }

    /// Has this thread look after what the workers have finished. Any thread may call it.
    void wake() noexcept
    {
        if (wakes_.exchange(true)) return;
        try {
            asio::post(io_, [this] { resumeFinished(); });
        } catch (const std::exception&) {
            wakes_ = false;  // the next sweep finds it
        }
    }

    void resumeFinished()
    {
        wakes_ = false;
        for (Workers* workers : {&state_.operations, &state_.logins.workers()}) {
            while (Workers::Job* job = workers->finished())
                job->resume();
        }
    }

    void accept()
    {
        if (isAccepting_ || !acceptor_.is_open()) return;
        acceptor_.async_accept([this](const error_code& error, tcp::socket socket) {
            isAccepting_ = false;
            if (error) return;  // too many files, say: the next sweep goes on
            accept();
            admit(std::move(socket));
        });
        isAccepting_ = true;
    }

    void admit(tcp::socket socket)
    {
        error_code error;
        const auto address = socket.remote_endpoint(error).address();
        if (error) return;
        socket.set_option(tcp::no_delay(true), error);
        const std::string peer = address.to_string();
        removeEnded();
        const ConnectionLimits& limits = state_.options.connections;
        if (!makeRoom(&peer, limits.mostPerAddress) || !makeRoom(nullptr, limits.most)) {
            state_.log.add("refused a connection from " + peer + ": " + tooMany);
            if (!state_.certificate) Session::sendAtOnce(socket, 503, tooMany);
            return;
        }
        sessions_.emplace_back(state_, std::move(socket), peer).start();
    }

    /// Whether there is room for one more connection of the peer (null: of all), if need be after
    /// the end of another one: of the owner that has most of those that can be ended.
    bool makeRoom(const std::string* peer, unsigned most)
    {
        unsigned used = 0;
        std::map<std::string_view, unsigned> held;
        for (const Session& session : sessions_) {
            if (session.stage() == Stage::Ended || (peer && session.peer() != *peer)) continue;
            ++used;
            ++held[session.owner()];
        }
        if (used < most) return true;
        Session* least = nullptr;
        const auto order = [&](const Session& session) {
            return std::tuple(held[session.owner()], !session.isAccepted(),
                              session.stage() == Stage::Idle,
                              -session.deadline().time_since_epoch());
        };
        for (Session& session : sessions_) {
            const bool counts = !peer || session.peer() == *peer;
            if (!counts || !givesWay(session, held[session.owner()])) continue;
            if (!least || order(session) > order(*least)) least = &session;
        }
        if (!least) return false;
        least->end(503, tooMany);
        return true;
    }

    /// Operations are not ended, and replies only of who has more than a quarter of all
    /// connections.
    bool givesWay(const Session& session, unsigned heldByOwner) const
    {
        const Stage stage = session.stage();
        if (stage == Stage::Ended || stage == Stage::Working) return false;
        return stage != Stage::Sending || heldByOwner > state_.options.connections.most / 4;
    }

    void removeEnded()
    {
        const Time now = std::chrono::steady_clock::now();
        sessions_.remove_if([&](const Session& session) { return session.isOver(now); });
    }

    /// What is done again and again: ends slow clients, forgets what has ended.
    void sweep()
    {
        timer_.expires_after(state_.stopping ? stopInterval : sweepInterval);
        timer_.async_wait([this](const error_code& error) {
            if (!error) sweep();
        });
        accept();
        resumeFinished();
        const Time now = std::chrono::steady_clock::now();
        for (Session& session : sessions_)
            session.endWhenLate(now);
        removeEnded();
        std::erase_if(state_.parties,
                      [](const auto& party) { return party.second.use_count() == 1; });
        if (state_.stopping) goOnStopping(now);
    }

    void beginStop()
    {
        state_.stopping = true;
        error_code ignored;
        acceptor_.close(ignored);
        operationsUntil_ = std::chrono::steady_clock::now() + state_.options.lastOperations;
        repliesUntil_ = operationsUntil_ + lastReplies;
        sweep();
    }

    /// Waits for running operations, then for their replies; then ends all connections.
    void goOnStopping(Time now)
    {
        unsigned working = 0, sending = 0;
        for (const Session& session : sessions_) {
            working += session.stage() == Stage::Working;
            sending += session.stage() == Stage::Sending;
        }
        if (working > 0 && now < operationsUntil_) return;
        repliesUntil_ = std::min(repliesUntil_, now + lastReplies);
        if (sending > 0 && now < repliesUntil_) return;
        if (working > 0) {
            state_.log.add("stops while " + std::to_string(working) + " operations still run");
            hasDrained_ = false;
            isOver_ = true;
        }
        for (Session& session : sessions_)
            session.end(0, "");
        isOver_ |= sessions_.empty();
        if (isOver_) io_.stop();
    }

    asio::io_context io_{1};
    std::atomic<bool> wakes_{false};  ///< resumeFinished() is under way
    ServerState state_;
    tcp::acceptor acceptor_{io_};
    asio::steady_timer timer_{io_};
    std::list<Session> sessions_;
    bool isAccepting_ = false;
    bool isOver_ = false;
    bool hasDrained_ = true;
    Time operationsUntil_;
    Time repliesUntil_;
    std::uint16_t port_ = 0;
    std::thread thread_;
};

}  // namespace

std::unique_ptr<HttpServer> startHttpServer(HttpOptions options, HttpServer::Handler handler)
{
    return std::make_unique<Server>(std::move(options), std::move(handler));
}

}  // namespace cimom
