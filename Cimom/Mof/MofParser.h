// Reads a MOF text and puts what it declares into a repository.
#pragma once

#include "Mof/MofLexer.h"
#include "Repository/Repository.h"

#include <functional>
#include <string>

namespace cimom
{

/// Compiles the file that an include pragma names. Throws MofFault when it cannot be found.
using MofInclude = std::function<void(const std::string& file, const MofPosition& at)>;

/// Puts each declaration of the text into the namespace as soon as it is complete. Throws MofFault.
void parseMof(const std::string& text, Repository& repository, const CIMNamespaceName& nameSpace,
              const MofInclude& include);

}  // namespace cimom
