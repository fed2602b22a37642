// What is shown of instances: the flags and the property list of a request, however much the
// provider delivers.
#include "../CimXml/ServiceFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// An operation that returns instances, and the parameters that name T_Leaf or its associations.
struct ViewingOperation : Row
{
    const char* operation;
    std::string parameters;
};

/// Runs with providers that deliver T_Leaf.Id=1 with all that the class declares.
class ViewOfInstances : public ServiceTableTest<ViewingOperation>
{
protected:
    ViewOfInstances()
    {
        leaf = broker->getClass(me, test, "T_Leaf", {}).buildInstance(true, true, {});
        leaf.setPath(String("T_Leaf.Id=1"));
        scripted::provider("Leaf").onInstances = scripted::delivering<CIMInstance>({leaf});
        scripted::provider("LinkSub").onObjects = scripted::delivering<CIMObject>({leaf});
    }
    /// The INSTANCE that the operation returns with these parameters.
    XmlElement shown(const std::string& parameters = "")
    {
        const CimRequest request =
            intrinsic(GetParam().operation, GetParam().parameters + parameters);
        return the(send(request).response, "INSTANCE");
    }

    CIMInstance leaf;
};

TEST_P(ViewOfInstances, HidesQualifiersAndClassOriginsByDefault)
{
    const XmlElement instance = shown();
    EXPECT_EQ(namesOf(instance, "PROPERTY"), (Lines{"Id", "A", "Level", "M", "L"}));
    EXPECT_EQ(namesOf(instance, "QUALIFIER"), Lines{});
    EXPECT_EQ(attribute(the(instance, "PROPERTY", "L"), "CLASSORIGIN"), "");
}

TEST_P(ViewOfInstances, ShowsQualifiersOnRequest)
{
    const XmlElement instance = shown(flag("IncludeQualifiers"));
    EXPECT_EQ(namesOf(instance, "QUALIFIER"), (Lines{"Note", "Key", "Note"}));
    EXPECT_EQ(namesOf(the(instance, "PROPERTY", "L"), "QUALIFIER"), Lines{"Note"});
    EXPECT_EQ(attribute(the(instance, "PROPERTY", "L"), "CLASSORIGIN"), "");
}

TEST_P(ViewOfInstances, ShowsClassOriginsOnRequest)
{
    const XmlElement instance = shown(flag("IncludeClassOrigin"));
    EXPECT_EQ(attribute(the(instance, "PROPERTY", "L"), "CLASSORIGIN"), "T_Leaf");
    EXPECT_EQ(attribute(the(instance, "PROPERTY", "Id"), "CLASSORIGIN"), "T_Base");
    EXPECT_EQ(namesOf(instance, "QUALIFIER"), Lines{});
}

TEST_P(ViewOfInstances, ShowsListedPropertiesOnceInTheOrderOfTheList)
{
    const XmlElement instance = shown(propertyList({"l", "Nope", "ID", "L"}));
    EXPECT_EQ(namesOf(instance, "PROPERTY"), (Lines{"L", "Id"}));
    EXPECT_EQ(shown(propertyList({})).children.size(), 0U);
    EXPECT_NE(scripted::calls.at(0).find(" PropertyList=[l Nope ID] "), std::string::npos)
        << "the provider gets the list without repetitions";
}

TEST_P(ViewOfInstances, LeavesTheInstanceOfTheProviderAsItIs)
{
    const CIMInstance before = leaf.clone();
    shown(propertyList({"L"}));
    EXPECT_TRUE(leaf.identical(before)) << text(leaf);
}

const std::string leafName = "T_Leaf.Id=1";
const ViewingOperation viewingOperations[] = {
    {"GetInstance", "GetInstance", instanceName(leafName)},
    {"EnumerateInstances", "EnumerateInstances", className("T_Leaf")},
    {"Associators", "Associators", objectName(leafName) + className("T_LinkSub", "AssocClass")},
    {"References", "References", objectName(leafName) + className("T_LinkSub", "ResultClass")},
};
INSTANTIATE_TEST_SUITE_P(Of, ViewOfInstances, ::testing::ValuesIn(viewingOperations), NameOfRow());

}  // namespace
}  // namespace cimom
