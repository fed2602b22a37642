// QBX_Common: values into instances, requests out of parameters, paths, associations, lookups.
#include "ProviderTest.h"

#include "QBX_Common.h"
#include "QBX_Frame.h"

namespace
{

using ToolkitTest = ProviderTest;

// ---- Properties ----

const CIMDateTime DATE("20260101000000.000000+000");

/// Stores the value in a property of its type.
template <class Value>
void expectStored(const Value& value)
{
    const CIMValue stored(value);
    CIMInstance instance(CIMName("QBX_Test"));
    const CIMValue null(stored.getType(), stored.isArray());
    instance.addProperty(CIMProperty(CIMName("Value"), null));
    QBX_Common::setPropertyValue(instance, CIMName("value"), value);
    EXPECT_TRUE(instance.getProperty(0).getValue().equal(stored)) << str(stored);
}

TEST_F(ToolkitTest, SetPropertyValueStoresEveryType)
{
    expectStored(instanceWith(CIMName("QBX_Embedded"), {}));
    expectStored(DATE);
    expectStored(pathOf("C", {{"K", "v"}}));
    expectStored(Array<CIMDateTime>(2, DATE));
    expectStored(Array<bool>(2, true));
    expectStored(Array<Uint64>(2, Uint64(-1)));
    expectStored(Array<Sint32>(2, Sint32(-1)));
    expectStored(Array<Uint16>(2, Uint16(65535)));
    expectStored(Array<String>(2, String("s")));
    expectStored(Sint16(-32768));
    expectStored(Uint64(-1));
    expectStored(Uint32(-1));
    expectStored(Uint16(65535));
    expectStored(Uint8(255));
    expectStored(true);
    expectStored(String("text"));
}

TEST_F(ToolkitTest, SetPropertyValueToNullKeepsTheType)
{
    CIMInstance instance = instanceWith(CIMName("C"), {uint16("Value", 7)});
    QBX_Common::setPropertyValueToNull(instance, CIMName("value"), CIMTYPE_UINT16);
    EXPECT_TRUE(instance.getProperty(0).getValue().equal(CIMValue(CIMTYPE_UINT16, false)));
    QBX_Common::setPropertyValueToNull(instance, CIMName("Absent"), CIMTYPE_UINT16);
    EXPECT_EQ(instance.getPropertyCount(), 1u);
    EXPECT_THROW(QBX_Common::setPropertyValueToNull(instance, CIMName("Value"), CIMTYPE_STRING),
                 TypeMismatchException);
}

TEST_F(ToolkitTest, SkeletonHasEveryPropertyAtTheClassDefault)
{
    CIMClass cimClass = storedClass("QBX_DriveCageDC2Family");
    const CIMInstance instance = QBX_Common::buildInstanceSkeleton(cimClass);
    EXPECT_EQ(valueOf(instance, "RemovalConditions"), "2");
    EXPECT_EQ(valueOf(instance, "Location"), "null");
    EXPECT_TRUE(instance.identical(cimClass.buildInstance(true, true, CIMPropertyList())))
        << "with qualifiers and class origins";
    EXPECT_LIST(array.events(), SKELETON);
}

// ---- Keys and string properties ----

TEST_F(ToolkitTest, ReadsLastKeyOfTheNameOfAnyType)
{
    const CIMObjectPath several = pathOf("C", {{"Tag", "a"}, {"TAG", "b"}});
    EXPECT_EQ(str(QBX_Common::getStringProperty(several, "tag")), "b");
    EXPECT_EQ(str(QBX_Common::getStringProperty(several, "DeviceID")), "");
    const CIMObjectPath numbered("root/qbx:C.Number=16");
    EXPECT_EQ(str(QBX_Common::getStringProperty(numbered, "number")), "16");
    EXPECT_LIST(array.events(),
                {readKey("tag", "b"), readKey("DeviceID", ""), readKey("number", "16")});
}

TEST_F(ToolkitTest, ReadsStringPropertiesOfInstances)
{
    const CIMInstance instance = instanceWith(
        CIMName("C"),
        {string("S", "100% done"), null("Empty", CIMTYPE_STRING), uint16("Number", 1)});
    EXPECT_EQ(str(QBX_Common::getStringProperty(instance, "s")), "100% done");
    EXPECT_EQ(str(QBX_Common::getStringProperty(instance, "Empty")), "");
    EXPECT_EQ(str(QBX_Common::getStringProperty(instance, "Missing")), "");
    EXPECT_LIST(array.events(),
                {readKey("s", "100% done"), readKey("Empty", ""), readKey("Missing", "")});
    EXPECT_THROW(QBX_Common::getStringProperty(instance, "Number"), TypeMismatchException);
}

TEST_F(ToolkitTest, RejectsEmptyPropertyNameAndUninitializedInstance)
{
    const Texts rejected = {"3: \tInvalid property name.\n"};
    EXPECT_EQ(str(QBX_Common::getStringProperty(instanceWith(CIMName("C"), {}), String())), "");
    EXPECT_EQ(str(QBX_Common::getStringProperty(CIMInstance(), "S")), "");
    EXPECT_LIST(array.events(), {readKey("", "")[0], rejected, readKey("S", "")[0], rejected});
}

// ---- Parameters ----

TEST_F(ToolkitTest, ReadsFirstParameterThatIsNotNull)
{
    const CIMParamValue none = null("Wanted", CIMTYPE_UINT16);
    Uint16 out = 9;
    EXPECT_EQ(QBX_Common::getParameter(Parameters{uint16("Other", 1), none}, "Wanted", out), 3);
    EXPECT_EQ(out, 9);
    EXPECT_EQ(QBX_Common::getParameter(Parameters{none, uint16("WANTED", 2)}, "Wanted", out), 4);
    EXPECT_EQ(out, 2);
    const Parameters several = {uint16("Wanted", 3), none, uint16("Wanted", 4)};
    EXPECT_EQ(QBX_Common::getParameter(several, "Wanted", out), 0);
    EXPECT_EQ(out, 3);

    array.forget();
    EXPECT_THROW(QBX_Common::getParameter(Parameters{string("Wanted", "1")}, "Wanted", out),
                 TypeMismatchException);
    EXPECT_EQ(array.events().size(), 1u) << "no exit line when it throws";
}

/// Reads a parameter that is missing, then one that is given; `exits` are the ends of the exit
/// lines.
template <class Value>
void expectRead(const std::string& type, Value out, const Value& given, const Texts& exits)
{
    TestArray::current->forget();
    EXPECT_EQ(QBX_Common::getParameter(Parameters{}, "Wanted", out), 3);
    EXPECT_EQ(QBX_Common::getParameter(Parameters{parameter("wanted", given)}, "Wanted", out), 0);
    EXPECT_TRUE(CIMValue(out).equal(CIMValue(given))) << type;
    const std::string entry = "4: -->QBX_Common::getParameter(" + type + "), paramName = Wanted\n";
    const std::string exit = "4: <--QBX_Common::getParameter(" + type + ")";
    EXPECT_LIST(TestArray::current->events(), {entry, exit + exits[0], entry, exit + exits[1]});
}

Texts shown(const std::string& before, const std::string& after)
{
    return {", paramValue = " + before + "\n", ", paramValue = " + after + "\n"};
}

TEST_F(ToolkitTest, GetParameterReadsEveryType)
{
    const CIMObjectPath a("A.k=\"1\"");
    const CIMObjectPath b("B.k=\"2\"");
    const Array<String> texts(2, String("x"));
    const Array<Uint16> numbers(2, Uint16(1));
    expectRead("Uint16", Uint16(9), Uint16(65535), shown("9", "65535"));
    expectRead("Boolean", false, true, shown("0", "1"));
    expectRead("Uint32", Uint32(9), Uint32(-1), shown("9", "-1"));
    expectRead("Uint64", Uint64(9), Uint64(-1), shown("9", "18446744073709551615"));
    expectRead("String", String("before"), String("%s"), shown("before", "%s"));
    expectRead("Uint8", Uint8(9), Uint8(255), shown("9", "255"));
    expectRead("CIMDateTime", CIMDateTime(), DATE,
               shown(str(CIMDateTime().toString()), str(DATE.toString())));
    expectRead("CIMObjectPath", a, b, shown(str(a), str(b)));
    expectRead("Array<String>", Array<String>(), texts, {"", ""});
    expectRead("Array<Uint16>", Array<Uint16>(), numbers, {"\n", "\n"});
}

// ---- Paths ----

/// Two paths; whether they denote the same object.
struct PathsRow : Row
{
    const char* first;
    const char* second;
    bool isSame;
};

using MatchTest = RowTest<PathsRow, ProviderTest>;

TEST_P(MatchTest, ComparesWhatThePathsDenote)
{
    const CIMObjectPath first(row.first);
    const CIMObjectPath second(row.second);
    EXPECT_EQ(QBX_Common::matchObjectPath(first, second), row.isSame);
    EXPECT_EQ(QBX_Common::matchObjectPath(second, first), row.isSame);
    EXPECT_LIST(array.events(), Texts());
}

const std::vector<PathsRow> PATHS = {
    {"Hosts", R"(//h1/root/qbx:C.Tag="a b")", R"(root/qbx:C.Tag="a b")", true},
    {"CaseOfNames", R"(root/qbx:C.Tag="a b")", R"(root/QBX:c.TAG="a b")", true},
    {"Namespaces", R"(root/qbx:C.Tag="a b")", R"(root/other:C.Tag="a b")", false},
    {"Classes", R"(root/qbx:C.Tag="a b")", R"(root/qbx:D.Tag="a b")", false},
    {"CaseOfTexts", R"(root/qbx:C.Tag="a b")", R"(root/qbx:C.Tag="A b")", false},
    {"MoreKeys", R"(root/qbx:C.Tag="a b")", R"(root/qbx:C.Tag="a b",X="1")", false},
    {"Numbers", R"(root/qbx:C.N=10)", R"(root/qbx:C.N=0xA)", true},
    {"NumberAndText", R"(root/qbx:C.N=10)", R"(root/qbx:C.N="10")", false},
    {"TextsThatReadAsClassNames", R"(root/qbx:C.Tag="cage0")", R"(root/qbx:C.Tag="CAGE0")", true},
    {"TextsThatBeginWithASlash", R"(root/qbx:C.Tag="/a.b")", R"(root/qbx:C.Tag="/A.b")", false},
    // References: the host inside them does not count either.
    {"ReferenceHosts", R"(root/qbx:A.R="//h1/root/qbx:C.T=\"a b\"")",
     R"(root/qbx:A.R="root/qbx:C.T=\"a b\"")", true},
    {"ReferenceNumbers", R"(root/qbx:A.R="root/qbx:C.N=10")", R"(root/qbx:A.R="root/qbx:C.N=0xA")",
     true},
    {"ReferenceTexts", R"(root/qbx:A.R="//h1/root/qbx:C.T=\"a b\"")",
     R"(root/qbx:A.R="//h2/root/qbx:C.T=\"a c\"")", false},
    {"ReferenceKeyOrder", R"(root/qbx:A.R="root/qbx:C.K=\"1\",J=\"2\"")",
     R"(root/qbx:A.R="root/qbx:C.J=\"2\",K=\"1\"")", true},
    {"ReferenceCaseOfTexts", R"(root/qbx:A.R="//h1/root/qbx:C.T=\"a\"")",
     R"(root/qbx:A.R="//h2/root/qbx:C.T=\"A\"")", false},
    {"ReferenceCaseOfNames", R"(root/qbx:A.R="//h1/root/qbx:C.T=\"a\"")",
     R"(root/qbx:A.R="//h2/ROOT/qbx:c.T=\"a\"")", true},
};
INSTANTIATE_TEST_SUITE_P(MatchObjectPath, MatchTest, testing::ValuesIn(PATHS), NameOfRow());

TEST_F(ToolkitTest, AQuotedReferenceMatchesTheReference)
{
    const std::string target = "//h/root/qbx:C.Tag=\"a b\"";
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("R"), target.c_str(), CIMKeyBinding::REFERENCE));
    const CIMObjectPath reference("other", CIMNamespaceName("root/qbx"), CIMName("A"), keys);
    EXPECT_TRUE(QBX_Common::matchObjectPath(pathOf("A", {{"R", target}}), reference));
    EXPECT_TRUE(QBX_Common::matchObjectPath(reference, pathOf("A", {{"R", target}})));
    EXPECT_FALSE(QBX_Common::matchObjectPath(CIMObjectPath(), reference));
}

// ---- Associations ----

const CIMName ASSOCIATION("QBX_InterfaceCardInDriveCage");
const CIMObjectPath C = pathOf("C", {{"T", "a"}}, "elsewhere");
const CIMObjectPath D = pathOf("D", {{"T", "b"}}, "");

TEST_F(ToolkitTest, AssociationPathsCarryTheHostInEveryReference)
{
    const CIMObjectPath path =
        QBX_Common::buildAssocPath(ASSOCIATION, "Zebra", "Ant", C, D, "h", "root/qbx");
    EXPECT_EQ(str(path),
              "//h/root/qbx:QBX_InterfaceCardInDriveCage."
              R"(Ant="//h/root/qbx:D.T=\"b\"",Zebra="//h/root/qbx:C.T=\"a\"")");
    EXPECT_EQ(path.getKeyBindings()[0].getType(), CIMKeyBinding::REFERENCE);
    EXPECT_EQ(str(C.getHost()), "elsewhere") << "the caller's path is untouched";
    EXPECT_EQ(
        str(QBX_Common::buildAssocPath(ASSOCIATION, "A", "B", C, D, "h0", "h1", "h2", "root/qbx")),
        "//h0/root/qbx:QBX_InterfaceCardInDriveCage."
        R"(A="//h1/root/qbx:C.T=\"a\"",B="//h2/root/qbx:D.T=\"b\"")");
    EXPECT_EQ(str(QBX_Common::buildAssocPath(ASSOCIATION, "A", "B", "C", C, D, C, "h", "root/qbx")),
              "//h/root/qbx:QBX_InterfaceCardInDriveCage.A=\"//h/root/qbx:C.T=\\\"a\\\"\","
              R"(B="//h/root/qbx:D.T=\"b\"",C="//h/root/qbx:C.T=\"a\"")");
}

TEST_F(ToolkitTest, AssociationInstancesHoldTheReferencesThatTheirClassHas)
{
    CIMClass cimClass = storedClass(ASSOCIATION);
    const char* const group = "GroupComponent";
    CIMInstance instance =
        QBX_Common::buildAssocInstance(ASSOCIATION, group, "Ant", C, D, cimClass, "h", "root/qbx");
    EXPECT_EQ(valueOf(instance, group), R"(//h/root/qbx:C.T="a")");
    EXPECT_EQ(valueOf(instance, "Ant"), "absent");
    EXPECT_EQ(str(instance.getPath()),
              str(QBX_Common::buildAssocPath(ASSOCIATION, group, "Ant", C, D, "h", "root/qbx")));
    instance = QBX_Common::buildAssocInstance(ASSOCIATION, group, "PartComponent", C, D, cimClass,
                                              "h0", "h1", "h2", "root/qbx");
    EXPECT_EQ(valueOf(instance, group), R"(//h1/root/qbx:C.T="a")");
    EXPECT_EQ(valueOf(instance, "PartComponent"), R"(//h2/root/qbx:D.T="b")");
    instance = QBX_Common::buildAssocInstance(ASSOCIATION, "A", group, "B", D, C, D, cimClass, "h",
                                              "root/qbx");
    EXPECT_EQ(valueOf(instance, group), R"(//h/root/qbx:C.T="a")");
    EXPECT_EQ(instance.getPath().getKeyBindings().size(), 3u);
}

// ---- Node address and system objects ----

TEST_F(ToolkitTest, QueriesNodeAddressUpToFiveTimes)
{
    EXPECT_EQ(str(QBX_Common::getSystemAddress()), "");
    EXPECT_EQ(array.calls().size(), 15u) << "five calls, each under the semaphore";
}

TEST_F(ToolkitTest, ReturnsFirstNodeAddress)
{
    array.serve(ONE_OF_EACH);
    array.fail("api_getNodeIPaddress", 1, 1);
    array.fail("api_getNodeIPaddress", 1, 2);
    EXPECT_EQ(str(QBX_Common::getSystemAddress()), "192.0.2.1");
    EXPECT_EQ(array.calls().size(), 9u);
}

/// A system object: how it is looked for, its class, and the lines that are written at the begin
/// and at the end.
struct SystemObjectRow : Row
{
    CIMObjectPath (*find)(CIMOMHandle&);
    const char* className;
    const char* word;  ///< for it in the line that it is missing
    Texts entry;
    Texts exit;
};

class SystemObjectTest : public RowTest<SystemObjectRow, ProviderTest>
{
protected:
    SystemObjectTest() { QBX_Common::getSystemHostName(handle); }  // known from here on

    /// The first upcalls throw a CIM exception, or another; returns the path that is found.
    std::string find(unsigned failing, bool isCIM = true)
    {
        array.forget();
        array.onNote = [=](const std::string&) mutable {
            if (failing == 0) return;
            --failing;
            if (isCIM) throw CIMException(CIM_ERR_FAILED, "not now");
            throw 5;
        };
        return str(row.find(handle));
    }

    CIMOMHandle handle;
    const std::string found = str(element(row.className, "package"));
    const std::string upcall = std::string("cimom.enumerateInstanceNames nobody ") + row.className;
    const Texts begin = {row.entry, "4: -->QBX_Common::enumerateInstanceNames()\n", upcall};
    const std::string line = "2: QBX_Common::" + row.name;
    const Texts missing = {std::string("2: cannot get at ") + row.word + " object path\n",
                           row.exit};
};

TEST_P(SystemObjectTest, IsFoundByTheClient)
{
    EXPECT_EQ(find(0), found);
    EXPECT_LIST(array.events(), {begin, "4: <--QBX_Common::enumerateInstanceNames()\n", row.exit});
}

TEST_P(SystemObjectTest, IsFoundByTheHandleWhenTheClientFails)
{
    EXPECT_EQ(find(1), found);
    EXPECT_LIST(array.events(),
                {begin, line + ": CIM_ERR_FAILED: not now. Trying via cimom.\n", upcall, row.exit});
}

TEST_P(SystemObjectTest, IsMissingWhenBothFail)
{
    EXPECT_EQ(find(2), "");
    EXPECT_LIST(array.events(), {begin, line + ": CIM_ERR_FAILED: not now. Trying via cimom.\n",
                                 upcall, line + ": not now.\n", missing});
    EXPECT_EQ(find(2, false), "");
    EXPECT_LIST(array.events(), {begin, line + ": Unknow exception! Trying via cimom\n", upcall,
                                 line + ": Unknow exception in cimom!\n", missing});
}

// clang-format off
const std::vector<SystemObjectRow> SYSTEM_OBJECTS = {
    {"getSystemPkgObjectPath", QBX_Common::getSystemPkgObjectPath, "QBX_SystemPackage",
     "system pkg", {}, {}},
    {"getSystemObjectPath", QBX_Common::getSystemObjectPath, "QBX_StorageSystem", "system",
     {"4: -->QBX_Common::getSystemObjectPath()\n"}, {"4: <--QBX_Common::getSystemObjectPath()\n"}},
    {"getSystemViewObjectPath", QBX_Common::getSystemViewObjectPath, "QBX_StorageSystemView",
     "system view", {"4: -->QBX_Common::getSystemViewObjectPath()\n"},
     {"4: <--QBX_Common::getSystemViewObjectPath()\n"}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(SystemObjects, SystemObjectTest, testing::ValuesIn(SYSTEM_OBJECTS),
                         NameOfRow());

TEST_F(ToolkitTest, ReturnsFirstSystemObjectWithHostOfTheArray)
{
    cimom.onEnumerateInstanceNames = [](const CIMName& name) {
        Array<CIMObjectPath> names(1, element(str(name), "first", "other"));
        names.append(element(str(name), "second", "other"));
        return names;
    };
    CIMOMHandle handle;
    EXPECT_EQ(str(QBX_Common::getSystemObjectPath(handle)),
              str(element("QBX_StorageSystem", "first")));
    cimom.onEnumerateInstanceNames = [](const CIMName&) { return Array<CIMObjectPath>(); };
    EXPECT_EQ(str(QBX_Common::getSystemObjectPath(handle)), "");
    EXPECT_LIST(array.events().startingWith("2:"), {"2: cannot get at system object path\n"});
}

}  // namespace
