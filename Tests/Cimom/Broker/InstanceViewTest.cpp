// What is shown of instances: the flags and the property list of a request, however much the
// provider delivers.
#include "../CimXml/ServiceFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// An operation that brings instances, and the parameters that name T_Leaf or its associations.
struct ViewingOperation : Row
{
    const char* operation;
    std::string parameters;
};

/// Runs with providers that deliver T_Leaf.Id=1 with all that the class declares.
class ViewOfInstances : public ServiceTableTest<ViewingOperation>
{
protected:
    ViewOfInstances() : leaf(CIMName("T_Leaf"))
    {
        leaf = broker->getClass(me, test, "T_Leaf", {}).buildInstance(true, true, {});
        leaf.setPath(String("//here/root/test:T_Leaf.Id=1"));
        const auto deliver = [this](auto& handler) {
            handler.deliver(leaf);
            handler.complete();
        };
        scripted::provider("Leaf").onGetInstance = deliver;
        scripted::provider("Leaf").onEnumerateInstances = deliver;
        scripted::provider("LinkSub").onAssociators = deliver;
        scripted::provider("LinkSub").onReferences = deliver;
    }
    /// The INSTANCE that the operation brings with these parameters.
    XmlElement shown(const std::string& parameters = "")
    {
        const Reply reply = send(intrinsic(GetParam().operation, GetParam().parameters + parameters));
        return the(reply.response, "INSTANCE");
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
    EXPECT_EQ(instance.children.at(0).name, "QUALIFIER") << "that of the class";
    EXPECT_EQ(namesOf(the(instance, "PROPERTY", "Id"), "QUALIFIER"), Lines{"Key"});
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
    EXPECT_NE(scripted::takeCalls().at(0).find(" PropertyList=[l Nope ID] "), std::string::npos)
        << "the provider gets the list without repetitions";
}

TEST_P(ViewOfInstances, ShowsNoPropertyForAnEmptyList)
{
    EXPECT_EQ(shown(propertyList({})).children.size(), 0U);
    EXPECT_NE(scripted::takeCalls().at(0).find(" PropertyList=[] "), std::string::npos);
}

TEST_P(ViewOfInstances, LeavesTheInstanceOfTheProviderAsItIs)
{
    const CIMInstance before = leaf.clone();
    shown(propertyList({"L"}));
    EXPECT_TRUE(leaf.identical(before)) << text(leaf);
}

INSTANTIATE_TEST_SUITE_P(
    Operations, ViewOfInstances,
    ::testing::ValuesIn(std::vector<ViewingOperation>{
        {"GetInstance", "GetInstance", instanceName("T_Leaf.Id=1")},
        {"EnumerateInstances", "EnumerateInstances", classNameParameter("T_Leaf")},
        {"Associators", "Associators",
         objectName("T_Leaf.Id=1") + classNameParameter("T_LinkSub", "AssocClass")},
        {"References", "References",
         objectName("T_Leaf.Id=1") + classNameParameter("T_LinkSub", "ResultClass")},
    }),
    NameOfRow());

}  // namespace
}  // namespace cimom
