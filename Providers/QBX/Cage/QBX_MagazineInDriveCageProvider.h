// Which magazine is plugged into which drive cage.
#ifndef QBX_MagazineInDriveCageProvider_h
#define QBX_MagazineInDriveCageProvider_h

#include "QBX_AssociationFrame.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

namespace Pegasus
{

/// Serves "QBX_MagazineInDriveCage": a cage ("GroupComponent") and each magazine that is present
/// in it ("PartComponent"), paired by the cage that the magazine's record names. From a magazine
/// the cage is fetched through the object manager; from a cage the magazines are built here.
class QBX_MagazineInDriveCageProvider : public CIMAssociationProvider, public CIMInstanceProvider
{
public:
    QBX_MagazineInDriveCageProvider() = default;
    virtual ~QBX_MagazineInDriveCageProvider();

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
    using Frame = QBX_Frame::AssociationFrame<QBX_MagazineInDriveCageProvider>;
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
    CIMInstance _buildAssociationInstance(const CIMObjectPath& cagePath,
                                          const CIMObjectPath& magazinePath,
                                          Boolean includeQualifiers, Boolean includeClassOrigin,
                                          const CIMPropertyList& propertyList);
    CIMObjectPath _buildAssociationName(const CIMObjectPath& cagePath,
                                        const CIMObjectPath& magazinePath);
    Boolean _invalidParms(const CIMObjectPath& objectName, String role, String resultRole,
                          CIMName resultClass, String operationName);
    /// Calls `visit` with the ends of each association of the object.
    template <class Visit>
    void _pairUp(const CIMObjectPath& objectName, const Array<CIMObjectPath>& related,
                 Visit&& visit);

    CIMOMHandle _cimom;
    CIMName _assoClassName;
    Array<CIMName> _cageClassNames;
    Array<CIMName> _magClassNames;
    String _hostAddr;
};

}  // namespace Pegasus

#endif
