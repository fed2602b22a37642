// The exceptions of the library.
#pragma once

#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// The base of all exceptions of the library. It is not a std::exception.
class Exception
{
public:
    Exception(const String& message) : message_(message) {}
    virtual ~Exception();
    virtual const String& getMessage() const { return message_; }

protected:
    Exception(const char* words, const String& text) : message_(String(words) + text) {}

private:
    String message_;
};

/// Defines an exception whose message is what its base makes of FIRST and the text given.
#define PEGASUS_EXCEPTION(NAME, BASE, FIRST)                  \
    class NAME : public BASE                                  \
    {                                                         \
    public:                                                   \
        NAME(const String& message) : BASE(FIRST, message) {} \
    };

/// Defines an exception that has always the same message.
#define PEGASUS_EXCEPTION_OF_TEXT(NAME, TEXT) \
    class NAME : public Exception             \
    {                                         \
    public:                                   \
        NAME() : Exception(TEXT) {}           \
    };

// Of names, paths and objects.
PEGASUS_EXCEPTION(InvalidNameException, Exception, "The CIM name is not valid: ")
PEGASUS_EXCEPTION(InvalidNamespaceNameException, Exception, "invalid CIM namespace name: ")
PEGASUS_EXCEPTION(MalformedObjectNameException, Exception, "malformed object name: ")
PEGASUS_EXCEPTION(AlreadyExistsException, Exception, "already exists: ")
PEGASUS_EXCEPTION_OF_TEXT(IndexOutOfBoundsException, "index out of bounds")
PEGASUS_EXCEPTION_OF_TEXT(UninitializedObjectException, "uninitialized object")
PEGASUS_EXCEPTION_OF_TEXT(DynamicCastFailedException, "dynamic cast failed")

// Of values.
PEGASUS_EXCEPTION(DateTimeOutOfRangeException, Exception, "DateTime is out of range : ")
PEGASUS_EXCEPTION_OF_TEXT(TypeMismatchException, "type mismatch")
PEGASUS_EXCEPTION_OF_TEXT(InvalidDateTimeFormatException, "invalid datetime format")

namespace detail
{

/// Throws UninitializedObjectException.
[[noreturn]] void throwUninitialized();
/// Throws IndexOutOfBoundsException.
[[noreturn]] void throwOutOfBounds();

}  // namespace detail

// Of clients.
PEGASUS_EXCEPTION(CannotConnectException, Exception, "")
PEGASUS_EXCEPTION_OF_TEXT(AlreadyConnectedException, "already connected")
PEGASUS_EXCEPTION_OF_TEXT(NotConnectedException, "not connected")

/// The failure of a CIM operation. The message does not carry the name of the code.
class CIMException : public Exception
{
public:
    CIMException(CIMStatusCode code = CIM_ERR_SUCCESS, const String& message = String::EMPTY)
        : Exception(message), code_(code)
    {
    }
    CIMStatusCode getCode() const { return code_; }

private:
    CIMStatusCode code_;
};

}  // namespace Pegasus
