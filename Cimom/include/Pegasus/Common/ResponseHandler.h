// Where providers deliver their results.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/OperationContext.h>

namespace Pegasus
{

/// Receives the results of one request. Results count only when complete() follows them.
class PEGASUS_COMMON_LINKAGE ResponseHandler
{
public:
    virtual ~ResponseHandler() = default;
    /// The provider begins to deliver; may be left out.
    virtual void processing() = 0;
    /// The provider has delivered everything.
    virtual void complete() = 0;
    /// Properties of the response, such as its language.
    void setContext(const OperationContext& context) { _context = context; }

protected:
    ResponseHandler() = default;
    ResponseHandler(const ResponseHandler&) = default;
    ResponseHandler& operator=(const ResponseHandler&) = default;
    OperationContext getContext() const { return _context; }

private:
    OperationContext _context;
};

/// Receives instances.
class PEGASUS_COMMON_LINKAGE InstanceResponseHandler : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMInstance& instance) = 0;
    virtual void deliver(const Array<CIMInstance>& instances) = 0;
};

/// Receives object paths.
class PEGASUS_COMMON_LINKAGE ObjectPathResponseHandler : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMObjectPath& objectPath) = 0;
    virtual void deliver(const Array<CIMObjectPath>& objectPaths) = 0;
};

/// Receives the output parameters and the return value of a method.
class PEGASUS_COMMON_LINKAGE MethodResultResponseHandler : virtual public ResponseHandler
{
public:
    virtual void deliverParamValue(const CIMParamValue& outParamValue) = 0;
    virtual void deliverParamValue(const Array<CIMParamValue>& outParamValues) = 0;
    virtual void deliver(const CIMValue& returnValue) = 0;
};

/// Receives indications.
class PEGASUS_COMMON_LINKAGE IndicationResponseHandler : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMIndication& indication) = 0;
    virtual void deliver(const Array<CIMIndication>& indications) = 0;
    virtual void deliver(const OperationContext& context, const CIMIndication& indication) = 0;
    virtual void deliver(const OperationContext& context,
                         const Array<CIMIndication>& indications) = 0;
};

/// Receives instances or classes.
class PEGASUS_COMMON_LINKAGE ObjectResponseHandler : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMObject& object) = 0;
    virtual void deliver(const Array<CIMObject>& objects) = 0;
};

}  // namespace Pegasus
