// What all providers of the module promise, checked on each of them.
#include "ProviderTest.h"

#include "QBX_Common.h"

namespace
{

struct ProviderCase
{
    std::string provider;
    std::string className;  ///< one of its classes, of which the array "one" has an object
    std::string key;        ///< the key that getInstance asks for; none for associations
    Texts nameQueries;      ///< what enumerateInstanceNames asks the array
    Texts instanceQueries;  ///< what enumerateInstances and getInstance ask
};

std::vector<ProviderCase> readProviders()
{
    std::vector<ProviderCase> all;
    for (const Texts& row : table("providers", 5))
        all.push_back({row[0], row[1], row[2], split(row[3]), split(row[4])});
    return all;
}

void PrintTo(const ProviderCase& row, std::ostream* out)
{
    *out << row.provider;
}

const Texts DELIVERED_NOTHING = {"processing", "deliver 0", "complete"};

class ProviderBattery : public ProviderTest, public testing::WithParamInterface<ProviderCase>
{
protected:
    ProviderBattery()
    {
        CIMOMHandle handle;
        QBX_Common::getSystemHostName(handle);  // known from here on
        array.forget();
    }

    void start(const std::string& arrayName) { ProviderTest::start(row.provider, arrayName); }

    bool is(const char* name) const { return itsName == name; }

    /// Calls an operation that reads, or modifyInstance; returns the steps of its handler.
    Texts run(const std::string& name, const OperationContext& context = contextOf()) const
    {
        Handler handler;
        ProviderTest::run(name, name[0] == 'e' ? ref : target, "", handler, context);
        return handler.steps;
    }

    /// The lines and calls of an operation that goes through all objects and finds none, but its
    /// exit line.
    Texts eventsOf(const std::string& operation) const
    {
        const bool isNames = operation == "enumerateInstanceNames";
        Texts helpers;
        if (isNames) helpers.push_back(isElement ? "_build_ref" : "_getInstanceNames");
        if (!isNames && isElement) helpers.push_back("_build_instances");
        if (!isElement) helpers.push_back("_getInstances");

        Texts events = Texts{lineOf(itsName, operation + ">")} + opening(operation);
        for (const std::string& helper : helpers)
            events.push_back(lineOf(itsName, helper + ">"));
        for (const std::string& query : isNames ? row.nameQueries : row.instanceQueries)
            events = events + reading(query);
        for (auto helper = helpers.rbegin(); helper != helpers.rend(); ++helper)
            events.push_back(lineOf(itsName, *helper + "<"));
        return events;
    }

    /// The names of cards alone are listed for anybody.
    Texts opening(const std::string& operation) const
    {
        const bool isOpen = is("QBX_FCALCardProvider") && operation == "enumerateInstanceNames";
        return isOpen ? Texts{} : Texts{OPEN};
    }

    const ProviderCase& row = GetParam();
    const std::string& itsName = row.provider;
    const bool isElement = !row.key.empty();
    CIMObjectPath ref = pathOf(row.className);
    CIMObjectPath target = ref;  ///< of what operates on one object
};

INSTANTIATE_TEST_SUITE_P(All, ProviderBattery, testing::ValuesIn(readProviders()),
                         [](const auto& row) { return row.param.provider; });

// ---- Life ----

TEST_P(ProviderBattery, IsCreatedByItsNameInAnyCaseWithoutACall)
{
    const ProviderPtr exact = create(itsName);
    for (const std::string& name : {cased(itsName, std::tolower), cased(itsName, std::toupper)}) {
        const ProviderPtr other = create(name);
        EXPECT_EQ(typeid(*other), typeid(*exact));
        EXPECT_NE(std::string(typeid(*other).name()).find(itsName), std::string::npos);
    }
    for (const std::string& unknown :
         {itsName + " ", itsName + "X", itsName.substr(1), row.className, std::string()})
        EXPECT_EQ(PegasusCreateProvider(String(unknown.c_str())), nullptr) << unknown;
    EXPECT_EQ(array.events(), Texts{});
}

TEST_P(ProviderBattery, InitializeForbidsTheUnloadAndFrames)
{
    const ProviderPtr created = create(itsName);
    CIMOMHandle handle;
    created->initialize(handle);
    Texts events = {"0: disallowProviderUnload", lineOf(itsName, "initialize<")};
    if (is("QBX_SysCageContainerProvider")) {
        events = Texts{"4: -->QBX_Common::enumerateInstanceNames()\n",
                       "4: <--QBX_Common::enumerateInstanceNames()\n"} +
                 events;
    }
    if (!is("QBX_DriveCageProvider")) events = Texts{lineOf(itsName, "initialize>")} + events;
    EXPECT_EQ(array.events(), events);
}

TEST_P(ProviderBattery, UnsupportedOperationsSayNoAndNothingElse)
{
    start("one");
    const CIMInstance instance{ref.getClassName()};
    const std::string refusal = "7 " + itsName + " does not support ";
    const OperationContext nobody;
    Handler handler;
    EXPECT_EQ(thrownBy([&] { provider->createInstance(nobody, ref, instance, handler); }),
              refusal + "createInstance.");
    EXPECT_EQ(thrownBy([&] { provider->deleteInstance(nobody, ref, handler); }),
              refusal + "deleteInstance.");
    if (!is("QBX_DriveCageProvider")) {
        EXPECT_EQ(thrownBy([&] { run("modifyInstance", nobody); }), refusal + "modifyInstance.");
    }
    EXPECT_EQ(handler.steps, Texts{});
    EXPECT_EQ(array.events(), Texts{});
}

// ---- The frame ----

TEST_P(ProviderBattery, EnumerationsFrameTheirQueries)
{
    start("empty");
    for (const std::string name : {"enumerateInstanceNames", "enumerateInstances"}) {
        array.forget();
        EXPECT_EQ(run(name), DELIVERED_NOTHING);
        EXPECT_EQ(array.events(), eventsOf(name) + Texts{lineOf(itsName, name + "<")});
    }
    array.forget();
    target = pathOf(row.className, {{isElement ? row.key : "A", "one"}, {"Other", "two"}});
    EXPECT_EQ(thrownBy([&] { run("getInstance"); }),
              "6 " + itsName + " CIM Object not found." + (isElement ? "one" : ""));
    EXPECT_EQ(array.events(), eventsOf("getInstance"));
}

// ---- Objects ----

TEST_P(ProviderBattery, WhatIsListedCanBeFetchedByItsWholePathOnly)
{
    start("one");
    Handler names;
    provider->enumerateInstanceNames(contextOf(), ref, names);
    const CIMObjectPath name(names.paths.at(0).c_str());
    EXPECT_EQ(str(name.getHost()), "array1");
    EXPECT_EQ(str(name.getNameSpace().getString()), "root/qbx");
    EXPECT_EQ(str(name.getClassName()), row.className);

    const auto fetch = [&](const CIMObjectPath& path) {
        Handler handler;
        const std::string thrown = thrownBy(
            [&] { provider->getInstance(contextOf(), path, true, false, listOf("Tag"), handler); });
        if (thrown != "nothing") return thrown.substr(0, 2);
        EXPECT_EQ(handler.steps, (Texts{"processing", "deliver", "complete"}));
        return handler.paths.at(0);
    };
    const Array<CIMKeyBinding> keys = name.getKeyBindings();
    CIMObjectPath other = name;
    other.setHost("elsewhere");
    other.setClassName(CIMName(cased(row.className, std::toupper).c_str()));
    const auto setKeys = [&](Uint32 changed, const char* value) {
        Array<CIMKeyBinding> given;
        for (Uint32 i = keys.size(); i-- > 0;) {
            if (i == changed && value == nullptr) continue;
            given.append(CIMKeyBinding(keys[i].getName(),
                                       i == changed ? String(value) : keys[i].getValue(),
                                       CIMKeyBinding::STRING));
        }
        other.setKeyBindings(given);
    };
    setKeys(keys.size(), "");
    array.forget();
    cimom.asked.clear();
    EXPECT_EQ(fetch(other), str(name));
    Texts built = {"4: -->QBX_Common::_buildInstanceSkeleton()\n",
                   "4: <--QBX_Common::_buildInstanceSkeleton()\n"};
    if (is("QBX_MagazineProvider") || is("QBX_CageSensorProvider"))
        built = Texts{lineOf(itsName, "buildInstance>")} + built +
                Texts{lineOf(itsName, "buildInstance<")};
    built.push_back(FREED);
    Texts events = eventsOf("getInstance");
    events.insert(std::find(events.begin(), events.end(), "cim_sem_post()") + 1, built.begin(),
                  built.end());
    EXPECT_EQ(array.events(), events + Texts{lineOf(itsName, "getInstance<")});
    EXPECT_EQ(cimom.asked, Texts{"getClass nobody " + row.className + " TF Tag"});
    for (Uint32 i = 0; i < keys.size(); ++i) {
        SCOPED_TRACE(str(keys[i].getName()));
        setKeys(i, "some other");
        EXPECT_EQ(fetch(other), "6 ");
        setKeys(i, nullptr);
        const bool isAskedFor = !isElement || str(keys[i].getName()) == row.key;
        EXPECT_EQ(fetch(other), isAskedFor ? "4 " : "6 ");
    }
}

TEST_P(ProviderBattery, AnUnfitPathIsRefused)
{
    start("empty");
    if (!isElement) {  // every class goes, but not every number of keys
        const Keys keys = {{"GroupComponent", "a"}, {"PartComponent", "b"}, {"X", "c"}};
        for (const int count : {0, 1, 3}) {
            target = pathOf(row.className, Keys(keys.begin(), keys.begin() + count));
            array.forget();
            EXPECT_EQ(thrownBy([&] { run("getInstance"); }), "4 " + itsName + " Expect two keys.");
            EXPECT_EQ(array.events(),
                      (Texts{lineOf(itsName, "getInstance>"), OPEN,
                             lineOf(itsName, "getInstance!", {std::to_string(count)})}));
        }
        return;
    }
    EXPECT_EQ(thrownBy([&] { run("getInstance"); }),
              "4 " + itsName + " " + row.key + " key not found.");
    target = ref = pathOf("QBX_Disk");
    for (const std::string name : {"enumerateInstanceNames", "enumerateInstances", "getInstance"}) {
        array.forget();
        EXPECT_EQ(thrownBy([&] { run(name); }), "7 " + itsName + " Invalid class nameQBX_Disk");
        EXPECT_EQ(array.events(), Texts{lineOf(itsName, name + ">")} + opening(name));
    }
}

}  // namespace
