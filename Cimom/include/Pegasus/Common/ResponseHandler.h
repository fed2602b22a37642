// Where providers deliver their results.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>

namespace Pegasus
{

/// Receives the results of one request. Results count only when complete() follows them.
class ResponseHandler
{
public:
    virtual ~ResponseHandler() = default;
    /// The provider begins to deliver; may be left out.
    virtual void processing() = 0;
    /// The provider has delivered everything.
    virtual void complete() = 0;
};

/// Receives instances.
class InstanceResponseHandler : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMInstance& instance) = 0;
    virtual void deliver(const Array<CIMInstance>& instances) = 0;
};

/// Receives object paths.
class ObjectPathResponseHandler : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMObjectPath& objectPath) = 0;
    virtual void deliver(const Array<CIMObjectPath>& objectPaths) = 0;
};

/// Receives the output parameters and the return value of a method.
class MethodResultResponseHandler : virtual public ResponseHandler
{
public:
    virtual void deliverParamValue(const CIMParamValue& outParamValue) = 0;
    virtual void deliverParamValue(const Array<CIMParamValue>& outParamValues) = 0;
    virtual void deliver(const CIMValue& returnValue) = 0;
};

/// Receives the objects of an association.
class ObjectResponseHandler : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMObject& object) = 0;
    virtual void deliver(const Array<CIMObject>& objects) = 0;
};

}  // namespace Pegasus
