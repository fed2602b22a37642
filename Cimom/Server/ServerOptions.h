// The command line of qbx-cimserver.
#pragma once

#include "Http/HttpServer.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
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

/// A command line that cannot be used; the text says which part of it and what to do.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line. Nothing when it only asked for the help or the version, which have been
/// printed to standard output. Throws UsageError.
std::optional<ServerOptions> parseCommandLine(int argc, char** argv);

}  // namespace cimom
