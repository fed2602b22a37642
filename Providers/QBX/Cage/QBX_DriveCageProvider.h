// The drive cages of the array.
#ifndef QBX_DriveCageProvider_h
#define QBX_DriveCageProvider_h

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

/// Publishes every drive cage as an instance of the class of its hardware family: "QBX_DriveCage",
/// "QBX_DriveCageDC1Family", "QBX_DriveCageDC3Family" or "QBX_DriveCageDC2Family". Lights a cage's
/// locator ("Locate"), loads its firmware ("Upgrade") and changes its "Location".
///
/// Nothing is cached: every request asks the array. A failed query reads as an empty list.
class QBX_DriveCageProvider : public CIMInstanceProvider, public CIMMethodProvider
{
public:
    QBX_DriveCageProvider() = default;
    /// Always throws CIMNotSupportedException.
    explicit QBX_DriveCageProvider(const CIMObjectPath&);
    virtual ~QBX_DriveCageProvider();

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
    /// Changes "Location" and nothing else; naming any other property is refused. The handler is
    /// left alone: a normal return is the success report.
    void modifyInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
                        const CIMInstance& instanceObject, const Boolean includeQualifiers,
                        const CIMPropertyList& propertyList, ResponseHandler& handler) override;
    void createInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
                        const CIMInstance& instanceObject,
                        ObjectPathResponseHandler& handler) override;
    void deleteInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
                        ResponseHandler& handler) override;

    /// "Locate" and "Upgrade" return the array's status as sint32; any other method returns 0 and
    /// does nothing.
    void invokeMethod(const OperationContext& context, const CIMObjectPath& objectReference,
                      const CIMName& methodName, const Array<CIMParamValue>& inParameters,
                      MethodResultResponseHandler& handler) override;

    /// The class of a cage of that hardware type.
    static CIMName _getCIMName(jb_type_e type);
    /// The definition of that class.
    static CIMClass _getCIMClass(CIMOMHandle cimom, jb_type_e type, bool includeQualifiers,
                                 bool includeClassOrigin, const CIMPropertyList& propertyList);
    static CIMObjectPath buildObjectPath(CIMName className, const String& host, const String& tag);
    static CIMInstance buildInstance(CIMClass cimClass, const api_Cage_t& cage, const String& host);

private:
    Array<CIMObjectPath> _build_ref(CIMName className);
    Array<CIMInstance> _build_instances(CIMName className, bool includeQualifiers,
                                        bool includeClassOrigin,
                                        const CIMPropertyList& propertyList);
    static void _addOperationalStatus(const api_Cage_t& cage, CIMInstance& instance);

    CIMOMHandle _cimom;
    String _hostAddr;
};

}  // namespace Pegasus

#endif
