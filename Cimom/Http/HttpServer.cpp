#include "Http/HttpServer.h"

#include "Http/Session.h"
#include "Http/Tls.h"

#include <boost/asio/ip/v6_only.hpp>
#include <condition_variable>
#include <cstring>
#include <list>
#include <mutex>
#include <netdb.h>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <vector>

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
constexpr auto reliefInterval = 1ms;
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
        : state_{{},
                 std::move(options),
                 std::move(handler),
                 LimitedLog(state_.options.log),
                 readUsers(state_.options),
                 readTlsFiles(state_.options),
                 MemoryBudget(bodyMemory(state_.options)),
                 LoginQueue(),
                 Turns(state_.options.maxOperations),
                 {},
                 [this] { prepareForBusy(); },
                 [this] { giveTurns(); }}
    {
        listen();
        sweep();
        addThread();
        relief_ = std::thread([this] { relieve(); });
    }

    ~Server() override
    {
        stop();
        for (std::thread& thread : threads_)
            thread.join();
        relief_.join();
    }

    std::uint16_t port() const override { return port_; }

    void reload() override
    {
        const auto users = readUsers(state_.options);
        const Lock lock(state_.mutex);
        state_.users = users;
        state_.certificate = readTlsFiles(state_.options);
    }

    bool stop() override
    {
        Lock lock(state_.mutex);
        if (!state_.stopping) beginStop();
        over_.wait(lock, [this] { return isOver_; });
        return hasDrained_;
    }

private:
    using Time = Session::Time;
    using Lock = std::unique_lock<std::mutex>;

    void listen()
    {
        try {
            const tcp::endpoint endpoint = resolve(state_.options);
            acceptor_.open(endpoint.protocol());
            acceptor_.set_option(tcp::acceptor::reuse_address(true));
            if (endpoint.protocol() == tcp::v6()) acceptor_.set_option(asio::ip::v6_only(false));
            acceptor_.bind(endpoint);
            acceptor_.listen();
            acceptor_.non_blocking(true);
            port_ = acceptor_.local_endpoint().port();
        } catch (const boost::system::system_error& error) {
            throw std::runtime_error(
                cannotListen(state_.options) + error.code().message() +
                "; choose an address of this machine and a port that is free (0: any)");
        }
    }

    /// Sees to it that there is a thread left to serve the connections while one more does what
    /// takes long, and that it is woken when that takes more than a moment.
    void prepareForBusy()
    {
        if (threads_.size() < state_.busy + 2) addThread();
        ++begun_;
        if (reliefSleeps_) becameBusy_.notify_one();
    }

    /// Operations are done by the thread that has read the request: mostly they are over before
    /// another one could have been woken. Here is who wakes it for those that are not.
    void relieve()
    {
        Lock lock(state_.mutex);
        std::uint64_t seen = 0, relieved = 0;  // operations begun
        while (!isOver_) {
            reliefSleeps_ = state_.busy == 0;
            becameBusy_.wait(lock, [this] { return isOver_ || state_.busy > 0; });
            reliefSleeps_ = false;
            becameBusy_.wait_for(lock, reliefInterval, [this] { return isOver_; });
            if (state_.busy > 0 && seen == begun_ && relieved != begun_ && wakeThread())
                relieved = begun_;
            seen = begun_;
        }
    }

    bool wakeThread() noexcept
    {
        try {
            asio::post(io_, [] {});
            return true;
        } catch (const std::exception&) {
            return false;
        }
    }

    void addThread()
    {
        try {
            threads_.emplace_back([this] { run(); });
        } catch (const std::exception&) {
            if (threads_.empty()) throw;  // else others go on when they are done
        }
    }

    /// Serves the connections until the server has stopped. What fails here for want of memory is
    /// done again.
    void run()
    {
        for (bool again = false;; again = true) {
            try {
                if (again) {
                    const Lock lock(state_.mutex);
                    sweep();
                }
                io_.run();
                return;
            } catch (const std::exception&) {
                std::this_thread::sleep_for(stopInterval);
            }
        }
    }

    /// Gives one turn, on a thread that is not at anything else then.
    void giveTurns()
    {
        if (givesTurns_) return;
        asio::post(io_, [this] {
            const Lock lock(state_.mutex);
            givesTurns_ = false;
            for (Turns* turns : {&state_.operations, &state_.logins.turns()}) {
                if (turns->hasNext()) return state_.resume(turns->next());
            }
        });
        givesTurns_ = true;
    }

    void accept()
    {
        if (isAccepting_ || !acceptor_.is_open()) return;
        acceptor_.async_wait(tcp::acceptor::wait_read, [this](const error_code& error) {
            const Lock lock(state_.mutex);
            isAccepting_ = false;
            if (!error && acceptAll()) accept();
        });
        isAccepting_ = true;
    }

    /// Accepts what is there; false when that is not possible now: the next sweep goes on.
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
        if (error) return;
        socket.set_option(tcp::no_delay(true), error);
        const std::string peer = address.to_string();
        removeEnded();
        const ConnectionLimits& limits = state_.options.connections;
        if (!makeRoom(&peer, limits.mostPerAddress) || !makeRoom(nullptr, limits.most)) {
            state_.log.add("refused a connection from " + peer + ": " + tooMany);
            if (!state_.certificate) Session::refuse(socket.native_handle(), 503, tooMany);
            return;
        }
        state_.resume(sessions_.emplace_back(state_, std::move(socket), peer).coroutine());
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
            if (error) return;
            const Lock lock(state_.mutex);
            sweep();
        });
        accept();
        state_.resume(std::noop_coroutine());
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
        state_.operations.refuse(nullptr, 0);
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
        if (!isOver_) return;
        io_.stop();
        over_.notify_all();
        becameBusy_.notify_all();
    }

    asio::io_context io_{1};  // wakes a second thread when it is told to only
    ServerState state_;       ///< with the lock for all that follows
    tcp::acceptor acceptor_{io_};
    asio::steady_timer timer_{io_};
    std::list<Session> sessions_;
    bool isAccepting_ = false;
    bool isOver_ = false;
    bool hasDrained_ = true;
    Time operationsUntil_;
    Time repliesUntil_;
    std::uint16_t port_ = 0;
    std::condition_variable over_;
    std::vector<std::thread> threads_;
    std::thread relief_;
    std::condition_variable becameBusy_;
    bool reliefSleeps_ = false;
    bool givesTurns_ = false;  ///< is about to
    std::uint64_t begun_ = 0;  ///< operations and hashes
};

}  // namespace

std::unique_ptr<HttpServer> startHttpServer(HttpOptions options, HttpServer::Handler handler)
{
    return std::make_unique<Server>(std::move(options), std::move(handler));
}

}  // namespace cimom
