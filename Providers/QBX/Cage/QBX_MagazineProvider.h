// The drive magazines of the array.
#ifndef QBX_MagazineProvider_h
#define QBX_MagazineProvider_h

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <qbxapi.h>

namespace Pegasus
{

/// Publishes every drive magazine that is plugged in as an instance of "QBX_Magazine". Takes a
/// magazine on or off its loops ("SetLoopState") and blinks its locator ("Locate").
class QBX_MagazineProvider : public CIMInstanceProvider, public CIMMethodProvider
{
public:
    QBX_MagazineProvider() = default;
    /// Always throws CIMNotSupportedException.
    explicit QBX_MagazineProvider(const CIMObjectPath&);
    virtual ~QBX_MagazineProvider();

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

    /// "SetLoopState" and "Locate" return the array's status as sint32; any other method returns 0
    /// and does nothing.
    void invokeMethod(const OperationContext& context, const CIMObjectPath& objectReference,
                      const CIMName& methodName, const Array<CIMParamValue>& inParameters,
                      MethodResultResponseHandler& handler) override;

    /// "QBX_Magazine", whatever the cage.
    static CIMName _getCIMName(jb_type_e cageType);
    static CIMClass _getCIMClass(CIMOMHandle cimom, jb_type_e cageType, bool includeQualifiers,
                                 bool includeClassOrigin, const CIMPropertyList& propertyList);
    static CIMObjectPath buildObjectPath(CIMName className, const String& host, const String& tag);
    static CIMInstance buildInstance(CIMClass cimClass, const api_Magazine_t& magazine,
                                     const String& host);

private:
    Array<CIMObjectPath> _build_ref(CIMName className);
    Array<CIMInstance> _build_instances(CIMName className, bool includeQualifiers,
                                        bool includeClassOrigin,
                                        const CIMPropertyList& propertyList);
    static void _addOperationalStatus(const api_Magazine_t& magazine, CIMInstance& instance);

    CIMOMHandle _cimom;
    String _hostAddr;
};

}  // namespace Pegasus

#endif
