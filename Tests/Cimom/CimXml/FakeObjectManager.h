// An object manager that records the calls it gets and returns what a test gave it.
#pragma once

#include "CimXml/Encode.h"
#include "Model/ObjectManager.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace cimom::test
{

class FakeObjectManager : public ObjectManager
{
public:
    /// Every call as text: operation, user, namespace and arguments in the order of the interface.
    std::vector<std::string> calls() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }
    /// The last call; empty when there was none.
    std::string lastCall() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return calls_.empty() ? std::string() : calls_.back();
    }

    // What the operations return.
    Pegasus::Array<Pegasus::CIMClass> classes;  ///< getClass finds its class here by name
    Pegasus::Array<Pegasus::CIMName> names;
    Pegasus::Array<Pegasus::CIMQualifierDecl> qualifiers;  ///< getQualifier returns the first
    Pegasus::CIMInstance instance;
    Pegasus::Array<Pegasus::CIMInstance> instances;
    Pegasus::Array<Pegasus::CIMObjectPath> paths;
    Pegasus::Array<Pegasus::CIMObject> objects;
    Pegasus::CIMValue value{Pegasus::CIMTYPE_UINT32, false};
    Pegasus::Array<Pegasus::CIMParamValue> outParameters;

    /// Called by every operation with its name and class; may throw or wait.
    std::function<void(const std::string& operation, const std::string& className)> onCall;

    // The last arguments that text does not show well.
    Pegasus::CIMInstance lastInstance;
    Pegasus::CIMValue lastValue;
    Pegasus::Array<Pegasus::CIMParamValue> lastIn;

    Pegasus::CIMClass getClass(const Ctx& c, const Ns& ns, const Pegasus::CIMName& name,
                               bool localOnly, bool iq, bool ico,
                               const Pegasus::CIMPropertyList& list) override
    {
        record("getClass", c, ns, name,
               {flag("lo", localOnly), flag("iq", iq), flag("ico", ico), text(list)});
        for (Pegasus::Uint32 i = 0; i < classes.size(); ++i) {
            if (classes[i].getClassName().equal(name)) return classes[i];
        }
        throw Pegasus::CIMException(Pegasus::CIM_ERR_NOT_FOUND, name.getString());
    }
    Pegasus::Array<Pegasus::CIMClass> enumerateClasses(const Ctx& c, const Ns& ns,
                                                       const Pegasus::CIMName& name, bool deep,
                                                       bool localOnly, bool iq, bool ico) override
    {
        record("enumerateClasses", c, ns, name,
               {flag("deep", deep), flag("lo", localOnly), flag("iq", iq), flag("ico", ico)});
        return classes;
    }
    Pegasus::Array<Pegasus::CIMName> enumerateClassNames(const Ctx& c, const Ns& ns,
                                                         const Pegasus::CIMName& name,
                                                         bool deep) override
    {
        record("enumerateClassNames", c, ns, name, {flag("deep", deep)});
        return names;
    }
    Pegasus::CIMQualifierDecl getQualifier(const Ctx& c, const Ns& ns,
                                           const Pegasus::CIMName& name) override
    {
        record("getQualifier", c, ns, name, {});
        return qualifiers[0];
    }
    Pegasus::Array<Pegasus::CIMQualifierDecl> enumerateQualifiers(const Ctx& c,
                                                                  const Ns& ns) override
    {
        record("enumerateQualifiers", c, ns, Pegasus::CIMName(), {});
        return qualifiers;
    }
    Pegasus::CIMInstance getInstance(const Ctx& c, const Ns& ns, const Pegasus::CIMObjectPath& path,
                                     bool iq, bool ico,
                                     const Pegasus::CIMPropertyList& list) override
    {
        record("getInstance", c, ns, path, {flag("iq", iq), flag("ico", ico), text(list)});
        return instance;
    }
    Pegasus::Array<Pegasus::CIMInstance> enumerateInstances(
        const Ctx& c, const Ns& ns, const Pegasus::CIMName& name, bool deep, bool iq, bool ico,
        const Pegasus::CIMPropertyList& list) override
    {
        record("enumerateInstances", c, ns, name,
               {flag("deep", deep), flag("iq", iq), flag("ico", ico), text(list)});
        return instances;
    }
    Pegasus::Array<Pegasus::CIMObjectPath> enumerateInstanceNames(
        const Ctx& c, const Ns& ns, const Pegasus::CIMName& name) override
    {
        record("enumerateInstanceNames", c, ns, name, {});
        return paths;
    }
    Pegasus::CIMObjectPath createInstance(const Ctx& c, const Ns& ns,
                                          const Pegasus::CIMInstance& given) override
    {
        record("createInstance", c, ns, given.getPath(), {});
        lastInstance = given;
        return paths[0];
    }
    void modifyInstance(const Ctx& c, const Ns& ns, const Pegasus::CIMInstance& given, bool iq,
                        const Pegasus::CIMPropertyList& list) override
    {
        record("modifyInstance", c, ns, given.getPath(), {flag("iq", iq), text(list)});
        lastInstance = given;
    }
    void deleteInstance(const Ctx& c, const Ns& ns, const Pegasus::CIMObjectPath& path) override
    {
        record("deleteInstance", c, ns, path, {});
    }
    Pegasus::CIMValue getProperty(const Ctx& c, const Ns& ns, const Pegasus::CIMObjectPath& path,
                                  const Pegasus::CIMName& property) override
    {
        record("getProperty", c, ns, path, {text(property)});
        return value;
    }
    void setProperty(const Ctx& c, const Ns& ns, const Pegasus::CIMObjectPath& path,
                     const Pegasus::CIMName& property, const Pegasus::CIMValue& given) override
    {
        record("setProperty", c, ns, path, {text(property), text(given)});
        lastValue = given;
    }
    Pegasus::Array<Pegasus::CIMObject> associators(
        const Ctx& c, const Ns& ns, const Pegasus::CIMObjectPath& path,
        const Pegasus::CIMName& assoc, const Pegasus::CIMName& result, const Pegasus::String& role,
        const Pegasus::String& resultRole, bool iq, bool ico,
        const Pegasus::CIMPropertyList& list) override
    {
        record("associators", c, ns, path,
               {text(assoc), text(result), text(role), text(resultRole), flag("iq", iq),
                flag("ico", ico), text(list)});
        return objects;
    }
    Pegasus::Array<Pegasus::CIMObjectPath> associatorNames(
        const Ctx& c, const Ns& ns, const Pegasus::CIMObjectPath& path,
        const Pegasus::CIMName& assoc, const Pegasus::CIMName& result, const Pegasus::String& role,
        const Pegasus::String& resultRole) override
    {
        record("associatorNames", c, ns, path,
               {text(assoc), text(result), text(role), text(resultRole)});
        return paths;
    }
    Pegasus::Array<Pegasus::CIMObject> references(const Ctx& c, const Ns& ns,
                                                  const Pegasus::CIMObjectPath& path,
                                                  const Pegasus::CIMName& result,
                                                  const Pegasus::String& role, bool iq, bool ico,
                                                  const Pegasus::CIMPropertyList& list) override
    {
        record("references", c, ns, path,
               {text(result), text(role), flag("iq", iq), flag("ico", ico), text(list)});
        return objects;
    }
    Pegasus::Array<Pegasus::CIMObjectPath> referenceNames(const Ctx& c, const Ns& ns,
                                                          const Pegasus::CIMObjectPath& path,
                                                          const Pegasus::CIMName& result,
                                                          const Pegasus::String& role) override
    {
        record("referenceNames", c, ns, path, {text(result), text(role)});
        return paths;
    }
    Pegasus::CIMValue invokeMethod(const Ctx& c, const Ns& ns, const Pegasus::CIMObjectPath& path,
                                   const Pegasus::CIMName& method,
                                   const Pegasus::Array<Pegasus::CIMParamValue>& in,
                                   Pegasus::Array<Pegasus::CIMParamValue>& out) override
    {
        std::vector<std::string> arguments{text(method)};
        for (Pegasus::Uint32 i = 0; i < in.size(); ++i) {
            arguments.push_back(xml::utf8(in[i].getParameterName()) + "=" + text(in[i].getValue()) +
                                (in[i].isTyped() ? "" : "(untyped)"));
        }
        record("invokeMethod", c, ns, path, arguments);
        lastIn = in;
        out = outParameters;
        return value;
    }

    static std::string text(const Pegasus::CIMName& name)
    {
        return name.isNull() ? "-" : xml::utf8(name.getString());
    }
    static std::string text(const Pegasus::String& value) { return "'" + xml::utf8(value) + "'"; }
    static std::string text(const Pegasus::CIMPropertyList& list)
    {
        if (list.isNull()) return "pl=all";
        std::string result = "pl=[";
        for (Pegasus::Uint32 i = 0; i < list.size(); ++i)
            result += (i ? "," : "") + text(list[i]);
        return result + "]";
    }
    static std::string text(const Pegasus::CIMValue& value)
    {
        const std::string type =
            Pegasus::cimTypeToString(value.getType()) + std::string(value.isArray() ? "[]" : "");
        return type + ":" + (value.isNull() ? "null" : xml::utf8(value.toString()));
    }

private:
    static std::string flag(const std::string& name, bool value)
    {
        return name + "=" + (value ? "1" : "0");
    }

    void record(const std::string& operation, const Ctx& c, const Ns& ns,
                const Pegasus::CIMName& name, const std::vector<std::string>& arguments)
    {
        add(operation, c, ns, text(name), text(name), arguments);
    }
    void record(const std::string& operation, const Ctx& c, const Ns& ns,
                const Pegasus::CIMObjectPath& path, const std::vector<std::string>& arguments)
    {
        add(operation, c, ns, xml::utf8(path.toString()), text(path.getClassName()), arguments);
    }
    void add(const std::string& operation, const Ctx& c, const Ns& ns, const std::string& target,
             const std::string& className, const std::vector<std::string>& arguments)
    {
        const Pegasus::IdentityContainer identity = c.get(Pegasus::IdentityContainer::NAME);
        std::string call = operation + " user=" + xml::utf8(identity.getUserName()) + " " +
                           xml::utf8(ns.getString()) + " " + target;
        for (const std::string& argument : arguments)
            call += " " + argument;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            calls_.push_back(call);
        }
        if (onCall) onCall(operation, className);
    }

    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

}  // namespace cimom::test
