// qbx-cimserver: the embedded object manager as a program.
#include "Broker/Broker.h"
#include "CimXml/Enumerations.h"
#include "CimXml/Service.h"
#include "Http/HttpServer.h"
#include "Http/MemoryBudget.h"
#include "Http/PasswordFile.h"
#include "Model/Errors.h"
#include "Model/Text.h"
#include "Mof/MofCompiler.h"
#include "Repository/Repository.h"
#include "Server/ServerOptions.h"

#include <csignal>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <malloc.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace
{

using namespace cimom;

constexpr int failure = 2, information = 3;  // levels of the array's log

/// One line on standard error: local time with offset, level, thread, text; the form of the array's
/// log, so that both can be read as one.
void writeLog(int level, const std::string& text)
{
    std::timespec now{};
    std::timespec_get(&now, TIME_UTC);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    char time[32] = "", start[80] = "";
    std::strftime(time, sizeof(time), "%Y-%m-%dT%H:%M:%S%z", &local);
    std::snprintf(start, sizeof(start), "%.19s.%03ld%.3s:%s %d [%d] ", time, now.tv_nsec / 1000000,
                  time + 19, time + 22, level, static_cast<int>(gettid()));
    std::cerr.clear();  // of a disk that was full
    std::cerr << start + text + "\n";
}

void log(const std::string& text)
{
    writeLog(failure, text);
}

/// The signals that main waits for; they are blocked in every thread.
sigset_t awaitedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, number);
    return signals;
}

/// Waits for SIGTERM or SIGINT; the next one ends the process at once. Until then, the server reads
/// its files again at a SIGHUP and when the password file has changed, `known` being the time that
/// it had before it was read.
void waitForStop(HttpServer& server, const std::filesystem::path& users, std::int64_t known)
{
    const sigset_t signals = awaitedSignals();
    const timespec second{1, 0};
    for (int signal = 0; signal != SIGTERM && signal != SIGINT;) {
        signal = sigtimedwait(&signals, nullptr, &second);
        const auto now = timeWritten(users);
        if (now == std::exchange(known, now) && signal != SIGHUP) continue;
        try {
            server.reload();
            writeLog(information, "users, certificate and key have been read again");
        } catch (const std::exception& error) {
            log(std::string("warning: ") + error.what() +
                "; what was read before stays in service");
        }
    }
    std::signal(SIGHUP, SIG_IGN);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

/// The instances by which clients find the object manager and its namespaces, in MOF.
std::string describeObjectManager(const Repository& repository, const std::string& host)
{
    const auto text = [](const char* property, const std::string& value) {
        return std::string(property) + " = \"" + value + "\"; ";
    };
    const std::string name = "QBXObjectManager", managerClass = "CIM_ObjectManager";
    const std::string system =
        text("SystemCreationClassName", "CIM_ComputerSystem") + text("SystemName", host);
    std::string mof = "instance of CIM_ObjectManager { " + system +
                      text("CreationClassName", managerClass) + text("Name", name) +
                      text("ElementName", name) + text("Version", QBX_VERSION) +
                      text("Description", name + " on " + host + ", version " QBX_VERSION) +
                      "Started = TRUE; OperationalStatus = {2}; StatusDescriptions = {\"OK\"}; };";
    for (const CIMNamespaceName& nameSpace : repository.namespaces()) {
        mof += "instance of CIM_Namespace { " + system +
               text("ObjectManagerCreationClassName", managerClass) +
               text("ObjectManagerName", name) + text("CreationClassName", "CIM_Namespace") +
               text("Name", toUtf8(nameSpace.getString())) + "};";
    }
    return mof;
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
    compileMofText(repository, interopNamespace,
                   describeObjectManager(repository, options.http.hostName), "object manager");
}

/// The URL of the server: scheme, address, port and the first namespace.
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
    if (options.http.users.empty())
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
    Repository repository;
    compileSchema(options, repository);  // which a SIGTERM ends at once
    const sigset_t signals = awaitedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGHUP, SIG_DFL);  // no longer ignored: it waits to be awaited
    Broker broker(repository, {options.http.hostName.c_str(), options.providerFolders, log,
                               options.writableInstances});
    ObjectManager::current = &broker;
    options.http.log = log;
    const auto known = timeWritten(options.http.users);
    Enumerations enumerations(budgetOf(options.http.maxMemory) / 4);
    const auto server = startHttpServer(options.http, [&](const CimRequest& request) {
        return answerCimRequest(broker, enumerations, request);
    });
    warnOfExposure(options);
    warnOfOpenFile(options.http.users);
    warnOfOpenFile(options.http.keyFile);
    std::cout << "ready: " + url(options, server->port()) + "\n" << std::flush;
    waitForStop(*server, options.http.users, known);
    // Threads that go on with an operation would meet a broker that is no more.
    if (!server->stop()) std::_Exit(0);
    ObjectManager::current = nullptr;
}

/// Reads a line from standard input, without echo on a terminal.
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

/// Each connection has a thread: less address space for its stack than the 8 MB that are usual.
void limitStacks()
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 1024 * 1024);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

}  // namespace

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);  // a log at the limit to the size of files
    std::signal(SIGHUP, SIG_IGN);   // until there is something to read again
    limitStacks();
    // For a server without libmimalloc: what one thread has freed serves the others, and large
    // bodies go back to the system.
    mallopt(M_ARENA_MAX, 4);
    mallopt(M_MMAP_THRESHOLD, 512 * 1024);
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
        std::cerr << std::string("qbx-cimserver: ") + error.what() + "\n";
        return 2;
    } catch (...) {
        std::cerr << "qbx-cimserver: " + toUtf8(currentError().getMessage()) + "\n";
        return 1;
    }
}
