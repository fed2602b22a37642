// Providers of associations.
#pragma once

#include <Pegasus/Provider/CIMProvider.h>

namespace Pegasus
{

/// Delivers the objects that an object is associated with. The provider has to check role, result
/// role and result class; an empty role and a null class name do not restrict the result.
class CIMAssociationProvider : public virtual CIMProvider
{
public:
    virtual void associators(const OperationContext& context, const CIMObjectPath& objectName,
                             const CIMName& associationClass, const CIMName& resultClass,
                             const String& role, const String& resultRole,
                             const Boolean includeQualifiers, const Boolean includeClassOrigin,
                             const CIMPropertyList& propertyList,
                             ObjectResponseHandler& handler) = 0;
    virtual void associatorNames(const OperationContext& context, const CIMObjectPath& objectName,
                                 const CIMName& associationClass, const CIMName& resultClass,
                                 const String& role, const String& resultRole,
                                 ObjectPathResponseHandler& handler) = 0;
    virtual void references(const OperationContext& context, const CIMObjectPath& objectName,
                            const CIMName& resultClass, const String& role,
                            const Boolean includeQualifiers, const Boolean includeClassOrigin,
                            const CIMPropertyList& propertyList,
                            ObjectResponseHandler& handler) = 0;
    virtual void referenceNames(const OperationContext& context, const CIMObjectPath& objectName,
                                const CIMName& resultClass, const String& role,
                                ObjectPathResponseHandler& handler) = 0;
};

}  // namespace Pegasus
