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
        play("GI", c, p.getClassName(), h, p, q, o, l);
    }
    void enumerateInstances(Ctx c, Path p, bool q, bool o, List l,
                            InstanceResponseHandler& h) override
    {
        play("EI", c, p.getClassName(), h, p, q, o, l);
    }
    void enumerateInstanceNames(Ctx c, Path p, ObjectPathResponseHandler& h) override
    {
        play("EIN", c, p.getClassName(), h, p);
    }
    void modifyInstance(Ctx c, Path p, const CIMInstance& i, bool q, List l,
                        ResponseHandler& h) override
    {
        play("MI", c, p.getClassName(), h, p, q, l, i);
    }
    void createInstance(Ctx c, Path p, const CIMInstance& i, ObjectPathResponseHandler& h) override
    {
        play("CI", c, p.getClassName(), h, p, i);
    }
    void deleteInstance(Ctx c, Path p, ResponseHandler& h) override
    {
        play("DI", c, p.getClassName(), h, p);
    }
    void invokeMethod(Ctx c, Path p, Name method, const Array<CIMParamValue>& in,
                      MethodResultResponseHandler& h) override
    {
        play("IM", c, p.getClassName(), h, p, method, in);
    }
    void associators(Ctx c, Path p, Name association, Name resultClass, Role role, Role resultRole,
                     bool q, bool o, List l, ObjectResponseHandler& h) override
    {
        play("A", c, association, h, p, association, resultClass, role, resultRole, q, o, l);
    }
    void associatorNames(Ctx c, Path p, Name association, Name resultClass, Role role,
                         Role resultRole, ObjectPathResponseHandler& h) override
    {
        play("AN", c, association, h, p, association, resultClass, role, resultRole);
    }
    void references(Ctx c, Path p, Name association, Role role, bool q, bool o, List l,
                    ObjectResponseHandler& h) override
    {
        play("R", c, association, h, p, association, role, q, o, l);
    }
    void referenceNames(Ctx c, Path p, Name association, Role role,
                        ObjectPathResponseHandler& h) override
    {
        play("RN", c, association, h, p, association, role);
    }

private:
    /// Notes the call and plays its script.
    template <class Handler, class... Arguments>
    void play(const std::string& operation, Ctx context, Name served, Handler& handler,
              const Arguments&... arguments)
    {
        std::string line = name_ + " " + operation;
        ((line += " " + Text::of(arguments)), ...);
        const String user = IdentityContainer(context.get(IdentityContainer::NAME)).getUserName();
        note(line + (user.size() == 0 ? "" : " by " + toUtf8(user)));
        auto script = stage.scripts.find(operation + "/" + toUtf8(served.getString()));
        if (script == stage.scripts.end()) script = stage.scripts.find(operation);
        Uint32 number = 0;
        for (const char step : script == stage.scripts.end() ? "pdc" : script->second) {
            if (step == 'p') handler.processing();
            if (step == 'c') handler.complete();
            if (step == 't') stage.fault();
            deliver(step, ++number, served, handler);
        }
    }

    // What a handler takes of an instance.
    static CIMInstance item(InstanceResponseHandler&, const CIMInstance& i) { return i; }
    static CIMObjectPath item(ObjectPathResponseHandler&, const CIMInstance& i)
    {
        return i.getPath();
    }
    static CIMObject item(ObjectResponseHandler&, const CIMInstance& i) { return CIMObject(i); }

    // The steps that deliver.
    static void deliver(char, Uint32, Name, ResponseHandler&) {}
    static void deliver(char step, Uint32 number, Name, MethodResultResponseHandler& handler)
    {
        if (step == 'u') handler.deliver(CIMValue(CIMTYPE_UINT32, false));
        if (step == 'd') handler.deliver(CIMValue(number));
        if (step == 'o') handler.deliverParamValue(CIMParamValue("Out", CIMValue(number)));
    }
    template <class Handler, class Item = decltype(item(std::declval<Handler&>(), CIMInstance()))>
    static void deliver(char step, Uint32, Name served, Handler& handler)
    {
        Array<Item> items;
        for (const CIMInstance& instance : instancesOf(served))
            items.append(item(handler, instance));
        if (step == 'u') handler.deliver(Item());
        if (step == 'D') handler.deliver(items);
        for (Uint32 i = 0; step == 'd' && i < items.size(); ++i)
            handler.deliver(items[i]);
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
