// The interface (FCAL) cards of the drive cages.
#ifndef QBX_FCALCardProvider_h
#define QBX_FCALCardProvider_h

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

/// Publishes every interface card as an instance of the class of its cage's family:
/// "QBX_CageInterfaceCard", "QBX_CageInterfaceCardDC1Family", "QBX_CageInterfaceCardDC3Family" or
/// "QBX_CageInterfaceCardDC2Family". Blinks the locator of a card's port ("Locate").
class QBX_FCALCardProvider : public CIMInstanceProvider, public CIMMethodProvider
{
public:
    QBX_FCALCardProvider() = default;
    /// Always throws CIMNotSupportedException.
    explicit QBX_FCALCardProvider(const CIMObjectPath&);
    virtual ~QBX_FCALCardProvider();

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
    /// The one operation that does not open the API for the user: names are listed for anybody.
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

    /// "Locate" returns the array's status as sint32 and is refused for cards of the DC3 family;
    /// any other method returns 0 and does nothing.
    void invokeMethod(const OperationContext& context, const CIMObjectPath& objectReference,
                      const CIMName& methodName, const Array<CIMParamValue>& inParameters,
                      MethodResultResponseHandler& handler) override;

    /// The class of a card in a cage of that hardware type.
    static CIMName _getCIMName(jb_type_e cageType);
    static CIMClass _getCIMClass(CIMOMHandle cimom, jb_type_e cageType, bool includeQualifiers,
                                 bool includeClassOrigin, const CIMPropertyList& propertyList);
    static CIMObjectPath buildObjectPath(CIMName className, const String& host, const String& tag);
    static CIMInstance buildInstance(CIMClass cimClass, const api_FCAL_t& card, const String& host);

private:
    Array<CIMObjectPath> _build_ref(CIMName className);
    Array<CIMInstance> _build_instances(CIMName className, bool includeQualifiers,
                                        bool includeClassOrigin,
                                        const CIMPropertyList& propertyList);
    static void _addOperationalStatus(const api_FCAL_t& card, CIMInstance& instance);

    CIMOMHandle _cimom;
    String _hostAddr;
};

}  // namespace Pegasus

#endif
