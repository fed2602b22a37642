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
    CIMOperationFailedException(CIMStatusCode code, const String& message)
        : CIMException(code, message)
    {
    }
};

// Failures with a code of their own.
PEGASUS_EXCEPTION(CIMAccessDeniedException, CIMOperationFailedException, CIM_ERR_ACCESS_DENIED)
PEGASUS_EXCEPTION(CIMInvalidParameterException, CIMOperationFailedException,
                  CIM_ERR_INVALID_PARAMETER)
PEGASUS_EXCEPTION(CIMObjectNotFoundException, CIMOperationFailedException, CIM_ERR_NOT_FOUND)
PEGASUS_EXCEPTION(CIMNotSupportedException, CIMOperationFailedException, CIM_ERR_NOT_SUPPORTED)
PEGASUS_EXCEPTION(CIMObjectAlreadyExistsException, CIMOperationFailedException,
                  CIM_ERR_ALREADY_EXISTS)
PEGASUS_EXCEPTION(CIMPropertyNotFoundException, CIMOperationFailedException,
                  CIM_ERR_NO_SUCH_PROPERTY)
PEGASUS_EXCEPTION(CIMMethodNotFoundException, CIMOperationFailedException, CIM_ERR_METHOD_NOT_FOUND)

}  // namespace Pegasus
