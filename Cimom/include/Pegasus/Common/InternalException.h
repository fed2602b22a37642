// Exceptions that are the library's own matter. Include <Pegasus/Common/MessageLoader.h> first.
#pragma once

#include <Pegasus/Common/Exception.h>

namespace Pegasus
{

/// "null pointer"
class NullPointer : public Exception
{
public:
    NullPointer() : Exception("null pointer") {}
};

/// "no such property: NAME"
class NoSuchProperty : public Exception
{
public:
    NoSuchProperty(const String& name) : Exception("no such property: ", name) {}
};

/// A CIMException that is thrown with its place. Clients are not told the place, so it is not kept.
class TraceableCIMException : public CIMException
{
public:
    TraceableCIMException(CIMStatusCode code, const String& message, const String& file,
                          Uint32 line);
};

}  // namespace Pegasus
