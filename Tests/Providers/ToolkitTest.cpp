// The toolkit: values into instances, requests out of parameters, paths, associations, lookups.
#include "ProviderTest.h"

#include "QBX_Common.h"

namespace
{

using ToolkitTest = ProviderTest;

const char TYPES[] = "QBX_TestTypes";

// ---- Properties ----

/// Stores the value in the property, where another type does not go, and in one that is not there.
template <class Value>
void expectStored(const char* property, const Value& value)
{
    CIMInstance instance = instanceOf(CIMName(TYPES));
    instance.addProperty(CIMProperty(CIMName("I"), CIMValue(CIMTYPE_INSTANCE, false)));
    const Uint32 position = instance.findProperty(CIMName(property));
    QBX_Common::setPropertyValue(instance, CIMName(property), value);
    EXPECT_TRUE(instance.getProperty(position).getValue().equal(CIMValue(value))) << property;
    const Uint32 count = instance.getPropertyCount();
    QBX_Common::setPropertyValue(instance, CIMName("Other"), value);
    EXPECT_EQ(instance.getPropertyCount(), count) << "an absent property is skipped";
    const char* const wrong = property == std::string("U8") ? "U16" : "U8";
    EXPECT_THROW(QBX_Common::setPropertyValue(instance, CIMName(wrong), value),
                 TypeMismatchException);
}

TEST_F(ToolkitTest, EveryFormOfSetPropertyValueStoresItsType)
{
    const CIMDateTime date("20260101000000.000000+000");
    expectStored("I", instanceOf(CIMName("QBX_Magazine")));
    expectStored("D", date);
    expectStored("R", pathOf(TYPES, {{"K", "v"}}));
    expectStored("Ds", Array<CIMDateTime>(2, date));
    expectStored("Bs", Array<bool>(2, true));
    expectStored("U64s", Array<Uint64>(2, Uint64(-1)));
    expectStored("S32s", Array<Sint32>(2, Sint32(-1)));
    expectStored("U16s", Array<Uint16>(2, Uint16(65535)));
    expectStored("Ss", Array<String>(2, String("s")));
    expectStored("S16", Sint16(-32768));
    expectStored("U64", Uint64(-1));
    expectStored("U32", Uint32(-1));
    expectStored("U16", Uint16(65535));
    expectStored("U8", Uint8(255));
    expectStored("B", true);
    expectStored("S", String("text"));

    CIMInstance instance = instanceOf(CIMName(TYPES));
    QBX_Common::setPropertyValue(instance, CIMName("Other"), CIMInstance());  // nothing is made
    QBX_Common::setPropertyValueToNull(instance, CIMName("u16"), CIMTYPE_UINT16);
    EXPECT_EQ(valueOf(instance, "U16"), "uint16 null");
    QBX_Common::setPropertyValueToNull(instance, CIMName("Other"), CIMTYPE_UINT16);
    EXPECT_THROW(QBX_Common::setPropertyValueToNull(instance, CIMName("U16"), CIMTYPE_STRING),
                 TypeMismatchException);
    EXPECT_EQ(array.events(), Texts{}) << "setting a property writes no log";
}

TEST_F(ToolkitTest, SkeletonHasEveryPropertyAtTheClassDefault)
{
    CIMClass cimClass = storedClass("QBX_TestSubTypes");
    const CIMInstance instance = QBX_Common::buildInstanceSkeleton(cimClass);
    EXPECT_EQ(valueOf(instance, "U16"), "uint16 7");
    EXPECT_EQ(valueOf(instance, "S"), "string null");
    EXPECT_TRUE(instance.identical(cimClass.buildInstance(true, true, CIMPropertyList())))
        << "with qualifiers and origins";
    EXPECT_EQ(array.events(), (Texts{"4: -->QBX_Common::_buildInstanceSkeleton()\n",
                                     "4: <--QBX_Common::_buildInstanceSkeleton()\n"}));
}

// ---- Keys and string properties ----

const std::string ASKED = "4: -->QBX_Common::getStringProperty(), propertyName = ";
const std::string READ = "4: <--QBX_Common::getStringProperty(), value = ";

TEST_F(ToolkitTest, KeysAreReadByNameWithoutCaseAndTheLastOneWins)
{
    const CIMObjectPath path("root/qbx:C.Number=16,TAG=\"second\"");
    CIMObjectPath twice = pathOf("C", {{"Tag", "first"}, {"TAG", "second"}});
    const std::tuple<CIMObjectPath, const char*, std::string> rows[] = {
        {path, "tag", "second"}, {twice, "tag", "second"},     {path, "number", "16"},
        {path, "DeviceID", ""},  {pathOf("C"), "no name", ""},  // it is compared with nothing
    };
    for (const auto& [object, key, value] : rows) {
        array.forget();
        EXPECT_EQ(str(QBX_Common::getStringProperty(object, key)), value) << key;
        EXPECT_EQ(array.events(), (Texts{ASKED + key + "\n", READ + value + "\n"}));
    }
}

TEST_F(ToolkitTest, StringPropertiesOfInstances)
{
    CIMInstance instance = instanceOf(CIMName(TYPES));
    QBX_Common::setPropertyValue(instance, CIMName("S"), String("100% done"));
    const std::pair<const char*, std::string> rows[] = {
        {"s", "100% done"}, {"Empty", ""}, {"Missing", ""}};
    for (const auto& [name, value] : rows) {
        array.forget();
        EXPECT_EQ(str(QBX_Common::getStringProperty(instance, name)), value);
        EXPECT_EQ(array.events(), (Texts{ASKED + name + "\n", READ + value + "\n"}));
    }
    EXPECT_THROW(QBX_Common::getStringProperty(instance, "U8"), TypeMismatchException);

    array.forget();
    EXPECT_EQ(str(QBX_Common::getStringProperty(instance, String())), "");
    EXPECT_EQ(str(QBX_Common::getStringProperty(CIMInstance(), "S")), "");
    const std::string rejected = "3: \tInvalid property name.\n";
    EXPECT_EQ(array.events(), (Texts{ASKED + "\n", rejected, ASKED + "S\n", rejected}));
}

// ---- Parameters ----

/// One overload of getParameter: what it writes, and that it follows the rules all of them share.
/// `shown` are the ends of the exit line when nothing and when the value was read.
template <class Value>
void expectParameter(TestArray& array, const char* type, const Value& before, const Value& value,
                     const std::pair<std::string, std::string>& shown)
{
    const auto list = [](const std::vector<std::pair<const char*, CIMValue>>& named) {
        Array<CIMParamValue> result;
        for (const auto& [name, each] : named)
            result.append(CIMParamValue(name, each));
        return result;
    };
    const CIMValue null(CIMValue(value).getType(), CIMValue(value).isArray());
    const std::tuple<Array<CIMParamValue>, int, bool> rows[] = {
        {list({{"Other", CIMValue(String("x"))}, {"wanted", CIMValue(value)}}), 0, true},
        {list({{"Other", CIMValue(value)}}), 3, false},
        {list({{"Wanted", null}}), 3, false},
        {list({{"Wanted", null}, {"WANTED", CIMValue(value)}}), 4, true},
        {list({{"Wanted", CIMValue(value)}, {"Wanted", null}, {"Wanted", CIMValue(before)}}), 0,
         true},
    };
    const std::string operation = "QBX_Common::getParameter(" + std::string(type) + ")";
    const std::string entry = "4: -->" + operation + ", paramName = Wanted\n";
    for (const auto& [in, result, isRead] : rows) {
        SCOPED_TRACE(operation + " " + std::to_string(result));
        array.forget();
        Value out = before;
        EXPECT_EQ(QBX_Common::getParameter(in, "Wanted", out), result);
        EXPECT_TRUE(CIMValue(out).equal(CIMValue(isRead ? value : before)));
        EXPECT_EQ(array.events(),
                  (Texts{entry, "4: <--" + operation + (isRead ? shown.second : shown.first)}));
    }
    array.forget();
    Value out = before;
    EXPECT_THROW(QBX_Common::getParameter(list({{"Wanted", CIMValue(Sint8(1))}}), "Wanted", out),
                 TypeMismatchException);
    EXPECT_EQ(array.events(), Texts{entry}) << "no exit line when it throws";
}

TEST_F(ToolkitTest, EveryFormOfGetParameter)
{
    const auto shown = [](const std::string& before, const std::string& after) {
        return std::pair(", paramValue = " + before + "\n", ", paramValue = " + after + "\n");
    };
    expectParameter(array, "Uint16", Uint16(9), Uint16(65535), shown("9", "65535"));
    expectParameter(array, "Boolean", false, true, shown("0", "1"));
    expectParameter(array, "Uint32", Uint32(9), Uint32(-1), shown("9", "-1"));
    expectParameter(array, "Uint64", Uint64(9), Uint64(-1), shown("9", "18446744073709551615"));
    expectParameter(array, "String", String("before"), String("%s"), shown("before", "%s"));
    expectParameter(array, "Uint8", Uint8(9), Uint8(255), shown("9", "255"));
    expectParameter(array, "CIMDateTime", CIMDateTime(), CIMDateTime("20260101000000.000000+000"),
                    shown("00000000000000.000000:000", "20260101000000.000000+000"));
    expectParameter(array, "CIMObjectPath", CIMObjectPath("A.k=\"1\""), CIMObjectPath("B.k=\"2\""),
                    shown("A.k=\"1\"", "B.k=\"2\""));
    expectParameter(array, "Array<String>", Array<String>(), Array<String>(2, String("x")),
                    {"", ""});
    expectParameter(array, "Array<Uint16>", Array<Uint16>(), Array<Uint16>(2, Uint16(1)),
                    {"\n", "\n"});
}

// ---- Paths ----

TEST_F(ToolkitTest, PathsMatchWithoutHostsAndWithQuotedReferences)
{
    for (const Texts& row : table("paths", 3)) {
        const CIMObjectPath first(row[0].c_str());
        EXPECT_EQ(QBX_Common::matchObjectPath(first, CIMObjectPath(row[1].c_str())),
                  row[2] == "same")
            << row[0] << "\n"
            << row[1];
    }
    const std::string target = "//h/root/qbx:C.Tag=\"a b\"";
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("R"), target.c_str(), CIMKeyBinding::REFERENCE));
    const CIMObjectPath reference("other", CIMNamespaceName("root/qbx"), CIMName("A"), keys);
    EXPECT_TRUE(QBX_Common::matchObjectPath(pathOf("A", {{"R", target}}), reference));
    EXPECT_FALSE(QBX_Common::matchObjectPath(CIMObjectPath(), reference));
    EXPECT_EQ(array.events(), Texts{}) << "nothing is logged";
}

// ---- Associations ----

TEST_F(ToolkitTest, AssociationsCarryTheHostInEveryReference)
{
    const CIMName name("QBX_TestAssociation");
    const CIMObjectPath cage = pathOf("C", {{"Tag", "a"}}, "elsewhere");
    const CIMObjectPath card = pathOf("D", {{"Tag", "b"}}, "");
    const CIMObjectPath path =
        QBX_Common::buildAssocPath(name, "Zebra", "Ant", cage, card, "array1", "root/qbx");
    EXPECT_EQ(str(path),
              "//array1/root/qbx:QBX_TestAssociation.Ant=\"//array1/root/qbx:D.Tag=\\\"b\\\"\","
              "Zebra=\"//array1/root/qbx:C.Tag=\\\"a\\\"\"");
    EXPECT_EQ(path.getKeyBindings()[0].getType(), CIMKeyBinding::REFERENCE);
    EXPECT_EQ(str(cage.getHost()), "elsewhere") << "the caller's path is untouched";
    EXPECT_EQ(str(QBX_Common::buildAssocPath(name, "One", "Two", cage, card, "h0", "h1", "h2",
                                             "root/qbx")),
              "//h0/root/qbx:QBX_TestAssociation.One=\"//h1/root/qbx:C.Tag=\\\"a\\\"\","
              "Two=\"//h2/root/qbx:D.Tag=\\\"b\\\"\"");
    EXPECT_EQ(
        str(QBX_Common::buildAssocPath(name, "A", "B", "C", cage, card, cage, "h", "root/qbx")),
        "//h/root/qbx:QBX_TestAssociation.A=\"//h/root/qbx:C.Tag=\\\"a\\\"\","
        "B=\"//h/root/qbx:D.Tag=\\\"b\\\"\",C=\"//h/root/qbx:C.Tag=\\\"a\\\"\"");

    CIMClass cimClass = storedClass("QBX_TestAssociation");
    CIMInstance instance = QBX_Common::buildAssocInstance(name, "Zebra", "Ant", cage, card,
                                                          cimClass, "array1", "root/qbx");
    EXPECT_EQ(valueOf(instance, "Zebra"), "reference //array1/root/qbx:C.Tag=\"a\"");
    EXPECT_EQ(valueOf(instance, "Ant"), "absent") << "a role that the class lacks is skipped";
    EXPECT_EQ(str(instance.getPath()), str(path));
    instance = QBX_Common::buildAssocInstance(name, "Zebra", "Ant", cage, card, cimClass, "h0",
                                              "h1", "h2", "root/qbx");
    EXPECT_EQ(valueOf(instance, "Zebra"), "reference //h1/root/qbx:C.Tag=\"a\"");
    instance = QBX_Common::buildAssocInstance(name, "One", "Zebra", "Three", card, cage, card,
                                              cimClass, "h", "root/qbx");
    EXPECT_EQ(valueOf(instance, "Zebra"), "reference //h/root/qbx:C.Tag=\"a\"");
    EXPECT_EQ(instance.getPath().getKeyBindings().size(), 3u);

    // Nothing can refer to a path without a class, which the path shows after the skeleton.
    array.forget();
    EXPECT_THROW(QBX_Common::buildAssocInstance(name, "One", "Two", CIMObjectPath(), card, cimClass,
                                                "h", "root/qbx"),
                 MalformedObjectNameException);
    EXPECT_EQ(array.events().size(), 2u);
}

// ---- Node address and system objects ----

TEST_F(ToolkitTest, TheNodeAddressIsAskedForUpToFiveTimes)
{
    EXPECT_EQ(str(QBX_Common::getSystemAddress()), "");
    EXPECT_EQ(array.calls().size(), 15u) << "five calls, each under the semaphore";
    array.serve("one");
    array.fail("api_getNodeIPaddress", 1, 1);
    array.fail("api_getNodeIPaddress", 1, 2);
    EXPECT_EQ(str(QBX_Common::getSystemAddress()), "192.0.2.1");
    EXPECT_EQ(array.calls().size(), 9u);
    array.mend();
    array.fail("cim_sem_wait", 1);
    EXPECT_EQ(str(QBX_Common::getSystemAddress()), "");
    EXPECT_EQ(array.calls(), Texts(5, "cim_sem_wait() = 1"));
}

TEST_F(ToolkitTest, SystemObjectsAreFoundByTheFirstWayThatAnswers)
{
    const std::tuple<CIMObjectPath (*)(CIMOMHandle&), std::string, std::string, std::string>
        rows[] = {
            {QBX_Common::getSystemPkgObjectPath, "getSystemPkgObjectPath", "QBX_SystemPackage",
             "2: cannot get at system pkg object path\n"},
            {QBX_Common::getSystemObjectPath, "getSystemObjectPath", "QBX_StorageSystem",
             "2: cannot get at system object path\n"},
            {QBX_Common::getSystemViewObjectPath, "getSystemViewObjectPath",
             "QBX_StorageSystemView", "2: cannot get at system view object path\n"},
        };
    CIMOMHandle handle;
    QBX_Common::getSystemHostName(handle);  // known from here on
    for (const auto& [find, operation, className, notFound] : rows) {
        const std::string prefix = "2: QBX_Common::" + operation + ": ";
        const Texts failures[] = {
            {prefix + "CIM_ERR_FAILED: not now. Trying via cimom.\n", prefix + "not now.\n"},
            {prefix + "Unknow exception! Trying via cimom\n",
             prefix + "Unknow exception in cimom!\n"}};
        for (const bool isUnknown : {false, true}) {
            for (const std::size_t failed : {0, 1, 2, 3}) {  // 3: nothing there
                SCOPED_TRACE(operation + " " + std::to_string(failed));
                array.forget();
                cimom.asked.clear();
                cimom.onEnumerateInstanceNames = [&](const CIMName& name) {
                    Array<CIMObjectPath> names;
                    if (failed == 3) return names;
                    if (cimom.asked.size() <= failed && isUnknown) throw 5;
                    if (cimom.asked.size() <= failed) throw CIMException(CIM_ERR_FAILED, "not now");
                    names.append(pathOf(str(name), {{"Tag", "1"}}, "other"));
                    names.append(pathOf(str(name), {{"Tag", "2"}}, "other"));
                    return names;
                };
                EXPECT_EQ(str(find(handle)),
                          failed < 2 ? "//array1/root/qbx:" + className + ".Tag=\"1\"" : "");
                EXPECT_EQ(cimom.asked, Texts(failed % 3 == 0 ? 1 : 2,
                                             "enumerateInstanceNames nobody " + className));
                Texts log(failures[isUnknown].begin(), failures[isUnknown].begin() + failed % 3);
                if (failed >= 2) log.push_back(notFound);
                EXPECT_EQ(array.log("2"), log);
                const Texts all = array.log();
                const std::string frame = "QBX_Common::" + operation + "()\n";
                const bool isFramed =
                    all.front() == "4: -->" + frame && all.back() == "4: <--" + frame;
                EXPECT_EQ(isFramed, className != "QBX_SystemPackage");
            }
        }
    }
}

}  // namespace
