// Exceptions that are the library's own matter. Include <Pegasus/Common/MessageLoader.h> first.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

/// "null pointer"
class PEGASUS_COMMON_LINKAGE NullPointer : public Exception
{
public:
    NullPointer();
};

/// "undeclared qualifier: NAME"
class PEGASUS_COMMON_LINKAGE UndeclaredQualifier : public Exception
{
public:
    UndeclaredQualifier(const String& qualifierName);
};

/// "attempted to instantiate an abstract class NAME"
class PEGASUS_COMMON_LINKAGE InstantiatedAbstractClass : public Exception
{
public:
    InstantiatedAbstractClass(const String& className);
};

/// "no such property: NAME"
class PEGASUS_COMMON_LINKAGE NoSuchProperty : public Exception
{
public:
    NoSuchProperty(const String& propertyName);
};

/// "no such file: NAME"
class PEGASUS_COMMON_LINKAGE NoSuchFile : public Exception
{
public:
    NoSuchFile(const String& fileName);
};

/// "cannot open file: PATH"
class PEGASUS_COMMON_LINKAGE CannotOpenFile : public Exception
{
public:
    CannotOpenFile(const String& path);
};

/// "not implemented: METHOD"
class PEGASUS_COMMON_LINKAGE NotImplemented : public Exception
{
public:
    NotImplemented(const String& method);
};

/// "parse error: MESSAGE"
class PEGASUS_COMMON_LINKAGE ParseError : public Exception
{
public:
    ParseError(const String& message);
};

/// "incompatible types"
class PEGASUS_COMMON_LINKAGE IncompatibleTypesException : public Exception
{
public:
    IncompatibleTypesException();
};

/// "More than 1000 elements in a container are not supported."
class PEGASUS_COMMON_LINKAGE TooManyElementsException : public Exception
{
public:
    TooManyElementsException();
};

/// A CIMException that knows where it was thrown. What it knows survives slicing to CIMException
/// and back.
class PEGASUS_COMMON_LINKAGE TraceableCIMException : public CIMException
{
public:
    TraceableCIMException(CIMStatusCode code, const String& message, const String& file,
                          Uint32 line);
    TraceableCIMException(const ContentLanguageList& langs, CIMStatusCode code,
                          const String& message, const String& file, Uint32 line);
    TraceableCIMException(const CIMException& cimException);

    /// The CIM message, or the name of the code, and the message: what a client is told.
    String getDescription() const;
    /// "FILE(LINE): CODE: MESSAGE"
    String getTraceDescription() const;
    String getCIMMessage() const;
    void setCIMMessage(const String& cimMessage);
    String getFile() const;
    Uint32 getLine() const;
    const ContentLanguageList& getContentLanguages() const;
};

}  // namespace Pegasus

/// An exception that carries the place of this macro; write `throw` before it.
#define PEGASUS_CIM_EXCEPTION(CODE, EXTRA_MESSAGE) \
    TraceableCIMException(CODE, EXTRA_MESSAGE, String(__FILE__), __LINE__)
#define PEGASUS_CIM_EXCEPTION_LANG(LANGS, CODE, EXTRA_MESSAGE) \
    TraceableCIMException(LANGS, CODE, EXTRA_MESSAGE, String(__FILE__), __LINE__)
