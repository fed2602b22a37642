// Which drive cage carries which sensor.
#ifndef QBX_SensorInDriveCageProvider_h
#define QBX_SensorInDriveCageProvider_h

#include "QBX_AssociationFrame.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

namespace Pegasus
{

/// Serves "QBX_SensorInDriveCage": a sensor ("Antecedent") and the cage that carries it
/// ("Dependent"). Only "QBX_DriveCageDC2Family" cages take part. Both directions walk the cages'
/// sensor tables; the object manager is not asked.
class QBX_SensorInDriveCageProvider : public CIMAssociationProvider, public CIMInstanceProvider
{
public:
    QBX_SensorInDriveCageProvider() = default;
    virtual ~QBX_SensorInDriveCageProvider();

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
    using Frame = QBX_Frame::AssociationFrame<QBX_SensorInDriveCageProvider>;
    friend Frame;
    /// The frame of the operation that calls.
    Frame _frame(const QBX_Frame::SourceLocation& at = QBX_Frame::SourceLocation::here());

    Array<CIMInstance> _getInstances(Boolean includeQualifiers, Boolean includeClassOrigin,
                                     const CIMPropertyList& propertyList);
    Array<CIMObjectPath> _getInstanceNames();
    Array<CIMInstance> _getRelatedInstances(const CIMObjectPath& objectName,
                                            Boolean includeQualifiers, Boolean includeClassOrigin,
                                            const CIMPropertyList& propertyList);
    Array<CIMObjectPath> _getRelatedInstanceNames(const CIMObjectPath& objectName);
    /// Of these cages: the sensors of the one with that tag; the one of the sensor with that
    /// identifier.
    Array<CIMInstance> _sensorsOf(const QBX_Records::CageList& cages, const String& tag,
                                  Boolean includeQualifiers, Boolean includeClassOrigin,
                                  const CIMPropertyList& propertyList);
    Array<CIMInstance> _cageOf(const QBX_Records::CageList& cages, const String& deviceID,
                               Boolean includeQualifiers, Boolean includeClassOrigin,
                               const CIMPropertyList& propertyList);
    // As the frame calls them: nobody else is asked, so the caller's context is not needed.
    Array<CIMInstance> _getRelatedInstances(const CIMObjectPath& objectName,
                                            const OperationContext&, Boolean includeQualifiers,
                                            Boolean includeClassOrigin,
                                            const CIMPropertyList& propertyList)
    {
        return _getRelatedInstances(objectName, includeQualifiers, includeClassOrigin,
                                    propertyList);
    }
    Array<CIMObjectPath> _getRelatedInstanceNames(const CIMObjectPath& objectName,
                                                  const OperationContext&)
    {
        return _getRelatedInstanceNames(objectName);
    }
    CIMInstance _buildAssociationInstance(const CIMObjectPath& cagePath,
                                          const CIMObjectPath& sensorPath,
                                          Boolean includeQualifiers, Boolean includeClassOrigin,
                                          const CIMPropertyList& propertyList);
    CIMObjectPath _buildAssociationName(const CIMObjectPath& cagePath,
                                        const CIMObjectPath& sensorPath);
    Boolean _invalidParms(const CIMObjectPath& objectName, String role, String resultRole,
                          CIMName resultClass, String operationName);
    /// Calls `visit` with the ends of each association of the object.
    template <class Visit>
    void _pairUp(const CIMObjectPath& objectName, const Array<CIMObjectPath>& related,
                 Visit&& visit);

    CIMOMHandle _cimom;
    CIMName _assoClassName;
    CIMName _sensClassName;
    CIMName _cageClassName;
    String _hostAddr;
    String _systemName;
};

}  // namespace Pegasus

#endif
