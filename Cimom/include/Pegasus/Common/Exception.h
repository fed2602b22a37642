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
    Exception(const String& message) : _message(message) {}
    Exception(const Exception& exception) = default;
    virtual ~Exception();
    Exception& operator=(const Exception& exception) = default;
    virtual const String& getMessage() const { return _message; }

protected:
    Exception(const char* words, const String& text) : _message(String(words) + text) {}

private:
    String _message;
};

/// "index out of bounds"
class IndexOutOfBoundsException : public Exception
{
public:
    IndexOutOfBoundsException() : Exception("index out of bounds") {}
};

/// "already exists: MESSAGE"
class AlreadyExistsException : public Exception
{
public:
    AlreadyExistsException(const String& message) : Exception("already exists: ", message) {}
};

/// "The CIM name is not valid: NAME"
class InvalidNameException : public Exception
{
public:
    InvalidNameException(const String& name) : Exception("The CIM name is not valid: ", name) {}
};

/// "invalid CIM namespace name: NAME"
class InvalidNamespaceNameException : public Exception
{
public:
    InvalidNamespaceNameException(const String& name)
        : Exception("invalid CIM namespace name: ", name)
    {
    }
};

/// "uninitialized object"
class UninitializedObjectException : public Exception
{
public:
    UninitializedObjectException() : Exception("uninitialized object") {}
};

/// "type mismatch", with ": MESSAGE" if there is one
class TypeMismatchException : public Exception
{
public:
    TypeMismatchException() : Exception("type mismatch") {}
    TypeMismatchException(const String& message) : Exception("type mismatch: ", message) {}
};

/// "dynamic cast failed"
class DynamicCastFailedException : public Exception
{
public:
    DynamicCastFailedException() : Exception("dynamic cast failed") {}
};

/// "invalid datetime format"
class InvalidDateTimeFormatException : public Exception
{
public:
    InvalidDateTimeFormatException() : Exception("invalid datetime format") {}
};

/// "DateTime is out of range : MESSAGE"
class DateTimeOutOfRangeException : public Exception
{
public:
    DateTimeOutOfRangeException(const String& message)
        : Exception("DateTime is out of range : ", message)
    {
    }
};

/// "malformed object name: OBJECTNAME"
class MalformedObjectNameException : public Exception
{
public:
    MalformedObjectNameException(const String& objectName)
        : Exception("malformed object name: ", objectName)
    {
    }
};

/// The message as it is.
class CannotConnectException : public Exception
{
public:
    CannotConnectException(const String& message) : Exception(message) {}
};

/// "already connected"
class AlreadyConnectedException : public Exception
{
public:
    AlreadyConnectedException() : Exception("already connected") {}
};

/// "not connected"
class NotConnectedException : public Exception
{
public:
    NotConnectedException() : Exception("not connected") {}
};

/// The failure of a CIM operation. The message does not carry the name of the code.
class CIMException : public Exception
{
public:
    CIMException(CIMStatusCode code = CIM_ERR_SUCCESS, const String& message = String::EMPTY)
        : Exception(message), _code(code)
    {
    }
    CIMStatusCode getCode() const { return _code; }

private:
    CIMStatusCode _code;
};

}  // namespace Pegasus
