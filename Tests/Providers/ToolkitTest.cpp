// The toolkit: values into instances, requests out of parameters, paths, associations, lookups.
#include "ProviderTest.h"

#include "QBX_Common.h"

using namespace Pegasus;

namespace
{

using ToolkitTest = ProviderTest;

// ---- Properties ----

/// An instance with one property of that type, null.
CIMInstance instanceWith(CIMType type, bool isArray)
{
    CIMInstance instance(CIMName("Sample"));
    instance.addProperty(CIMProperty(CIMName("P"), CIMValue(type, isArray)));
    return instance;
}

template <class T>
void expectStored(const T& value, CIMType type, bool isArray)
{
    CIMInstance instance = instanceWith(type, isArray);
    QBX_Common::setPropertyValue(instance, CIMName("p"), value);
    EXPECT_TRUE(instance.getProperty(0).getValue().equal(CIMValue(value))) << cimTypeToString(type);

    QBX_Common::setPropertyValue(instance, CIMName("Other"), value);
    EXPECT_EQ(instance.getPropertyCount(), 1u) << "an absent property is skipped";

    const CIMType wrong = type == CIMTYPE_SINT8 ? CIMTYPE_UINT8 : CIMTYPE_SINT8;
    CIMInstance other = instanceWith(wrong, isArray);
    EXPECT_THROW(QBX_Common::setPropertyValue(other, CIMName("P"), value), TypeMismatchException);
}

TEST_F(ToolkitTest, EveryFormOfSetPropertyValueStoresItsType)
{
    CIMInstance embedded(CIMName("Inner"));
    embedded.addProperty(CIMProperty(CIMName("X"), CIMValue(Uint8(1))));
    expectStored(embedded, CIMTYPE_INSTANCE, false);
    expectStored(CIMDateTime("20260101000000.000000+000"), CIMTYPE_DATETIME, false);
    expectStored(pathOf("A", {{"K", "v"}}), CIMTYPE_REFERENCE, false);
    expectStored(Array<CIMDateTime>(2, CIMDateTime("20260101000000.000000+000")), CIMTYPE_DATETIME,
                 true);
    expectStored(Array<bool>(2, true), CIMTYPE_BOOLEAN, true);
    expectStored(Array<Uint64>(2, Uint64(-1)), CIMTYPE_UINT64, true);
    expectStored(Array<Sint32>(2, Sint32(-1)), CIMTYPE_SINT32, true);
    expectStored(Array<Uint16>(2, Uint16(65535)), CIMTYPE_UINT16, true);
    expectStored(Array<String>(2, String("s")), CIMTYPE_STRING, true);
    expectStored(Sint16(-32768), CIMTYPE_SINT16, false);
    expectStored(Uint64(-1), CIMTYPE_UINT64, false);
    expectStored(Uint32(-1), CIMTYPE_UINT32, false);
    expectStored(Uint16(65535), CIMTYPE_UINT16, false);
    expectStored(Uint8(255), CIMTYPE_UINT8, false);
    expectStored(true, CIMTYPE_BOOLEAN, false);
    expectStored(String("text"), CIMTYPE_STRING, false);
    EXPECT_EQ(api.log(), Texts{}) << "setting a property writes no log";
}

TEST_F(ToolkitTest, SetPropertyValueToNull)
{
    CIMInstance instance(CIMName("Sample"));
    instance.addProperty(CIMProperty(CIMName("P"), CIMValue(Uint16(5))));
    QBX_Common::setPropertyValueToNull(instance, CIMName("P"), CIMTYPE_UINT16);
    EXPECT_EQ(valueOf(instance, "P"), "uint16 null");
    QBX_Common::setPropertyValueToNull(instance, CIMName("Q"), CIMTYPE_UINT16);
    EXPECT_EQ(instance.getPropertyCount(), 1u);
    EXPECT_THROW(QBX_Common::setPropertyValueToNull(instance, CIMName("P"), CIMTYPE_STRING),
                 TypeMismatchException);
}

TEST_F(ToolkitTest, SkeletonHasEveryPropertyAtTheClassDefault)
{
    CIMClass cimClass(CIMName("Sample"));
    cimClass.addProperty(
        CIMProperty(CIMName("A"), CIMValue(Uint16(7)), 0, CIMName(), CIMName("Base")));
    cimClass.addProperty(CIMProperty(CIMName("B"), CIMValue(CIMTYPE_STRING, false)));
    cimClass.getProperty(0).addQualifier(CIMQualifier(CIMName("Q"), CIMValue(true)));
    const CIMInstance instance = QBX_Common::buildInstanceSkeleton(cimClass);
    EXPECT_EQ(valueOf(instance, "A"), "uint16 7");
    EXPECT_EQ(valueOf(instance, "B"), "string null");
    EXPECT_EQ(instance.getProperty(0).getQualifierCount(), 1u);
    EXPECT_EQ(str(instance.getProperty(0).getClassOrigin()), "Base");
    EXPECT_EQ(api.log(), (Texts{"4: -->QBX_Common::_buildInstanceSkeleton()\n",
                                "4: <--QBX_Common::_buildInstanceSkeleton()\n"}));
}

TEST_F(ToolkitTest, StoredClassIsAskedForWithEveryArgumentAsGiven)
{
    CIMOMHandle handle;
    QBX_Common::getStoredCIMClass(handle, contextOf("ann"), CIMNamespaceName("root/qbx"),
                                  CIMName("QBX_Magazine"), true, false, true, listOf({"Tag"}));
    EXPECT_EQ(cimom.asked, (Texts{"getClass ann QBX_Magazine local FT Tag"}));
    EXPECT_EQ(thrownBy([&] {
                  QBX_Common::getStoredCIMClass(handle, contextOf(), CIMNamespaceName("root/qbx"),
                                                CIMName("QBX_Nothing"), false, true, true,
                                                CIMPropertyList());
              }).substr(0, 2),
              "6 ");
    EXPECT_EQ(api.log(), Texts{});
}

// ---- Keys and string properties ----

TEST_F(ToolkitTest, KeysAreReadByNameWithoutCaseAndTheLastOneWins)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Tag"), "first", CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("Number"), "0x10", CIMKeyBinding::NUMERIC));
    keys.append(CIMKeyBinding(CIMName("TAG"), "second", CIMKeyBinding::STRING));
    const CIMObjectPath path(String(), CIMNamespaceName("root/qbx"), CIMName("C"), keys);
    const struct
    {
        const char* key;
        const char* value;
    } rows[] = {{"tag", "second"}, {"number", "0x10"}, {"DeviceID", ""}};
    for (const auto& row : rows) {
        api.events.clear();
        EXPECT_EQ(str(QBX_Common::getStringProperty(path, row.key)), row.value) << row.key;
        EXPECT_EQ(api.log(),
                  (Texts{std::string("4: -->QBX_Common::getStringProperty(), propertyName = ") +
                             row.key + "\n",
                         std::string("4: <--QBX_Common::getStringProperty(), value = ") +
                             row.value + "\n"}));
    }
}

TEST_F(ToolkitTest, StringPropertiesOfInstances)
{
    CIMInstance instance(CIMName("Sample"));
    instance.addProperty(CIMProperty(CIMName("S"), CIMValue(String("100% done"))));
    instance.addProperty(CIMProperty(CIMName("N"), CIMValue(CIMTYPE_STRING, false)));
    instance.addProperty(CIMProperty(CIMName("U"), CIMValue(Uint16(1))));
    EXPECT_EQ(str(QBX_Common::getStringProperty(instance, "s")), "100% done");
    EXPECT_EQ(api.log().back(), "4: <--QBX_Common::getStringProperty(), value = 100% done\n");
    EXPECT_EQ(str(QBX_Common::getStringProperty(instance, "N")), "");
    EXPECT_EQ(str(QBX_Common::getStringProperty(instance, "Missing")), "");
    EXPECT_THROW(QBX_Common::getStringProperty(instance, "U"), TypeMismatchException);

    for (const auto& [object, name] :
         {std::pair<CIMInstance, String>{instance, String()},
          std::pair<CIMInstance, String>{CIMInstance(), String("S")}}) {
        api.events.clear();
        EXPECT_EQ(str(QBX_Common::getStringProperty(object, name)), "");
        EXPECT_EQ(api.log().size(), 2u);
        EXPECT_EQ(api.log().back(), "3: \tInvalid property name.\n");
    }
}

// ---- Parameters ----

/// One overload of getParameter: what it writes, and that it follows the rules all of them share.
template <class T>
void expectParameter(RecordingApi& api, CIMType type, bool isArray, const T& before, const T& value,
                     const char* entry, const std::string& exitBefore, const std::string& exitAfter)
{
    const CIMValue null(type, isArray);
    const struct
    {
        const char* what;
        Array<CIMParamValue> in;
        int result;
        bool read;
    } rows[] = {
        {"present", parameters({{"Other", CIMValue(String("x"))}, {"wanted", value}}), 0, true},
        {"missing", parameters({{"Other", value}}), 3, false},
        {"null only", parameters({{"Wanted", null}}), 3, false},
        {"null, then a value", parameters({{"Wanted", null}, {"WANTED", value}}), 4, true},
        {"a value, then null", parameters({{"Wanted", value}, {"Wanted", null}}), 0, true},
    };
    for (const auto& row : rows) {
        api.events.clear();
        T out = before;
        EXPECT_EQ(QBX_Common::getParameter(row.in, "Wanted", out), row.result) << entry << row.what;
        EXPECT_TRUE(CIMValue(out).equal(CIMValue(row.read ? value : before))) << entry << row.what;
        EXPECT_EQ(api.log(), (Texts{std::string("4: ") + entry + "Wanted\n",
                                    "4: " + (row.read ? exitAfter : exitBefore)}))
            << row.what;
    }
    api.events.clear();
    T out = before;
    const CIMValue other = type == CIMTYPE_SINT8 ? CIMValue(Uint8(1)) : CIMValue(Sint8(1));
    EXPECT_THROW(QBX_Common::getParameter(parameters({{"Wanted", other}}), "Wanted", out),
                 TypeMismatchException);
    EXPECT_EQ(api.log().size(), 1u) << "no exit line when it throws";
}

TEST_F(ToolkitTest, EveryFormOfGetParameter)
{
    expectParameter(api, CIMTYPE_UINT16, false, Uint16(9), Uint16(65535),
                    "-->QBX_Common::getParameter(Uint16), paramName = ",
                    "<--QBX_Common::getParameter(Uint16), paramValue = 9\n",
                    "<--QBX_Common::getParameter(Uint16), paramValue = 65535\n");
    expectParameter(api, CIMTYPE_BOOLEAN, false, false, true,
                    "-->QBX_Common::getParameter(Boolean), paramName = ",
                    "<--QBX_Common::getParameter(Boolean), paramValue = 0\n",
                    "<--QBX_Common::getParameter(Boolean), paramValue = 1\n");
    expectParameter(api, CIMTYPE_UINT32, false, Uint32(9), Uint32(-1),
                    "-->QBX_Common::getParameter(Uint32), paramName = ",
                    "<--QBX_Common::getParameter(Uint32), paramValue = 9\n",
                    "<--QBX_Common::getParameter(Uint32), paramValue = -1\n");
    expectParameter(api, CIMTYPE_UINT64, false, Uint64(9), Uint64(-1),
                    "-->QBX_Common::getParameter(Uint64), paramName = ",
                    "<--QBX_Common::getParameter(Uint64), paramValue = 9\n",
                    "<--QBX_Common::getParameter(Uint64), paramValue = 18446744073709551615\n");
    expectParameter(api, CIMTYPE_STRING, false, String("before"), String("%s"),
                    "-->QBX_Common::getParameter(String), paramName = ",
                    "<--QBX_Common::getParameter(String), paramValue = before\n",
                    "<--QBX_Common::getParameter(String), paramValue = %s\n");
    expectParameter(api, CIMTYPE_UINT8, false, Uint8(9), Uint8(255),
                    "-->QBX_Common::getParameter(Uint8), paramName = ",
                    "<--QBX_Common::getParameter(Uint8), paramValue = 9\n",
                    "<--QBX_Common::getParameter(Uint8), paramValue = 255\n");
    expectParameter(
        api, CIMTYPE_DATETIME, false, CIMDateTime(), CIMDateTime("20260101000000.000000+000"),
        "-->QBX_Common::getParameter(CIMDateTime), paramName = ",
        "<--QBX_Common::getParameter(CIMDateTime), paramValue = 00000000000000.000000:000\n",
        "<--QBX_Common::getParameter(CIMDateTime), paramValue = 20260101000000.000000+000\n");
    expectParameter(api, CIMTYPE_REFERENCE, false, CIMObjectPath("A.k=\"1\""),
                    CIMObjectPath("B.k=\"2\""),
                    "-->QBX_Common::getParameter(CIMObjectPath), paramName = ",
                    "<--QBX_Common::getParameter(CIMObjectPath), paramValue = A.k=\"1\"\n",
                    "<--QBX_Common::getParameter(CIMObjectPath), paramValue = B.k=\"2\"\n");
    expectParameter(api, CIMTYPE_STRING, true, Array<String>(), Array<String>(2, String("x")),
                    "-->QBX_Common::getParameter(Array<String>), paramName = ",
                    "<--QBX_Common::getParameter(Array<String>)",
                    "<--QBX_Common::getParameter(Array<String>)");
    expectParameter(api, CIMTYPE_UINT16, true, Array<Uint16>(), Array<Uint16>(2, Uint16(1)),
                    "-->QBX_Common::getParameter(Array<Uint16>), paramName = ",
                    "<--QBX_Common::getParameter(Array<Uint16>)\n",
                    "<--QBX_Common::getParameter(Array<Uint16>)\n");
}

// ---- Paths ----

TEST_F(ToolkitTest, PathsMatchWithoutHostsAndWithQuotedReferences)
{
    const struct
    {
        const char* first;
        const char* second;
        bool match;
    } rows[] = {
        {"//h1/root/qbx:C.Tag=\"a b\"", "root/qbx:C.Tag=\"a b\"", true},
        {"//h1/root/qbx:C.Tag=\"a b\"", "//h2/root/QBX:c.TAG=\"a b\"", true},
        {"root/qbx:C.Tag=\"a b\"", "root/other:C.Tag=\"a b\"", false},
        {"root/qbx:C.Tag=\"a b\"", "root/qbx:D.Tag=\"a b\"", false},
        {"root/qbx:C.Tag=\"a b\"", "root/qbx:C.Tag=\"A b\"", false},
        {"root/qbx:C.Tag=\"a b\"", "root/qbx:C.Tag=\"a b\",X=\"1\"", false},
        {"root/qbx:C.Tag=\"a b\"", "root/qbx:C", false},
        {"root/qbx:C.N=10", "root/qbx:C.N=0xA", true},
        {"root/qbx:C.N=10", "root/qbx:C.N=\"10\"", false},
        // References: the host inside them does not count either.
        {"root/qbx:A.R=\"//h1/root/qbx:C.Tag=\\\"a b\\\"\"",
         "root/qbx:A.R=\"root/qbx:C.Tag=\\\"a b\\\"\"", true},
        {"root/qbx:A.R=\"//h1/root/qbx:C.Tag=\\\"a b\\\"\"",
         "root/qbx:A.R=\"//h2/root/qbx:C.Tag=\\\"a c\\\"\"", false},
        {"root/qbx:A.R=\"root/qbx:C.K=\\\"1\\\",J=\\\"2\\\"\"",
         "root/qbx:A.R=\"root/qbx:C.J=\\\"2\\\",K=\\\"1\\\"\"", true},
        // A text that reads as a class name is compared as the library compares names.
        {"root/qbx:C.Tag=\"cage0\"", "root/qbx:C.Tag=\"CAGE0\"", true},
        {"root/qbx:C.Tag=\"0cage\"", "root/qbx:C.Tag=\"0CAGE\"", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(QBX_Common::matchObjectPath(CIMObjectPath(row.first), CIMObjectPath(row.second)),
                  row.match)
            << row.first << "\n"
            << row.second;
    }
    const std::string target = "//h/root/qbx:C.Tag=\"a b\"";
    const CIMObjectPath quoted = pathOf("A", {{"R", target}});
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("R"), target.c_str(), CIMKeyBinding::REFERENCE));
    const CIMObjectPath reference("other", CIMNamespaceName("root/qbx"), CIMName("A"), keys);
    EXPECT_TRUE(QBX_Common::matchObjectPath(quoted, reference));
    EXPECT_FALSE(QBX_Common::matchObjectPath(CIMObjectPath(), reference));
    EXPECT_EQ(api.events, Texts{}) << "nothing is logged";
}

TEST_F(ToolkitTest, NamesAreFoundWithoutCase)
{
    Array<CIMName> names;
    EXPECT_FALSE(QBX_Common::isPartOfArray(CIMName("A"), names));
    names.append(CIMName("QBX_DriveCage"));
    names.append(CIMName("Other"));
    EXPECT_TRUE(QBX_Common::isPartOfArray(CIMName("qbx_drivecage"), names));
    EXPECT_TRUE(QBX_Common::isPartOfArray(CIMName("OTHER"), names));
    EXPECT_FALSE(QBX_Common::isPartOfArray(CIMName("QBX_DriveCag"), names));
}

// ---- Associations ----

TEST_F(ToolkitTest, AssociationsCarryTheHostInEveryReference)
{
    const CIMObjectPath cagePath = pathOf("C", {{"Tag", "a"}}, "elsewhere");
    const CIMObjectPath cardPath = pathOf("D", {{"Tag", "b"}}, "");
    const std::string first = "//array1/root/qbx:C.Tag=\"a\"";
    const CIMObjectPath path = QBX_Common::buildAssocPath(CIMName("A"), "Zebra", "Ant", cagePath,
                                                          cardPath, "array1", "root/qbx");
    EXPECT_EQ(str(path),
              "//array1/root/qbx:A.Ant=\"//array1/root/qbx:D.Tag=\\\"b\\\"\","
              "Zebra=\"//array1/root/qbx:C.Tag=\\\"a\\\"\"");
    EXPECT_EQ(path.getKeyBindings()[0].getType(), CIMKeyBinding::REFERENCE);
    EXPECT_EQ(str(cagePath.getHost()), "elsewhere") << "the caller's path is untouched";

    const CIMObjectPath hosts = QBX_Common::buildAssocPath(CIMName("A"), "One", "Two", cagePath,
                                                           cardPath, "h0", "h1", "h2", "root/qbx");
    EXPECT_EQ(str(hosts),
              "//h0/root/qbx:A.One=\"//h1/root/qbx:C.Tag=\\\"a\\\"\","
              "Two=\"//h2/root/qbx:D.Tag=\\\"b\\\"\"");
    const CIMObjectPath three = QBX_Common::buildAssocPath(
        CIMName("A"), "One", "Two", "Three", cagePath, cardPath, cagePath, "h", "root/qbx");
    EXPECT_EQ(three.getKeyBindings().size(), 3u);

    CIMClass cimClass(CIMName("A"));
    cimClass.addProperty(
        CIMProperty(CIMName("Zebra"), CIMValue(CIMTYPE_REFERENCE, false), 0, CIMName("C")));
    CIMInstance instance = QBX_Common::buildAssocInstance(CIMName("A"), "Zebra", "Ant", cagePath,
                                                          cardPath, cimClass, "array1", "root/qbx");
    EXPECT_EQ(valueOf(instance, "Zebra"), "reference " + first);
    EXPECT_EQ(valueOf(instance, "Ant"), "absent") << "a role that the class lacks is skipped";
    EXPECT_EQ(str(instance.getPath()), str(path));
    instance = QBX_Common::buildAssocInstance(CIMName("A"), "One", "Zebra", "Three", cardPath,
                                              cagePath, cardPath, cimClass, "h", "root/qbx");
    EXPECT_EQ(valueOf(instance, "Zebra"), "reference //h/root/qbx:C.Tag=\"a\"");
    EXPECT_EQ(instance.getPath().getKeyBindings().size(), 3u);
    EXPECT_THROW(QBX_Common::buildAssocPath(CIMName("A"), "One", "Two", CIMObjectPath(), cardPath,
                                            "h", "root/qbx"),
                 MalformedObjectNameException)
        << "nothing can refer to a path without a class";
}

// ---- Node address and system objects ----

TEST_F(ToolkitTest, TheNodeAddressIsAskedForUpToFiveTimes)
{
    api.addresses = {"", "", "192.0.2.1"};
    EXPECT_EQ(str(QBX_Common::getSystemAddress()), "192.0.2.1");
    EXPECT_EQ(api.calls().size(), 9u) << "three calls, each under the semaphore";
    api.events.clear();
    EXPECT_EQ(str(QBX_Common::getSystemAddress()), "");
    EXPECT_EQ(api.calls().size(), 15u);
    api.events.clear();
    api.status = {{"cim_sem_wait", 1}};
    EXPECT_EQ(str(QBX_Common::getSystemAddress()), "");
    EXPECT_EQ(api.calls(), Texts(5, "cim_sem_wait()"));
}

struct SystemObjectCase
{
    const char* operation;
    CIMObjectPath (*find)(CIMOMHandle&);
    const char* className;
    const char* notFound;
    bool traced;
};

const SystemObjectCase SYSTEM_OBJECTS[] = {
    {"getSystemPkgObjectPath", QBX_Common::getSystemPkgObjectPath, "QBX_SystemPackage",
     "cannot get at system pkg object path\n", false},
    {"getSystemObjectPath", QBX_Common::getSystemObjectPath, "QBX_StorageSystem",
     "cannot get at system object path\n", true},
    {"getSystemViewObjectPath", QBX_Common::getSystemViewObjectPath, "QBX_StorageSystemView",
     "cannot get at system view object path\n", true},
};

TEST_F(ToolkitTest, SystemObjectsAreFoundByTheFirstWayThatAnswers)
{
    for (const SystemObjectCase& row : SYSTEM_OBJECTS) {
        CIMOMHandle handle;
        QBX_Common::getSystemHostName(handle);
        int failures = 0;
        cimom.onEnumerateInstanceNames = [&](const CIMName& className) {
            if (failures-- > 0) throw CIMException(CIM_ERR_FAILED, "not now");
            Array<CIMObjectPath> names;
            names.append(pathOf(str(className), {{"Tag", "1"}}, ""));
            names.append(pathOf(str(className), {{"Tag", "2"}}, ""));
            return names;
        };
        const std::string found = std::string("//array1/root/qbx:") + row.className + ".Tag=\"1\"";
        const std::string op = row.operation;
        const std::string viaCimom =
            "QBX_Common::" + op + ": CIM_ERR_FAILED: not now. Trying via cimom.\n";

        for (const int fail : {0, 1, 2}) {
            failures = fail;
            api.events.clear();
            cimom.asked.clear();
            EXPECT_EQ(str(row.find(handle)), fail < 2 ? found : "") << op << " " << fail;
            Texts asked(fail == 0 ? 1 : 2,
                        std::string("enumerateInstanceNames nobody ") + row.className);
            EXPECT_EQ(cimom.asked, asked) << op << " " << fail;
            Texts failed;
            if (fail > 0) failed.push_back(viaCimom);
            if (fail > 1)
                failed.insert(failed.end(), {"QBX_Common::" + op + ": not now.\n", row.notFound});
            EXPECT_EQ(api.log(2), failed) << op << " " << fail;
            const Texts trace = api.log(4);
            if (row.traced) {
                EXPECT_EQ(trace.front(), "-->QBX_Common::" + op + "()\n");
                EXPECT_EQ(trace.back(), "<--QBX_Common::" + op + "()\n");
            }
        }
    }
}

TEST_F(ToolkitTest, WhatIsNoCimExceptionIsReportedAsUnknown)
{
    for (const SystemObjectCase& row : SYSTEM_OBJECTS) {
        CIMOMHandle handle;
        cimom.onEnumerateInstanceNames = [](const CIMName&) -> Array<CIMObjectPath> { throw 5; };
        api.events.clear();
        EXPECT_EQ(str(row.find(handle)), "");
        const std::string op = std::string("QBX_Common::") + row.operation;
        EXPECT_EQ(api.log(2), (Texts{op + ": Unknow exception! Trying via cimom\n",
                                     op + ": Unknow exception in cimom!\n", row.notFound}));
        cimom.onEnumerateInstanceNames = nullptr;
        api.events.clear();
        EXPECT_EQ(str(row.find(handle)), "");
        EXPECT_EQ(api.log(2), (Texts{row.notFound})) << "an empty answer does not ask twice";
    }
}

}  // namespace
