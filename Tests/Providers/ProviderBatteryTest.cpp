// What all providers of the module promise, checked on each of them.
#include "ProviderTest.h"

#include "QBX_Common.h"

#include <thread>

namespace
{

struct ProviderCase
{
    std::string provider;
    std::string className;  ///< one of its classes, of which the array "one" has an object
    std::string key;        ///< the key that getInstance asks for; none for associations
    Texts nameQueries;      ///< what enumerateInstanceNames asks the array
    Texts instanceQueries;  ///< what enumerateInstances and getInstance ask
    std::string lookup;     ///< how a method finds its target; none without methods
};

std::vector<ProviderCase> readProviders()
{
    std::vector<ProviderCase> all;
    for (const Texts& row : table("providers", 6))
        all.push_back({row[0], row[1], row[2], split(row[3]), split(row[4]), row[5]});
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

    /// The path of the provider's object.
    CIMObjectPath firstName()
    {
        Handler handler;
        provider->enumerateInstanceNames(contextOf(), ref, handler);
        return {handler.paths.at(0).c_str()};
    }

    /// The operations that the provider supports, for run().
    Texts operations()
    {
        target = firstName();
        Texts result = Texts{"enumerateInstanceNames", "enumerateInstances", "getInstance"};
        if (associations == nullptr) return result + changes();
        return result + Texts{"referenceNames", "references", "associatorNames", "associators"};
    }

    /// Those that change something.
    Texts changes() const
    {
        if (methods == nullptr) return {};
        return is("QBX_DriveCageProvider") ? Texts{"invokeMethod", "modifyInstance"}
                                           : Texts{"invokeMethod"};
    }

    /// Calls an operation as a client does; returns the steps of its handler.
    Texts run(const std::string& name, const OperationContext& context = contextOf()) const
    {
        const CIMObjectPath cage = pathOf("QBX_DriveCageDC2Family", {{"Tag", "cage0"}});
        const CIMInstance nothing{target.getClassName()};
        const CIMPropertyList all;
        Handler handler;
        handler.refuses = handlersRefuse;
        if (name == "enumerateInstanceNames")
            provider->enumerateInstanceNames(context, ref, handler);
        else if (name == "enumerateInstances")
            provider->enumerateInstances(context, ref, false, false, all, handler);
        else if (name == "getInstance")
            provider->getInstance(context, target, false, false, all, handler);
        else if (name == "invokeMethod")
            methods->invokeMethod(context, target, CIMName("OTHER"), {}, handler);
        else if (name == "modifyInstance")
            provider->modifyInstance(context, target, nothing, false, all, handler);
        else
            traverse(*associations, name, context, cage, {}, all, handler);
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
    bool handlersRefuse = false;
};

INSTANTIATE_TEST_SUITE_P(All, ProviderBattery, testing::ValuesIn(readProviders()),
                         [](const auto& row) { return row.param.provider; });

// ---- Life ----

TEST_P(ProviderBattery, IsCreatedByItsNameInAnyCaseWithoutACall)
{
    const ProviderPtr exact = create(itsName);
    for (const std::string& name : {cased(itsName, std::tolower), cased(itsName, std::toupper)}) {
        const ProviderPtr provider = create(name);
        EXPECT_EQ(typeid(*provider), typeid(*exact));
        EXPECT_NE(std::string(typeid(*provider).name()).find(itsName), std::string::npos);
    }
    for (const std::string& unknown :
         {itsName + " ", itsName + "X", itsName.substr(1), row.className, std::string()})
        EXPECT_EQ(PegasusCreateProvider(String(unknown.c_str())), nullptr) << unknown;
    EXPECT_EQ(array.events(), Texts{});
}

TEST_P(ProviderBattery, InitializeForbidsTheUnloadAndFrames)
{
    const ProviderPtr provider = create(itsName);
    CIMOMHandle handle;
    provider->initialize(handle);
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

TEST_P(ProviderBattery, AFailedWaitOrQueryIsAnEmptyList)
{
    start("one");
    for (const std::string operation : {"enumerateInstanceNames", "enumerateInstances"}) {
        for (const std::string failing : {"wait", "query", "query with records"}) {
            SCOPED_TRACE(operation + ", failing: " + failing);
            Texts calls = opening(operation);
            array.mend();
            if (failing == "wait") array.fail("cim_sem_wait", -1);
            for (const std::string& query :
                 operation == "enumerateInstances" ? row.instanceQueries : row.nameQueries) {
                if (failing == "query") array.fail(query, -1);
                if (failing == "query with records") array.failAfterwards(query, -1);
                if (failing == "wait")
                    calls.push_back("cim_sem_wait() = -1");
                else
                    calls =
                        calls + Texts{"cim_sem_wait() = 0", query + "(0) = -1", "cim_sem_post()"};
            }
            EXPECT_EQ(run(operation), DELIVERED_NOTHING);
            EXPECT_EQ(array.calls(), calls);
            EXPECT_EQ(array.log().back(), lineOf(itsName, operation + "<"));
        }
    }
}

TEST_P(ProviderBattery, ARefusedUserOrNoneIsToldSoBeforeAnythingElse)
{
    start("one");
    for (const std::string& name : operations()) {
        if (opening(name).empty()) continue;
        SCOPED_TRACE(name);
        array.mend();
        run(name);
        const Texts whole = array.events();
        const auto open = std::find(whole.begin(), whole.end(), OPEN);
        ASSERT_NE(open, whole.end());
        EXPECT_EQ(whole.back(), lineOf(itsName, name + "<"));
        const std::string entry = lineOf(itsName, name + ">");
        const bool hasArguments = entry.find("%s") != std::string::npos;
        EXPECT_TRUE(hasArguments || whole.front() == entry) << whole.front();

        array.mend();
        array.fail("api_qbxOpenForCimserver", -1);
        EXPECT_EQ(thrownBy([&] { run(name); }), "2 Insufficient privilege for the user");
        EXPECT_EQ(array.events(),
                  Texts(whole.begin(), open) + Texts{"api_qbxOpenForCimserver(\"joe\") = -1"});

        array.forget();
        EXPECT_EQ(thrownBy([&] { run(name, OperationContext()); }), "object not found");
        EXPECT_EQ(array.events(), Texts(whole.begin(), open)) << "nothing is called";
    }
}

TEST_P(ProviderBattery, AnExceptionLeavesNoExitLine)
{
    start("one");
    const auto throwsCleanly = [&](const std::string& name) {
        SCOPED_TRACE(name);
        array.forget();
        bool thrown = false;
        try {
            run(name);
        } catch (...) {
            thrown = true;
        }
        const Texts log = array.log();
        EXPECT_EQ(std::count(log.begin(), log.end(), lineOf(itsName, name + "<")), thrown ? 0 : 1);
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
    start("one");
    const CIMObjectPath name = firstName();
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

// ---- Changes ----

TEST_P(ProviderBattery, ThePrivilegeDecidesBeforeTheTargetIsLookedFor)
{
    start("one");
    EXPECT_EQ(methods == nullptr, row.lookup.empty());
    const std::string denied = "2 Insufficient generic privilege";
    const std::string unsupported = "7 Does not support in generic!";
    for (const std::string& name : changes()) {
        const bool isMethod = name == "invokeMethod";
        const Texts shown = isMethod ? Texts{row.className, "OTHER"} : Texts{};
        const std::string key =
            cased(row.className, std::tolower) + (isMethod ? ".other" : ".modifyinstance");
        for (const int decision : {1, 2, 3, 4, -1}) {
            array.mend();
            array.fail("api_authorizeCIMUser", decision);
            EXPECT_EQ(thrownBy([&] { run(name); }),
                      decision == 1 || decision == 2 ? denied : unsupported);
            EXPECT_EQ(array.events(), (Texts{lineOf(itsName, name + ">", shown), OPEN,
                                             "api_authorizeCIMUser(\"joe\", \"" + key +
                                                 "\") = " + std::to_string(decision)}));
        }
    }
}

TEST_P(ProviderBattery, ATargetThatIsNotFoundIsNotActedOn)
{
    start("one");
    for (const std::string& name : changes()) {
        const std::string notFound =
            "1 " + itsName + "::" + name + "()  Device not found with Tag=";
        target = pathOf(row.className, {{"tag", "x y"}});
        array.mend();
        EXPECT_EQ(thrownBy([&] { run(name); }), notFound + "x y");
        EXPECT_EQ(array.calls().at(3), row.lookup + "(\"x y\") = 11");
        EXPECT_EQ(array.calls().size(), 5u) << "found in vain and nothing else";
        array.mend();
        array.fail("cim_sem_wait", 1);
        EXPECT_EQ(thrownBy([&] { run(name); }), notFound + "x y");
        EXPECT_EQ(array.calls().back(), "cim_sem_wait() = 1");
        target = ref;
        EXPECT_EQ(thrownBy([&] { run(name); }), notFound);
    }
}

// ---- Threads ----

TEST_P(ProviderBattery, ServesSeveralThreadsAtOnce)
{
    start("one");
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
}

}  // namespace
