// An example of a provider: the storage system's node, by the toolkit and its frame.
#include <QBX_Common.h>
#include <QBX_Frame.h>

#include <Pegasus/Provider/CIMInstanceProvider.h>

namespace Pegasus
{

using namespace QBX_Frame;

namespace
{

const String ClassName("QBX_ExampleNodeProvider");
constexpr char NODE[] = "QBX_ExampleNode";

}  // namespace

/// Publishes the node that manages the storage system as the one instance of "QBX_ExampleNode".
class QBX_ExampleNodeProvider : public CIMInstanceProvider
{
public:
    void initialize(CIMOMHandle& cimom) override
    {
        _cimom = cimom;
        _hostAddr = QBX_Common::getSystemHostName(cimom);
        _systemName = QBX_Common::getSystemName(cimom);
        cimom.disallowProviderUnload();
    }

    void terminate() override { delete this; }

    void getInstance(const OperationContext& context, const CIMObjectPath& ref,
                     const Boolean includeQualifiers, const Boolean includeClassOrigin,
                     const CIMPropertyList& propertyList, InstanceResponseHandler& handler) override
    {
        getElement({"--> QBX_ExampleNodeProvider::getInstance\n",
                    "<-- QBX_ExampleNodeProvider::getInstance\n"},
                   elements(), context, ref, handler,
                   [&] { return instances(includeQualifiers, includeClassOrigin, propertyList); });
    }

    void enumerateInstances(const OperationContext& context, const CIMObjectPath& ref,
                            const Boolean includeQualifiers, const Boolean includeClassOrigin,
                            const CIMPropertyList& propertyList,
                            InstanceResponseHandler& handler) override
    {
        enumerateElements({"--> QBX_ExampleNodeProvider::enumerateInstances\n",
                           "<-- QBX_ExampleNodeProvider::enumerateInstances\n"},
                          elements(), context, ref, handler, [&] {
                              return instances(includeQualifiers, includeClassOrigin, propertyList);
                          });
    }

    void enumerateInstanceNames(const OperationContext& context, const CIMObjectPath& ref,
                                ObjectPathResponseHandler& handler) override
    {
        enumerateElements({"--> QBX_ExampleNodeProvider::enumerateInstanceNames\n",
                           "<-- QBX_ExampleNodeProvider::enumerateInstanceNames\n"},
                          elements(), context, ref, handler,
                          [&] { return Array<CIMObjectPath>(1, path()); });
    }

    void modifyInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
                        const Boolean, const CIMPropertyList&, ResponseHandler&) override
    {
        throw CIMNotSupportedException(ClassName + " does not support modifyInstance.");
    }

    void createInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
                        ObjectPathResponseHandler&) override
    {
        throw CIMNotSupportedException(ClassName + " does not support createInstance.");
    }

    void deleteInstance(const OperationContext&, const CIMObjectPath&, ResponseHandler&) override
    {
        throw CIMNotSupportedException(ClassName + " does not support deleteInstance.");
    }

private:
    static Elements elements() { return {ClassName, names({NODE}), QBX_KEY_TAG}; }

    CIMObjectPath path() const { return elementPath(CIMName(NODE), _hostAddr, _systemName); }

    Array<CIMInstance> instances(bool includeQualifiers, bool includeClassOrigin,
                                 const CIMPropertyList& propertyList)
    {
        CIMClass cimClass = elementClass(_cimom, CIMName(NODE), includeQualifiers,
                                         includeClassOrigin, propertyList);
        CIMInstance node = QBX_Common::buildInstanceSkeleton(cimClass);
        QBX_Common::setPropertyValue(node, "CreationClassName", String(NODE));
        QBX_Common::setPropertyValue(node, "Tag", _systemName);
        QBX_Common::setPropertyValue(node, "ElementName", _hostAddr);
        QBX_Common::setPropertyValue(node, "NetworkAddress", QBX_Common::getSystemAddress());
        QBX_Common::setPropertyValue(node, "QuadPort", QBX_Common::isQuadPortSystem(_cimom));
        node.setPath(path());
        return Array<CIMInstance>(1, node);
    }

    CIMOMHandle _cimom;
    String _hostAddr;
    String _systemName;
};

}  // namespace Pegasus

PEGASUS_USING_PEGASUS;

/// Creates the provider of that name (case ignored); null for any other name.
extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& name)
{
    if (String::equalNoCase(name, ClassName)) return new QBX_ExampleNodeProvider();
    return nullptr;
}
