// The error instances are for those who ask for the experimental interfaces.
#define PEGASUS_USE_EXPERIMENTAL_INTERFACES

#include <Pegasus/Common/Exception.h>

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/MessageLoader.h>

#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Provider/ProviderException.h>

#include <string>

namespace Pegasus
{

/// What an exception carries. CIMException and TraceableCIMException use more of it than
/// Exception, so that nothing is lost when one is copied as its base.
struct ExceptionRep
{
    String message;
    CIMStatusCode code = CIM_ERR_SUCCESS;
    Array<CIMInstance> errors;
    String cimMessage;
    String file;
    Uint32 line = 0;
    ContentLanguageList languages;
};

Exception::Exception() = default;

Exception::Exception(const String& message)
{
    _rep.write().message = message;
}

Exception::Exception(const Exception& exception) = default;
Exception::~Exception() = default;
Exception& Exception::operator=(const Exception& exception) = default;

const String& Exception::getMessage() const
{
    return _rep.get() ? _rep.get()->message : String::EMPTY;
}

// The exceptions without message of their own.
#define PLAIN_EXCEPTION(Name, TEXT) \
    Name::Name() : Exception(String(TEXT)) {}
PLAIN_EXCEPTION(IndexOutOfBoundsException, "index out of bounds")
PLAIN_EXCEPTION(UninitializedObjectException, "uninitialized object")
PLAIN_EXCEPTION(TypeMismatchException, "type mismatch")
PLAIN_EXCEPTION(DynamicCastFailedException, "dynamic cast failed")
PLAIN_EXCEPTION(InvalidDateTimeFormatException, "invalid datetime format")
PLAIN_EXCEPTION(CannotCreateSocketException, "Cannot create socket")
PLAIN_EXCEPTION(AlreadyConnectedException, "already connected")
PLAIN_EXCEPTION(NotConnectedException, "not connected")
PLAIN_EXCEPTION(ConnectionTimeoutException, "connection timed out")
PLAIN_EXCEPTION(InvalidEnumerationContextException, "Invalid enumeration context")
PLAIN_EXCEPTION(NullPointer, "null pointer")
PLAIN_EXCEPTION(IncompatibleTypesException, "incompatible types")
PLAIN_EXCEPTION(TooManyElementsException,
                "More than 1000 elements in a container are not supported.")
#undef PLAIN_EXCEPTION

// The exceptions that put words before the message.
#define PREFIXED_EXCEPTION(Name, PREFIX) \
    Name::Name(const String& message) : Exception(String(PREFIX) + message) {}
PREFIXED_EXCEPTION(AlreadyExistsException, "already exists: ")
PREFIXED_EXCEPTION(InvalidNameException, "The CIM name is not valid: ")
PREFIXED_EXCEPTION(InvalidNamespaceNameException, "invalid CIM namespace name: ")
PREFIXED_EXCEPTION(TypeMismatchException, "type mismatch: ")
PREFIXED_EXCEPTION(DateTimeOutOfRangeException, "DateTime is out of range : ")
PREFIXED_EXCEPTION(MalformedObjectNameException, "malformed object name: ")
PREFIXED_EXCEPTION(BindFailedException, "Bind failed: ")
PREFIXED_EXCEPTION(InvalidLocatorException, "Invalid locator: ")
PREFIXED_EXCEPTION(CannotConnectException, "")
PREFIXED_EXCEPTION(SSLException, "SSL Exception: ")
PREFIXED_EXCEPTION(UndeclaredQualifier, "undeclared qualifier: ")
PREFIXED_EXCEPTION(InstantiatedAbstractClass, "attempted to instantiate an abstract class ")
PREFIXED_EXCEPTION(NoSuchProperty, "no such property: ")
PREFIXED_EXCEPTION(NoSuchFile, "no such file: ")
PREFIXED_EXCEPTION(CannotOpenFile, "cannot open file: ")
PREFIXED_EXCEPTION(NotImplemented, "not implemented: ")
PREFIXED_EXCEPTION(ParseError, "parse error: ")
#undef PREFIXED_EXCEPTION

CIMException::CIMException(CIMStatusCode code, const String& message) : Exception(message)
{
    _rep.write().code = code;
}

CIMException::CIMException(CIMStatusCode code, const String& message, const CIMInstance& instance)
    : CIMException(code, message, Array<CIMInstance>(1, instance))
{
}

CIMException::CIMException(CIMStatusCode code, const String& message,
                           const Array<CIMInstance>& instances)
    : CIMException(code, message)
{
    _rep.write().errors = instances;
}

CIMException::CIMException(const CIMException& cimException) = default;
CIMException& CIMException::operator=(const CIMException& cimException) = default;
CIMException::~CIMException() = default;

CIMStatusCode CIMException::getCode() const
{
    return _rep.get()->code;
}

Uint32 CIMException::getErrorCount() const
{
    return _rep.get()->errors.size();
}

CIMConstInstance CIMException::getError(Uint32 index) const
{
    return _rep.get()->errors[index];
}

namespace
{

String withMessage(const String& text, const String& message)
{
    return message.size() == 0 ? text : text + String(": ") + message;
}

/// The name of the code; for an unknown one with its number.
String codeText(CIMStatusCode code)
{
    String text(cimStatusCodeToString(code));
    if (text == "Unrecognized CIM status code") text.appendPrintf(" \"%u\"", unsigned(code));
    return text;
}

}  // namespace

TraceableCIMException::TraceableCIMException(CIMStatusCode code, const String& message,
                                             const String& file, Uint32 line)
    : CIMException(code, message)
{
    ExceptionRep& rep = _rep.write();
    rep.cimMessage = codeText(code);
    rep.file = file;
    rep.line = line;
}

TraceableCIMException::TraceableCIMException(const ContentLanguageList& langs, CIMStatusCode code,
                                             const String& message, const String& file, Uint32 line)
    : TraceableCIMException(code, message, file, line)
{
    _rep.write().languages = langs;
}

TraceableCIMException::TraceableCIMException(const CIMException& cimException)
    : CIMException(cimException)
{
}

String TraceableCIMException::getDescription() const
{
    const String& cimMessage = _rep.get()->cimMessage;
    return withMessage(cimMessage.size() == 0 ? codeText(getCode()) : cimMessage, getMessage());
}

String TraceableCIMException::getTraceDescription() const
{
    String text(_rep.get()->file);
    text.appendPrintf("(%u): ", _rep.get()->line);
    return withMessage(text + String(cimStatusCodeToString(getCode())), getMessage());
}

String TraceableCIMException::getCIMMessage() const
{
    return _rep.get()->cimMessage;
}

void TraceableCIMException::setCIMMessage(const String& cimMessage)
{
    _rep.write().cimMessage = cimMessage;
}

String TraceableCIMException::getFile() const
{
    return _rep.get()->file;
}

Uint32 TraceableCIMException::getLine() const
{
    return _rep.get()->line;
}

const ContentLanguageList& TraceableCIMException::getContentLanguages() const
{
    return _rep.get()->languages;
}

CIMOperationFailedException::CIMOperationFailedException(const String& message)
    : CIMException(CIM_ERR_FAILED, message)
{
}

CIMOperationFailedException::CIMOperationFailedException(const CIMStatusCode code,
                                                         const String& message)
    : CIMException(code, message)
{
}

#define OPERATION_EXCEPTION(Name, CODE) \
    Name::Name(const String& message) : CIMOperationFailedException(CODE, message) {}
OPERATION_EXCEPTION(CIMAccessDeniedException, CIM_ERR_ACCESS_DENIED)
OPERATION_EXCEPTION(CIMInvalidParameterException, CIM_ERR_INVALID_PARAMETER)
OPERATION_EXCEPTION(CIMObjectNotFoundException, CIM_ERR_NOT_FOUND)
OPERATION_EXCEPTION(CIMNotSupportedException, CIM_ERR_NOT_SUPPORTED)
OPERATION_EXCEPTION(CIMObjectAlreadyExistsException, CIM_ERR_ALREADY_EXISTS)
OPERATION_EXCEPTION(CIMPropertyNotFoundException, CIM_ERR_NO_SUCH_PROPERTY)
OPERATION_EXCEPTION(CIMMethodNotFoundException, CIM_ERR_METHOD_NOT_FOUND)
#undef OPERATION_EXCEPTION

}  // namespace Pegasus
