// A provider in a library of its own, for the test that really loads one.
#include <Pegasus/Provider/CIMInstanceProvider.h>

#include <atomic>

PEGASUS_USING_PEGASUS;

namespace
{

class LoadableProvider : public CIMInstanceProvider
{
public:
    explicit LoadableProvider(const String& name) : name_(name) {}
    void initialize(CIMOMHandle&) override {}
    void terminate() override { delete this; }
    void enumerateInstanceNames(const OperationContext&, const CIMObjectPath& path,
                                ObjectPathResponseHandler& handler) override
    {
        handler.processing();
        handler.deliver(named(path, name_));
        char calls[] = "calls: 0";
        calls[sizeof(calls) - 2] = static_cast<char>('0' + ++calls_);
        handler.deliver(named(path, calls));
        handler.complete();
    }
    void enumerateInstances(const OperationContext&, const CIMObjectPath&, const Boolean,
                            const Boolean, const CIMPropertyList&,
                            InstanceResponseHandler&) override
    {
        throw CIMNotSupportedException("enumerateInstances");
    }
    void getInstance(const OperationContext&, const CIMObjectPath&, const Boolean, const Boolean,
                     const CIMPropertyList&, InstanceResponseHandler&) override
    {
        throw CIMNotSupportedException("getInstance");
    }
    void modifyInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
                        const Boolean, const CIMPropertyList&, ResponseHandler&) override
    {
        throw CIMNotSupportedException("modifyInstance");
    }
    void createInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
                        ObjectPathResponseHandler&) override
    {
        throw CIMNotSupportedException("createInstance");
    }
    void deleteInstance(const OperationContext&, const CIMObjectPath&, ResponseHandler&) override
    {
        throw CIMNotSupportedException("deleteInstance");
    }

private:
    static CIMObjectPath named(const CIMObjectPath& path, const String& id)
    {
        Array<CIMKeyBinding> keys;
        keys.append(CIMKeyBinding("Id", id, CIMKeyBinding::STRING));
        return CIMObjectPath(String(), CIMNamespaceName(), path.getClassName(), keys);
    }

    const String name_;
    std::atomic<int> calls_{0};
};

}  // namespace

#ifndef WITHOUT_ENTRY_POINT
extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName)
{
    return providerName == "Loadable" ? new LoadableProvider(providerName) : nullptr;
}
#endif
