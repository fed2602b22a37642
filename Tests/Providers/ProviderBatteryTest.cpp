// What all providers of the module promise, checked on each of them.
#include "ProviderTest.h"

#include "QBX_CageSensorProvider.h"
#include "QBX_Common.h"
#include "QBX_DriveCageProvider.h"
#include "QBX_FCALCardProvider.h"
#include "QBX_MagazineProvider.h"

#include <Pegasus/Provider/CIMAssociationProvider.h>

#include <algorithm>
#include <thread>

using namespace Pegasus;

namespace
{

struct ProviderCase
{
    const char* provider;
    const char* className;  ///< one of its classes, of which populate() makes an object
    const char* key;        ///< the key that getInstance asks for; null for associations
    Texts nameQueries;      ///< what enumerateInstanceNames asks the array
    Texts instanceQueries;  ///< what enumerateInstances and getInstance ask
    const char* lookup;     ///< how a method finds its target; null without methods
};

const Texts CAGES = {"api_getCages_Cached"};
const Texts CAGES_SHORT = {"api_getCagesNoMfg_Cached"};
const Texts MAGAZINES_SHORT = {"api_getMagazinesNoMfg_Cached"};
const Texts CARDS_SHORT = {"api_getFCALsNoMfg_Cached"};
const Texts SENSORS = {"api_getCages_Cached", "api_getCagesPS_Cached"};

const ProviderCase PROVIDERS[] = {
    {"QBX_DriveCageProvider", "QBX_DriveCageDC2Family", "Tag", CAGES_SHORT, CAGES,
     "api_findCageName_Cached"},
    {"QBX_FCALCardProvider", "QBX_CageInterfaceCardDC2Family", "Tag", CARDS_SHORT,
     Texts{"api_getFCALs_Cached"}, "api_findCageNameForFCAL"},
    {"QBX_MagazineProvider", "QBX_Magazine", "Tag", MAGAZINES_SHORT,
     Texts{"api_getMagazines_Cached"}, "api_findMagazineIDs"},
    {"QBX_CageSensorProvider", "QBX_CageSensor", "DeviceID", SENSORS, SENSORS, nullptr},
    {"QBX_FCALCardInDriveCageProvider", "QBX_InterfaceCardInDriveCage", nullptr, CARDS_SHORT,
     CARDS_SHORT, nullptr},
    {"QBX_MagazineInDriveCageProvider", "QBX_MagazineInDriveCage", nullptr, MAGAZINES_SHORT,
     MAGAZINES_SHORT, nullptr},
    {"QBX_SysCageContainerProvider", "QBX_SysCageContainer", nullptr, CAGES_SHORT, CAGES_SHORT,
     nullptr},
    {"QBX_SensorInDriveCageProvider", "QBX_SensorInDriveCage", nullptr, CAGES, CAGES, nullptr},
};

void PrintTo(const ProviderCase& row, std::ostream* out)
{
    *out << row.provider;
}

const std::string OPEN = "api_qbxOpenForCimserver(joe)";
const Texts DELIVERED_NOTHING = {"processing", "deliver 0", "complete"};

std::string upperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), ::toupper);
    return text;
}

class ProviderBattery : public ProviderTest, public testing::WithParamInterface<ProviderCase>
{
protected:
    ProviderBattery()
    {
        cimom.onEnumerateInstanceNames = [](const CIMName& className) {
            return Array<CIMObjectPath>(1, pathOf(str(className), {{"Tag", "package"}}));
        };
        cimom.onGetInstance = [](const CIMObjectPath& path) {
            CIMInstance instance(path.getClassName());
            instance.setPath(path);
            return instance;
        };
        cimom.onEnumerateInstances = [](const CIMName& className) {
            return Array<CIMInstance>(1, CIMInstance(className));
        };
        CIMOMHandle handle;
        QBX_Common::getSystemHostName(handle);  // known from here on
        api.events.clear();
    }

    void start()
    {
        provider = &ProviderTest::start<CIMInstanceProvider>(row.provider);
        methods = dynamic_cast<CIMMethodProvider*>(provider);
        associations = dynamic_cast<CIMAssociationProvider*>(provider);
    }

    bool is(const char* name) const { return row.provider == std::string(name); }

    /// One object of every kind.
    void populate()
    {
        api.cages = {cage("cage0", JB_LBOD)};
        api.cages[0].u.lbod.sensCount = 1;
        api.cages[0].u.lbod.sensors[0] = sensor(1, 0, 0);
        api.magazines = {magazine("mag 0", "cage0", JB_LBOD)};
        api.fcals = {card("card 0", "cage0", JB_LBOD)};
    }

    /// The path of the provider's object.
    CIMObjectPath firstName()
    {
        PathHandler handler;
        provider->enumerateInstanceNames(contextOf(), ref, handler);
        return handler.results.at(0);
    }

    /// The operations that the provider supports, for run().
    Texts operations()
    {
        target = firstName();
        Texts result = {"enumerateInstanceNames", "enumerateInstances", "getInstance"};
        if (methods != nullptr) result.push_back("invokeMethod");
        if (is("QBX_DriveCageProvider")) result.push_back("modifyInstance");
        if (associations != nullptr) {
            result.insert(result.end(),
                          {"referenceNames", "references", "associatorNames", "associators"});
        }
        return result;
    }

    /// Calls an operation as a client does; returns the steps of its handler.
    Texts run(const std::string& name, const OperationContext& context = contextOf()) const
    {
        const CIMObjectPath cage = pathOf("QBX_DriveCageDC2Family", {{"Tag", "cage0"}});
        const CIMInstance nothing{target.getClassName()};
        const CIMName any;
        const CIMPropertyList all;
        PathHandler paths;
        InstanceHandler instances;
        ObjectHandler objects;
        MethodHandler value;
        PlainHandler plain;
        paths.refuses = instances.refuses = objects.refuses = handlersRefuse;
        if (name == "enumerateInstanceNames")
            provider->enumerateInstanceNames(context, ref, paths);
        else if (name == "enumerateInstances")
            provider->enumerateInstances(context, ref, false, false, all, instances);
        else if (name == "getInstance")
            provider->getInstance(context, target, false, false, all, instances);
        else if (name == "invokeMethod")
            methods->invokeMethod(context, target, CIMName("Other"), {}, value);
        else if (name == "modifyInstance")
            provider->modifyInstance(context, target, nothing, false, all, plain);
        else if (name == "referenceNames")
            associations->referenceNames(context, cage, any, "", paths);
        else if (name == "references")
            associations->references(context, cage, any, "", false, false, all, objects);
        else if (name == "associatorNames")
            associations->associatorNames(context, cage, any, any, "", "", paths);
        else if (name == "associators")
            associations->associators(context, cage, any, any, "", "", false, false, all, objects);
        Texts steps = paths.steps;
        for (const Texts* more : {&instances.steps, &objects.steps, &value.steps, &plain.steps})
            steps.insert(steps.end(), more->begin(), more->end());
        return steps;
    }

    /// The lines and calls of an operation that goes through all objects and finds none, but its
    /// exit line.
    Texts eventsOf(const std::string& operation) const
    {
        const bool isNames = operation == "enumerateInstanceNames";
        Texts helpers;
        if (isNames) helpers.push_back(row.key ? "_build_ref" : "_getInstanceNames");
        if (!isNames && row.key) helpers.push_back("_build_instances");
        if (!row.key) helpers.push_back("_getInstances");

        Texts events = {lineOf(row.provider, operation + ">")};
        if (!isNames || !is("QBX_FCALCardProvider")) events.push_back(OPEN);
        for (const std::string& helper : helpers)
            events.push_back(lineOf(row.provider, helper + ">"));
        for (const std::string& query : isNames ? row.nameQueries : row.instanceQueries)
            events.insert(events.end(), {"cim_sem_wait()", query + "(0)", "cim_sem_post()"});
        for (auto helper = helpers.rbegin(); helper != helpers.rend(); ++helper)
            events.push_back(lineOf(row.provider, *helper + "<"));
        return events;
    }

    const ProviderCase& row = GetParam();
    CIMObjectPath ref = pathOf(row.className);
    CIMInstanceProvider* provider = nullptr;
    CIMMethodProvider* methods = nullptr;
    CIMAssociationProvider* associations = nullptr;
    CIMObjectPath target = ref;  ///< of what operates on one object
    bool handlersRefuse = false;
};

INSTANTIATE_TEST_SUITE_P(All, ProviderBattery, testing::ValuesIn(PROVIDERS),
                         [](const auto& row) { return std::string(row.param.provider); });

// ---- Life ----

TEST_P(ProviderBattery, IsCreatedByItsNameInAnyCaseWithoutACall)
{
    String lower(row.provider);
    lower.toLower();
    const ProviderPtr exact = create(row.provider);
    for (const std::string& name : {str(lower), upperCase(row.provider)}) {
        const ProviderPtr provider = create(name.c_str());
        EXPECT_EQ(typeid(*provider), typeid(*exact));
        EXPECT_NE(std::string(typeid(*provider).name()).find(row.provider), std::string::npos);
    }
    const std::string name = row.provider;
    for (const std::string& unknown : {name + " ", name + "X", name.substr(1)})
        EXPECT_EQ(PegasusCreateProvider(String(unknown.c_str())), nullptr) << unknown;
    EXPECT_EQ(api.events, Texts{});
}

TEST(ProviderFactory, KnowsNoOtherNames)
{
    for (const char* name : {"", "QBX_DriveCage", "QBX_Magazine", "Provider", "*"})
        EXPECT_EQ(PegasusCreateProvider(String(name)), nullptr) << name;
}

TEST_P(ProviderBattery, InitializeForbidsTheUnloadAndFrames)
{
    const ProviderPtr provider = create(row.provider);
    CIMOMHandle handle;
    provider->initialize(handle);
    Texts events = {"disallowProviderUnload()", lineOf(row.provider, "initialize<")};
    if (is("QBX_SysCageContainerProvider")) {
        events.insert(events.begin(), {"4: -->QBX_Common::enumerateInstanceNames()\n",
                                       "4: <--QBX_Common::enumerateInstanceNames()\n"});
    }
    if (!is("QBX_DriveCageProvider"))
        events.insert(events.begin(), lineOf(row.provider, "initialize>"));
    EXPECT_EQ(api.events, events);
}

template <class Provider>
std::string thrownByConstruction()
{
    return thrownBy([] { Provider provider(pathOf("QBX_DriveCage")); });
}

TEST(ElementProviders, AreNotConstructedFromAPath)
{
    const std::string text = " does not support constructor with object path.";
    EXPECT_EQ(thrownByConstruction<QBX_DriveCageProvider>(), "7 QBX_DriveCageProvider" + text);
    EXPECT_EQ(thrownByConstruction<QBX_FCALCardProvider>(), "7 QBX_FCALCardProvider" + text);
    EXPECT_EQ(thrownByConstruction<QBX_MagazineProvider>(), "7 QBX_MagazineProvider" + text);
    EXPECT_EQ(thrownByConstruction<QBX_CageSensorProvider>(), "7 QBX_CageSensorProvider" + text);
}

TEST_P(ProviderBattery, UnsupportedOperationsSayNoAndNothingElse)
{
    start();
    const CIMInstance instance{ref.getClassName()};
    const std::string refusal = std::string("7 ") + row.provider + " does not support ";
    const OperationContext nobody;
    PathHandler paths;
    PlainHandler plain;
    EXPECT_EQ(thrownBy([&] { provider->createInstance(nobody, ref, instance, paths); }),
              refusal + "createInstance.");
    EXPECT_EQ(thrownBy([&] { provider->deleteInstance(nobody, ref, plain); }),
              refusal + "deleteInstance.");
    if (!is("QBX_DriveCageProvider")) {
        EXPECT_EQ(thrownBy([&] { run("modifyInstance", nobody); }), refusal + "modifyInstance.");
    }
    EXPECT_EQ(paths.steps, Texts{});
    EXPECT_EQ(plain.steps, Texts{});
    EXPECT_EQ(api.events, Texts{});
}

// ---- The frame ----

TEST_P(ProviderBattery, EnumerationsFrameTheirQueries)
{
    start();
    for (const char* name : {"enumerateInstanceNames", "enumerateInstances"}) {
        api.events.clear();
        EXPECT_EQ(run(name), DELIVERED_NOTHING);
        Texts events = eventsOf(name);
        events.push_back(lineOf(row.provider, std::string(name) + "<"));
        EXPECT_EQ(api.events, events);
    }
    api.events.clear();
    target = pathOf(row.className, {{row.key ? row.key : "A", "one"}, {"Other", "two"}});
    EXPECT_EQ(thrownBy([&] { run("getInstance"); }),
              "6 " + std::string(row.provider) + " CIM Object not found." + (row.key ? "one" : ""));
    EXPECT_EQ(api.events, eventsOf("getInstance"));
}

TEST_P(ProviderBattery, AFailedWaitOrQueryIsAnEmptyList)
{
    populate();
    start();
    for (const char* operation : {"enumerateInstanceNames", "enumerateInstances"}) {
        const Texts& queries = operation[17] == 'N' ? row.nameQueries : row.instanceQueries;
        for (const char* failing : {"wait", "query", "query with records"}) {
            SCOPED_TRACE(std::string(operation) + ", failing: " + failing);
            const bool waitFails = failing == std::string("wait");
            api.failingQueryLeavesRecords = failing == std::string("query with records");
            api.status.clear();
            for (const std::string& query : queries)
                api.status[waitFails ? "cim_sem_wait" : query] = -1;
            api.events.clear();
            EXPECT_EQ(run(operation), DELIVERED_NOTHING);
            EXPECT_EQ(api.log().back(), lineOf(row.provider, std::string(operation) + "<"));
            const Texts calls = api.calls();
            EXPECT_EQ(std::count(calls.begin(), calls.end(), "cim_sem_post()"),
                      waitFails ? 0 : static_cast<int>(queries.size()));
            EXPECT_EQ(api.held, 0);
        }
    }
}

TEST_P(ProviderBattery, ARefusedUserOrNoneIsToldSoBeforeAnythingElse)
{
    populate();
    start();
    for (const std::string& name : operations()) {
        if (is("QBX_FCALCardProvider") && name == "enumerateInstanceNames") continue;
        SCOPED_TRACE(name);
        api.status.clear();
        api.events.clear();
        run(name);
        const Texts whole = api.events;
        const auto open = std::find(whole.begin(), whole.end(), OPEN);
        ASSERT_NE(open, whole.end());
        EXPECT_EQ(whole.back(), lineOf(row.provider, name + "<"));
        const std::string entry = lineOf(row.provider, name + ">");
        const bool hasArguments = entry.find("%s") != std::string::npos;
        EXPECT_TRUE(hasArguments || whole.front() == entry) << whole.front();

        api.status = {{"api_qbxOpenForCimserver", -1}};
        api.events.clear();
        EXPECT_EQ(thrownBy([&] { run(name); }), "2 Insufficient privilege for the user");
        EXPECT_EQ(api.events, Texts(whole.begin(), open + 1));

        api.events.clear();
        EXPECT_EQ(thrownBy([&] { run(name, OperationContext()); }), "object not found");
        EXPECT_EQ(api.events, Texts(whole.begin(), open)) << "without identity nothing is called";
    }
}

TEST_P(ProviderBattery, AnExceptionLeavesNothingHeldAndNoExitLine)
{
    populate();
    start();
    const auto throwsCleanly = [&](const std::string& name) {
        SCOPED_TRACE(name);
        api.events.clear();
        bool thrown = false;
        try {
            run(name);
        } catch (...) {
            thrown = true;
        }
        EXPECT_EQ(api.held, 0);
        const Texts log = api.log();
        EXPECT_EQ(std::count(log.begin(), log.end(), lineOf(row.provider, name + "<")),
                  thrown ? 0 : 1);
        return thrown;
    };
    const Texts all = operations();
    handlersRefuse = true;
    for (const std::string& name : all)
        EXPECT_EQ(throwsCleanly(name), name != "invokeMethod" && name != "modifyInstance") << name;
    handlersRefuse = false;
    cimom::ObjectManager::setCurrent(nullptr);  // no class can be fetched
    for (const std::string& name : all) {
        const bool needsClass = name == "enumerateInstances" || name == "getInstance";
        EXPECT_TRUE(throwsCleanly(name) || !needsClass) << name;
    }
}

// ---- Objects ----

TEST_P(ProviderBattery, WhatIsListedCanBeFetchedByItsWholePathOnly)
{
    populate();
    start();
    const CIMObjectPath name = firstName();
    EXPECT_EQ(str(name.getHost()), "array1");
    EXPECT_EQ(str(name.getNameSpace().getString()), "root/qbx");
    EXPECT_EQ(str(name.getClassName()), row.className);

    const auto fetch = [&](const CIMObjectPath& path) {
        InstanceHandler handler;
        const std::string thrown = thrownBy([&] {
            provider->getInstance(contextOf(), path, false, false, CIMPropertyList(), handler);
        });
        if (thrown != "nothing") return thrown.substr(0, 2);
        EXPECT_EQ(handler.steps, (Texts{"processing", "deliver", "complete"}));
        return str(handler.results.at(0).getPath());
    };
    const Array<CIMKeyBinding> keys = name.getKeyBindings();
    CIMObjectPath other = name;
    other.setHost("elsewhere");
    other.setClassName(CIMName(upperCase(row.className).c_str()));
    Array<CIMKeyBinding> reversed;
    for (Uint32 i = keys.size(); i-- > 0;)
        reversed.append(
            CIMKeyBinding(keys[i].getName(), keys[i].getValue(), CIMKeyBinding::STRING));
    other.setKeyBindings(reversed);
    api.events.clear();
    EXPECT_EQ(fetch(other), str(name));
    EXPECT_EQ(api.log().back(), lineOf(row.provider, "getInstance<"));

    for (Uint32 i = 0; i < keys.size(); ++i) {
        Array<CIMKeyBinding> changed = keys;
        changed[i] = CIMKeyBinding(keys[i].getName(), "some other", CIMKeyBinding::STRING);
        other.setKeyBindings(changed);
        EXPECT_EQ(fetch(other), "6 ") << str(keys[i].getName());
        changed.remove(i);
        other.setKeyBindings(changed);
        const bool isAskedFor = !row.key || keys[i].getName() == CIMName(row.key);
        EXPECT_EQ(fetch(other), isAskedFor ? "4 " : "6 ") << str(keys[i].getName());
    }
}

TEST_P(ProviderBattery, AnUnknownClassIsRefusedByElementProviders)
{
    start();
    if (row.key == nullptr) return;
    target = pathOf(row.className);
    EXPECT_EQ(thrownBy([&] { run("getInstance"); }),
              "4 " + std::string(row.provider) + " " + row.key + " key not found.");
    target = ref = pathOf("QBX_Disk");
    for (const char* name : {"enumerateInstanceNames", "enumerateInstances", "getInstance"}) {
        api.events.clear();
        EXPECT_EQ(thrownBy([&] { run(name); }),
                  "7 " + std::string(row.provider) + " Invalid class nameQBX_Disk");
        Texts events = eventsOf(name);
        events.resize(std::count(events.begin(), events.end(), OPEN) + 1);
        EXPECT_EQ(api.events, events) << "the array is not asked";
    }
}

// ---- Changes ----

TEST_P(ProviderBattery, ThePrivilegeDecidesBeforeTheTargetIsLookedFor)
{
    start();
    EXPECT_EQ(methods != nullptr, row.lookup != nullptr);
    if (methods == nullptr) return;
    const CIMObjectPath path = pathOf(row.className, {{"Tag", "x"}});
    String key = String(row.className) + ".locate";
    key.toLower();
    const std::pair<int, const char*> decisions[] = {
        {1, "2 Insufficient generic privilege"}, {2, "2 Insufficient generic privilege"},
        {3, "7 Does not support in generic!"},   {4, "7 Does not support in generic!"},
        {-1, "7 Does not support in generic!"},
    };
    for (const auto& [decision, thrown] : decisions) {
        api.status = {{"api_authorizeCIMUser", decision}};
        api.events.clear();
        EXPECT_EQ(invoke(*methods, "LOCATE", {}, path), thrown);
        EXPECT_EQ(api.events,
                  (Texts{lineOf(row.provider, "invokeMethod>", {row.className, "LOCATE"}), OPEN,
                         "api_authorizeCIMUser(joe, " + str(key) + ")"}));
    }
}

TEST_P(ProviderBattery, ATargetThatIsNotFoundIsNotActedOn)
{
    start();
    if (methods == nullptr) return;
    const std::string notFound =
        "1 " + std::string(row.provider) + "::invokeMethod()  Device not found with Tag=";
    for (const char* failing : {row.lookup, "cim_sem_wait"}) {
        api.status = {{failing, 1}};
        for (const char* method : {"Locate", "Explode"}) {
            api.events.clear();
            EXPECT_EQ(invoke(*methods, method, {}, pathOf(row.className, {{"tag", "x y"}})),
                      notFound + "x y");
            const std::string last = api.calls().back();
            EXPECT_EQ(last, failing == row.lookup ? "cim_sem_post()" : "cim_sem_wait()");
            EXPECT_EQ(api.held, 0);
        }
        EXPECT_EQ(invoke(*methods, "Locate", {}, pathOf(row.className)), notFound);
    }
}

// ---- Threads ----

TEST_P(ProviderBattery, ServesSeveralThreadsAtOnce)
{
    populate();
    start();
    const Texts all = operations();
    std::vector<Texts> expected;
    for (const std::string& name : all)
        expected.push_back(run(name));
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t i = 0; i < 5 * all.size(); ++i) {
                const std::size_t each = (i + thread) % all.size();
                EXPECT_EQ(run(all[each]), expected[each]) << all[each];
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(api.held, 0);
}

}  // namespace
