// Compiles MOF into the repository.
#pragma once

#include "Repository/Repository.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace cimom
{

/// A fault in MOF text. what() reads "FILE:LINE:COLUMN: what is wrong, what was expected".
class MofError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Compiles MOF files and texts into one namespace of a repository: qualifier declarations,
/// classes, instances and `#pragma include`; of the other pragmas, namespace is refused and the
/// rest passed over.
///
/// An included file is looked for beside the including one, then in the search path. In one run it
/// is compiled once, however often it is included.
class MofCompiler
{
public:
    explicit MofCompiler(Repository& repository) : repository_(repository) {}
    /// Folders in which `#pragma include` looks after the including file's own.
    void setSearchPath(std::vector<std::filesystem::path> folders);
    /// Throws MofError for a fault in the text or a name the repository refuses, std::runtime_error
    /// when the file cannot be read. What was compiled before the fault stays in the repository.
    void compileFile(const std::filesystem::path& file, const CIMNamespaceName& nameSpace);
    /// The same for a text; `name` stands for the file name in errors.
    void compileText(const std::string& text, const std::string& name,
                     const CIMNamespaceName& nameSpace);

private:
    Repository& repository_;
    std::vector<std::filesystem::path> searchPath_;
};

}  // namespace cimom
