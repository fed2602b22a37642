// Operations on qualifiers, properties, methods, instances, classes, method arguments and property
// lists.
#include "Conversions.h"

#include <map>
#include <string>
#include <utility>

using namespace Pegasus;

namespace replay
{

namespace
{

using Verbs = std::map<std::string, Verb>;
using R = Registers&;
using S = const Json&;

Json keyNamesOf(const CIMConstClass& x)
{
    Array<CIMName> names(1, CIMName("Stale"));
    x.getKeyNames(names);
    return listOf(names, names.size(),
                  [](const Array<CIMName>& all, Uint32 i) { return describe(all[i]); });
}

template <class T>
void addCommonVerbs(Verbs& verbs, const std::string& group, T (*make)(const Json&))
{
    verbs[group + ".new"] = on<T>([make](T& x, S s) { x = make(s[2]); });
    verbs[group + ".copy"] = copying<T>();
    verbs[group + ".dump"] = on<T>([](T& x) { return describe(x); });
}

template <class T>
void addHandleVerbs(Verbs& verbs, const std::string& group, T (*make)(const Json&))
{
    addCommonVerbs<T>(verbs, group, make);
    verbs[group + ".clone"] = on<T>([](T& x, S s, R r) { x = r.get<T>(s[2]).clone(); });
    verbs[group + ".uninit"] = on<T>([](T& x) { return x.isUninitialized(); });
}

template <class T>
void addIdentical(Verbs& verbs, const std::string& group)
{
    verbs[group + ".identical"] = on<T>([](T& x, S s, R r) { return x.identical(r.get<T>(s[2])); });
}

template <class T>
void addSetName(Verbs& verbs, const std::string& group)
{
    verbs[group + ".setName"] = on<T>([](T& x, S s) { x.setName(name(s[2])); });
}

template <class T>
void addQualifierVerbs(Verbs& verbs, const std::string& group)
{
    verbs[group + ".addq"] = on<T>([](T& x, S s) { x.addQualifier(qualifier(s[2])); });
    verbs[group + ".findq"] =
        on<T>([](T& x, S s) { return position(x.findQualifier(name(s[2]))); });
    verbs[group + ".getq"] =
        on<T>([](T& x, S s, R r) { r.get<CIMQualifier>(s[2]) = x.getQualifier(s[3]); });
    verbs[group + ".removeq"] = on<T>([](T& x, S s) { x.removeQualifier(s[2]); });
    verbs[group + ".countq"] = on<T>([](T& x) { return x.getQualifierCount(); });
}

/// Properties are given as a description or as the name of a register.
template <class T>
void addObjectVerbs(Verbs& verbs, const std::string& group)
{
    addQualifierVerbs<T>(verbs, group);
    addIdentical<T>(verbs, group);
    verbs[group + ".add"] = on<T>([](T& x, S s, R r) {
        x.addProperty(s[2].is_string() ? r.get<CIMProperty>(s[2]) : property(s[2]));
    });
    verbs[group + ".find"] = on<T>([](T& x, S s) { return position(x.findProperty(name(s[2]))); });
    verbs[group + ".get"] =
        on<T>([](T& x, S s, R r) { r.get<CIMProperty>(s[2]) = x.getProperty(s[3]); });
    verbs[group + ".getConst"] = on<T>(
        [](T& x, S s, R r) { r.get<CIMConstProperty>(s[2]) = std::as_const(x).getProperty(s[3]); });
    verbs[group + ".remove"] = on<T>([](T& x, S s) { x.removeProperty(s[2]); });
    verbs[group + ".count"] = on<T>([](T& x) { return x.getPropertyCount(); });
    verbs[group + ".class"] = on<T>([](T& x) { return describe(x.getClassName()); });
    verbs[group + ".path"] = on<T>([](T& x) { return describe(x.getPath()); });
    verbs[group + ".setPath"] = on<T>([](T& x, S s) { x.setPath(path(s[2])); });
}

template <class T>
void addFilterVerb(Verbs& verbs, const std::string& group)
{
    verbs[group + ".filter"] =
        on<T>([](T& x, S s) { x.instanceFilter(s[2], s[3], propertyList(s[4])); });
}

void addInstanceVerbs(Verbs& verbs)
{
    using T = CIMInstance;
    addHandleVerbs<T>(verbs, "inst", instance);
    addObjectVerbs<T>(verbs, "inst");
    addFilterVerb<T>(verbs, "inst");
    verbs["inst.fromObject"] =
        on<T>([](T& x, S s, R r) { x = CIMInstance(r.get<CIMObject>(s[2])); });
    verbs["inst.constOf"] =
        on<CIMConstInstance>([](CIMConstInstance& x, S s, R r) { x = r.get<T>(s[2]); });
    verbs["inst.dumpConst"] = on<CIMConstInstance>([](CIMConstInstance& x) { return describe(x); });
    verbs["inst.cloneConst"] =
        on<T>([](T& x, S s, R r) { x = r.get<CIMConstInstance>(s[2]).clone(); });
    verbs["inst.setPathReg"] = on<T>([](T& x, S s, R r) { x.setPath(r.get<CIMObjectPath>(s[2])); });
    verbs["inst.buildPath"] =
        on<T>([](T& x, S s, R r) { return describe(x.buildPath(r.get<CIMClass>(s[2]))); });
    verbs["inst.addMany"] = on<T>([](T& x, S s) {
        const Uint32 first = x.getPropertyCount();
        for (Uint32 i = first; i < first + s[2].get<Uint32>(); ++i) {
            x.addProperty(CIMProperty(CIMName(("P" + std::to_string(i)).c_str()), CIMValue(i)));
        }
    });
    verbs["inst.names"] = on<T>([](T& x) {
        return listOf(x, x.getPropertyCount(),
                      [](const T& i, Uint32 n) { return describe(i.getProperty(n).getName()); });
    });
}

void addClassVerbs(Verbs& verbs)
{
    using T = CIMClass;
    addHandleVerbs<T>(verbs, "cls", classDefinition);
    addObjectVerbs<T>(verbs, "cls");
    verbs["cls.addm"] = on<T>([](T& x, S s) { x.addMethod(method(s[2])); });
    verbs["cls.findm"] = on<T>([](T& x, S s) { return position(x.findMethod(name(s[2]))); });
    verbs["cls.getm"] = on<T>([](T& x, S s, R r) { r.get<CIMMethod>(s[2]) = x.getMethod(s[3]); });
    verbs["cls.removem"] = on<T>([](T& x, S s) { x.removeMethod(s[2]); });
    verbs["cls.countm"] = on<T>([](T& x) { return x.getMethodCount(); });
    verbs["cls.setSuper"] = on<T>([](T& x, S s) { x.setSuperClassName(name(s[2])); });
    verbs["cls.keyNames"] = on<T>([](T& x) { return keyNamesOf(x); });
    verbs["cls.hasKeys"] = on<T>([](T& x) { return x.hasKeys(); });
    verbs["cls.build"] = on<T>([](T& x, S s, R r) {
        r.get<CIMInstance>(s[2]) = x.buildInstance(s[3], s[4], propertyList(s[5]));
    });
}

void addObjectHandleVerbs(Verbs& verbs)
{
    using T = CIMObject;
    addObjectVerbs<T>(verbs, "obj");
    addFilterVerb<T>(verbs, "obj");
    verbs["obj.fromInst"] = on<T>([](T& x, S s, R r) { x = r.get<CIMInstance>(s[2]); });
    verbs["obj.fromClass"] = on<T>([](T& x, S s, R r) { x = r.get<CIMClass>(s[2]); });
    verbs["obj.clone"] = on<T>([](T& x, S s, R r) { x = r.get<T>(s[2]).clone(); });
    verbs["obj.isInstance"] = on<T>([](T& x) { return x.isInstance(); });
    verbs["obj.isClass"] = on<T>([](T& x) { return x.isClass(); });
}

void addElementVerbs(Verbs& verbs)
{
    addHandleVerbs<CIMQualifier>(verbs, "qual", qualifier);
    addSetName<CIMQualifier>(verbs, "qual");
    addIdentical<CIMQualifier>(verbs, "qual");
    verbs["qual.set"] = on<CIMQualifier>([](CIMQualifier& x, S s) { x.setValue(value(s[2])); });
    verbs["qual.setFlavor"] =
        on<CIMQualifier>([](CIMQualifier& x, S s) { x.setFlavor(flavor(s[2])); });
    verbs["qual.unsetFlavor"] =
        on<CIMQualifier>([](CIMQualifier& x, S s) { x.unsetFlavor(flavor(s[2])); });
    verbs["qual.setPropagated"] =
        on<CIMQualifier>([](CIMQualifier& x, S s) { x.setPropagated(s[2]); });

    addHandleVerbs<CIMProperty>(verbs, "prop", property);
    addSetName<CIMProperty>(verbs, "prop");
    addIdentical<CIMProperty>(verbs, "prop");
    addQualifierVerbs<CIMProperty>(verbs, "prop");
    verbs["prop.value"] = on<CIMProperty>([](CIMProperty& x) { return describe(x.getValue()); });
    verbs["prop.set"] = on<CIMProperty>([](CIMProperty& x, S s) { x.setValue(value(s[2])); });
    verbs["prop.setOrigin"] =
        on<CIMProperty>([](CIMProperty& x, S s) { x.setClassOrigin(name(s[2])); });
    verbs["prop.setPropagated"] =
        on<CIMProperty>([](CIMProperty& x, S s) { x.setPropagated(s[2]); });

    addHandleVerbs<CIMParameter>(verbs, "par", parameter);
    addSetName<CIMParameter>(verbs, "par");
    addIdentical<CIMParameter>(verbs, "par");

    addHandleVerbs<CIMMethod>(verbs, "meth", method);
    addSetName<CIMMethod>(verbs, "meth");
    addIdentical<CIMMethod>(verbs, "meth");
    verbs["meth.setType"] = on<CIMMethod>([](CIMMethod& x, S s) { x.setType(type(s[2])); });
    verbs["meth.setOrigin"] =
        on<CIMMethod>([](CIMMethod& x, S s) { x.setClassOrigin(name(s[2])); });
    verbs["meth.addp"] = on<CIMMethod>([](CIMMethod& x, S s) { x.addParameter(parameter(s[2])); });
    verbs["meth.findp"] =
        on<CIMMethod>([](CIMMethod& x, S s) { return position(x.findParameter(name(s[2]))); });
    verbs["meth.getp"] = on<CIMMethod>(
        [](CIMMethod& x, S s, R r) { r.get<CIMParameter>(s[2]) = x.getParameter(s[3]); });
    verbs["meth.removep"] = on<CIMMethod>([](CIMMethod& x, S s) { x.removeParameter(s[2]); });
}

void addValueVerbs(Verbs& verbs)
{
    addHandleVerbs<CIMParamValue>(verbs, "pv", paramValue);
    verbs["pv.setName"] = on<CIMParamValue>([](CIMParamValue& x, S s) {
        String newName = text(s[2]);
        x.setParameterName(newName);
    });
    verbs["pv.setValue"] = on<CIMParamValue>([](CIMParamValue& x, S s) {
        CIMValue newValue = value(s[2]);
        x.setValue(newValue);
    });
    verbs["pv.setIsTyped"] = on<CIMParamValue>([](CIMParamValue& x, S s) { x.setIsTyped(s[2]); });

    using T = CIMPropertyList;
    addCommonVerbs<T>(verbs, "pl", propertyList);
    verbs["pl.set"] = on<T>([](T& x, S s) { x.set(propertyList(s[2]).getPropertyNameArray()); });
    verbs["pl.clear"] = on<T>([](T& x) { x.clear(); });
    verbs["pl.contains"] = on<T>([](T& x, S s) { return x.contains(name(s[2])); });
    verbs["pl.use"] = on<T>([](T& x, S s) { return x.useThisProperty(name(s[2])); });
    verbs["pl.text"] = on<T>([](T& x) { return describe(x.toString()); });
    verbs["pl.at"] = on<T>([](T& x, S s) { return describe(std::as_const(x)[s[2]]); });
    verbs["pl.append"] = on<T>([](T& x, S s) {
        Array<String> all;
        for (const Json& listed : s[2])
            all.append(text(listed));
        x.append(all);
    });

    verbs["insts.append"] = on<Array<CIMInstance>>(
        [](Array<CIMInstance>& x, S s, R r) { x.append(r.get<CIMInstance>(s[2])); });
    verbs["insts.copy"] = on<Array<CIMInstance>>(
        [](Array<CIMInstance>& x, S s, R r) { x = r.get<Array<CIMInstance>>(s[2]); });
    verbs["insts.at"] = on<Array<CIMInstance>>(
        [](Array<CIMInstance>& x, S s, R r) { r.get<CIMInstance>(s[2]) = x[s[3]]; });
    verbs["insts.size"] = on<Array<CIMInstance>>([](Array<CIMInstance>& x) { return x.size(); });
}

// ---- single operations

Json flavorQuestions(const Json& in)
{
    CIMFlavor f = flavor(in["flavor"]);
    if (in.contains("add")) f.addFlavor(flavor(in["add"]));
    if (in.contains("remove")) f.removeFlavor(flavor(in["remove"]));
    Json has = Json::object();
    for (const char* one : {"NONE", "OVERRIDABLE", "DISABLEOVERRIDE", "TOSUBCLASS", "RESTRICTED",
                            "TOINSTANCE", "TRANSLATABLE", "DEFAULTS"}) {
        has[one] = f.hasFlavor(flavor(Json::array({one})));
    }
    return {{"toString", describe(f.toString())}, {"has", has}};
}

Json compareFlavors(const Json& in)
{
    const CIMFlavor a = flavor(in["a"]);
    const CIMFlavor b = flavor(in["b"]);
    return {{"equal", a.equal(b)}, {"plus", describe((a + b).toString())}};
}

Json setValue(const Json& in)
{
    CIMProperty p = property(in["property"]);
    Json out = attempt([&] { p.setValue(value(in["value"])); });
    out["after"] = describe(p);
    return out;
}

/// The position, or the exception, under "index".
Json find(const Json& in)
{
    const CIMInstance i = instance(in["instance"]);
    return {{"index", orThrows([&] { return position(i.findProperty(name(in["name"]))); })}};
}

Json filtered(const Json& in)
{
    CIMInstance i = instance(in["instance"]);
    i.instanceFilter(in["includeQualifiers"], in["includeClassOrigin"],
                     propertyList(in["propertyList"]));
    return describe(i);
}

Json built(const Json& in)
{
    return describe(classDefinition(in["class"])
                        .buildInstance(in["includeQualifiers"], in["includeClassOrigin"],
                                       propertyList(in["propertyList"])));
}

Json kindsOf(const CIMObject& object)
{
    return {{"isInstance", object.isInstance()}, {"isClass", object.isClass()}};
}

Json castInstance(const Json&)
{
    CIMInstance i(CIMName("A"));
    const CIMObject object(i);
    CIMInstance(object).addProperty(CIMProperty(CIMName("P"), CIMValue(true)));
    Json out = kindsOf(object);
    out["shared_property_count"] = i.getPropertyCount();
    return out;
}

Json castClass(const Json&)
{
    const CIMObject object(CIMClass(CIMName("A")));
    Json out = kindsOf(object);
    out["name"] = describe(CIMClass(object).getClassName());
    return out;
}

using Operations = std::map<std::string, std::function<Json(const Json&)>>;

const Operations casts = {
    {"instance_from_instance", castInstance},
    {"class_from_class", castClass},
    {"class_from_instance",
     [](S) { return describe(CIMClass(CIMObject(CIMInstance(CIMName("A"))))); }},
    {"instance_from_class",
     [](S) { return describe(CIMInstance(CIMObject(CIMClass(CIMName("A"))))); }},
    {"instance_from_uninitialized", [](S) { return describe(CIMInstance(CIMObject())); }},
    {"class_from_uninitialized", [](S) { return describe(CIMClass(CIMObject())); }},
    {"object_from_uninitialized_instance",
     [](S) {
         return Json{{"isUninitialized", CIMObject(CIMInstance()).isUninitialized()}};
     }},
};

/// Calls on a default constructed T.
template <class T, class Function>
std::function<Json(const Json&)> none(Function f)
{
    return [f](const Json&) -> Json {
        T x;
        if constexpr (std::is_void_v<decltype(f(x))>) {
            f(x);
            return nullptr;
        } else {
            return f(x);
        }
    };
}

CIMInstance sample()
{
    return CIMInstance(CIMName("A"));
}

CIMProperty flagProperty()
{
    return CIMProperty(CIMName("P"), CIMValue(true));
}

const Operations uninitializedCalls = {
    {"CIMInstance::isUninitialized",
     none<CIMInstance>([](auto& x) { return x.isUninitialized(); })},
    {"CIMInstance::getClassName",
     none<CIMInstance>([](auto& x) { return describe(x.getClassName()); })},
    {"CIMInstance::getPath", none<CIMInstance>([](auto& x) { return describe(x.getPath()); })},
    {"CIMInstance::setPath",
     none<CIMInstance>([](auto& x) { x.setPath(CIMObjectPath(String("A"))); })},
    {"CIMInstance::getPropertyCount",
     none<CIMInstance>([](auto& x) { return x.getPropertyCount(); })},
    {"CIMInstance::addProperty", none<CIMInstance>([](auto& x) { x.addProperty(flagProperty()); })},
    {"CIMInstance::getProperty",
     none<CIMInstance>([](auto& x) { return describe(x.getProperty(0)); })},
    {"CIMInstance::identical", none<CIMInstance>([](auto& x) { return x.identical(sample()); })},
    {"CIMInstance::identical(uninitialized)",
     none<CIMInstance>([](auto& x) { return sample().identical(x); })},
    {"CIMInstance::addProperty(uninitialized)",
     none<CIMProperty>([](auto& x) { sample().addProperty(x); })},
    {"CIMClass::isUninitialized", none<CIMClass>([](auto& x) { return x.isUninitialized(); })},
    {"CIMClass::getClassName", none<CIMClass>([](auto& x) { return describe(x.getClassName()); })},
    {"CIMClass::isAbstract", none<CIMClass>([](auto& x) { return x.isAbstract(); })},
    {"CIMClass::buildInstance", none<CIMClass>([](auto& x) {
         return describe(x.buildInstance(false, false, CIMPropertyList()));
     })},
    {"CIMProperty::isUninitialized",
     none<CIMProperty>([](auto& x) { return x.isUninitialized(); })},
    {"CIMProperty::getName", none<CIMProperty>([](auto& x) { return describe(x.getName()); })},
    {"CIMProperty::getValue", none<CIMProperty>([](auto& x) { return describe(x.getValue()); })},
    {"CIMProperty::setValue", none<CIMProperty>([](auto& x) { x.setValue(CIMValue(true)); })},
    {"CIMQualifier::isUninitialized",
     none<CIMQualifier>([](auto& x) { return x.isUninitialized(); })},
    {"CIMQualifier::getName", none<CIMQualifier>([](auto& x) { return describe(x.getName()); })},
    {"CIMQualifier(CIMName())",
     none<CIMName>([](auto& x) { return describe(CIMQualifier(x, CIMValue(true))); })},
    {"CIMMethod::getName", none<CIMMethod>([](auto& x) { return describe(x.getName()); })},
    {"CIMMethod(CIMName())",
     none<CIMName>([](auto& x) { return describe(CIMMethod(x, CIMTYPE_UINT32)); })},
    {"CIMParameter::getName", none<CIMParameter>([](auto& x) { return describe(x.getName()); })},
    {"CIMParameter(CIMName())",
     none<CIMName>([](auto& x) { return describe(CIMParameter(x, CIMTYPE_UINT32)); })},
    {"CIMObject::isUninitialized", none<CIMObject>([](auto& x) { return x.isUninitialized(); })},
    {"CIMObject::getClassName",
     none<CIMObject>([](auto& x) { return describe(x.getClassName()); })},
    {"CIMObject::isClass", none<CIMObject>([](auto& x) { return x.isClass(); })},
    {"CIMParamValue::isUninitialized",
     none<CIMParamValue>([](auto& x) { return x.isUninitialized(); })},
    {"CIMParamValue::isTyped", none<CIMParamValue>([](auto& x) { return x.isTyped(); })},
    {"CIMParamValue::clone", none<CIMParamValue>([](auto& x) { return describe(x.clone()); })},
    {"CIMConstInstance::getClassName",
     none<CIMConstInstance>([](auto& x) { return describe(x.getClassName()); })},
    {"CIMValue(array with uninitialized instance)",
     none<CIMInstance>([](auto& x) { return describe(CIMValue(Array<CIMInstance>(1, x))); })},
    {"CIMValue::set(uninitialized instance)", none<CIMInstance>([](auto& x) {
         CIMValue v;
         v.set(x);
         return describe(v);
     })},
    {"CIMKeyBinding(CIMName())", none<CIMName>([](auto& x) {
         return describe(CIMKeyBinding(x, String("v"), CIMKeyBinding::STRING));
     })},
};

}  // namespace

Part objects()
{
    Part part;
    part.topics = {"objects", "paramvalues", "propertylist"};
    part.operations = {
        {"qualifier", [](S in) { return describe(qualifier(in["qualifier"])); }},
        {"property", [](S in) { return describe(property(in["property"])); }},
        {"parameter", [](S in) { return describe(parameter(in["parameter"])); }},
        {"method", [](S in) { return describe(method(in["method"])); }},
        {"instance", [](S in) { return describe(instance(in["instance"])); }},
        {"class", [](S in) { return describe(classDefinition(in["class"])); }},
        {"property_set", setValue},
        {"find_property", find},
        {"build_path",
         [](S in) {
             return describe(instance(in["instance"]).buildPath(classDefinition(in["class"])));
         }},
        {"build_instance", built},
        {"instance_filter", filtered},
        {"property_identical",
         [](S in) { return Json(property(in["a"]).identical(property(in["b"]))); }},
        {"instance_identical",
         [](S in) { return Json(instance(in["a"]).identical(instance(in["b"]))); }},
        {"class_identical",
         [](S in) { return Json(classDefinition(in["a"]).identical(classDefinition(in["b"]))); }},
        {"flavor", flavorQuestions},
        {"flavor_pair", compareFlavors},
        {"object_cast", [](S in) { return casts.at(in["kind"])(in); }},
        {"uninitialized", [](S in) { return uninitializedCalls.at(in["call"])(in); }},
    };
    addElementVerbs(part.verbs);
    addInstanceVerbs(part.verbs);
    addClassVerbs(part.verbs);
    addObjectHandleVerbs(part.verbs);
    addValueVerbs(part.verbs);
    return part;
}

}  // namespace replay
