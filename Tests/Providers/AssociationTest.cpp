// The four associations: what a request may ask, what lies at the other end of an object and where
// it comes from, and what is written on the way.
#include "ProviderTest.h"

#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

#include <algorithm>

using namespace Pegasus;

namespace
{

/// One end of an association: its role and the classes that stand there.
struct End
{
    std::string role;
    Texts classes;
};

struct Association
{
    std::string provider;
    std::string className;
    std::string query;  ///< of the array for a traversal
    End cage;
    End other;
    Texts referenceClasses;   ///< result classes of references
    Texts associatedClasses;  ///< result classes of associators
};

const Texts CAGES = {"QBX_DriveCage", "QBX_DriveCageDC1Family", "QBX_DriveCageDC3Family",
                     "QBX_DriveCageDC2Family"};
const Texts CARDS = {"QBX_CageInterfaceCard", "QBX_CageInterfaceCardDC1Family",
                     "QBX_CageInterfaceCardDC3Family", "QBX_CageInterfaceCardDC2Family"};

const Association CARD = {"QBX_FCALCardInDriveCageProvider",
                          "QBX_InterfaceCardInDriveCage",
                          "api_getFCALsNoMfg_Cached",
                          {"GroupComponent", CAGES},
                          {"PartComponent", CARDS},
                          {"CIM_PackageInChassis", "QBX_InterfaceCardInDriveCage"},
                          Texts{"CIM_Chassis", "CIM_PhysicalPackage"} + CAGES + CARDS};
const Association MAGAZINE = {"QBX_MagazineInDriveCageProvider",
                              "QBX_MagazineInDriveCage",
                              "api_getMagazinesNoMfg_Cached",
                              {"GroupComponent", CAGES},
                              {"PartComponent", {"QBX_Magazine"}},
                              {"CIM_PackageInChassis", "QBX_MagazineInDriveCage"},
                              Texts{"CIM_Chassis", "CIM_PhysicalPackage", "QBX_Magazine"} + CAGES};
const Association CONTAINER = {
    "QBX_SysCageContainerProvider",
    "QBX_SysCageContainer",
    "api_getCagesNoMfg_Cached",
    {"PartComponent", CAGES},
    {"GroupComponent", {"QBX_SystemPackage"}},
    {"CIM_Container", "QBX_SysCageContainer"},
    Texts{"CIM_PhysicalPackage", "QBX_SystemPackage", "CIM_Chassis"} + CAGES};
const Association SENSOR = {
    "QBX_SensorInDriveCageProvider",
    "QBX_SensorInDriveCage",
    "api_getCages_Cached",
    {"Dependent", {"QBX_DriveCageDC2Family"}},
    {"Antecedent", {"QBX_CageSensor"}},
    {"CIM_PackageDependency", "QBX_SensorInDriveCage"},
    {"CIM_Sensor", "QBX_CageSensor", "CIM_Chassis", "QBX_DriveCage", "QBX_DriveCageDC2Family"}};

const Association* const ALL[] = {&CARD, &MAGAZINE, &CONTAINER, &SENSOR};
const Texts OPERATIONS = {"referenceNames", "references", "associatorNames", "associators"};
const Texts NOTHING_DELIVERED = {"processing", "complete"};

bool isReferences(const std::string& operation)
{
    return operation[0] == 'r';
}

bool contains(const Texts& texts, const std::string& text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

std::string mixedCase(std::string text)
{
    for (std::size_t i = 0; i < text.size(); i += 2)
        text[i] = static_cast<char>(std::isupper(text[i]) ? std::tolower(text[i])
                                                          : std::toupper(text[i]));
    return text;
}

/// What a traversal may ask beside the object.
struct Asked
{
    std::string role;
    std::string resultRole;
    std::string resultClass;
    std::string associationClass;
};

CIMName nameOf(const std::string& text)
{
    return text.empty() ? CIMName() : CIMName(text.c_str());
}

/// The path of an object as this module writes it, from its class without "QBX_" and its tag.
CIMObjectPath at(const std::string& classAndTag, const std::string& host = "array1")
{
    const std::size_t blank = classAndTag.find(' ');
    const std::string name = "QBX_" + classAndTag.substr(0, blank);
    const std::string tag = classAndTag.substr(blank + 1);
    if (name != "QBX_CageSensor")
        return pathOf(name, {{"CreationClassName", name}, {"Tag", tag}}, host);
    return pathOf(name,
                  {{"SystemCreationClassName", "QBX_StorageSystem"},
                   {"SystemName", "System One"},
                   {"CreationClassName", name},
                   {"DeviceID", tag}},
                  host);
}

/// The path of the association of a cage with an object at the other end.
std::string associationOf(const Association& association, CIMObjectPath cage, CIMObjectPath other)
{
    cage.setHost("array1");
    other.setHost("array1");
    return str(pathOf(association.className,
                      {{association.cage.role, str(cage)}, {association.other.role, str(other)}},
                      "array1"));
}

const std::string PACKAGE = "SystemPackage package";
const std::string ASKED_LIST = "Tag GroupComponent PartComponent Antecedent Dependent";

class AssociationTest : public ProviderTest
{
protected:
    void use(const Association& which)
    {
        association = &which;
        provider = &start<CIMAssociationProvider>(which.provider);
        instanceProvider = dynamic_cast<CIMInstanceProvider*>(provider);
    }

    /// Calls a traversal; keeps the handler's steps and the results.
    std::string run(const std::string& operation, const CIMObjectPath& object,
                    const Asked& asked = {})
    {
        const CIMName resultClass = nameOf(asked.resultClass);
        const CIMName associationClass = nameOf(asked.associationClass);
        const String role(asked.role.c_str());
        const String resultRole(asked.resultRole.c_str());
        const CIMPropertyList list = listOf(ASKED_LIST);
        PathHandler paths;
        ObjectHandler objects;
        array.forget();
        cimom.asked.clear();
        const std::string thrown = thrownBy([&] {
            if (operation == "referenceNames")
                provider->referenceNames(contextOf(), object, resultClass, role, paths);
            else if (operation == "references")
                provider->references(contextOf(), object, resultClass, role, true, false, list,
                                     objects);
            else if (operation == "associatorNames")
                provider->associatorNames(contextOf(), object, associationClass, resultClass, role,
                                          resultRole, paths);
            else
                provider->associators(contextOf(), object, associationClass, resultClass, role,
                                      resultRole, true, false, list, objects);
        });
        steps = paths.steps + objects.steps;
        instances = objects.results;
        results = pathsIn(paths.results) + pathsIn(objects.results);
        return thrown;
    }

    /// The lines and calls of a traversal up to what it does with the parameters.
    Texts opening(const std::string& operation, const CIMObjectPath& object,
                  const Asked& asked = {}) const
    {
        Texts arguments = {str(object), asked.resultClass};
        if (!isReferences(operation))
            arguments.insert(arguments.begin() + 1, asked.associationClass);
        return {lineOf(association->provider, operation + ">"),
                lineOf(association->provider, operation + "?", arguments), OPEN};
    }

    /// The traversal must be let through, or refused with the one line that says so.
    void expectScreened(const std::string& operation, const std::string& className,
                        const Asked& asked, bool isAccepted)
    {
        SCOPED_TRACE(association->provider + "::" + operation + " " + className +
                     " role=" + asked.role + " resultRole=" + asked.resultRole +
                     " resultClass=" + asked.resultClass);
        const CIMObjectPath object =
            pathOf(mixedCase(className), {{"Tag", "nowhere"}, {"DeviceID", "nowhere"}});
        EXPECT_EQ(run(operation, object, asked), "nothing");
        if (isAccepted) {
            EXPECT_EQ(steps.empty() ? "not opened" : steps.front(), "processing");
            return;
        }
        EXPECT_EQ(steps, Texts{}) << "the handler is left alone";
        Texts arguments = {asked.resultClass};
        if (isReferences(operation)) arguments.insert(arguments.begin(), asked.role);
        if (operation == "associatorNames")
            arguments.insert(arguments.begin(), asked.associationClass);
        const std::string line = lineOf(association->provider, operation + "!", arguments);
        EXPECT_EQ(array.events(), opening(operation, object, asked) + Texts{line});
    }

    const Association* association = nullptr;
    CIMAssociationProvider* provider = nullptr;
    CIMInstanceProvider* instanceProvider = nullptr;
    Texts steps;
    Texts results;
    std::vector<CIMObject> instances;
};

// ---- What may be asked ----

TEST_F(AssociationTest, RolesMustBeTheObjectsOwnAndResultRolesTheOtherEnds)
{
    const Texts roles = {"", "GroupComponent", "PartComponent", "Antecedent", "Dependent", "x"};
    for (const Association* each : ALL) {
        use(*each);
        const std::string& cageRole = each->cage.role;
        const std::string& otherRole = each->other.role;
        const struct
        {
            Texts classes;
            Texts roles;        // accepted
            Texts resultRoles;  // accepted
        } rows[] = {
            {each->cage.classes, {"", cageRole}, {"", otherRole}},
            {each->other.classes, {"", otherRole}, {"", cageRole}},
            {{"QBX_Disk"}, {"", cageRole, otherRole}, {"", cageRole, otherRole}},
        };
        for (const auto& row : rows) {
            for (const std::string& className : row.classes) {
                for (const std::string& role : roles) {
                    for (const std::string& operation : OPERATIONS) {
                        expectScreened(operation, className, {mixedCase(role), "", "", ""},
                                       contains(row.roles, role));
                        if (isReferences(operation)) continue;
                        expectScreened(operation, className, {"", mixedCase(role), "", ""},
                                       contains(row.resultRoles, role));
                    }
                }
            }
        }
    }
}

TEST_F(AssociationTest, ResultClassesMustBeAmongThoseOfTheAssociation)
{
    Texts candidates = {"CIM_Component",  "CIM_PhysicalElement", "CIM_ManagedElement",
                        "CIM_Dependency", "CIM_LogicalDevice",   "QBX_StorageSystem"};
    for (const Association* each : ALL)
        candidates = candidates + each->referenceClasses + each->associatedClasses;
    for (const Association* each : ALL) {
        use(*each);
        for (const std::string& candidate : candidates) {
            for (const std::string& operation : OPERATIONS) {
                const bool isAccepted = contains(
                    isReferences(operation) ? each->referenceClasses : each->associatedClasses,
                    candidate);
                // The association class is nobody's business.
                const Asked asked = {"", "", mixedCase(candidate), "CIM_Nonsense"};
                for (const std::string& className :
                     {each->cage.classes[0], each->other.classes[0], std::string("QBX_Disk")})
                    expectScreened(operation, className, asked, isAccepted);
            }
        }
    }
}

// ---- What lies at the other end, and where it comes from ----

struct Traversal
{
    const Association& association;
    std::string object;        ///< as at() reads it, like the others
    Texts others;              ///< at the other end
    std::string fetched = "";  ///< asked for although there is no other: a cage, or a class
};

const std::string C2 = "DriveCageDC2Family ";
const std::string C3 = "DriveCageDC3Family ";
const std::string I2 = "CageInterfaceCardDC2Family ";

const Traversal TRAVERSALS[] = {
    // An element sits in one cage: the first record of its name decides, also when that cage cannot
    // be had.
    {CARD, I2 + "card 0", {C2 + "cage a"}},
    {CARD, "CageInterfaceCardDC3Family card 1", {C3 + "cage c"}},
    {CARD, "CageInterfaceCardDC1Family card 3", {}, "DriveCageDC1Family ghost"},
    {CARD, I2 + "Card 0", {}},
    {CARD, I2 + "card 9", {}},
    // The class that the client names is not compared with the record's.
    {CARD, "CageInterfaceCardDC1Family card 0", {C2 + "cage a"}},
    // A cage holds all that name it, in the array's order.
    {CARD, C2 + "cage a", {I2 + "card 0", I2 + "card 2", I2 + "card 3"}},
    {CARD, "DriveCage cage a", {I2 + "card 0", I2 + "card 2", I2 + "card 3"}},
    {CARD, C3 + "cage c", {"CageInterfaceCardDC3Family card 1"}},
    {CARD, C2 + "ghost", {"CageInterfaceCardDC1Family card 3"}},
    {CARD, C2 + "cage 100%s", {}},
    {CARD, "Magazine cage a", {}},
    {MAGAZINE, "Magazine mag 0", {C2 + "cage a"}},
    // The first record of this name is absent and does not count.
    {MAGAZINE, "Magazine mag 1", {C3 + "cage c"}},
    {MAGAZINE, "Magazine mag 3", {}, C3 + "ghost"},
    {MAGAZINE, "Magazine mag 9", {}},
    {MAGAZINE, C2 + "cage a", {"Magazine mag 0", "Magazine mag 2"}},
    {MAGAZINE, "DriveCageDC1Family cage c", {"Magazine mag 1"}},
    {MAGAZINE, C2 + "cage b", {}},
    {MAGAZINE, I2 + "mag 0", {}},
    // The package's keys are not looked at, nor whether the cage exists.
    {CONTAINER,
     "SystemPackage any other",
     {C2 + "cage a", C2 + "cage b", C3 + "cage c", "DriveCageDC1Family cage d", C2 + "cage a"}},
    {CONTAINER, C2 + "cage a", {PACKAGE}},
    {CONTAINER, C3 + "unheard of", {PACKAGE}},
    {CONTAINER, I2 + "card 0", {}},
    // Sensors belong to cages of the DC2 family only, of which the first of a name counts.
    {SENSOR, C2 + "cage a", {"CageSensor cage a-sensor0", "CageSensor cage a-sensor2"}},
    {SENSOR, C2 + "cage b", {}, "CageSensor"},
    {SENSOR, C2 + "cage c", {}},
    {SENSOR, C2 + "cage d", {}},
    {SENSOR, C2 + "Cage a", {}},
    {SENSOR, "DriveCage cage a", {}},
    {SENSOR, "CageSensor cage a-sensor0", {C2 + "cage a"}},
    {SENSOR, "CageSensor cage a-sensor1", {}},
    {SENSOR, "CageSensor cage c-sensor0", {}},
    {SENSOR, "CageSensor cage a-sensor02", {}},
};

bool isContainer(const Traversal& row)
{
    return &row.association == &CONTAINER;
}

/// True when the object stands at that end.
bool isAt(const Traversal& row, const End& end)
{
    return contains(end.classes, str(at(row.object).getClassName()));
}

/// What is asked of the object manager: whole instances as the client wants them, on its behalf;
/// classes for what is built on the spot; paths only where they are enough.
Texts questions(const Traversal& row, const std::string& operation)
{
    const bool isFull = operation == "associators";
    const std::string view = isFull ? " TF " + ASKED_LIST : " FF";
    const auto classesOf = [&view](const Texts& objects) {
        Texts asked;
        for (const std::string& object : objects)
            asked.push_back("getClass nobody " + str(at(object).getClassName()) + view);
        return asked;
    };
    const Texts found = row.fetched.empty() ? row.others : Texts{row.fetched};
    Texts asked;
    if (isContainer(row) && isAt(row, CONTAINER.cage))
        asked = {isFull ? "enumerateInstances joe QBX_SystemPackage" + view
                        : "enumerateInstanceNames joe QBX_SystemPackage"};
    else if (isContainer(row))
        asked = isFull ? classesOf(found) : Texts{};
    else if (&row.association == &SENSOR)
        asked = classesOf(found.empty() ? found : Texts{found[0]});  // one class for all
    else if (isAt(row, row.association.cage))
        asked = classesOf(found);
    else if (!found.empty())
        asked = {"getInstance joe " + str(at(found[0])) + view};
    if (operation == "references")
        asked = asked + Texts(row.others.size(),
                              "getClass nobody " + row.association.className + " TF " + ASKED_LIST);
    return asked;
}

/// The lines and calls of a traversal after its opening, but those of building an instance.
Texts work(const Traversal& row, const std::string& operation, const CIMObjectPath& object)
{
    const bool isFull = operation == "associators";
    Texts helpers = {"_getRelatedInstanceNames", "_getRelatedInstances"};
    if (isContainer(row)) helpers.pop_back();
    if (isFull) helpers = {"_getRelatedInstances"};
    Texts events;
    for (const std::string& helper : helpers) {
        events.push_back(
            lineOf(row.association.provider, helper + ">", {str(object.getClassName())}));
    }
    bool hasKey = true;
    if (!isContainer(row)) {
        const bool isByID = &row.association == &SENSOR && !isAt(row, SENSOR.cage);
        hasKey = !isByID || isAt(row, SENSOR.other);
        const std::string read = "QBX_Common::getStringProperty(), ";
        events.push_back("4: -->" + read + "propertyName = " + (isByID ? "DeviceID\n" : "Tag\n"));
        events.push_back("4: <--" + read + "value = " +
                         (hasKey ? row.object.substr(row.object.find(' ') + 1) : "") + "\n");
    }
    if (!hasKey) helpers.pop_back();  // sensors: nothing more is done, not even the last line
    // The container's cages alone are read with manufacturing data, when they are published whole.
    const std::string query =
        isContainer(row) && isFull ? "api_getCages_Cached" : row.association.query;
    if (hasKey && (!isContainer(row) || isAt(row, CONTAINER.other)))
        events = events + reading(query) + Texts{FREED};
    for (auto helper = helpers.rbegin(); helper != helpers.rend(); ++helper)
        events.push_back(lineOf(row.association.provider, *helper + "<"));
    return events + Texts{lineOf(row.association.provider, operation + "<")};
}

TEST_F(AssociationTest, EveryTraversalReachesTheOtherEnd)
{
    cimom.onGetInstance = [give = cimom.onGetInstance](const CIMObjectPath& path) {
        if (str(path).find("ghost") != std::string::npos)
            throw CIMException(CIM_ERR_NOT_FOUND, "no such cage");
        return give(path);
    };
    for (const Traversal& row : TRAVERSALS) {
        const Association& its = row.association;
        use(its);
        array.serve("associations");
        CIMObjectPath object = at(row.object, "as.the.client.says");
        object.setClassName(CIMName(mixedCase(str(object.getClassName())).c_str()));
        const bool isCage = row.object.find("DriveCage") == 0;
        // The container refers to the package that it found at the start, whichever is asked for.
        const CIMObjectPath here = isContainer(row) && !isCage ? at(PACKAGE) : object;
        Texts others;
        Texts associations;
        for (const std::string& each : row.others) {
            const CIMObjectPath other = at(each);
            others.push_back(str(other));
            associations.push_back(
                associationOf(its, isCage ? here : other, isCage ? other : here));
        }
        for (const std::string& operation : OPERATIONS) {
            SCOPED_TRACE(its.provider + "::" + operation + " " + str(object));
            EXPECT_EQ(run(operation, object), "nothing");
            EXPECT_EQ(steps, Texts{"processing"} + Texts(row.others.size(), "deliver") +
                                 Texts{"complete"});
            if (isContainer(row) && isCage && !isReferences(operation))
                EXPECT_EQ(results.size(), 1u) << "as the object manager gives it";
            else
                EXPECT_EQ(results, isReferences(operation) ? associations : others);
            EXPECT_EQ(cimom.asked, questions(row, operation));
            Texts events = array.events();
            const auto isOfBuilding = [](const std::string& event) {
                return event.find("uildInstance") != std::string::npos;
            };
            events.erase(std::remove_if(events.begin(), events.end(), isOfBuilding), events.end());
            EXPECT_EQ(events, opening(operation, object) + work(row, operation, object));
            if (operation != "references") continue;
            for (const CIMObject& each : instances) {
                const CIMInstance instance(each);
                const CIMObjectPath path = instance.getPath();
                ASSERT_EQ(path.getKeyBindings().size(), 2u);
                for (Uint32 i = 0; i < 2; ++i) {
                    const CIMKeyBinding key = path.getKeyBindings()[i];
                    EXPECT_EQ(key.getType(), CIMKeyBinding::REFERENCE);
                    EXPECT_EQ(valueOf(instance, str(key.getName()).c_str()),
                              "reference " + str(key.getValue()));
                }
            }
        }
    }
}

TEST_F(AssociationTest, AllAssociationsAreListedFromTheRecordsAlone)
{
    const struct
    {
        const Association& association;
        std::vector<std::pair<std::string, std::string>> pairs;  // cage, other
    } rows[] = {
        {CARD,
         {{C2 + "cage a", I2 + "card 0"},
          {C3 + "cage c", "CageInterfaceCardDC3Family card 1"},
          {C2 + "cage a", I2 + "card 2"},
          {"DriveCageDC1Family ghost", "CageInterfaceCardDC1Family card 3"},
          {C2 + "cage b", I2 + "card 0"},
          {C2 + "cage a", I2 + "card 3"}}},
        {MAGAZINE,
         {{C2 + "cage a", "Magazine mag 0"},
          {C2 + "cage a", "Magazine mag 2"},
          {C3 + "ghost", "Magazine mag 3"},
          {C3 + "cage c", "Magazine mag 1"}}},
        {CONTAINER,
         {{C2 + "cage a", PACKAGE},
          {C2 + "cage b", PACKAGE},
          {C3 + "cage c", PACKAGE},
          {"DriveCageDC1Family cage d", PACKAGE},
          {C2 + "cage a", PACKAGE}}},
        {SENSOR,
         {{C2 + "cage a", "CageSensor cage a-sensor0"},
          {C2 + "cage a", "CageSensor cage a-sensor2"},
          {C2 + "cage a", "CageSensor cage a-sensor0"},
          {C2 + "cage a", "CageSensor cage a-sensor2"}}},
    };
    for (const auto& row : rows) {
        use(row.association);
        array.serve("associations");
        Texts expected;
        for (const auto& [cage, other] : row.pairs)
            expected.push_back(associationOf(row.association, at(cage), at(other)));
        PathHandler names;
        instanceProvider->enumerateInstanceNames(contextOf(), CIMObjectPath(), names);
        EXPECT_EQ(pathsIn(names.results), expected);
        cimom.asked.clear();
        InstanceHandler all;
        instanceProvider->enumerateInstances(contextOf(), CIMObjectPath(), false, true,
                                             listOf("PartComponent"), all);
        EXPECT_EQ(pathsIn(all.results), expected);
        EXPECT_EQ(cimom.asked,
                  Texts(expected.size(),
                        "getClass nobody " + row.association.className + " FT PartComponent"));
    }
}

TEST_F(AssociationTest, GetInstanceWantsTwoKeys)
{
    for (const Association* each : ALL) {
        use(*each);
        for (const std::size_t count : {0, 1, 3}) {
            Keys keys = {{"GroupComponent", "a"}, {"PartComponent", "b"}, {"X", "c"}};
            keys.resize(count);
            InstanceHandler handler;
            array.forget();
            EXPECT_EQ(thrownBy([&] {
                          instanceProvider->getInstance(contextOf(), pathOf(each->className, keys),
                                                        false, false, CIMPropertyList(), handler);
                      }),
                      "4 " + each->provider + " Expect two keys.");
            EXPECT_EQ(array.events(),
                      (Texts{lineOf(each->provider, "getInstance>"), OPEN,
                             lineOf(each->provider, "getInstance!", {std::to_string(count)})}));
        }
    }
}

// ---- What goes wrong ----

TEST_F(AssociationTest, AFailedWaitOrQueryFindsNothingAndCompletes)
{
    for (const Traversal& row : TRAVERSALS) {
        if (isContainer(row) && isAt(row, CONTAINER.cage)) continue;
        use(row.association);
        array.serve("associations");
        for (const std::string& operation : OPERATIONS) {
            SCOPED_TRACE(row.association.provider + "::" + operation + " " + row.object);
            array.mend();
            array.fail("cim_sem_wait", -1);
            EXPECT_EQ(run(operation, at(row.object)), "nothing");
            EXPECT_EQ(steps, NOTHING_DELIVERED);
            EXPECT_EQ(array.log().back(), lineOf(row.association.provider, operation + "<"));
            array.mend();
            array.failAfterwards(row.association.query, -1);
            array.failAfterwards("api_getCages_Cached", -1);
            EXPECT_EQ(run(operation, at(row.object)), "nothing");
            EXPECT_EQ(steps, NOTHING_DELIVERED);
        }
    }
}

TEST_F(AssociationTest, AMissingOrEmptyKeyIsAnErrorForElementsAndNothingForSensors)
{
    for (const Association* each : {&CARD, &MAGAZINE, &SENSOR}) {
        use(*each);
        for (const Keys& keys :
             {Keys{}, Keys{{"Tag", ""}, {"DeviceID", ""}}, Keys{{"Name", "x"}}}) {
            for (const std::string& className :
                 {each->cage.classes.back(), each->other.classes[0], std::string("QBX_Disk")}) {
                const CIMObjectPath object = pathOf(className, keys);
                for (const std::string& operation : OPERATIONS) {
                    SCOPED_TRACE(each->provider + "::" + operation + " " + str(object));
                    const bool isSensor = each == &SENSOR;
                    EXPECT_EQ(run(operation, object),
                              isSensor ? "nothing" : "4 " + each->provider + " Tag key not found.");
                    EXPECT_EQ(steps, isSensor ? NOTHING_DELIVERED : Texts{});
                    EXPECT_EQ(array.calls(), Texts{OPEN}) << "the array is not asked";
                }
            }
        }
    }
}

TEST_F(AssociationTest, WhatTheObjectManagerGivesIsNeitherChangedNorLost)
{
    use(CARD);
    array.serve("associations");
    CIMInstance its = cimom.onGetInstance(at(C2 + "cage a"));
    const std::string bare = str(its.getPath());
    cimom.onGetInstance = [&its](const CIMObjectPath&) { return its; };
    EXPECT_EQ(run("associators", at(I2 + "card 0")), "nothing");
    EXPECT_EQ(results, Texts{str(at(C2 + "cage a"))});
    EXPECT_EQ(str(its.getPath()), bare);

    // What has a path keeps it, and what cannot have this one stays as it came.
    its.setPath(pathOf("QBX_DriveCageDC2Family", {{"Tag", "another"}}));
    run("associators", at(I2 + "card 0"));
    EXPECT_EQ(results, Texts{str(its.getPath())});
    its = instanceOf(CIMName("QBX_Magazine"));
    EXPECT_EQ(run("associators", at(I2 + "card 0")), "nothing");
    EXPECT_EQ(results, Texts{str(its.getPath())});
}

TEST_F(AssociationTest, ACageHasItsContainerWhateverTheObjectManagerKnowsOfPackages)
{
    use(CONTAINER);
    const CIMObjectPath object = at(C2 + "unheard of");
    const CIMObjectPath another = at("SystemPackage another");
    for (const Uint32 known : {0, 2}) {
        cimom.onEnumerateInstanceNames = [&](const CIMName&) {
            return Array<CIMObjectPath>(known, another);
        };
        for (const char* operation : {"referenceNames", "references"}) {
            run(operation, object);
            EXPECT_EQ(results, Texts{associationOf(CONTAINER, object, at(PACKAGE))});
        }
        run("associatorNames", object);
        EXPECT_EQ(results, Texts(known, str(another)));
    }

    // Its failure is the client's to know, before the handler is opened.
    cimom.onEnumerateInstanceNames = [](const CIMName&) -> Array<CIMObjectPath> {
        throw CIMException(CIM_ERR_FAILED, "not now");
    };
    cimom.onEnumerateInstances = [](const CIMName&) -> Array<CIMInstance> {
        throw CIMException(CIM_ERR_ACCESS_DENIED, "not you");
    };
    for (const std::string& operation : OPERATIONS) {
        EXPECT_EQ(run(operation, object), operation == "associators" ? "2 not you" : "1 not now");
        EXPECT_EQ(steps, Texts{});
    }

    // Nothing can refer to a package that was not there at the start.
    use(CONTAINER);
    array.serve("associations");
    EXPECT_NE(run("references", at(PACKAGE)), "nothing");
    EXPECT_EQ(steps, Texts{"processing"});
    EXPECT_EQ(run("associatorNames", at(PACKAGE)), "nothing");
    EXPECT_EQ(results.size(), 5u);
    PathHandler names;
    EXPECT_NE(thrownBy([&] {
                  instanceProvider->enumerateInstanceNames(contextOf(), CIMObjectPath(), names);
              }),
              "nothing");
    EXPECT_EQ(names.steps, Texts{});
}

}  // namespace
