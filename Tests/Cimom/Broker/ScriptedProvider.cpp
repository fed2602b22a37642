#include "ScriptedProvider.h"

#include "Model/Text.h"

#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <map>
#include <mutex>
#include <type_traits>

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
    std::string line;
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
        const CIMConstProperty property = instance.getProperty(i);
        line += (i == 0 ? "" : ", ") + toUtf8(property.getName().getString()) + ":" +
                text(property.getValue());
    }
    return text(instance.getPath()) + "{" + line + "}";
}

CIMInstance instanceOf(const std::string& path, std::initializer_list<CIMProperty> properties)
{
    const CIMObjectPath name(toString(path));
    CIMInstance instance(name.getClassName());
    instance.setPath(name);
    for (const CIMProperty& property : properties)
        instance.addProperty(property);
    return instance;
}

namespace scripted
{

Lines calls;
Lines lifecycle;

namespace
{

std::mutex mutex;  // guards what is recorded and set
std::map<std::string, Behavior> behaviors;

void record(Lines& lines, const std::string& line)
{
    const std::lock_guard<std::mutex> lock(mutex);
    lines.push_back(line);
}

// The words of a call behind the operation: nothing for what is not given.
std::string word(const std::string& name, const String& value)
{
    return value.size() == 0 ? "" : " " + name + "=" + toUtf8(value);
}
std::string word(const CIMPropertyList& list)
{
    std::string names;
    for (Uint32 i = 0; i < list.size(); ++i)
        names += (i == 0 ? "" : " ") + toUtf8(list[i].getString());
    return list.isNull() ? "" : " PropertyList=[" + names + "]";
}
std::string view(bool qualifiers, bool classOrigin, const CIMPropertyList& list)
{
    return std::string(qualifiers ? " IncludeQualifiers" : "") +
           (classOrigin ? " IncludeClassOrigin" : "") + word(list);
}
std::string word(const CIMName& method, const Array<CIMParamValue>& in)
{
    std::string list;
    for (Uint32 i = 0; i < in.size(); ++i) {
        list += (i == 0 ? "" : ", ") + toUtf8(in[i].getParameterName()) +
                (in[i].isTyped() ? ":" : ":untyped ") + text(in[i].getValue());
    }
    return " " + toUtf8(method.getString()) + "(" + list + ")";
}

// What is delivered where nothing is set.
template <class Handler>
void deliverOne(Handler& handler, const std::string& path)
{
    if constexpr (std::is_same_v<Handler, InstanceResponseHandler>)
        handler.deliver(instanceOf(path));
    else if constexpr (std::is_same_v<Handler, ObjectResponseHandler>)
        handler.deliver(CIMObject(instanceOf(path)));
    else if constexpr (std::is_same_v<Handler, ObjectPathResponseHandler>)
        handler.deliver(CIMObjectPath(toString(path)));
    else if constexpr (std::is_same_v<Handler, MethodResultResponseHandler>)
        handler.deliver(CIMValue(Uint32(0)));
}

class Bare : public CIMProvider
{
    void initialize(CIMOMHandle&) override {}
    void terminate() override { delete this; }
};

using Context = const OperationContext&;
using Path = const CIMObjectPath&;
using Name = const CIMName&;
using Text = const String&;
using List = const CIMPropertyList&;

class Scripted : public CIMInstanceProvider, public CIMMethodProvider, public CIMAssociationProvider
{
public:
    explicit Scripted(const std::string& name) : name_(name), does_(provider(name)) {}

    void initialize(CIMOMHandle&) override
    {
        record(lifecycle, "initialize " + name_);
        if (does_.onInitialize) does_.onInitialize();
    }
    void terminate() override
    {
        record(lifecycle, "terminate " + name_);
        delete this;
    }
    void getInstance(Context c, Path p, bool q, bool o, List l, InstanceResponseHandler& h) override
    {
        run(c, p.getClassName(), does_.onInstances, h, "getInstance " + text(p) + view(q, o, l));
    }
    void enumerateInstances(Context c, Path p, bool q, bool o, List l,
                            InstanceResponseHandler& h) override
    {
        const std::string call = "enumerateInstances " + text(p) + view(q, o, l);
        run(c, p.getClassName(), does_.onInstances, h, call);
    }
    void enumerateInstanceNames(Context c, Path p, ObjectPathResponseHandler& h) override
    {
        run(c, p.getClassName(), does_.onPaths, h, "enumerateInstanceNames " + text(p));
    }
    void modifyInstance(Context c, Path p, const CIMInstance& i, bool q, List l,
                        ResponseHandler& h) override
    {
        const std::string call = "modifyInstance " + text(p) + " " + text(i) + view(q, false, l);
        run(c, p.getClassName(), does_.onChange, h, call);
    }
    void createInstance(Context c, Path p, const CIMInstance& i,
                        ObjectPathResponseHandler& h) override
    {
        run(c, p.getClassName(), does_.onPaths, h, "createInstance " + text(p) + " " + text(i));
    }
    void deleteInstance(Context c, Path p, ResponseHandler& h) override
    {
        run(c, p.getClassName(), does_.onChange, h, "deleteInstance " + text(p));
    }
    void invokeMethod(Context c, Path p, Name method, const Array<CIMParamValue>& in,
                      MethodResultResponseHandler& h) override
    {
        run(c, method, does_.onMethod, h, "invokeMethod " + text(p) + word(method, in));
    }
    void associators(Context c, Path p, Name association, Name resultClass, Text role,
                     Text resultRole, bool q, bool o, List l, ObjectResponseHandler& h) override
    {
        const std::string filters = narrowed(association, resultClass, role, resultRole);
        run(c, association, does_.onObjects, h, "associators " + text(p) + filters + view(q, o, l));
    }
    void associatorNames(Context c, Path p, Name association, Name resultClass, Text role,
                         Text resultRole, ObjectPathResponseHandler& h) override
    {
        const std::string filters = narrowed(association, resultClass, role, resultRole);
        run(c, association, does_.onPaths, h, "associatorNames " + text(p) + filters);
    }
    void references(Context c, Path p, Name association, Text role, bool q, bool o, List l,
                    ObjectResponseHandler& h) override
    {
        run(c, association, does_.onObjects, h,
            "references " + text(p) + narrowed(association, role) + view(q, o, l));
    }
    void referenceNames(Context c, Path p, Name association, Text role,
                        ObjectPathResponseHandler& h) override
    {
        run(c, association, does_.onPaths, h,
            "referenceNames " + text(p) + narrowed(association, role));
    }

private:
    static std::string narrowed(Name association, Text role)
    {
        return word("ResultClass", association.getString()) + word("Role", role);
    }
    static std::string narrowed(Name association, Name resultClass, Text role, Text resultRole)
    {
        return word("AssocClass", association.getString()) +
               word("ResultClass", resultClass.getString()) + word("Role", role) +
               word("ResultRole", resultRole);
    }

    template <class Handler>
    void run(Context context, Name served, const std::function<void(Handler&)>& behavior,
             Handler& handler, const std::string& call) const
    {
        const String user = IdentityContainer(context.get(IdentityContainer::NAME)).getUserName();
        record(calls, name_ + " " + call + (user.size() == 0 ? "" : " by " + toUtf8(user)));
        if (behavior) return behavior(handler);
        handler.processing();
        deliverOne(handler, toUtf8(served.getString()) + ".Id=1");
        handler.complete();
    }

    const std::string name_;
    const Behavior& does_;
};

}  // namespace

Behavior& provider(const std::string& name)
{
    const std::lock_guard<std::mutex> lock(mutex);
    return behaviors[name];
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
