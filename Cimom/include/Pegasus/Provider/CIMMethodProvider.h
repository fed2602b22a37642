// Providers of extrinsic methods.
#pragma once

#include <Pegasus/Provider/CIMProvider.h>

namespace Pegasus
{

/// Executes the methods of a class.
class CIMMethodProvider : public virtual CIMProvider
{
public:
    virtual void invokeMethod(const OperationContext& context, const CIMObjectPath& objectReference,
                              const CIMName& methodName, const Array<CIMParamValue>& inParameters,
                              MethodResultResponseHandler& handler) = 0;
};

}  // namespace Pegasus
