// Operations on the schema, and how classes and qualifier declarations are written.
#include "ServiceFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// An element with its attributes, as in "PROPERTY NAME=Id TYPE=uint32", and the values in it, as
/// in "= x y".
std::string described(const XmlElement& element)
{
    std::string line = element.name;
    for (const auto& [name, text] : element.attributes)
        line += " " + name + "=" + text;
    for (const XmlElement& child : element.children) {
        if (child.name == "VALUE") line += " = " + child.text;
        if (child.name == "VALUE.ARRAY") line += " =";
        for (const XmlElement* item : all(child, "VALUE"))
            line += child.name == "VALUE.ARRAY" ? " " + item->text : "";
    }
    return line;
}

/// The element and all below, each described on a line of its own; those of values and scopes
/// belong to the element that they are in.
Lines lines(const XmlElement& element)
{
    Lines found{described(element)};
    for (const XmlElement& child : element.children) {
        if (child.name.rfind("VALUE", 0) == 0) continue;
        for (const std::string& line : lines(child))
            found.push_back(line);
    }
    return found;
}

class SchemaOperation : public ServiceTest
{
protected:
    Lines getClass(const std::string& name, const std::string& parameters = "")
    {
        const CimRequest request = intrinsic("GetClass", className(name) + parameters);
        return lines(the(send(request).response, "CLASS"));
    }
    Lines getQualifier(const char* name)
    {
        const CimRequest request =
            intrinsic("GetQualifier", parameter("QualifierName", value(name)));
        return lines(the(send(request).response, "QUALIFIER.DECLARATION"));
    }
};

TEST_F(SchemaOperation, GetClassReturnsEverythingThatAClassCanDeclare)
{
    EXPECT_EQ(
        getClass("T_All"),
        (Lines{
            "CLASS NAME=T_All", "QUALIFIER NAME=Note TYPE=string TRANSLATABLE=true = a < b",
            "PROPERTY NAME=Id TYPE=uint32",
            "QUALIFIER NAME=Key TYPE=boolean OVERRIDABLE=false = TRUE",
            "PROPERTY.ARRAY NAME=Fixed TYPE=uint8 ARRAYSIZE=4",
            "PROPERTY NAME=Number TYPE=sint64 = -5", "QUALIFIER NAME=Values TYPE=string = x  y",
            "METHOD NAME=Do TYPE=boolean", "QUALIFIER NAME=Note TYPE=string TRANSLATABLE=true = m",
            "PARAMETER NAME=Count TYPE=uint32", "PARAMETER.ARRAY NAME=Bytes TYPE=uint8 ARRAYSIZE=4",
            "QUALIFIER NAME=Note TYPE=string TRANSLATABLE=true = p",
            "PARAMETER.REFERENCE NAME=One REFERENCECLASS=T_Base"}));
}

TEST_F(SchemaOperation, GetClassReturnsInheritedElementsAndOriginsOnRequest)
{
    const std::string parameters = flag("LocalOnly", "FALSE") + flag("IncludeQualifiers", "FALSE") +
                                   flag("IncludeClassOrigin");
    EXPECT_EQ(getClass("T_AllSub", parameters),
              (Lines{"CLASS NAME=T_AllSub SUPERCLASS=T_All",
                     "PROPERTY NAME=Id CLASSORIGIN=T_All PROPAGATED=true TYPE=uint32",
                     "PROPERTY.ARRAY NAME=Fixed TYPE=uint8 ARRAYSIZE=4 CLASSORIGIN=T_All "
                     "PROPAGATED=true",
                     "PROPERTY NAME=Number CLASSORIGIN=T_All PROPAGATED=true TYPE=sint64 = -5",
                     "PROPERTY NAME=Own CLASSORIGIN=T_AllSub TYPE=string",
                     "METHOD NAME=Do TYPE=boolean CLASSORIGIN=T_All PROPAGATED=true",
                     "PARAMETER NAME=Count TYPE=uint32",
                     "PARAMETER.ARRAY NAME=Bytes TYPE=uint8 ARRAYSIZE=4",
                     "PARAMETER.REFERENCE NAME=One REFERENCECLASS=T_Base"}));
}

TEST_F(SchemaOperation, GetClassReturnsListedPropertiesAndAllMethods)
{
    EXPECT_EQ(getClass("T_LinkSub", flag("LocalOnly", "FALSE") + propertyList({"lower"})),
              (Lines{"CLASS NAME=T_LinkSub SUPERCLASS=T_Link",
                     "QUALIFIER NAME=Association TYPE=boolean OVERRIDABLE=false = TRUE",
                     "PROPERTY.REFERENCE NAME=Lower REFERENCECLASS=T_Static PROPAGATED=true",
                     "QUALIFIER NAME=Key TYPE=boolean OVERRIDABLE=false = TRUE"}));
    EXPECT_EQ(getClass("T_All", propertyList({})).at(2), "METHOD NAME=Do TYPE=boolean");
}

TEST_F(SchemaOperation, EnumerateClassesReturnsSubclassesAsAsked)
{
    const Reply direct = send(intrinsic("EnumerateClasses", className("T_Base")));
    EXPECT_EQ(namesOf(direct.response, "CLASS"), (Lines{"T_Mid", "T_Side"}));
    EXPECT_EQ(namesOf(direct.response, "PROPERTY"), Lines{"M"});
    const std::string parameters = flag("DeepInheritance") + flag("LocalOnly", "FALSE") +
                                   flag("IncludeQualifiers", "FALSE") + flag("IncludeClassOrigin");
    const Reply whole = send(intrinsic("EnumerateClasses", className("T_Mid") + parameters));
    EXPECT_EQ(lines(the(whole.response, "CLASS", "T_Leaf")).back(),
              "PROPERTY NAME=L CLASSORIGIN=T_Leaf TYPE=string = l");
    EXPECT_EQ(send(intrinsic("EnumerateClasses", className("T_Leaf"))).response.children.size(),
              0U);
}

TEST_F(SchemaOperation, GetQualifierReturnsTheDeclaration)
{
    const std::string unknown = parameter("QualifierName", value("nOne"));
    EXPECT_EQ(send(intrinsic("GetQualifier", unknown)).error(), "6 CIM_ERR_NOT_FOUND: nOne");
    EXPECT_EQ(getQualifier("kEY"),
              (Lines{"QUALIFIER.DECLARATION NAME=Key TYPE=boolean OVERRIDABLE=false = FALSE",
                     "SCOPE REFERENCE=true PROPERTY=true"}));
    EXPECT_EQ(getQualifier("Abstract").at(0),
              "QUALIFIER.DECLARATION NAME=Abstract TYPE=boolean TOSUBCLASS=false = FALSE");
    EXPECT_EQ(getQualifier("Values").at(0),
              "QUALIFIER.DECLARATION NAME=Values TYPE=string ISARRAY=true");
    EXPECT_EQ(getQualifier("Note"),
              (Lines{"QUALIFIER.DECLARATION NAME=Note TYPE=string TRANSLATABLE=true",
                     "SCOPE CLASS=true ASSOCIATION=true REFERENCE=true PROPERTY=true METHOD=true "
                     "PARAMETER=true INDICATION=true"}));
}

TEST_F(SchemaOperation, TraversalsFromAClassReturnClassesWithTheirPaths)
{
    const std::string base = className("T_Base", "ObjectName");
    const Reply classes = send(intrinsic("Associators", base + propertyList({"Text"})));
    EXPECT_EQ(lines(the(classes.response, "CLASSPATH")).back(), "CLASSNAME NAME=T_Static");
    EXPECT_EQ(namesOf(the(classes.response, "CLASS"), "PROPERTY"), Lines{"Text"});
    EXPECT_EQ(send(intrinsic("ReferenceNames", base)).response.children.at(0).children.at(1).name,
              "OBJECTPATH");
    EXPECT_EQ(send(intrinsic("ReferenceNames", className("T_All", "ObjectName")))
                  .response.children.size(),
              0U);
}

}  // namespace
}  // namespace cimom
