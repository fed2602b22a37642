// Operations on names and object paths.
#include "Conversions.h"

using namespace Pegasus;

namespace replay
{

namespace
{

/// The path, and whether its text reads back as the same.
Json describeRoundTrip(const CIMObjectPath& x)
{
    Json out = describe(x);
    try {
        const CIMObjectPath again(x.toString());
        out["reparse_identical"] = again.identical(x);
        out["reparse_same_text"] = again.toString() == x.toString();
    } catch (const Exception& exception) {
        out["reparse_throws"] = describe(exception);
    }
    return out;
}

/// Makes a name from text in the given way: constructed from a String, or from characters, or
/// assigned.
template <class Name>
Json makeName(const Json& in)
{
    const String from = text(in["text"]);
    Json out = {{"legal", Name::legal(from)}};
    out.update(orThrows([&] {
        Name made;
        if (in["via"] == "string") made = Name(from);
        if (in["via"] == "cstr") made = Name(from.getCString());
        if (in["via"] == "assign") made = from;
        return Json{{"getString", describe(made.getString())}, {"isNull", made.isNull()}};
    }));
    return out;
}

template <class Name>
Json compareNames(const Name& a, const Name& b)
{
    return {{"equal", a.equal(b)}, {"eq", a == b}, {"ne", a != b}};
}

template <class Name>
Json assignName(const Json& in)
{
    Name target(text(in["start"]));
    Json out = attempt([&] { target = text(in["text"]); });
    out["after"] = describe(target.getString());
    return out;
}

Json nullNames(const Json&)
{
    const CIMName name;
    const CIMNamespaceName nameSpace;
    CIMName clearedName("Abc");
    CIMNamespaceName clearedNameSpace("root/x");
    clearedName.clear();
    clearedNameSpace.clear();
    return {{"CIMName", {{"isNull", name.isNull()}, {"getString", describe(name.getString())}}},
            {"CIMNamespaceName",
             {{"isNull", nameSpace.isNull()}, {"getString", describe(nameSpace.getString())}}},
            {"cleared_CIMName_isNull", clearedName.isNull()},
            {"cleared_CIMNamespaceName_isNull", clearedNameSpace.isNull()}};
}

Json buildPath(const Json& in)
{
    const Array<CIMKeyBinding> given = keys(member(in, "keys"));
    Json out = orThrows([&] {
        return describeRoundTrip(CIMObjectPath(text(in.value("host", Json(""))),
                                               nameSpace(member(in, "namespace")),
                                               name(member(in, "class")), given));
    });
    out["caller_keys_after"] = describe(given);
    return out;
}

template <class Change>
Json changePath(const Json& in, Change change)
{
    CIMObjectPath target(text(in["start"]));
    Json out = attempt([&] { change(target); });
    out["path_after"] = describe(target);
    return out;
}

Json setPathParts(const Json& in)
{
    return changePath(in, [&](CIMObjectPath& target) {
        target.set(text(in.value("host", Json(""))), nameSpace(member(in, "namespace")),
                   name(member(in, "class")), keys(member(in, "keys")));
    });
}

Json changeKey(const Json& in)
{
    CIMKeyBinding changed = key(in["key"]);
    const CIMKeyBinding copy(changed);
    if (in.contains("setName")) changed.setName(name(in["setName"]));
    if (in.contains("setValue")) changed.setValue(text(in["setValue"]));
    if (in.contains("setType")) changed.setType(keyType(in["setType"]));
    return {{"changed", describe(changed)}, {"copy_made_before", describe(copy)}};
}

Json comparePaths(const Json& in)
{
    const CIMObjectPath a = path(in["a"]);
    const CIMObjectPath b = path(in["b"]);
    return {{"identical", a.identical(b)},
            {"reverse", b.identical(a)},
            {"eq", a == b},
            {"ne", a != b},
            {"same_hash", a.makeHashCode() == b.makeHashCode()},
            {"same_text", a.toString() == b.toString()}};
}

}  // namespace

Part namesAndPaths()
{
    using Path = CIMObjectPath;
    using Keys = Array<CIMKeyBinding>;
    Part part;
    part.topics = {"names", "object_path", "object_path_identity"};
    part.operations = {
        {"name", makeName<CIMName>},
        {"namespace", makeName<CIMNamespaceName>},
        {"name_pair", [](const Json& in) { return compareNames(name(in["a"]), name(in["b"])); }},
        {"namespace_pair",
         [](const Json& in) { return compareNames(nameSpace(in["a"]), nameSpace(in["b"])); }},
        {"name_null", nullNames},
        {"name_assign_keeps",
         [](const Json& in) {
             return isSet(in, "namespace") ? assignName<CIMNamespaceName>(in)
                                           : assignName<CIMName>(in);
         }},
        {"path_parse", [](const Json& in) { return describeRoundTrip(Path(text(in["text"]))); }},
        {"path_build", buildPath},
        {"path_set_text",
         [](const Json& in) { return changePath(in, [&](Path& x) { x.set(text(in["text"])); }); }},
        {"path_assign_text",
         [](const Json& in) { return changePath(in, [&](Path& x) { x = text(in["text"]); }); }},
        {"path_set_parts", setPathParts},
        {"path_pair", comparePaths},
        {"keybinding_from_value",
         [](const Json& in) {
             return describe(CIMKeyBinding(name(in["name"]), value(in["value"])));
         }},
        {"keybinding_equal_value",
         [](const Json& in) { return Json(key(in["key"]).equal(value(in["value"]))); }},
        {"keybinding_eq", [](const Json& in) { return Json(key(in["a"]) == key(in["b"])); }},
        {"keybinding_set", changeKey},
    };
    part.verbs = {
        {"path.new", on<Path>([](Path& x, const Json& s) { x = path(s[2]); })},
        {"path.copy", copying<Path>()},
        {"path.dump", on<Path>([](Path& x) { return describe(x); })},
        {"path.text", on<Path>([](Path& x) { return describe(x.toString()); })},
        {"path.clear", on<Path>([](Path& x) { x.clear(); })},
        {"path.set", on<Path>([](Path& x, const Json& s) { x.set(text(s[2])); })},
        {"path.setHost", on<Path>([](Path& x, const Json& s) { x.setHost(text(s[2])); })},
        {"path.setNameSpace",
         on<Path>([](Path& x, const Json& s) { x.setNameSpace(nameSpace(s[2])); })},
        {"path.setClassName", on<Path>([](Path& x, const Json& s) { x.setClassName(name(s[2])); })},
        {"path.setKeys", on<Path>([](Path& x, const Json& s) { x.setKeyBindings(keys(s[2])); })},
        {"path.keysOf", on<Path>([](Path& x, const Json& s, Registers& r) {
             r.get<Keys>(s[2]) = x.getKeyBindings();
         })},
        {"keys.dump", on<Keys>([](Keys& x) { return describe(x); })},
        {"keys.setValueAt",
         on<Keys>([](Keys& x, const Json& s) { x[s[2].get<Uint32>()].setValue(text(s[3])); })},
    };
    return part;
}

}  // namespace replay
