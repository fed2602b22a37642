#include "Server/ServerOptions.h"

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Exception.h>

#include <CLI/CLI.hpp>
#include <array>
#include <iostream>
#include <unistd.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{

namespace
{

namespace fs = std::filesystem;

/// interop.mof beside an installed program, else the one of the source tree.
fs::path defaultInteropMof()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path installed =
        program.parent_path().parent_path() / QBX_CIMSERVER_DATA "/interop.mof";
    return fs::exists(installed, error) ? installed : fs::path(QBX_INTEROP_MOF);
}

bool isHostName(const std::string& name)
{
    try {
        CIMObjectPath().setHost(String(name.c_str()));
        return !name.empty();
    } catch (const Exception&) {
        return false;
    }
}

std::string thisHost()
{
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0 || !isHostName(name.data()))
        return "localhost";
    return name.data();
}

SchemaFile parseSchema(const std::string& text)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
        throw UsageError("--schema " + text +
                         ": expected NAMESPACE=FILE, such as root/qbx=qbx.mof");
    }
    const SchemaFile schema{text.substr(0, equals), text.substr(equals + 1)};
    if (!CIMNamespaceName::legal(String(schema.nameSpace.c_str()))) {
        throw UsageError("--schema " + text + ": \"" + schema.nameSpace +
                         "\" is no namespace name");
    }
    return schema;
}

void check(const ServerOptions& options, bool noAuthentication)
{
    if (options.hashPassword) return;
    if (options.http.users.empty() && !noAuthentication) {
        throw UsageError(
            "who may use the server? Give --users FILE (lines user:hash, see --hash-password) or "
            "--no-auth");
    }
    if (options.http.certificateFile.empty() != options.http.keyFile.empty()) {
        throw UsageError("--cert and --key go together");
    }
    if (!isHostName(options.http.hostName)) {
        throw UsageError("--host-name \"" + options.http.hostName + "\" is no host name");
    }
}

}  // namespace

std::optional<ServerOptions> parseCommandLine(int argc, char** argv)
{
    ServerOptions options;
    options.interopMof = defaultInteropMof();
    options.http.hostName = thisHost();
    std::vector<std::string> schema;
    long timeout = options.http.connections.timeout.count();
    bool noAuthentication = false;

    CLI::App app(
        "A small CIM server for CIM-XML requests: schema from MOF files, providers from modules.",
        "qbx-cimserver");
    app.set_version_flag("--version", "qbx-cimserver " QBX_VERSION);
    app.get_formatter()->column_width(34);

    const auto add = [&](const char* name, auto& value, const char* type, const char* text) {
        return app.add_option(name, value, text)->type_name(type);
    };
    const auto addFolders = [&](const char* name, auto& folders, const char* text) {
        add(name, folders, "DIR", text)
            ->check(CLI::Validator(CLI::ExistingDirectory).description(""))
            ->allow_extra_args(false);
    };
    app.option_defaults()->group("Schema and providers");
    add("--schema", schema, "NAMESPACE=FILE",
        "Compile a MOF file into a namespace; may be repeated")
        ->take_all()
        ->allow_extra_args(false);
    addFolders("--include", options.includeFolders,
               "Look here for included MOF files; may be repeated");
    add("--interop-mof", options.interopMof, "FILE", "The classes of namespace root/interop")
        ->check(CLI::Validator(CLI::ExistingFile).description(""))
        ->capture_default_str();
    addFolders("--provider-dir", options.providerFolders,
               "Look here for the provider modules registered in root/interop; may be repeated");

    app.option_defaults()->group("Access");
    add("--listen", options.http.address, "ADDRESS", "Address to listen on")->capture_default_str();
    add("--port", options.http.port, "N",
        "Port to listen on; 0: any free one, which the ready line names")
        ->capture_default_str();
    auto* users = add("--users", options.http.users, "FILE",
                      "Password file with lines user:hash; read again when it changes");
    app.add_flag("--no-auth", noAuthentication,
                 "Accept requests without a password; the user name is empty then")
        ->excludes(users);
    app.add_flag("--writable-instances", options.writableInstances,
                 "Any user may change static instances outside root/interop; kept in memory only");
    add("--cert", options.http.certificateFile, "FILE",
        "PEM certificate: serve HTTPS instead of HTTP; read again at a SIGHUP");
    add("--key", options.http.keyFile, "FILE", "PEM key of the certificate, read again with it");
    add("--host-name", options.http.hostName, "NAME",
        "Name of this host in object paths and as realm")
        ->capture_default_str();
    app.add_flag(
        "--hash-password", options.hashPassword,
        "Only read a password from standard input and print its hash for the password file");

    app.option_defaults()->group("Limits");
    const auto addLimit = [&](const char* name, auto& value, const char* text, long least,
                              long most) {
        add(name, value, "N", text)
            ->check(CLI::Range(least, most).description(""))
            ->capture_default_str();
    };
    addLimit("--max-header", options.http.maxHeader, "Bytes of a request's header", 1024,
             100000000);
    addLimit("--max-body", options.http.maxBody, "Bytes of a request's body", 1024, 1000000000);
    addLimit(
        "--max-memory", options.http.maxMemory,
        "Bytes that large requests may take together, 17 for each of their bodies, and a quarter of "
        "that for what clients have not pulled yet; 0: a quarter of what the process may use",
        0, 1000000000000);
    addLimit("--max-operations", options.http.maxOperations, "Operations at once", 1, 1000);
    ConnectionLimits& connections = options.http.connections;
    addLimit("--max-connections", connections.most, "Connections at once", 1, 100000);
    addLimit("--max-connections-per-address", connections.mostPerAddress,
             "Connections at once from one address", 1, 100000);
    addLimit("--timeout", timeout, "Seconds for a request's header, and for its body", 1, 86400);

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& done) {
        app.exit(done, std::cout, std::cerr);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw UsageError(std::string(error.what()) + "; --help lists the options");
    }
    options.http.connections.timeout = std::chrono::seconds(timeout);
    for (const std::string& text : schema)
        options.schema.push_back(parseSchema(text));
    check(options, noAuthentication);
    return options;
}

}  // namespace cimom
