// Object paths with and without the place where the object lives.
#pragma once

#include <Pegasus/Common/CIMObjectPath.h>

namespace cimom
{

/// The path without host and namespace, as an object is named within its namespace.
inline Pegasus::CIMObjectPath localPath(const Pegasus::CIMObjectPath& path)
{
    Pegasus::CIMObjectPath local = path;
    local.setHost(Pegasus::String());
    local.setNameSpace(Pegasus::CIMNamespaceName());
    return local;
}

}  // namespace cimom
