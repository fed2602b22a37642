// Exceptions of CIMClient.
#pragma once

#include <Pegasus/Client/Linkage.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

// The embedded library's client does not talk HTTP, so it throws none of these; they are here for
// code that catches them.

class PEGASUS_CLIENT_LINKAGE CIMClientMalformedHTTPException : public Exception
{
public:
    CIMClientMalformedHTTPException(const String& message) : Exception(message) {}
};

class PEGASUS_CLIENT_LINKAGE CIMClientXmlException : public Exception
{
public:
    CIMClientXmlException(const String& message) : Exception(message) {}
};

class PEGASUS_CLIENT_LINKAGE CIMClientResponseException : public Exception
{
public:
    CIMClientResponseException(const String& message) : Exception(message) {}
};

}  // namespace Pegasus
