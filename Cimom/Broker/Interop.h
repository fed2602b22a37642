// How the object manager describes itself to clients that look for it.
#pragma once

#include "Repository/Repository.h"

namespace cimom
{

/// Stores one CIM_ObjectManager instance and, for every namespace of the repository, one
/// CIM_Namespace instance in the interop namespace, which must have the classes of interop.mof.
/// `name` is the object manager's name among those of the host. Throws CIMException as
/// Repository::addInstance does.
void describeObjectManager(Repository& repository, const Pegasus::CIMNamespaceName& interop,
                           const Pegasus::String& name, const Pegasus::String& hostName);

}  // namespace cimom
