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

/// What is asked to be shown of a class. localOnly leaves out elements and qualifiers that are
/// inherited and not overridden; the null list means all properties; methods are always there.
struct ClassView
{
    bool localOnly = false;
    bool includeQualifiers = true;
    bool includeClassOrigin = true;
    CIMPropertyList properties;
};

/// What is asked to be shown of instances. The null list means all properties in the instance's
/// order; otherwise these, in the list's order: names that an instance lacks are left out, keys are
/// not added.
struct InstanceView
{
    bool includeQualifiers = false;
    bool includeClassOrigin = false;
    CIMPropertyList properties;
};

/// The operations that providers call back. The caller's identity is the IdentityContainer of the
/// context (none: the empty user). Every operation throws Pegasus::CIMException with the code and
/// bare text that a client is to see; the text does not carry the code's name. Implementations are
/// called from any number of threads at once.
class ObjectManager
{
public:
    virtual ~ObjectManager() = default;

    /// The object manager that handles and local clients of this process reach; null when none.
    /// Whoever sets it keeps ownership and sets it to null before that object manager ends. Not to
    /// be changed while operations run.
    static std::atomic<ObjectManager*> current;
    /// That object manager. Throws CIMException with CIM_ERR_FAILED when there is none.
    static ObjectManager& running();

    virtual CIMClass getClass(const OperationContext&, const CIMNamespaceName&,
                              const CIMName& className, const ClassView&) = 0;
    virtual CIMInstance getInstance(const OperationContext&, const CIMNamespaceName&,
                                    const CIMObjectPath&, const InstanceView&) = 0;
    virtual Array<CIMInstance> enumerateInstances(const OperationContext&, const CIMNamespaceName&,
                                                  const CIMName& className, bool deep,
                                                  const InstanceView&) = 0;
    virtual Array<CIMObjectPath> enumerateInstanceNames(const OperationContext&,
                                                        const CIMNamespaceName&,
                                                        const CIMName& className) = 0;
};

}  // namespace cimom
