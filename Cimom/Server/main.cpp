// qbx-cimserver: the embedded object manager as a program.
#include "Broker/Broker.h"
#include "Broker/Interop.h"
#include "Http/HttpServer.h"
#include "Model/Errors.h"
#include "Model/Text.h"
#include "Mof/MofCompiler.h"
#include "Repository/Repository.h"
#include "Server/ServerOptions.h"

#include <csignal>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <sstream>
#include <termios.h>
#include <unistd.h>

PEGASUS_USING_PEGASUS;

namespace
{

using namespace cimom;

/// One line on standard error, with the time.
void log(const std::string& text)
{
    char time[32] = "";
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::strftime(time, sizeof(time), "%Y-%m-%dT%H:%M:%S ", &local);
    std::cerr.clear();  // of a disk that was full
    std::cerr << time + text + "\n";
}

void complain(const std::string& text)
{
    std::cerr << "qbx-cimserver: " + text + "\n";
}

/// SIGTERM and SIGINT, blocked in every thread so that main can wait for them.
sigset_t stopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

/// Waits for a signal to stop; the next one ends the process at once.
void waitForStop()
{
    const sigset_t signals = stopSignals();
    int signal = 0;
    sigwait(&signals, &signal);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void compileSchema(const ServerOptions& options, Repository& repository)
{
    const auto compile = [&](const CIMNamespaceName& nameSpace, const std::filesystem::path& file) {
        repository.addNamespace(nameSpace);
        compileMof(repository, nameSpace, file, options.includeFolders);
    };
    compile(interopNamespace, options.interopMof);
    for (const SchemaFile& schema : options.schema)
        compile(String(schema.nameSpace.c_str()), schema.file);
}

/// Where a client finds the server: scheme, address, port and the first namespace.
std::string url(const ServerOptions& options, std::uint16_t port)
{
    const bool everywhere = options.http.address == "0.0.0.0" || options.http.address == "::";
    std::string host = everywhere ? options.http.hostName : options.http.address;
    if (host.find(':') != std::string::npos) host = "[" + host + "]";
    const std::string nameSpace =
        options.schema.empty() ? interopNamespace : options.schema.front().nameSpace;
    return (options.http.certificateFile.empty() ? "http://" : "https://") + host + ":" +
           std::to_string(port) + "/" + nameSpace;
}

void warnOfExposure(const ServerOptions& options)
{
    const std::string& address = options.http.address;
    if (address == "localhost" || address == "::1" || address.compare(0, 4, "127.") == 0) return;
    if (options.users.empty())
        log("warning: --no-auth with --listen " + address + ": every host may use the server");
    if (options.http.certificateFile.empty()) {
        log("warning: --listen " + address +
            " without --cert: passwords cross the network readable");
    }
}

void warnOfOpenFile(const std::string& file)
{
    using std::filesystem::perms;
    const perms open = perms::others_read | perms::others_write | perms::group_write;
    if (!file.empty() && (std::filesystem::status(file).permissions() & open) != perms::none)
        log("warning: " + file + " can be read or written by others; chmod 600 " + file);
}

/// Serves until a signal comes.
void serve(ServerOptions options)
{
    std::optional<PasswordFile> users;
    if (!options.users.empty()) users.emplace(options.users);
    Repository repository;
    compileSchema(options, repository);
    const String host(options.http.hostName.c_str());
    describeObjectManager(repository, host);
    Broker broker(repository, {host, options.providerFolders, log});
    ObjectManager::current = &broker;
    options.http.log = log;
    HttpServer server(
        options.http, users ? &*users : nullptr,
        [&broker](const CimRequest& request) { return answerCimRequest(broker, request); });
    warnOfExposure(options);
    warnOfOpenFile(options.users);
    warnOfOpenFile(options.http.keyFile);
    std::cout << "ready: " + url(options, server.port()) + "\n" << std::flush;
    waitForStop();
    server.stop();
    ObjectManager::current = nullptr;
}

/// Reads a line; a terminal does not show what is typed.
std::string readPassword()
{
    termios shown{};
    const bool isTerminal = tcgetattr(STDIN_FILENO, &shown) == 0;
    if (isTerminal) {
        std::cerr << "Password: ";
        termios silent = shown;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    std::string password;
    std::getline(std::cin, password);
    if (isTerminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
        std::cerr << "\n";
    }
    return password;
}

}  // namespace

int main(int argc, char** argv)
{
    const sigset_t signals = stopSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);  // a log at the limit to the size of files
    try {
        const auto options = parseCommandLine(argc, argv);
        if (!options) return 0;
        if (options->hashPassword) {
            std::cout << hashPassword(readPassword()) + "\n";
        } else {
            serve(*options);
        }
        return 0;
    } catch (const UsageError& error) {
        complain(error.what());
        return 2;
    } catch (...) {
        complain(toUtf8(currentError().getMessage()));
        return 1;
    }
}
