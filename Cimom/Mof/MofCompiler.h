// Compiles MOF into the repository.
#pragma once

#include "Repository/Repository.h"

#include <filesystem>
#include <string>
#include <vector>

namespace cimom
{

/// Compiles a MOF file into a namespace of a repository: qualifier declarations, classes, instances
/// and `#pragma include`; of the other pragmas, namespace is refused and the rest passed over.
///
/// An included file is looked for beside the including one, then in the folders of the search path.
/// It is compiled once, however often it is included.
///
/// Throws std::runtime_error: "FILE:LINE:COLUMN: what is wrong, what was expected" for a fault in
/// the text or a name the repository refuses, or that the file cannot be read. What was compiled
/// before the fault stays in the repository.
void compileMof(Repository& repository, const CIMNamespaceName& nameSpace,
                const std::filesystem::path& file,
                const std::vector<std::filesystem::path>& searchPath = {});

/// The same for a text; `name` stands for the file name in errors.
void compileMofText(Repository& repository, const CIMNamespaceName& nameSpace,
                    const std::string& text, const std::string& name);

}  // namespace cimom
