// The four associations: what lies at the other end of an object and where it comes from, which
// requests are screened out, and what is written on the way.
#include "Providers.h"

namespace
{

// ---- The associations ----

struct End
{
    std::string role;
    Texts classes;
};

/// An association and the lines that tell its provider, P, from the others. Pairs of lines are what
/// an operation writes as it begins and as it ends.
struct AssociationRow : Row
{
    std::string provider;
    End cage;
    End other;
    Texts referenceClasses;   ///< accepted as result classes of references and referenceNames
    Texts associatedClasses;  ///< accepted as result classes of associators and associatorNames
    std::string query;        ///< the list that its enumerations read
    Texts enumerateInstanceNames;
    Texts enumerateInstances;
    Texts getInstance;
    Texts classes;  ///< associatorNames: the ends of the lines that show and that refuse classes
    /// How the steps are called that find names and instances.
    Texts steps = {"_getRelatedInstanceNames", "_getRelatedInstances"};
};

const Texts CAGES = {"QBX_DriveCage", "QBX_DriveCageDC1Family", "QBX_DriveCageDC2Family",
                     "QBX_DriveCageDC3Family"};
const Texts CARDS = {"QBX_CageInterfaceCard", "QBX_CageInterfaceCardDC1Family",
                     "QBX_CageInterfaceCardDC2Family", "QBX_CageInterfaceCardDC3Family"};
const Texts PACKAGES = {"CIM_Chassis", "CIM_PhysicalPackage"};

// clang-format off
const AssociationRow CARD_IN_CAGE = {
    "QBX_InterfaceCardInDriveCage", "QBX_FCALCardInDriveCageProvider", {GROUP, CAGES}, {PART, CARDS},
    {"CIM_PackageInChassis", "QBX_InterfaceCardInDriveCage"}, {PACKAGES, CARDS, CAGES},
    "api_getFCALsNoMfg_Cached",
    {"4: --> P::enumerateInstanceNames()\n", "4: <-- P::enumerateInstanceNames()\n"},
    {"4: --> P::enumerateInstances() \n", "4: <-- P::enumerateInstances()\n"},
    {"4: -->P::getInstance()\n", "4: <-- P::getInstance()\n"},
    {"associationClass=CIM_A; resultClass=CIM_Chassis \n",
     "associationClass=CIM_A, resultClass=CIM_Chassis\n"}};

const AssociationRow MAGAZINE_IN_CAGE = {
    "QBX_MagazineInDriveCage", "QBX_MagazineInDriveCageProvider",
    {GROUP, CAGES}, {PART, {"QBX_Magazine"}},
    {"CIM_PackageInChassis", "QBX_MagazineInDriveCage"}, {PACKAGES, CAGES, "QBX_Magazine"},
    "api_getMagazinesNoMfg_Cached",
    {"4: --> P::enumerateInstanceNames()\n", "4: <-- P::enumerateInstanceNames() \n"},
    {"4: --> P::enumerateInstances() \n", "4: <-- P::enumerateInstances() \n"},
    {"4: -->P::getInstance() \n", "4: <-- P::getInstance()\n\n"},
    {"associationClass = CIM_A; resultClass = CIM_Chassis \n",
     "associationClass=CIM_A, resultClass=CIM_Chassis\n"}};

const AssociationRow CAGE_IN_SYSTEM = {
    "QBX_SysCageContainer", "QBX_SysCageContainerProvider",
    {PART, CAGES}, {GROUP, {"QBX_SystemPackage"}},
    {"CIM_Container", "QBX_SysCageContainer"}, {PACKAGES, CAGES, "QBX_SystemPackage"},
    "api_getCagesNoMfg_Cached",
    {"4: -->P::enumerateInstanceNames()\n", "4: <--P::enumerateInstanceNames()\n"},
    {"4: --> P::enumerateInstances() \n", "4: <-- P::enumerateInstances() \n"},
    {"4: -->P::getInstance() \n", "4: <-- P::getInstance()\n"},
    {"associationClass = CIM_A; resultClass = CIM_Chassis \n",
     "associationClass=CIM_A, resultClass=CIM_Chassis\n"}};

const AssociationRow SENSOR_IN_CAGE = {
    "QBX_SensorInDriveCage", "QBX_SensorInDriveCageProvider",
    {"Dependent", {"QBX_DriveCageDC2Family"}}, {"Antecedent", {"QBX_CageSensor"}},
    {"CIM_PackageDependency", "QBX_SensorInDriveCage"},
    {"CIM_Chassis", "CIM_Sensor", "QBX_CageSensor", "QBX_DriveCage", "QBX_DriveCageDC2Family"},
    "api_getCages_Cached",
    {"4: --> P::enumerateInstanceNames() \n", "4: <-- P::enumerateInstanceNames() \n"},
    {"4: -->P::enumerateInstances()\n", "4: <-- P::enumerateInstances() \n"},
    {"4: -->P::getInstance() \n", "4: <-- P::getInstance()\n\n"},
    {"associationClass = CIM_A; resultClass = CIM_Chassis \n",
     "associationClass = CIM_A, resultClass = CIM_Chassis\n"},
    {"_getRelatedInstanceName", "_getRelatedInstance"}};
// clang-format on

const std::vector<AssociationRow> ASSOCIATIONS = {CARD_IN_CAGE, MAGAZINE_IN_CAGE, CAGE_IN_SYSTEM,
                                                  SENSOR_IN_CAGE};

const std::vector<std::string> TRAVERSALS = {"referenceNames", "references", "associatorNames",
                                             "associators"};

/// The path of the association of a cage with an object at the other end.
std::string pathOfPair(const AssociationRow& its, CIMObjectPath cage, CIMObjectPath other)
{
    cage.setHost("array1");
    other.setHost("array1");
    return str(associationPath(its.name, its.cage.role, cage, its.other.role, other));
}

/// The lines and calls that begin a traversal; `classes` ends the line that shows them.
Texts opening(const std::string& operation, const CIMObjectPath& object, const std::string& classes)
{
    const std::string shown = operation == "referenceNames" ? "references" : operation;
    return {"4: -->P::" + operation + "\n",
            "4: P::" + shown + ": objectName = " + str(object) + "; " + classes, OPEN};
}

const std::string ASSOCIATOR_CLASSES = "associationClass = CIM_A; resultClass = CIM_Chassis \n";
const View WANTED = {true, false, listOf({"Tag"})};

// ---- Enumerations ----

class AssociationTest : public RowTest<AssociationRow, ProviderTest>
{
protected:
    AssociationTest() { start(row.provider); }

    /// True when the traversal of an object of that class is let through.
    bool accepts(const std::string& operation, const std::string& className,
                 const Traversal& traversal)
    {
        read(operation, pathOf(className, {{"Tag", "no"}, {"DeviceID", "no"}}), {}, traversal);
        return !array.events().startingWith("handler.processing").empty();
    }

    /// Objects of the class must have one of the roles, the result role must be one of those given.
    void expectRoles(const std::string& className, const Texts& roles, const Texts& resultRoles)
    {
        const std::string shouted = cased(className, std::toupper);
        for (const std::string& operation : TRAVERSALS) {
            const bool hasResultRole = operation[0] == 'a';
            for (const std::string role : {"ANTECEDENT", "dependent", GROUP, PART, "x"}) {
                ASSERT_EQ(accepts(operation, shouted, {role.c_str(), "", {}, {}}), roles.hold(role))
                    << operation << " of a " << className << " with role " << role;
                ASSERT_EQ(accepts(operation, shouted, {"", role.c_str(), {}, {}}),
                          !hasResultRole || resultRoles.hold(role))
                    << operation << " of a " << className << " with result role " << role;
            }
        }
    }

    /// `classes` and `refused` end the lines that show the classes and that refuse them.
    void expectRefusal(const std::string& operation, const std::string& classes,
                       const std::string& refused)
    {
        read(operation, CAGE, {}, {"r", "", "CIM_Chassis", "CIM_A"});
        EXPECT_LIST(events(), {opening(operation, CAGE, classes),
                               "2: P::" + operation + ": invalid params: " + refused});
    }

    void expectEvents(const std::string& operation, const CIMObjectPath& object, const Texts& lines,
                      const std::string& view, const std::string& result)
    {
        EXPECT_EQ(read(operation, object, WANTED), "nothing");
        const bool isNames = operation == "enumerateInstanceNames";
        EXPECT_LIST(
            events(),
            {lines[0], OPEN, isNames ? Texts{"4: -->P::_getInstanceNames\n"} : Texts(),
             "4: -->P::_getInstances\n", query(row.query),
             "cimom.getClass nobody " + row.name + view, SKELETON, FREED,
             "4: <--P::_getInstances\n", isNames ? Texts{"4: <--P::_getInstanceNames\n"} : Texts(),
             delivered(result), lines[1]});
    }
};

INSTANTIATE_TEST_SUITE_P(All, AssociationTest, testing::ValuesIn(ASSOCIATIONS), NameOfRow());

TEST_P(AssociationTest, EnumerateInstanceNames)
{
    expectEvents("enumerateInstanceNames", {}, row.enumerateInstanceNames, " FF", "1");
}

TEST_P(AssociationTest, EnumerateInstances)
{
    expectEvents("enumerateInstances", {}, row.enumerateInstances, " TF Tag", "1");
}

TEST_P(AssociationTest, GetInstance)
{
    EXPECT_EQ(read("enumerateInstanceNames", CIMObjectPath()), "nothing");
    expectEvents("getInstance", CIMObjectPath(got.paths.at(0).c_str()), row.getInstance, " TF Tag",
                 "one");
}

TEST_P(AssociationTest, GetInstanceRejectsThreeKeys)
{
    EXPECT_EQ(read("getInstance", pathOf(row.name, {{GROUP, "a"}, {PART, "b"}, {"X", "c"}})),
              "4 " + row.provider + " Expect two keys.");
    EXPECT_LIST(events(),
                {row.getInstance[0], OPEN, "2: P::getInstance(): Invalid number of keys (3)\n"});
}

// ---- What is screened out ----

TEST_P(AssociationTest, RejectsRoleOfTheOtherEnd)
{
    for (const std::string& className : row.cage.classes)
        expectRoles(className, {row.cage.role}, {row.other.role});
    for (const std::string& className : row.other.classes)
        expectRoles(className, {row.other.role}, {row.cage.role});
}

TEST_P(AssociationTest, AcceptsBothRolesForObjectOfNeitherEnd)
{
    const Texts both = {row.cage.role, row.other.role};
    expectRoles("QBX_Disk", both, both);
}

TEST_P(AssociationTest, AcceptsResultClassesOfAssociationAndEnds)
{
    Texts all = {"CIM_Component", "CIM_PhysicalElement", "CIM_Dependency"};
    for (const AssociationRow& each : ASSOCIATIONS)
        all = {all, each.referenceClasses, each.associatedClasses};
    for (const std::string& operation : TRAVERSALS) {
        const Texts accepted = operation[0] == 'r' ? row.referenceClasses : row.associatedClasses;
        for (const std::string& each : all) {
            const CIMName resultClass(cased(each, std::tolower).c_str());
            ASSERT_EQ(
                accepts(operation, row.cage.classes[0], {"", "", resultClass, "CIM_Nonsense"}),
                accepted.hold(each))
                << operation << " with result class " << each;
        }
    }
}

TEST_P(AssociationTest, RefusedTraversalIsTracedAndDeliversNothing)
{
    const std::string role = "role = r, resultClass = CIM_Chassis \n";
    expectRefusal("referenceNames", "resultClass = CIM_Chassis", role);
    expectRefusal("references", "resultClass = CIM_Chassis \n", role);
    expectRefusal("associatorNames", row.classes[0], row.classes[1]);
    expectRefusal("associators", ASSOCIATOR_CLASSES, "resultClass = CIM_Chassis \n");
}

// ---- Where the other end comes from ----

/// What an association does to find the one object at the other end of an object in ONE_OF_EACH.
/// VIEW stands for what is wanted of an instance.
struct LookupRow : Row
{
    const AssociationRow& its;
    CIMObjectPath object;
    Texts find;
    Texts findNames = {};  ///< when that is another way
};

class LookupTest : public RowTest<LookupRow, ProviderTest>
{
protected:
    LookupTest() { start(row.its.provider); }

    /// A step of the provider, with what it does.
    Texts step(const std::string& name, const Texts& work) const
    {
        return {"4: -->P::" + name + ": className = " + str(row.object.getClassName()) + " \n",
                work, "4: <--P::" + name + "\n"};
    }

    /// The step that finds instances.
    Texts findInstances(const std::string& view) const
    {
        Texts work = row.find;
        for (std::string& event : work) {
            if (const auto at = event.find("VIEW"); at != std::string::npos)
                event.replace(at, 4, view);
        }
        return step(row.its.steps[1], work);
    }
};

TEST_P(LookupTest, References)
{
    const std::string resultClass = row.its.referenceClasses[0];
    EXPECT_EQ(read("references", row.object, WANTED, {"", "", resultClass.c_str(), {}}), "nothing");
    EXPECT_LIST(
        events(),
        {opening("references", row.object, "resultClass = " + resultClass + " \n"),
         step(row.its.steps[0], row.findNames.empty() ? findInstances("FF") : row.findNames),
         "handler.processing", "cimom.getClass nobody " + row.its.name + " TF Tag", SKELETON,
         "handler.deliver one", "handler.complete", "4: <--P::references\n"});
}

TEST_P(LookupTest, Associators)
{
    EXPECT_EQ(read("associators", row.object, WANTED, {"", "", "CIM_Chassis", "CIM_A"}), "nothing");
    EXPECT_LIST(events(), {opening("associators", row.object, ASSOCIATOR_CLASSES),
                           findInstances("TF Tag"), delivered("one"), "4: <--P::associators\n"});
}

const std::string CAGE_FETCHED = "cimom.getInstance joe " + str(CAGE) + " VIEW";
const Texts CAGE_BUILT = {"cimom.getClass nobody QBX_DriveCageDC2Family VIEW", SKELETON};
const Texts CARD_BUILT = {"cimom.getClass nobody QBX_CageInterfaceCardDC2Family VIEW", SKELETON};
const Texts MAGAZINE_BUILT = {"cimom.getClass nobody QBX_Magazine VIEW",
                              "4: -->QBX_MagazineProvider::buildInstance()\n", SKELETON,
                              "4: <--QBX_MagazineProvider::buildInstance()\n"};
const Texts SENSOR_BUILT = {"cimom.getClass nobody QBX_CageSensor VIEW",
                            "4: -->QBX_CageSensorProvider::buildInstance()\n", SKELETON,
                            "4: <--QBX_CageSensorProvider::buildInstance()\n"};

// clang-format off
const std::vector<LookupRow> LOOKUPS = {
    {"CageOfCard", CARD_IN_CAGE, CARD,
              {readKey("Tag", "card 0"), query("api_getFCALsNoMfg_Cached"), CAGE_FETCHED, FREED}},
    {"CardInCage", CARD_IN_CAGE, CAGE,
              {readKey("Tag", "cage 0"), query("api_getFCALsNoMfg_Cached"), CARD_BUILT, FREED}},
    {"MagazineInCage", MAGAZINE_IN_CAGE, CAGE,
              {readKey("Tag", "cage 0"), query("api_getMagazinesNoMfg_Cached"), MAGAZINE_BUILT,
               FREED}},
    {"PackageOfCage", CAGE_IN_SYSTEM, CAGE,
              {"cimom.enumerateInstances joe QBX_SystemPackage VIEW"},
              {"cimom.enumerateInstanceNames joe QBX_SystemPackage"}},
    {"CageInPackage", CAGE_IN_SYSTEM, PACKAGE,
              {query("api_getCages_Cached"), CAGE_BUILT, FREED},
              {query("api_getCagesNoMfg_Cached"), FREED}},
    {"CageOfSensor", SENSOR_IN_CAGE, SENSOR,
              {readKey("DeviceID", "cage 0-sensor0"), query("api_getCages_Cached"), CAGE_BUILT,
               FREED}},
    {"SensorInCage", SENSOR_IN_CAGE, CAGE,
              {readKey("Tag", "cage 0"), query("api_getCages_Cached"), SENSOR_BUILT, FREED}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(All, LookupTest, testing::ValuesIn(LOOKUPS), NameOfRow());

// ---- What lies at the other end ----

/// Cages of the same name, elements of the same name in two cages, elements of a cage that is not
/// listed, an absent magazine before one of its name, cages without sensors of their own.
const std::string MANY = R"(
  "cages": [
    {"deviceID": "cage a", "type": "JB_LBOD", "lbod": {"sensors": [{"limit_low": 1}, null, {"reading": 1}]}},
    {"deviceID": "cage b", "type": "JB_MBOD"},
    {"deviceID": "cage c", "type": "JB_DC3", "lbod": {"sensors": [{"reading": 1}]}},
    {"deviceID": "cage a", "type": "JB_MBOD", "lbod": {"sensors": [{"reading": 1}]}}],
  "magazines": [
    {"deviceID": "mag 0", "parentDeviceID": "cage a", "cageType": "JB_LBOD"},
    {"deviceID": "mag 1", "parentDeviceID": "cage a", "cageType": "JB_LBOD", "isAbsent": true},
    {"deviceID": "mag 2", "parentDeviceID": "cage a", "cageType": "JB_LBOD"},
    {"deviceID": "mag 1", "parentDeviceID": "ghost", "cageType": "JB_DC3"}],
  "fcals": [
    {"deviceID": "card 0", "parentDeviceID": "cage a", "cageType": "JB_LBOD"},
    {"deviceID": "card 1", "parentDeviceID": "cage a", "cageType": "JB_MBOD"},
    {"deviceID": "card 2", "parentDeviceID": "ghost", "cageType": "JB_JBOD"},
    {"deviceID": "card 0", "parentDeviceID": "cage b", "cageType": "JB_MBOD"}])";

CIMObjectPath cage(const std::string& tag)
{
    return element("QBX_DriveCageDC2Family", tag);
}

CIMObjectPath card(const std::string& tag)
{
    return element("QBX_CageInterfaceCardDC2Family", tag);
}

CIMObjectPath magazine(const std::string& tag)
{
    return element("QBX_Magazine", tag);
}

const CIMObjectPath GHOST_DC1 = element("QBX_DriveCageDC1Family", "ghost");
const CIMObjectPath GHOST_DC3 = element("QBX_DriveCageDC3Family", "ghost");
const CIMObjectPath GHOSTS_CARD = element("QBX_CageInterfaceCardDC1Family", "card 2");
const CIMObjectPath CAGE_C = element("QBX_DriveCageDC3Family", "cage c");

using SingleAssociationTest = ProviderTest;

/// An object of the array MANY and what lies at the other end, in order.
struct OtherEndRow : Row
{
    const AssociationRow& its;
    CIMObjectPath object;
    std::vector<CIMObjectPath> others;
};

using OtherEndTest = RowTest<OtherEndRow, ProviderTest>;

TEST_P(OtherEndTest, IsReachedByEveryTraversal)
{
    start(row.its.provider, MANY);
    CIMObjectPath object = row.object;
    object.setHost("as.the.client.says");
    const bool isCage = str(object.getClassName()).find("QBX_DriveCage") == 0;
    Texts others;
    Texts pairs;
    for (const CIMObjectPath& other : row.others) {
        others.push_back(str(other));
        pairs.push_back(isCage ? pathOfPair(row.its, object, other)
                               : pathOfPair(row.its, other, object));
    }
    for (const std::string& operation : TRAVERSALS) {
        SCOPED_TRACE(operation);
        ASSERT_EQ(read(operation, object), "nothing");
        EXPECT_LIST(got.paths, operation[0] == 'r' ? pairs : others);
        EXPECT_LIST(array.events().startingWith("handler."),
                    {"handler.processing", Texts(others.size(), "handler.deliver one"),
                     "handler.complete"});
        EXPECT_EQ(events().back(), "4: <--P::" + operation + "\n");
        if (HasFailure()) return;
    }
}

// clang-format off
const std::vector<OtherEndRow> OTHER_ENDS = {
    {"CardInTwoCagesHasTheFirst", CARD_IN_CAGE, card("card 0"), {cage("cage a")}},
    {"CardOfAnUnlistedCage", CARD_IN_CAGE, GHOSTS_CARD, {GHOST_DC1}},
    {"TheClassOfACardIsNotCompared", CARD_IN_CAGE, element("QBX_CageInterfaceCard", "card 0"),
     {cage("cage a")}},
    {"TheTagOfACardIsCompared", CARD_IN_CAGE, card("Card 0"), {}},
    {"CardsOfACage", CARD_IN_CAGE, cage("cage a"), {card("card 0"), card("card 1")}},
    {"CardsOfAnUnlistedCage", CARD_IN_CAGE, GHOST_DC1, {GHOSTS_CARD}},
    {"AMagazineHasNoCards", CARD_IN_CAGE, magazine("cage a"), {}},
    {"AbsentMagazineDoesNotCount", MAGAZINE_IN_CAGE, magazine("mag 1"), {GHOST_DC3}},
    {"MagazinesOfACage", MAGAZINE_IN_CAGE, cage("cage a"), {magazine("mag 0"), magazine("mag 2")}},
    {"CagesOfThePackage", CAGE_IN_SYSTEM, PACKAGE,
     {cage("cage a"), cage("cage b"), CAGE_C, cage("cage a")}},
    {"ACardIsInNoPackage", CAGE_IN_SYSTEM, card("card 0"), {}},
    {"SensorsOfTheFirstCageOfItsName", SENSOR_IN_CAGE, cage("cage a"),
     {sensor("cage a-sensor0"), sensor("cage a-sensor2")}},
    {"CageWithoutSensors", SENSOR_IN_CAGE, cage("cage b"), {}},
    {"CageOfATypeThatCarriesNone", SENSOR_IN_CAGE, cage("cage c"), {}},
    {"CageOfAnotherClassHasNoSensors", SENSOR_IN_CAGE, element("QBX_DriveCage", "cage a"), {}},
    {"Sensor", SENSOR_IN_CAGE, sensor("cage a-sensor0"), {cage("cage a")}},
    {"EmptyPlaceIsNoSensor", SENSOR_IN_CAGE, sensor("cage a-sensor1"), {}},
    {"SensorOfACageThatCarriesNone", SENSOR_IN_CAGE, sensor("cage c-sensor0"), {}},
    {"IndexOfASensorHasNoPadding", SENSOR_IN_CAGE, sensor("cage a-sensor02"), {}},
    {"CageWithoutTag", SENSOR_IN_CAGE, pathOf("QBX_DriveCageDC2Family"), {}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(All, OtherEndTest, testing::ValuesIn(OTHER_ENDS), NameOfRow());

TEST_F(SingleAssociationTest, ListsAssociationsInTheOrderOfRecords)
{
    start(CARD_IN_CAGE.provider, MANY);
    for (const std::string operation : {"enumerateInstanceNames", "enumerateInstances"}) {
        ASSERT_EQ(read(operation, CIMObjectPath()), "nothing");
        EXPECT_LIST(got.paths, {pathOfPair(CARD_IN_CAGE, cage("cage a"), card("card 0")),
                                pathOfPair(CARD_IN_CAGE, cage("cage a"), card("card 1")),
                                pathOfPair(CARD_IN_CAGE, GHOST_DC1, GHOSTS_CARD),
                                pathOfPair(CARD_IN_CAGE, cage("cage b"), card("card 0"))});
    }
}

TEST_F(SingleAssociationTest, ListsNoSensorsOfCagesThatCarryNone)
{
    start(SENSOR_IN_CAGE.provider, MANY);
    EXPECT_EQ(read("enumerateInstanceNames", CIMObjectPath()), "nothing");
    EXPECT_LIST(got.paths, {pathOfPair(SENSOR_IN_CAGE, cage("cage a"), sensor("cage a-sensor0")),
                            pathOfPair(SENSOR_IN_CAGE, cage("cage a"), sensor("cage a-sensor2")),
                            pathOfPair(SENSOR_IN_CAGE, cage("cage a"), sensor("cage a-sensor0"))});
}

// ---- What goes wrong ----

TEST_F(SingleAssociationTest, RejectsCageWithoutTag)
{
    for (const std::string& name : {CARD_IN_CAGE.provider, MAGAZINE_IN_CAGE.provider}) {
        start(name);
        EXPECT_EQ(read("references", pathOf("QBX_DriveCage")), "4 " + name + " Tag key not found.");
        EXPECT_LIST(array.calls(), {OPEN});
    }
}

TEST_F(SingleAssociationTest, SensorStepWithoutKeyWritesNoExitLine)
{
    start("QBX_SensorInDriveCageProvider");
    EXPECT_EQ(read("associators", pathOf("QBX_CageSensor")), "nothing");
    EXPECT_LIST(
        events(),
        {opening("associators", pathOf("QBX_CageSensor"), "associationClass = ; resultClass =  \n"),
         "4: -->P::_getRelatedInstance: className = QBX_CageSensor \n", readKey("DeviceID", ""),
         "handler.processing", "handler.complete", "4: <--P::associators\n"});
}

TEST_F(SingleAssociationTest, DeliversCageOfObjectManagerUnchanged)
{
    start("QBX_FCALCardInDriveCageProvider");
    CIMInstance its = cimom.onGetInstance(CAGE);
    const std::string bare = str(its.getPath());
    cimom.onGetInstance = [&its](const CIMObjectPath&) { return its; };
    EXPECT_EQ(read("associators", CARD), "nothing");
    EXPECT_LIST(got.paths, {str(CAGE)});
    EXPECT_EQ(str(its.getPath()), bare);

    // What has a path keeps it, and what cannot have this one stays as it came.
    its.setPath(pathOf("QBX_DriveCageDC2Family", {{"Tag", "another"}}));
    read("associators", CARD);
    EXPECT_LIST(got.paths, {str(its.getPath())});
    its = instanceOf(CIMName("QBX_Magazine"));
    EXPECT_EQ(read("associators", CARD), "nothing");
    EXPECT_LIST(got.paths, {str(its.getPath())});
}

TEST_F(SingleAssociationTest, LeavesOutCageThatCannotBeFetched)
{
    start("QBX_FCALCardInDriveCageProvider");
    cimom.onGetInstance = [](const CIMObjectPath&) -> CIMInstance { throw 5; };
    EXPECT_EQ(read("referenceNames", CARD), "nothing");
    EXPECT_LIST(array.events().startingWith("handler."),
                {"handler.processing", "handler.complete"});
}

TEST_F(SingleAssociationTest, CageHasItsContainerWithAnyNumberOfPackages)
{
    start("QBX_SysCageContainerProvider");
    const CIMObjectPath another = element("QBX_SystemPackage", "another");
    for (const Uint32 known : {0, 2}) {
        cimom.onEnumerateInstanceNames = [&](const CIMName&) {
            return Array<CIMObjectPath>(known, another);
        };
        for (const char* operation : {"referenceNames", "references"}) {
            read(operation, CAGE);
            EXPECT_LIST(got.paths, {pathOfPair(CAGE_IN_SYSTEM, CAGE, PACKAGE)});
        }
        ASSERT_EQ(read("associatorNames", cage("unheard of")), "nothing");
        EXPECT_LIST(got.paths, Texts(known, str(another)));
    }
}

TEST_F(SingleAssociationTest, ReferencesNameThePackageOfTheStart)
{
    start("QBX_SysCageContainerProvider");
    read("referenceNames", element("QBX_SystemPackage", "another"));
    EXPECT_LIST(got.paths, {pathOfPair(CAGE_IN_SYSTEM, CAGE, PACKAGE)});
}

TEST_F(SingleAssociationTest, RejectsReferencesWithoutPackageAtTheStart)
{
    cimom.onEnumerateInstanceNames = [](const CIMName&) { return Array<CIMObjectPath>(); };
    start("QBX_SysCageContainerProvider");
    EXPECT_NE(read("references", PACKAGE), "nothing");
    EXPECT_LIST(array.events().startingWith("handler."), {"handler.processing"});
    EXPECT_EQ(read("associatorNames", PACKAGE), "nothing");
    EXPECT_LIST(got.paths, {str(CAGE)});
    EXPECT_NE(read("enumerateInstanceNames", CIMObjectPath()), "nothing");
    EXPECT_LIST(array.events().startingWith("handler."), Texts());
}

}  // namespace
