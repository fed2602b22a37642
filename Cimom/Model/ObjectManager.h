// The object manager of this process, as the CIM library sees it.
//
// CIMOMHandle and CIMClient::connectLocal() reach whatever object manager is installed here; the
// broker implements it. The interface stands in Model so that the library needs no broker.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>

#include <atomic>

namespace cimom
{

using Pegasus::Array;
using Pegasus::CIMClass;
using Pegasus::CIMInstance;
using Pegasus::CIMName;
using Pegasus::CIMNamespaceName;
using Pegasus::CIMObjectPath;
using Pegasus::CIMPropertyList;
using Pegasus::OperationContext;

/// The parts of a class that a request selects. localOnly leaves out elements and qualifiers that
/// are inherited and not overridden; the null list means all properties; methods are always there.
struct ClassView
{
    bool localOnly = false;
    bool includeQualifiers = true;
    bool includeClassOrigin = true;
    CIMPropertyList properties;
};

/// The parts of instances that a request selects. The null list means all properties in the
/// instance's order, any other list these properties in its own order. Names that an instance lacks
/// are ignored, and keys are not added.
struct InstanceView
{
    bool includeQualifiers = false;
    bool includeClassOrigin = false;
    CIMPropertyList properties;
};

/// How paths in results name instances: within their namespace, or with host and namespace.
enum class PathForm
{
    Local,
    Full
};

/// The operations that providers and local clients call. The user is that of the IdentityContainer
/// in the context; without one it is the empty name. Every operation throws Pegasus::CIMException
/// with the code and message for the client; the message does not carry the code's name. Any number
/// of threads may call them at once.
class ObjectManager
{
public:
    virtual ~ObjectManager() = default;

    /// The object manager of this process, for handles and local clients; null when there is none.
    /// The code that sets it keeps ownership, and sets it to null before that object manager ends.
    /// It must not change while operations run.
    static std::atomic<ObjectManager*> current;
    /// That object manager. Throws CIMException with CIM_ERR_FAILED when there is none.
    static ObjectManager& running();

    virtual CIMClass getClass(const OperationContext&, const CIMNamespaceName&,
                              const CIMName& className, const ClassView&) = 0;
    virtual CIMInstance getInstance(const OperationContext&, const CIMNamespaceName&,
                                    const CIMObjectPath&, const InstanceView&) = 0;
    virtual Array<CIMInstance> enumerateInstances(const OperationContext&, const CIMNamespaceName&,
                                                  const CIMName& className, bool deep,
                                                  const InstanceView&, PathForm) = 0;
    virtual Array<CIMObjectPath> enumerateInstanceNames(const OperationContext&,
                                                        const CIMNamespaceName&,
                                                        const CIMName& className, PathForm) = 0;
};

}  // namespace cimom
