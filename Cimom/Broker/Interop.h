// How the object manager describes itself to clients that look for it.
#pragma once

#include "Repository/Repository.h"

namespace cimom
{

/// The namespace of what clients find the object manager by, and of the instances that register
/// provider modules. It must have the classes of interop.mof.
constexpr const char* interopNamespace = "root/interop";

/// Stores one CIM_ObjectManager instance (of that version) and, for every namespace of the
/// repository, one CIM_Namespace instance in the interop namespace. Throws CIMException as
/// Repository::addInstance does.
void describeObjectManager(Repository& repository, const Pegasus::String& hostName,
                           const Pegasus::String& version);

}  // namespace cimom
