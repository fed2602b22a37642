// Exceptions of the library's own implementation. Include <Pegasus/Common/MessageLoader.h> first.
#pragma once

#include <Pegasus/Common/Exception.h>

namespace Pegasus
{

PEGASUS_EXCEPTION_OF_TEXT(NullPointer, "null pointer")
PEGASUS_EXCEPTION(NoSuchProperty, Exception, "no such property: ")

/// A CIMException that is thrown with its file and line. Clients do not receive these, so they are
/// not kept.
class TraceableCIMException : public CIMException
{
public:
    TraceableCIMException(CIMStatusCode code, const String& message, const String&, Uint32)
        : CIMException(code, message)
    {
    }
};

}  // namespace Pegasus
