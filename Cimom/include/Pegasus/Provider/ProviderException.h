// The exceptions that providers throw.
#pragma once

#include <Pegasus/Common/Exception.h>

namespace Pegasus
{

/// CIM_ERR_FAILED
class CIMOperationFailedException : public CIMException
{
public:
    CIMOperationFailedException(const String& message) : CIMException(CIM_ERR_FAILED, message) {}

protected:
    CIMOperationFailedException(CIMStatusCode code, const String& message);
};

/// CIM_ERR_ACCESS_DENIED
class CIMAccessDeniedException : public CIMOperationFailedException
{
public:
    CIMAccessDeniedException(const String& message);
};

/// CIM_ERR_INVALID_PARAMETER
class CIMInvalidParameterException : public CIMOperationFailedException
{
public:
    CIMInvalidParameterException(const String& message);
};

/// CIM_ERR_NOT_FOUND
class CIMObjectNotFoundException : public CIMOperationFailedException
{
public:
    CIMObjectNotFoundException(const String& message);
};

/// CIM_ERR_NOT_SUPPORTED
class CIMNotSupportedException : public CIMOperationFailedException
{
public:
    CIMNotSupportedException(const String& message);
};

/// CIM_ERR_ALREADY_EXISTS
class CIMObjectAlreadyExistsException : public CIMOperationFailedException
{
public:
    CIMObjectAlreadyExistsException(const String& message);
};

/// CIM_ERR_NO_SUCH_PROPERTY
class CIMPropertyNotFoundException : public CIMOperationFailedException
{
public:
    CIMPropertyNotFoundException(const String& message);
};

/// CIM_ERR_METHOD_NOT_FOUND
class CIMMethodNotFoundException : public CIMOperationFailedException
{
public:
    CIMMethodNotFoundException(const String& message);
};

}  // namespace Pegasus
