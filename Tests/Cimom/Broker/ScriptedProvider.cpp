#include "ScriptedProvider.h"

#include "Broker/Text.h"

#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <memory>
#include <utility>

PEGASUS_USING_PEGASUS;
using cimom::toUtf8;

namespace scripted
{
namespace
{

std::unique_ptr<Stage> currentStage = std::make_unique<Stage>();

std::string text(const CIMPropertyList& list)
{
    if (list.isNull()) return "null";
    std::string names;
    for (Uint32 i = 0; i < list.size(); ++i) {
        names += (i == 0 ? "" : ",") + toUtf8(list[i].getString());
    }
    return "[" + names + "]";
}

std::string flags(bool qualifiers, bool origin, const CIMPropertyList& list)
{
    return std::string(" iq=") + (qualifiers ? "1" : "0") + " co=" + (origin ? "1" : "0") +
           " pl=" + text(list);
}

template <class Item>
Item as(const CIMInstance& instance)
{
    return Item(instance);
}
template <>
CIMObjectPath as<CIMObjectPath>(const CIMInstance& instance)
{
    return instance.getPath();
}

std::vector<CIMInstance> instancesOf(const CIMName& className)
{
    const auto found = stage().instances.find(toUtf8(className.getString()));
    if (found != stage().instances.end()) return found->second;
    CIMInstance instance(className);
    instance.setPath(CIMObjectPath(className.getString() + ".Id=\"1\""));
    instance.addProperty(CIMProperty("Id", String("1")));
    return {instance};
}

void play(const std::string& operation, const CIMName& className, ResponseHandler& handler,
          const std::function<void(char)>& deliver)
{
    auto script = stage().scripts.find(operation + " " + toUtf8(className.getString()));
    if (script == stage().scripts.end()) script = stage().scripts.find(operation);
    const std::string steps = script == stage().scripts.end() ? "pdc" : script->second;
    const auto perform = [&](char step) {
        if (step == 'p') return handler.processing();
        if (step == 'c') return handler.complete();
        if (step == 't') return stage().fault();
        deliver(step);
    };
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps[i] != '?') {
            perform(steps[i]);
            continue;
        }
        try {
            perform(steps[++i]);
        } catch (const CIMException& error) {
            stage().note("caught " + std::to_string(error.getCode()) + " " +
                         toUtf8(error.getMessage()));
        }
    }
}

template <class Item, class Handler>
void playResults(const std::string& operation, const CIMName& className, Handler& handler)
{
    play(operation, className, handler, [&](char step) {
        if (step == 'u') return handler.deliver(Item());
        Array<Item> items;
        for (const CIMInstance& instance : instancesOf(className)) {
            items.append(as<Item>(instance));
        }
        if (step == 'D') return handler.deliver(items);
        for (Uint32 i = 0; i < items.size(); ++i)
            handler.deliver(items[i]);
    });
}

class BareProvider : public virtual CIMProvider
{
public:
    explicit BareProvider(const String& name) : name_(toUtf8(name)) {}
    void initialize(CIMOMHandle& handle) override
    {
        stage().note("initialize " + name_);
        if (stage().onInitialize) stage().onInitialize(name_, handle);
    }
    void terminate() override
    {
        stage().note("terminate " + name_);
        delete this;
    }

protected:
    void called(const std::string& operation, const OperationContext& context,
                const CIMObjectPath& path, const std::string& rest = "") const
    {
        stage().note(name_ + " " + operation + " " + toUtf8(path.toString()) + rest);
        if (stage().onCall) stage().onCall(operation, context);
    }

private:
    const std::string name_;
};

class ScriptedProvider : public BareProvider,
                         public CIMInstanceProvider,
                         public CIMMethodProvider,
                         public CIMAssociationProvider
{
public:
    using BareProvider::BareProvider;
    void initialize(CIMOMHandle& handle) override { BareProvider::initialize(handle); }
    void terminate() override { BareProvider::terminate(); }

    void getInstance(const OperationContext& context, const CIMObjectPath& path,
                     const Boolean qualifiers, const Boolean origin, const CIMPropertyList& list,
                     InstanceResponseHandler& handler) override
    {
        called("GI", context, path, flags(qualifiers, origin, list));
        playResults<CIMInstance>("GI", path.getClassName(), handler);
    }
    void enumerateInstances(const OperationContext& context, const CIMObjectPath& path,
                            const Boolean qualifiers, const Boolean origin,
                            const CIMPropertyList& list, InstanceResponseHandler& handler) override
    {
        called("EI", context, path, flags(qualifiers, origin, list));
        playResults<CIMInstance>("EI", path.getClassName(), handler);
    }
    void enumerateInstanceNames(const OperationContext& context, const CIMObjectPath& path,
                                ObjectPathResponseHandler& handler) override
    {
        called("EIN", context, path);
        playResults<CIMObjectPath>("EIN", path.getClassName(), handler);
    }
    void modifyInstance(const OperationContext& context, const CIMObjectPath& path,
                        const CIMInstance& instance, const Boolean qualifiers,
                        const CIMPropertyList& list, ResponseHandler& handler) override
    {
        called("MI", context, path, flags(qualifiers, false, list) + described(instance));
        play("MI", path.getClassName(), handler, [](char) {});
    }
    void createInstance(const OperationContext& context, const CIMObjectPath& path,
                        const CIMInstance& instance, ObjectPathResponseHandler& handler) override
    {
        called("CI", context, path, described(instance));
        playResults<CIMObjectPath>("CI", path.getClassName(), handler);
    }
    void deleteInstance(const OperationContext& context, const CIMObjectPath& path,
                        ResponseHandler& handler) override
    {
        called("DI", context, path);
        play("DI", path.getClassName(), handler, [](char) {});
    }

    void invokeMethod(const OperationContext& context, const CIMObjectPath& path,
                      const CIMName& method, const Array<CIMParamValue>& in,
                      MethodResultResponseHandler& handler) override
    {
        std::string parameters;
        for (Uint32 i = 0; i < in.size(); ++i) {
            const CIMValue value = in[i].getValue();
            parameters += " " + toUtf8(in[i].getParameterName()) + ":" +
                          (in[i].isTyped() ? cimTypeToString(value.getType()) : "untyped") +
                          (value.isArray() ? "[]=" : "=") +
                          (value.isNull() ? "null" : toUtf8(value.toString()));
        }
        called("IM", context, path, " " + toUtf8(method.getString()) + parameters);
        Uint32 next = 0;
        play("IM", path.getClassName(), handler, [&](char step) {
            if (step == 'u') return handler.deliver(CIMValue(CIMTYPE_UINT32, false));
            if (step == 'd') return handler.deliver(CIMValue(next++));
            handler.deliverParamValue(CIMParamValue("Out", CIMValue(next++)));
        });
    }

    void associators(const OperationContext& context, const CIMObjectPath& path,
                     const CIMName& association, const CIMName& resultClass, const String& role,
                     const String& resultRole, const Boolean qualifiers, const Boolean origin,
                     const CIMPropertyList& list, ObjectResponseHandler& handler) override
    {
        called(
            "A", context, path,
            filters(association, resultClass, role, resultRole) + flags(qualifiers, origin, list));
        playResults<CIMObject>("A", association, handler);
    }
    void associatorNames(const OperationContext& context, const CIMObjectPath& path,
                         const CIMName& association, const CIMName& resultClass, const String& role,
                         const String& resultRole, ObjectPathResponseHandler& handler) override
    {
        called("AN", context, path, filters(association, resultClass, role, resultRole));
        playResults<CIMObjectPath>("AN", association, handler);
    }
    void references(const OperationContext& context, const CIMObjectPath& path,
                    const CIMName& association, const String& role, const Boolean qualifiers,
                    const Boolean origin, const CIMPropertyList& list,
                    ObjectResponseHandler& handler) override
    {
        called("R", context, path,
               filters(association, CIMName(), role, String()) + flags(qualifiers, origin, list));
        playResults<CIMObject>("R", association, handler);
    }
    void referenceNames(const OperationContext& context, const CIMObjectPath& path,
                        const CIMName& association, const String& role,
                        ObjectPathResponseHandler& handler) override
    {
        called("RN", context, path, filters(association, CIMName(), role, String()));
        playResults<CIMObjectPath>("RN", association, handler);
    }

private:
    static std::string described(const CIMInstance& instance)
    {
        std::string line = " instance " + toUtf8(instance.getPath().toString());
        for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
            const CIMConstProperty property = instance.getProperty(i);
            line += " " + toUtf8(property.getName().getString()) + ":" +
                    cimTypeToString(property.getType()) + "=" +
                    toUtf8(property.getValue().toString());
        }
        return line;
    }
    static std::string filters(const CIMName& association, const CIMName& resultClass,
                               const String& role, const String& resultRole)
    {
        return " via " + toUtf8(association.getString()) +
               " rc=" + toUtf8(resultClass.getString()) + " r=" + toUtf8(role) +
               " rr=" + toUtf8(resultRole);
    }
};

}  // namespace

void Stage::note(const std::string& line)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    notes_.push_back(line);
}

std::vector<std::string> Stage::notes()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(notes_, {});
}

Stage& stage()
{
    return *currentStage;
}

void resetStage()
{
    currentStage = std::make_unique<Stage>();
}

CIMProvider* create(const String& providerName)
{
    const std::string name = toUtf8(providerName);
    stage().note("create " + name);
    if (name.rfind("Missing", 0) == 0) return nullptr;
    if (name.rfind("Bare", 0) == 0) return new BareProvider(providerName);
    return new ScriptedProvider(providerName);
}

}  // namespace scripted
