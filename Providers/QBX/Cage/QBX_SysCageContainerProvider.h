// The drive cages of the storage system's package.
#ifndef QBX_SysCageContainerProvider_h
#define QBX_SysCageContainerProvider_h

#include "QBX_AssociationFrame.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

namespace Pegasus
{

/// Serves "QBX_SysCageContainer": the one system package ("GroupComponent") and each cage
/// ("PartComponent"). The package end is always the path that `initialize` found; an object's class
/// alone decides which end it stands at, its keys are not compared.
class QBX_SysCageContainerProvider : public CIMAssociationProvider, public CIMInstanceProvider
{
public:
    QBX_SysCageContainerProvider() = default;
    virtual ~QBX_SysCageContainerProvider();

    void initialize(CIMOMHandle& cimom) override;
    /// Deletes the object.
    void terminate() override;

    void associators(const OperationContext& context, const CIMObjectPath& objectName,
                     const CIMName& associationClass, const CIMName& resultClass,
                     const String& role, const String& resultRole, const Boolean includeQualifiers,
                     const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
                     ObjectResponseHandler& handler) override;
    void associatorNames(const OperationContext& context, const CIMObjectPath& objectName,
                         const CIMName& associationClass, const CIMName& resultClass,
                         const String& role, const String& resultRole,
                         ObjectPathResponseHandler& handler) override;
    void references(const OperationContext& context, const CIMObjectPath& objectName,
                    const CIMName& resultClass, const String& role, const Boolean includeQualifiers,
                    const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
                    ObjectResponseHandler& handler) override;
    void referenceNames(const OperationContext& context, const CIMObjectPath& objectName,
                        const CIMName& resultClass, const String& role,
                        ObjectPathResponseHandler& handler) override;

    void getInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
                     const Boolean includeQualifiers, const Boolean includeClassOrigin,
                     const CIMPropertyList& propertyList,
                     InstanceResponseHandler& handler) override;
    void enumerateInstances(const OperationContext& context, const CIMObjectPath& ref,
                            const Boolean includeQualifiers, const Boolean includeClassOrigin,
                            const CIMPropertyList& propertyList,
                            InstanceResponseHandler& handler) override;
    void enumerateInstanceNames(const OperationContext& context, const CIMObjectPath& ref,
                                ObjectPathResponseHandler& handler) override;
    void modifyInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
                        const CIMInstance& instanceObject, const Boolean includeQualifiers,
                        const CIMPropertyList& propertyList, ResponseHandler& handler) override;
    void createInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
                        const CIMInstance& instanceObject,
                        ObjectPathResponseHandler& handler) override;
    void deleteInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
                        ResponseHandler& handler) override;

private:
    using Frame = QBX_Frame::AssociationFrame<QBX_SysCageContainerProvider>;
    friend Frame;
    /// The frame of the operation that calls.
    Frame _frame(const QBX_Frame::SourceLocation& at = QBX_Frame::SourceLocation::here());

    Array<CIMInstance> _getInstances(Boolean includeQualifiers, Boolean includeClassOrigin,
                                     const CIMPropertyList& propertyList);
    Array<CIMObjectPath> _getInstanceNames();
    Array<CIMInstance> _getRelatedInstances(const CIMObjectPath& objectName,
                                            const OperationContext& context,
                                            Boolean includeQualifiers, Boolean includeClassOrigin,
                                            const CIMPropertyList& propertyList);
    Array<CIMObjectPath> _getRelatedInstanceNames(const CIMObjectPath& objectName,
                                                  const OperationContext& context);
    CIMInstance _buildAssociationInstance(const CIMObjectPath& cagePath, Boolean includeQualifiers,
                                          Boolean includeClassOrigin,
                                          const CIMPropertyList& propertyList);
    CIMObjectPath _buildAssociationName(const CIMObjectPath& cagePath);
    Boolean _invalidParms(const CIMObjectPath& objectName, String role, String resultRole,
                          CIMName resultClass, String operationName);
    /// Calls `visit` with the ends of each association of the object.
    template <class Visit>
    void _pairUp(const CIMObjectPath& objectName, const Array<CIMObjectPath>& related,
                 Visit&& visit);

    CIMOMHandle _cimom;
    CIMName _assoClassName;
    CIMName _sysPkgClassName;
    Array<CIMName> _cageClassNames;
    CIMObjectPath _sysPkgObjectPath;
    String _hostAddr;
    String _systemName;
};

}  // namespace Pegasus

#endif
