#include "ScriptedProvider.h"

#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <mutex>

namespace scripted
{

using cimom::toUtf8;

Stage stage;

std::string Text::of(const CIMValue& value)
{
    return std::string(cimTypeToString(value.getType())) + (value.isArray() ? "[]=" : "=") +
           (value.isNull() ? "null" : toUtf8(value.toString()));
}

std::string Text::of(const CIMParamValue& parameter)
{
    return toUtf8(parameter.getParameterName()) + (parameter.isTyped() ? ":" : ":untyped ") +
           of(parameter.getValue());
}

std::string Text::of(const CIMInstance& instance)
{
    if (instance.isUninitialized()) return "";
    std::string line = of(instance.getPath()) + (instance.object().qualifiers.empty() ? "{" : "#{");
    for (const auto& property : instance.object().properties) {
        line += (line.back() == '{' ? "" : " ") + toUtf8(property->name.getString());
        line += property->qualifiers.empty() ? "" : "#";
        line += (property->classOrigin.isNull() ? ":" : "@:") + of(property->value);
    }
    return line + "}";
}

namespace
{

using Ctx = const OperationContext&;
using Path = const CIMObjectPath&;
using Name = const CIMName&;
using Role = const String&;
using List = const CIMPropertyList&;

void note(const std::string& line)
{
    static std::mutex mutex;
    std::unique_lock<std::mutex> lock(mutex);
    stage.notes.push_back(line);
    lock.unlock();
    if (stage.onNote) stage.onNote(line);
}

std::vector<CIMInstance> instancesOf(Name className)
{
    const auto found = stage.instances.find(toUtf8(className.getString()));
    if (found != stage.instances.end()) return found->second;
    CIMInstance only(className);
    only.setPath(CIMObjectPath(className.getString() + ".Id=1"));
    return {only};
}

class Bare : public CIMProvider
{
    void initialize(CIMOMHandle&) override {}
    void terminate() override { delete this; }
};

class Scripted : public CIMInstanceProvider, public CIMMethodProvider, public CIMAssociationProvider
{
public:
    explicit Scripted(const String& name) : name_(toUtf8(name)) {}
    void initialize(CIMOMHandle&) override
    {
        note("initialize " + name_);
        if (stage.scripts.count("initialize/" + name_) > 0) stage.fault();
    }
    void terminate() override
    {
        note("terminate " + name_);
        delete this;
    }

    void getInstance(Ctx c, Path p, bool q, bool o, List l, InstanceResponseHandler& h) override
    {
        playItems<CIMInstance>("GI", c, p.getClassName(), h, p, q, o, l);
    }
    void enumerateInstances(Ctx c, Path p, bool q, bool o, List l,
                            InstanceResponseHandler& h) override
    {
        playItems<CIMInstance>("EI", c, p.getClassName(), h, p, q, o, l);
    }
    void enumerateInstanceNames(Ctx c, Path p, ObjectPathResponseHandler& h) override
    {
        playItems<CIMObjectPath>("EIN", c, p.getClassName(), h, p);
    }
    void modifyInstance(Ctx c, Path p, const CIMInstance& i, bool q, List l,
                        ResponseHandler& h) override
    {
        play(
            "MI", c, p.getClassName(), h, [](char, Uint32) {}, p, q, l, i);
    }
    void createInstance(Ctx c, Path p, const CIMInstance& i, ObjectPathResponseHandler& h) override
    {
        playItems<CIMObjectPath>("CI", c, p.getClassName(), h, p, i);
    }
    void deleteInstance(Ctx c, Path p, ResponseHandler& h) override
    {
        play(
            "DI", c, p.getClassName(), h, [](char, Uint32) {}, p);
    }

    void invokeMethod(Ctx c, Path p, Name method, const Array<CIMParamValue>& in,
                      MethodResultResponseHandler& h) override
    {
        const auto deliver = [&h](char step, Uint32 number) {
            if (step == 'u') return h.deliver(CIMValue(CIMTYPE_UINT32, false));
            if (step == 'd') return h.deliver(CIMValue(number));
            h.deliverParamValue(CIMParamValue("Out", CIMValue(number)));
        };
        play("IM", c, p.getClassName(), h, deliver, p, method, in);
    }

    void associators(Ctx c, Path p, Name association, Name resultClass, Role role, Role resultRole,
                     bool q, bool o, List l, ObjectResponseHandler& h) override
    {
        playItems<CIMObject>("A", c, association, h, p, association, resultClass, role, resultRole,
                             q, o, l);
    }
    void associatorNames(Ctx c, Path p, Name association, Name resultClass, Role role,
                         Role resultRole, ObjectPathResponseHandler& h) override
    {
        playItems<CIMObjectPath>("AN", c, association, h, p, association, resultClass, role,
                                 resultRole);
    }
    void references(Ctx c, Path p, Name association, Role role, bool q, bool o, List l,
                    ObjectResponseHandler& h) override
    {
        playItems<CIMObject>("R", c, association, h, p, association, role, q, o, l);
    }
    void referenceNames(Ctx c, Path p, Name association, Role role,
                        ObjectPathResponseHandler& h) override
    {
        playItems<CIMObjectPath>("RN", c, association, h, p, association, role);
    }

private:
    /// Notes the call and plays its script; `deliver` does the steps that deliver.
    template <class Deliver, class... Arguments>
    void play(const std::string& operation, Ctx context, Name served, ResponseHandler& handler,
              Deliver deliver, const Arguments&... arguments)
    {
        std::string line = name_ + " " + operation;
        ((line += " " + Text::of(arguments)), ...);
        const String user = IdentityContainer(context.get(IdentityContainer::NAME)).getUserName();
        note(line + (user.size() == 0 ? "" : " by " + toUtf8(user)));
        auto script = stage.scripts.find(operation + "/" + toUtf8(served.getString()));
        if (script == stage.scripts.end()) script = stage.scripts.find(operation);
        Uint32 number = 0;
        for (const char step : script == stage.scripts.end() ? "pdc" : script->second) {
            ++number;
            if (step == 'p') handler.processing();
            if (step == 'c') handler.complete();
            if (step == 't') stage.fault();
            if (std::string("dDuo").find(step) != std::string::npos) deliver(step, number);
        }
    }
    template <class Item, class Handler, class... Arguments>
    void playItems(const std::string& operation, Ctx context, Name served, Handler& handler,
                   const Arguments&... arguments)
    {
        const auto deliver = [&](char step, Uint32) {
            if (step == 'u') return handler.deliver(Item());
            Array<Item> items;
            for (const CIMInstance& instance : instancesOf(served)) {
                if constexpr (std::is_same_v<Item, CIMObjectPath>) {
                    items.append(instance.getPath());
                } else {
                    items.append(Item(instance));
                }
            }
            if (step == 'D') return handler.deliver(items);
            for (Uint32 i = 0; i < items.size(); ++i)
                handler.deliver(items[i]);
        };
        play(operation, context, served, handler, deliver, arguments...);
    }

    const std::string name_;
};

}  // namespace

CIMProvider* create(const String& providerName)
{
    const std::string name = toUtf8(providerName);
    note("create " + name);
    if (name == "Missing") return nullptr;
    if (name == "Bare") return new Bare;
    return new Scripted(providerName);
}

}  // namespace scripted

extern "C" PEGASUS_EXPORT Pegasus::CIMProvider* PegasusCreateProvider(
    const Pegasus::String& providerName)
{
    return scripted::create(providerName);
}
