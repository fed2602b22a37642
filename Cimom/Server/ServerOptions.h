// The command line of qbx-cimserver.
#pragma once

#include "Http/HttpServer.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace cimom
{

/// A MOF file and the namespace that it is compiled into.
struct SchemaFile
{
    std::string nameSpace;
    std::filesystem::path file;
};

struct ServerOptions
{
    std::vector<SchemaFile> schema;
    std::vector<std::filesystem::path> includeFolders;
    std::filesystem::path interopMof;
    std::vector<std::filesystem::path> providerFolders;
    HttpOptions http;
    bool writableInstances = false;
    bool hashPassword = false;  ///< only hash a password
};

/// An invalid command line; the message names the argument and what to do.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line. Returns nothing after --help and --version, which print to standard
/// output. Throws UsageError.
std::optional<ServerOptions> parseCommandLine(int argc, char** argv);

}  // namespace cimom
