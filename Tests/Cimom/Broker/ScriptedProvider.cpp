#include "ScriptedProvider.h"

#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <map>
#include <mutex>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{

void PrintTo(const Lines& lines, std::ostream* out)
{
    for (const std::string& line : lines)
        *out << "\n    " << line;
}

std::string text(const CIMObjectPath& path)
{
    return toUtf8(path.toString());
}

std::string text(const CIMValue& value)
{
    return std::string(cimTypeToString(value.getType())) + (value.isArray() ? "[]=" : "=") +
           (value.isNull() ? "null" : toUtf8(value.toString()));
}

std::string text(const CIMInstance& instance)
{
    if (instance.isUninitialized()) return "";
    std::string line = text(instance.getPath()) + "{";
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
        const CIMConstProperty property = instance.getProperty(i);
        line += (i == 0 ? "" : ", ") + toUtf8(property.getName().getString()) + ":" +
                text(property.getValue());
    }
    return line + "}";
}

namespace scripted
{
namespace
{

std::mutex mutex;  // guards what follows
std::map<std::string, Behavior> behaviors;
Lines calls;
Lines lifecycle;

void record(Lines& lines, const std::string& line)
{
    const std::lock_guard<std::mutex> lock(mutex);
    lines.push_back(line);
}

Lines take(Lines& lines)
{
    const std::lock_guard<std::mutex> lock(mutex);
    return std::exchange(lines, {});
}

std::string word(const char* name, bool flag)
{
    return flag ? std::string(" ") + name : "";
}

std::string word(const char* name, const String& value)
{
    return value.size() == 0 ? "" : std::string(" ") + name + "=" + toUtf8(value);
}

std::string word(const CIMPropertyList& list)
{
    if (list.isNull()) return "";
    std::string names;
    for (Uint32 i = 0; i < list.size(); ++i)
        names += (i == 0 ? "" : " ") + toUtf8(list[i].getString());
    return " PropertyList=[" + names + "]";
}

std::string words(bool qualifiers, bool classOrigin, const CIMPropertyList& list)
{
    return word("IncludeQualifiers", qualifiers) + word("IncludeClassOrigin", classOrigin) +
           word(list);
}

std::string arguments(const Array<CIMParamValue>& in)
{
    std::string list;
    for (Uint32 i = 0; i < in.size(); ++i) {
        list += (i == 0 ? "" : ", ") + toUtf8(in[i].getParameterName()) +
                (in[i].isTyped() ? ":" : ":untyped ") + text(in[i].getValue());
    }
    return "(" + list + ")";
}

CIMInstance instanceOf(const CIMName& className)
{
    CIMInstance instance(className);
    instance.setPath(CIMObjectPath(className.getString() + ".Id=1"));
    return instance;
}

// What an operation delivers for which nothing is set.
void deliver(InstanceResponseHandler& handler, const CIMName& name)
{
    handler.deliver(instanceOf(name));
}
void deliver(ObjectResponseHandler& handler, const CIMName& name)
{
    handler.deliver(CIMObject(instanceOf(name)));
}
void deliver(ObjectPathResponseHandler& handler, const CIMName& name)
{
    handler.deliver(instanceOf(name).getPath());
}
void deliver(MethodResultResponseHandler& handler, const CIMName&)
{
    handler.deliver(CIMValue(Uint32(0)));
}
void deliver(ResponseHandler&, const CIMName&) {}

class Bare : public CIMProvider
{
    void initialize(CIMOMHandle&) override {}
    void terminate() override { delete this; }
};

using Ctx = const OperationContext&;
using Path = const CIMObjectPath&;
using Name = const CIMName&;
using Role = const String&;
using List = const CIMPropertyList&;

class Scripted : public CIMInstanceProvider, public CIMMethodProvider, public CIMAssociationProvider
{
public:
    explicit Scripted(const std::string& name) : name_(name), behavior_(provider(name)) {}

    void initialize(CIMOMHandle&) override
    {
        record(lifecycle, "initialize " + name_);
        if (behavior_.onInitialize) behavior_.onInitialize();
    }
    void terminate() override
    {
        record(lifecycle, "terminate " + name_);
        delete this;
    }

    void getInstance(Ctx c, Path p, bool q, bool o, List l, InstanceResponseHandler& h) override
    {
        const std::string line = "getInstance " + text(p) + words(q, o, l);
        run(c, line, behavior_.onGetInstance, h, p.getClassName());
    }
    void enumerateInstances(Ctx c, Path p, bool q, bool o, List l,
                            InstanceResponseHandler& h) override
    {
        const std::string line = "enumerateInstances " + text(p) + words(q, o, l);
        run(c, line, behavior_.onEnumerateInstances, h, p.getClassName());
    }
    void enumerateInstanceNames(Ctx c, Path p, ObjectPathResponseHandler& h) override
    {
        const std::string line = "enumerateInstanceNames " + text(p);
        run(c, line, behavior_.onEnumerateInstanceNames, h, p.getClassName());
    }
    void modifyInstance(Ctx c, Path p, const CIMInstance& i, bool q, List l,
                        ResponseHandler& h) override
    {
        const std::string line = "modifyInstance " + text(p) + " " + text(i) + words(q, false, l);
        run(c, line, behavior_.onModifyInstance, h, p.getClassName());
    }
    void createInstance(Ctx c, Path p, const CIMInstance& i, ObjectPathResponseHandler& h) override
    {
        const std::string line = "createInstance " + text(p) + " " + text(i);
        run(c, line, behavior_.onCreateInstance, h, p.getClassName());
    }
    void deleteInstance(Ctx c, Path p, ResponseHandler& h) override
    {
        run(c, "deleteInstance " + text(p), behavior_.onDeleteInstance, h, p.getClassName());
    }
    void invokeMethod(Ctx c, Path p, Name method, const Array<CIMParamValue>& in,
                      MethodResultResponseHandler& h) override
    {
        const std::string called = toUtf8(method.getString()) + arguments(in);
        run(c, "invokeMethod " + text(p) + " " + called, behavior_.onInvokeMethod, h, method);
    }
    void associators(Ctx c, Path p, Name association, Name resultClass, Role role, Role resultRole,
                     bool q, bool o, List l, ObjectResponseHandler& h) override
    {
        const std::string line = "associators " + text(p) +
                                 filters(association, resultClass, role, resultRole) +
                                 words(q, o, l);
        run(c, line, behavior_.onAssociators, h, association);
    }
    void associatorNames(Ctx c, Path p, Name association, Name resultClass, Role role,
                         Role resultRole, ObjectPathResponseHandler& h) override
    {
        const std::string line =
            "associatorNames " + text(p) + filters(association, resultClass, role, resultRole);
        run(c, line, behavior_.onAssociatorNames, h, association);
    }
    void references(Ctx c, Path p, Name association, Role role, bool q, bool o, List l,
                    ObjectResponseHandler& h) override
    {
        const std::string line = "references " + text(p) +
                                 filters(CIMName(), association, role, String()) + words(q, o, l);
        run(c, line, behavior_.onReferences, h, association);
    }
    void referenceNames(Ctx c, Path p, Name association, Role role,
                        ObjectPathResponseHandler& h) override
    {
        const std::string line =
            "referenceNames " + text(p) + filters(CIMName(), association, role, String());
        run(c, line, behavior_.onReferenceNames, h, association);
    }

private:
    static std::string filters(Name association, Name resultClass, Role role, Role resultRole)
    {
        return word("AssocClass", association.getString()) +
               word("ResultClass", resultClass.getString()) + word("Role", role) +
               word("ResultRole", resultRole);
    }

    template <class Handler>
    void run(Ctx context, const std::string& line, const std::function<void(Handler&)>& behavior,
             Handler& handler, Name served) const
    {
        const String user = IdentityContainer(context.get(IdentityContainer::NAME)).getUserName();
        record(calls, name_ + " " + line + (user.size() == 0 ? "" : " by " + toUtf8(user)));
        if (behavior) return behavior(handler);
        handler.processing();
        deliver(handler, served);
        handler.complete();
    }

    const std::string name_;
    const Behavior& behavior_;
};

}  // namespace

Behavior& provider(const std::string& name)
{
    const std::lock_guard<std::mutex> lock(mutex);
    return behaviors[name];
}

Lines takeCalls()
{
    return take(calls);
}

Lines takeLifecycle()
{
    return take(lifecycle);
}

void reset()
{
    behaviors.clear();
    calls.clear();
    lifecycle.clear();
}

CIMProvider* create(const String& providerName)
{
    const std::string name = toUtf8(providerName);
    record(lifecycle, "create " + name);
    if (name == "Missing") return nullptr;
    if (name == "Bare") return new Bare;
    return new Scripted(name);
}

}  // namespace scripted
}  // namespace cimom

extern "C" PEGASUS_EXPORT Pegasus::CIMProvider* PegasusCreateProvider(
    const Pegasus::String& providerName)
{
    return cimom::scripted::create(providerName);
}
