// The environmental sensors of the drive cages.
#ifndef QBX_CageSensorProvider_h
#define QBX_CageSensorProvider_h

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <qbxapi.h>

namespace Pegasus
{

/// Publishes every sensor of the cages that carry them as an instance of "QBX_CageSensor". Sensors
/// have no record of their own: they are read out of the cage records and then out of the records
/// of the cages' power supplies. Read-only.
class QBX_CageSensorProvider : public CIMInstanceProvider
{
public:
    QBX_CageSensorProvider() = default;
    /// Always throws CIMNotSupportedException.
    explicit QBX_CageSensorProvider(const CIMObjectPath&);
    virtual ~QBX_CageSensorProvider();

    void initialize(CIMOMHandle& cimom) override;
    /// Deletes the object.
    void terminate() override;

    void getInstance(const OperationContext& context, const CIMObjectPath& ref,
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

    /// The identifier of a sensor: cage name and place in the cage's sensor table, empty places
    /// counted.
    static String makeDeviceID(const String& cageName, unsigned int index);
    static CIMObjectPath buildObjectPath(const String& host, const String& deviceID,
                                         const String& systemName);
    static CIMInstance buildInstance(CIMClass cimClass, const api_sensor_t& sensor,
                                     const String& host, const String& deviceID,
                                     const String& systemName);

private:
    Array<CIMObjectPath> _build_ref();
    Array<CIMInstance> _build_instances(bool includeQualifiers, bool includeClassOrigin,
                                        const CIMPropertyList& propertyList);

    CIMOMHandle _cimom;
    String _hostAddr;
    String _systemName;
};

}  // namespace Pegasus

#endif
