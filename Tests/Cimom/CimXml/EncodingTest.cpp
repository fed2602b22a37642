// How values, properties and paths are written in replies, and that they are read as written.
#include "ServiceFixture.h"

#include <limits>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// The property's element and type, and its values in brackets.
std::string typeAndValues(const XmlElement& property)
{
    std::string line = property.name.substr(8) + " " + attribute(property, "TYPE");
    for (const XmlElement* each : all(property, "VALUE"))
        line += " [" + each->text + "]";
    return line;
}

/// Runs with a provider that delivers instances of T_Leaf.
class Encoding : public ServiceTest
{
protected:
    /// The reply with these instances.
    Reply written(const std::vector<CIMInstance>& instances)
    {
        scripted::provider("Leaf").onInstances = scripted::delivering<CIMInstance>(instances);
        const std::string origins = flag("IncludeClassOrigin");
        return send(intrinsic("EnumerateInstances", className("T_Leaf") + origins));
    }
    Reply written(const CIMValue& value)
    {
        return written(std::vector<CIMInstance>{instanceOf("T_Leaf.Id=1", {{"P", value}})});
    }
    /// The element of a property with that value.
    XmlElement property(const CIMValue& value)
    {
        return the(written(value).response, "INSTANCE").children.at(0);
    }
};

// ---- Values ----

/// A value, and the element, type and texts of the property that has it.
struct WrittenValue : Row
{
    CIMValue value;
    std::string written;
};

using PropertyValue = BrokerTableTest<WrittenValue, Encoding>;

TEST_P(PropertyValue, IsWrittenWithItsTypeAndReadAsWritten)
{
    const Reply reply = written(GetParam().value);
    EXPECT_EQ(typeAndValues(the(reply.response, "INSTANCE").children.at(0)), GetParam().written);
    const std::size_t start = reply.body.find("<INSTANCE ");
    const std::string instance =
        reply.body.substr(start, reply.body.find("</VALUE.NAMEDINSTANCE>") - start);
    scripted::calls.clear();
    send(intrinsic("CreateInstance", parameter("NewInstance", instance)));
    EXPECT_EQ(scripted::calls, Lines{"Leaf createInstance //here/root/test:T_Leaf T_Leaf{P:" +
                                     text(GetParam().value) + "} by me"});
}

template <class T>
CIMValue two(const T& item, const T& other)
{
    Array<T> items(1, item);
    items.append(other);
    return CIMValue(items);
}

CIMValue pathValue(const char* text)
{
    return CIMValue(CIMObjectPath(text));
}

const char markup[] = "<>&\"']]>\x7F\t\r\n\xC3\xA4\xF0\x9F\x98\x80";
const CIMInstance inner = instanceOf("Inner", {{"S", String("a <b> \"\n")}});
const std::string innerText =
    "<INSTANCE CLASSNAME=\"Inner\" >\n<PROPERTY NAME=\"S\"  TYPE=\"string\">\n"
    "<VALUE>a &lt;b&gt; &quot;&#10;</VALUE>\n</PROPERTY>\n</INSTANCE>\n";
template <class T>
using limits = std::numeric_limits<T>;

const WrittenValue writtenValues[] = {
    {"Boolean", CIMValue(true), " boolean [TRUE]"},
    {"Uint64", CIMValue(limits<Uint64>::max()), " uint64 [18446744073709551615]"},
    {"Sint64", CIMValue(limits<Sint64>::min()), " sint64 [-9223372036854775808]"},
    {"Real32", CIMValue(Real32(0.1F)), " real32 [1.0000000e-01]"},
    {"Real64Least", CIMValue(limits<Real64>::denorm_min()), " real64 [4.9406564584124654e-324]"},
    {"Real64Infinite", CIMValue(-limits<Real64>::infinity()), " real64 [-inf]"},
    {"Char16", CIMValue(Char16(' ')), " char16 [ ]"},
    {"Datetime", CIMValue(CIMDateTime(String("20260102030405.678901+060"))),
     " datetime [20260102030405.678901+060]"},
    {"StringEmpty", CIMValue(String()), " string []"},
    {"StringWithMarkup", CIMValue(toString(markup)), " string [" + std::string(markup) + "]"},
    {"StringLong", CIMValue(toString(std::string(65, 'x') + "<")),
     " string [" + std::string(65, 'x') + "<]"},
    {"Null", CIMValue(CIMTYPE_STRING, false), " string"},
    {"Strings", two(String("x"), String(" y ")), ".ARRAY string [x] [ y ]"},
    {"ArrayWithoutElements", CIMValue(Array<Boolean>()), ".ARRAY boolean"},
    {"NullArray", CIMValue(CIMTYPE_SINT8, true), ".ARRAY sint8"},
    {"Reference", pathValue("C.b=TRUE,k=\"v  <\\\"\",n=-1"), ".REFERENCE "},
    {"ReferenceAtAHost", pathValue("//h:5989/root:A.r=\"root:C.k=\\\"v\\\"\""), ".REFERENCE "},
    {"EmbeddedInstance", CIMValue(inner), " string [" + innerText + "]"},
    {"EmbeddedObjects", CIMValue(Array<CIMObject>(1, CIMObject(inner))),
     ".ARRAY string [" + innerText + "]"},
};
INSTANTIATE_TEST_SUITE_P(Of, PropertyValue, ::testing::ValuesIn(writtenValues), NameOfRow());

TEST_F(Encoding, EscapesWhatReadersDoNotTakeAsItIs)
{
    const std::string body = written(CIMValue(toString({" a  <>&\"'\x7F\t\r\n\x01 ", 15}))).body;
    const std::size_t start = body.find("<VALUE>") + 7;
    EXPECT_EQ(body.substr(start, body.find("</VALUE>") - start),
              "&#32;a &#32;&lt;&gt;&amp;&quot;&apos;&#127;&#9;&#13;&#10;\xEF\xBF\xBD&#32;");
}

TEST_F(Encoding, MarksEmbeddedObjectsForOldAndNewClients)
{
    const XmlElement one = property(CIMValue(inner));
    EXPECT_EQ(attribute(one, "EmbeddedObject") + attribute(one, "EMBEDDEDOBJECT"),
              "instanceinstance");
    const XmlElement list = property(CIMValue(Array<CIMObject>(1, CIMObject(inner))));
    EXPECT_EQ(attribute(list, "EmbeddedObject") + attribute(list, "EMBEDDEDOBJECT"),
              "objectobject");
}

TEST_F(Encoding, WritesOriginPropagationAndReferenceClass)
{
    const CIMProperty all("P", pathValue("C.k=1"), 0, CIMName("T_Base"), CIMName("T_Mid"), true);
    const Reply reply = written(std::vector<CIMInstance>{instanceOf("T_Leaf.Id=1", {all})});
    const XmlElement property = the(reply.response, "PROPERTY.REFERENCE", "P");
    EXPECT_EQ(attribute(property, "REFERENCECLASS"), "T_Base");
    EXPECT_EQ(attribute(property, "CLASSORIGIN"), "T_Mid");
    EXPECT_EQ(attribute(property, "PROPAGATED"), "true");
}

// ---- Many in one reply: what they have in common must not hide where they differ ----

/// What stands between the first of one element and the last of it.
std::string inside(const std::string& body, const std::string& tag)
{
    const std::size_t start = body.find("<" + tag);
    return body.substr(start, body.rfind("</" + tag) - start);
}

TEST_F(Encoding, WritesManyInstancesAsItWritesEachAlone)
{
    // Each name is one object, as those of a class are: what is kept of a name counts for it.
    const CIMName p("P"), q("Q"), id("Id"), key("Key"), leafName("T_Leaf"), mid("T_Mid");
    const CIMValue one(Uint16(1)), path = pathValue("C.k=1");
    std::vector<CIMInstance> instances;
    const auto add = [&](const CIMProperty& property, const CIMKeyBinding& binding) {
        instances.emplace_back(leafName);
        const Array<CIMKeyBinding> bindings(1, binding);
        instances.back().setPath(CIMObjectPath({}, {}, leafName, bindings));
        instances.back().addProperty(property);
    };
    add(CIMProperty(p, CIMValue(Uint8(1))), {id, "1", CIMKeyBinding::NUMERIC});
    add(CIMProperty(p, CIMValue(Uint8(2))), {id, "2", CIMKeyBinding::NUMERIC});
    add(CIMProperty(p, one), {id, "3", CIMKeyBinding::STRING});
    add(CIMProperty(p, one, 0, {}, mid), {key, "4", CIMKeyBinding::STRING});
    add(CIMProperty(p, one, 0, {}, mid, true), {key, "5", CIMKeyBinding::BOOLEAN});
    add(CIMProperty(q, one, 0, {}, mid, true), {key, "6", CIMKeyBinding::NUMERIC});
    add(CIMProperty(q, path), {id, "7", CIMKeyBinding::NUMERIC});
    add(CIMProperty(q, path, 0, CIMName("T_Base")), {id, "8", CIMKeyBinding::NUMERIC});
    const CIMClass leaf = broker->getClass(me, test, "T_Leaf", {});
    for (const Uint32 changed : {4U, 2U, 2U}) {  // L, then Level
        instances.push_back(leaf.buildInstance(false, false, CIMPropertyList()));
        const CIMValue value = changed == 4 ? CIMValue(String("x")) : CIMValue(Uint16(9));
        instances.back().getProperty(changed).setValue(value);
    }
    std::string expected;
    for (const CIMInstance& each : instances)
        expected += inside(written(std::vector<CIMInstance>{each}).body, "VALUE.NAMEDINSTANCE") +
                    "</VALUE.NAMEDINSTANCE>\n";
    const Reply reply = written(instances);
    EXPECT_EQ(inside(reply.body, "VALUE.NAMEDINSTANCE") + "</VALUE.NAMEDINSTANCE>\n", expected);
    Lines types;
    for (const XmlElement* each : all(reply.response, "KEYVALUE"))
        types.push_back(attribute(*each, "VALUETYPE"));
    EXPECT_EQ(types, (Lines{"numeric", "numeric", "string", "string", "boolean", "numeric",
                            "numeric", "numeric", "numeric", "numeric"}))
        << "the last four: two names, each with a reference";
}

TEST_F(Encoding, KeepsHostsAndNamespacesOfPathsApart)
{
    std::vector<CIMObjectPath> paths;
    for (const char* each : {"C.Id=1", "root/Test:C.Id=2", "//far/x:C.Id=3", "//here/x:C.Id=4"})
        paths.emplace_back(each);
    scripted::provider("LinkSub").onPaths = scripted::delivering<CIMObjectPath>(paths);
    const std::string parameters = objectName("T_Leaf.Id=1") + className("T_LinkSub", "AssocClass");
    const Reply reply = send(intrinsic("AssociatorNames", parameters));
    Lines found;
    for (const XmlElement* each : all(reply.response, "INSTANCEPATH")) {
        found.push_back(the(*each, "HOST").text);
        for (const std::string& name : namesOf(*each, "NAMESPACE"))
            found.back() += "/" + name;
    }
    EXPECT_EQ(found, (Lines{"here/root/test", "here/root/Test", "far/x", "here/x"}));
}

}  // namespace
}  // namespace cimom
