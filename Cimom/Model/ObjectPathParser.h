// Reads object paths.
#pragma once

#include <Pegasus/Common/CIMObjectPath.h>

namespace cimom
{

/// Where the parts of an object path go.
struct ObjectPathParts
{
    Pegasus::String& host;
    Pegasus::CIMNamespaceName& nameSpace;
    Pegasus::CIMName& className;
    Pegasus::Array<Pegasus::CIMKeyBinding>& keys;
};

/// Reads the text into the parts, which are empty before, keys in the order of the text. Throws
/// Pegasus::MalformedObjectNameException with text and reason; the parts before the fault are set
/// by then. The text ends at a zero unit.
void parseObjectPath(const Pegasus::String& text, const ObjectPathParts& parts);

/// Throws Pegasus::MalformedObjectNameException for the text.
[[noreturn]] void throwMalformed(const Pegasus::String& text, const Pegasus::String& reason);

}  // namespace cimom
