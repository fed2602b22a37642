// How a provider calls the object manager.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/OperationContext.h>

namespace Pegasus
{

/// Calls the object manager of this process on behalf of the user named in the context. Every
/// operation throws CIMException with the code and the bare text of the error; CIM_ERR_FAILED when
/// the process has no object manager. Any number of threads may use one handle.
class CIMOMHandle
{
public:
    CIMClass getClass(const OperationContext& context, const CIMNamespaceName& nameSpace,
                      const CIMName& className, Boolean localOnly, Boolean includeQualifiers,
                      Boolean includeClassOrigin, const CIMPropertyList& propertyList);
    /// `localOnly` has no effect on instances, here and in enumerateInstances.
    CIMInstance getInstance(const OperationContext& context, const CIMNamespaceName& nameSpace,
                            const CIMObjectPath& instanceName, Boolean localOnly,
                            Boolean includeQualifiers, Boolean includeClassOrigin,
                            const CIMPropertyList& propertyList);
    Array<CIMInstance> enumerateInstances(const OperationContext& context,
                                          const CIMNamespaceName& nameSpace,
                                          const CIMName& className, Boolean deepInheritance,
                                          Boolean localOnly, Boolean includeQualifiers,
                                          Boolean includeClassOrigin,
                                          const CIMPropertyList& propertyList);
    Array<CIMObjectPath> enumerateInstanceNames(const OperationContext& context,
                                                const CIMNamespaceName& nameSpace,
                                                const CIMName& className);

    /// Keeps the object manager from unloading the provider while it is idle. The embedded one
    /// never unloads any.
    void disallowProviderUnload();
    void allowProviderUnload();
};

}  // namespace Pegasus
