// The program qbx-cimserver, run as its users run it.
#include "HttpTestClient.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using cimom::test::TestClient;

struct Outcome
{
    int status;          ///< exit status; -1: ended by a signal
    std::string output;  ///< standard output and standard error
};

/// Runs the program to its end in a shell.
Outcome run(const std::string& arguments)
{
    const std::string command = std::string(QBX_CIMSERVER) + " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    Outcome outcome{-1, ""};
    std::array<char, 4096> part{};
    while (const std::size_t size = std::fread(part.data(), 1, part.size(), pipe))
        outcome.output.append(part.data(), size);
    const int status = pclose(pipe);
    if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
    return outcome;
}

class ServerProgram : public ::testing::Test
{
protected:
    ServerProgram()
    {
        fs::create_directories(folder);
        write(
            "good.mof",
            "Qualifier Key : boolean = false, Scope(property), Flavor(DisableOverride, ToSubclass);\n"
            "class T_Thing { [Key] string Id; uint32 N; };\n"
            "instance of T_Thing { Id = \"one\"; N = 7; };\n");
    }
    ~ServerProgram() override { fs::remove_all(folder); }

    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream(folder / name, std::ios::binary) << content;
        return (folder / name).string();
    }
    std::string path(const std::string& name) const { return (folder / name).string(); }

    const fs::path folder =
        fs::path(::testing::TempDir()) / ("qbx_server_program_" + std::to_string(getpid()));
};

TEST_F(ServerProgram, WhatIsWrongFillsOneLine)
{
    const int taken = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    ASSERT_EQ(bind(taken, reinterpret_cast<const sockaddr*>(&address), size), 0);
    ASSERT_EQ(listen(taken, 1), 0);
    getsockname(taken, reinterpret_cast<sockaddr*>(&address), &size);
    const std::string port = std::to_string(ntohs(address.sin_port));
    const std::string start = "--no-auth --schema root/t=" + path("good.mof") + " ";
    const std::string good = start + "--port 0 ";
    const struct
    {
        std::string arguments;
        int status;
        std::string text;
    } cases[] = {
        {"", 2, "who may use the server? Give --users FILE"},
        {good + "--frobnicate", 2, "--frobnicate; --help lists the options"},
        {start + "--port many", 2, "--port = many"},
        {start + "--port 70000", 2, "70000"},
        {good + "--threads 0", 2, "--threads: Value 0 not in range 1 to 1024"},
        {good + "--users x", 2, "--users excludes --no-auth"},
        {good + "--cert x", 2, "--cert and --key go together"},
        {good + "--cert /none --key /none", 1,
         "cannot read the certificate file /none: No such file or directory"},
        {good + "--host-name 'a b'", 2, "--host-name \"a b\" is no host name"},
        {good + "--schema root/t", 2, "--schema root/t: expected NAMESPACE=FILE"},
        {good + "--schema 'a b=x'", 2, "\"a b\" is no namespace name"},
        {good + "--schema root/t=/none.mof", 2, "--schema root/t=/none.mof: no such file"},
        {good + "--interop-mof /none.mof", 2, "--interop-mof /none.mof: no such file"},
        {good + "--provider-dir /none", 2, "--provider-dir /none: no such folder"},
        {good + "--include /none", 2, "--include /none: no such folder"},
        {good + "--listen 192.0.2.1", 1,
         "cannot listen on 192.0.2.1 port 0: Cannot assign requested address"},
        {start + "--port " + port, 1,
         "cannot listen on 127.0.0.1 port " + port + ": Address already in use"},
        {good + "--schema root/u=" + write("bad.mof", "class T_Bad { uint99 N; };\n"), 1,
         "bad.mof:1:"},
        {"--port 0 --users " + write("users", "eva\n"), 1, "users:1: expected \"user:hash\""},
        {"--port 0 --users /none", 1,
         "/none: cannot read the password file: No such file or directory"},
        {"--hash-password < /dev/null", 1, "the password is empty"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = run(c.arguments);
        EXPECT_EQ(outcome.status, c.status) << c.arguments << "\n" << outcome.output;
        EXPECT_EQ(outcome.output.substr(0, 15), "qbx-cimserver: ") << c.arguments << "\n"
                                                                   << outcome.output;
        EXPECT_NE(outcome.output.find(c.text), std::string::npos) << c.arguments << "\n"
                                                                  << outcome.output;
        EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 1)
            << outcome.output;
    }
    close(taken);
}

TEST_F(ServerProgram, HelpAndVersion)
{
    const Outcome help = run("--help");
    EXPECT_EQ(help.status, 0);
    for (const char* option :
         {"--schema", "--include", "--interop-mof", "--provider-dir", "--listen", "--port",
          "--users", "--no-auth", "--cert", "--key", "--host-name", "--hash-password", "--threads",
          "--max-header", "--max-body", "--max-connections", "--max-connections-per-address",
          "--timeout", "--version"}) {
        EXPECT_NE(help.output.find(std::string("  ") + option + " "), std::string::npos) << option;
    }
    EXPECT_EQ(run("--version").output.substr(0, 14), "qbx-cimserver ");
}

/// The program as a child process that serves.
class RunningServer
{
public:
    explicit RunningServer(std::vector<std::string> arguments)
    {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) return;
        process_ = fork();
        if (process_ == 0) {
            dup2(ends[1], STDOUT_FILENO);
            arguments.insert(arguments.begin(), QBX_CIMSERVER);
            std::vector<char*> pointers;
            for (std::string& argument : arguments)
                pointers.push_back(argument.data());
            pointers.push_back(nullptr);
            execv(QBX_CIMSERVER, pointers.data());
            _exit(127);
        }
        close(ends[1]);
        output_ = fdopen(ends[0], "r");
        std::array<char, 200> line{};
        if (std::fgets(line.data(), line.size(), output_)) ready = line.data();
    }
    ~RunningServer()
    {
        if (process_ > 0) stop(SIGKILL);
        if (output_) std::fclose(output_);
    }
    RunningServer(const RunningServer&) = delete;
    RunningServer& operator=(const RunningServer&) = delete;

    /// The exit status; -1 when the signal ended it.
    int stop(int signal)
    {
        int status = 0;
        kill(process_, signal);
        waitpid(process_, &status, 0);
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::uint16_t port() const
    {
        return static_cast<std::uint16_t>(std::atoi(ready.c_str() + ready.find_last_of(':') + 1));
    }

    std::string ready;

private:
    pid_t process_ = -1;
    FILE* output_ = nullptr;
};

/// The body of the reply to an intrinsic call with one class name.
std::string ask(std::uint16_t port, const std::string& method, const std::string& nameSpace,
                const std::string& name)
{
    const std::string body =
        "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
        "<SIMPLEREQ><IMETHODCALL NAME=\"" +
        method +
        "\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>"
        "<NAMESPACE NAME=\"" +
        nameSpace +
        "\"/></LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"ClassName\">"
        "<CLASSNAME NAME=\"" +
        name + "\"/></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    TestClient client(port);
    client.send(
        "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: text/xml\r\nCIMOperation: MethodCall\r\nCIMMethod: " +
        method + "\r\nCIMObject: root/" + nameSpace +
        "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    const auto reply = client.read();
    return reply ? reply->body : "no reply";
}

TEST_F(ServerProgram, ServesUntilItIsTold)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        RunningServer server(
            {"--no-auth", "--port", "0", "--schema", "root/t=" + path("good.mof")});
        EXPECT_EQ(server.ready,
                  "ready: http://127.0.0.1:" + std::to_string(server.port()) + "/root/t\n");
        EXPECT_NE(
            ask(server.port(), "EnumerateInstances", "t", "T_Thing").find("<VALUE>one</VALUE>"),
            std::string::npos);
        const std::string namespaces =
            ask(server.port(), "EnumerateInstanceNames", "interop", "CIM_Namespace");
        EXPECT_NE(namespaces.find(">root/t<"), std::string::npos) << namespaces;
        EXPECT_NE(namespaces.find(">root/interop<"), std::string::npos) << namespaces;
        const std::string managers =
            ask(server.port(), "EnumerateInstanceNames", "interop", "CIM_ObjectManager");
        EXPECT_EQ(managers.find("<INSTANCENAME"), managers.rfind("<INSTANCENAME")) << managers;
        EXPECT_NE(managers.find("<INSTANCENAME"), std::string::npos) << managers;
        EXPECT_EQ(server.stop(signal), 0);
    }
}

}  // namespace
