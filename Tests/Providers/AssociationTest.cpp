// The four associations: what a request may ask, what lies at the other end of an object and where
// it comes from, and what is written on the way.
#include "ProviderTest.h"

#include <Pegasus/Provider/CIMAssociationProvider.h>

#include <algorithm>
#include <sstream>

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
    End cage;
    End other;
    Texts referenceClasses;   ///< result classes of references
    Texts associatedClasses;  ///< result classes of associators
};

const Texts CAGES = {"QBX_DriveCage", "QBX_DriveCageDC1Family", "QBX_DriveCageDC3Family",
                     "QBX_DriveCageDC2Family"};
const Texts CARDS = {"QBX_CageInterfaceCard", "QBX_CageInterfaceCardDC1Family",
                     "QBX_CageInterfaceCardDC3Family", "QBX_CageInterfaceCardDC2Family"};

Texts operator+(Texts first, const Texts& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const Association CARD = {"QBX_FCALCardInDriveCageProvider",
                          "QBX_InterfaceCardInDriveCage",
                          {"GroupComponent", CAGES},
                          {"PartComponent", CARDS},
                          {"CIM_PackageInChassis", "QBX_InterfaceCardInDriveCage"},
                          Texts{"CIM_Chassis", "CIM_PhysicalPackage"} + CAGES + CARDS};
const Association MAGAZINE = {"QBX_MagazineInDriveCageProvider",
                              "QBX_MagazineInDriveCage",
                              {"GroupComponent", CAGES},
                              {"PartComponent", {"QBX_Magazine"}},
                              {"CIM_PackageInChassis", "QBX_MagazineInDriveCage"},
                              Texts{"CIM_Chassis", "CIM_PhysicalPackage", "QBX_Magazine"} + CAGES};
const Association CONTAINER = {
    "QBX_SysCageContainerProvider",
    "QBX_SysCageContainer",
    {"PartComponent", CAGES},
    {"GroupComponent", {"QBX_SystemPackage"}},
    {"CIM_Container", "QBX_SysCageContainer"},
    Texts{"CIM_PhysicalPackage", "QBX_SystemPackage", "CIM_Chassis"} + CAGES};
const Association SENSOR = {
    "QBX_SensorInDriveCageProvider",
    "QBX_SensorInDriveCage",
    {"Dependent", {"QBX_DriveCageDC2Family"}},
    {"Antecedent", {"QBX_CageSensor"}},
    {"CIM_PackageDependency", "QBX_SensorInDriveCage"},
    {"CIM_Sensor", "QBX_CageSensor", "CIM_Chassis", "QBX_DriveCage", "QBX_DriveCageDC2Family"}};

const Association* const ALL[] = {&CARD, &MAGAZINE, &CONTAINER, &SENSOR};
const Texts OPERATIONS = {"referenceNames", "references", "associatorNames", "associators"};
const std::string OPEN = "api_qbxOpenForCimserver(joe)";
const std::string CARD_LIST = "api_getFCALsNoMfg_Cached";
const std::string MAGAZINE_LIST = "api_getMagazinesNoMfg_Cached";
const std::string CAGE_LIST = "api_getCages_Cached";
const std::string CAGE_LIST_SHORT = "api_getCagesNoMfg_Cached";

/// The calls that read a list.
Texts reading(const std::string& query)
{
    return {"cim_sem_wait()", query + "(0)", "cim_sem_post()"};
}

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

/// The path of an element as this module writes it.
CIMObjectPath element(const std::string& className, const std::string& tag)
{
    return pathOf(className, {{"CreationClassName", className}, {"Tag", tag}}, "array1");
}

CIMObjectPath cageAt(const std::string& tag, const std::string& family = "DC2Family")
{
    return element("QBX_DriveCage" + family, tag);
}

CIMObjectPath cardAt(const std::string& tag, const std::string& family = "DC2Family")
{
    return element("QBX_CageInterfaceCard" + family, tag);
}

CIMObjectPath magazineAt(const std::string& tag)
{
    return element("QBX_Magazine", tag);
}

CIMObjectPath sensorAt(const std::string& id)
{
    return pathOf("QBX_CageSensor",
                  {{"SystemCreationClassName", "QBX_StorageSystem"},
                   {"SystemName", "System One"},
                   {"CreationClassName", "QBX_CageSensor"},
                   {"DeviceID", id}},
                  "array1");
}

const CIMObjectPath PACKAGE = element("QBX_SystemPackage", "package");

/// An object of a class, but none of the array's.
CIMObjectPath objectOf(const std::string& className)
{
    return pathOf(className, {{"Tag", "nowhere"}, {"DeviceID", "nowhere"}});
}

/// The path of the association of a cage with an object at the other end.
CIMObjectPath associationOf(const Association& association, CIMObjectPath cage, CIMObjectPath other)
{
    cage.setHost("array1");
    other.setHost("array1");
    return pathOf(association.className,
                  {{association.cage.role, str(cage)}, {association.other.role, str(other)}},
                  "array1");
}

class AssociationTest : public ProviderTest
{
protected:
    AssociationTest()
    {
        cimom.onEnumerateInstanceNames = [](const CIMName&) {
            return Array<CIMObjectPath>(1, PACKAGE);
        };
        cimom.onEnumerateInstances = [](const CIMName& className) {
            CIMInstance package(className);
            package.setPath(PACKAGE);
            return Array<CIMInstance>(1, package);
        };
        cimom.onGetInstance = [](const CIMObjectPath& path) {
            if (str(path).find("ghost") != std::string::npos)
                throw CIMException(CIM_ERR_NOT_FOUND, "no such cage");
            CIMInstance found(path.getClassName());
            CIMObjectPath bare = path;  // as the server answers: without host and namespace
            bare.setHost(String());
            bare.setNameSpace(CIMNamespaceName());
            found.setPath(bare);
            return found;
        };
    }

    void use(const Association& which)
    {
        association = &which;
        provider = &start<CIMAssociationProvider>(which.provider.c_str());
        instanceProvider = dynamic_cast<CIMInstanceProvider*>(provider);
    }

    void populate()
    {
        api.cages = {cage("cage a", JB_LBOD), cage("cage b", JB_MBOD), cage("cage c", JB_DC3),
                     cage("cage d", JB_KBOD), cage("cage a", JB_MBOD)};
        for (const int each : {0, 2, 3, 4}) {  // only cages of the DC2 family have sensors
            api.cages[each].u.lbod.sensCount = 3;
            api.cages[each].u.lbod.sensors[0] = sensor(0, 1, 0);
            api.cages[each].u.lbod.sensors[2] = sensor(1, 0, 0);
        }
        api.fcals = {card("card 0", "cage a", JB_LBOD), card("card 1", "cage c", JB_DC3),
                     card("card 2", "cage a", JB_MBOD), card("card 3", "ghost", JB_JBOD),
                     card("card 0", "cage b", JB_MBOD), card("card 3", "cage a", JB_LBOD)};
        api.magazines = {magazine("mag 0", "cage a", JB_LBOD), magazine("mag 1", "cage a", JB_LBOD),
                         magazine("mag 2", "cage a", JB_LBOD), magazine("mag 3", "ghost", JB_DC3),
                         magazine("mag 1", "cage c", JB_DC3)};
        api.magazines[1].isAbsent = 1;
    }

    /// Calls a traversal; keeps the handler's steps and the results.
    std::string run(const std::string& operation, const CIMObjectPath& object,
                    const Asked& asked = {}, bool qualifiers = false,
                    const CIMPropertyList& list = CIMPropertyList())
    {
        const CIMName resultClass = nameOf(asked.resultClass);
        const CIMName associationClass = nameOf(asked.associationClass);
        const String role(asked.role.c_str());
        const String resultRole(asked.resultRole.c_str());
        PathHandler paths;
        ObjectHandler objects;
        api.events.clear();
        cimom.asked.clear();
        const std::string thrown = thrownBy([&] {
            if (operation == "referenceNames")
                provider->referenceNames(contextOf(), object, resultClass, role, paths);
            else if (operation == "references")
                provider->references(contextOf(), object, resultClass, role, qualifiers, false,
                                     list, objects);
            else if (operation == "associatorNames")
                provider->associatorNames(contextOf(), object, associationClass, resultClass, role,
                                          resultRole, paths);
            else
                provider->associators(contextOf(), object, associationClass, resultClass, role,
                                      resultRole, qualifiers, false, list, objects);
        });
        steps = paths.steps + objects.steps;
        results = strs(paths.results);
        instances.clear();
        for (const CIMObject& delivered : objects.results) {
            instances.push_back(CIMInstance(delivered));
            results.push_back(str(delivered.getPath()));
        }
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
                        const Asked& asked, bool accepted)
    {
        SCOPED_TRACE(association->provider + "::" + operation + " " + className +
                     " role=" + asked.role + " resultRole=" + asked.resultRole +
                     " resultClass=" + asked.resultClass);
        const CIMObjectPath object = objectOf(mixedCase(className));
        EXPECT_EQ(run(operation, object, asked), "nothing");
        if (accepted) {
            EXPECT_EQ(steps.empty() ? "not opened" : steps.front(), "processing");
            return;
        }
        EXPECT_EQ(steps, Texts{}) << "the handler is left alone";
        Texts arguments = {asked.resultClass};
        if (isReferences(operation)) arguments.insert(arguments.begin(), asked.role);
        if (operation == "associatorNames")
            arguments.insert(arguments.begin(), asked.associationClass);
        const std::string line = lineOf(association->provider, operation + "!", arguments);
        EXPECT_EQ(api.events, opening(operation, object, asked) + Texts{line});
    }

    const Association* association = nullptr;
    CIMAssociationProvider* provider = nullptr;
    CIMInstanceProvider* instanceProvider = nullptr;
    Texts steps;
    Texts results;
    std::vector<CIMInstance> instances;
};

const Texts NOTHING_DELIVERED = {"processing", "complete"};

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

// ---- What lies at the other end ----

struct Traversal
{
    const Association& association;
    CIMObjectPath object;
    std::vector<CIMObjectPath> others;
};

const std::vector<Traversal> TRAVERSALS = {
    // An element sits in one cage: the first record of its name decides, also when that cage cannot
    // be had.
    {CARD, cardAt("card 0"), {cageAt("cage a")}},
    {CARD, cardAt("card 1", "DC3Family"), {cageAt("cage c", "DC3Family")}},
    {CARD, cardAt("card 3", "DC1Family"), {}},
    {CARD, cardAt("Card 0"), {}},
    {CARD, cardAt("card 9"), {}},
    // The class that the client names is not compared with the record's.
    {CARD, cardAt("card 0", "DC1Family"), {cageAt("cage a")}},
    // A cage holds all that name it, in the array's order.
    {CARD, cageAt("cage a"), {cardAt("card 0"), cardAt("card 2"), cardAt("card 3")}},
    {CARD, cageAt("cage a", ""), {cardAt("card 0"), cardAt("card 2"), cardAt("card 3")}},
    {CARD, cageAt("cage c", "DC3Family"), {cardAt("card 1", "DC3Family")}},
    {CARD, cageAt("ghost"), {cardAt("card 3", "DC1Family")}},
    {CARD, cageAt("cage d"), {}},
    {CARD, magazineAt("cage a"), {}},
    {MAGAZINE, magazineAt("mag 0"), {cageAt("cage a")}},
    // The first record of this name is absent and does not count.
    {MAGAZINE, magazineAt("mag 1"), {cageAt("cage c", "DC3Family")}},
    {MAGAZINE, magazineAt("mag 3"), {}},
    {MAGAZINE, magazineAt("mag 9"), {}},
    {MAGAZINE, cageAt("cage a"), {magazineAt("mag 0"), magazineAt("mag 2")}},
    {MAGAZINE, cageAt("cage c", "DC1Family"), {magazineAt("mag 1")}},
    {MAGAZINE, cageAt("cage b"), {}},
    {MAGAZINE, cardAt("mag 0"), {}},
    // The package's keys are not looked at, nor whether the cage exists.
    {CONTAINER,
     element("QBX_SystemPackage", "any other"),
     {cageAt("cage a"), cageAt("cage b"), cageAt("cage c", "DC3Family"),
      cageAt("cage d", "DC1Family"), cageAt("cage a")}},
    {CONTAINER, cageAt("cage a"), {PACKAGE}},
    {CONTAINER, cageAt("unheard of", "DC3Family"), {PACKAGE}},
    {CONTAINER, cardAt("card 0"), {}},
    // Sensors belong to cages of the DC2 family only, of which the first of a name counts.
    {SENSOR, cageAt("cage a"), {sensorAt("cage a-sensor0"), sensorAt("cage a-sensor2")}},
    {SENSOR, cageAt("cage b"), {}},
    {SENSOR, cageAt("cage c"), {}},
    {SENSOR, cageAt("cage d"), {}},
    {SENSOR, cageAt("Cage a"), {}},
    {SENSOR, cageAt("cage a", ""), {}},
    {SENSOR, pathOf("QBX_DriveCage", {{"DeviceID", "cage a-sensor0"}}), {}},
    {SENSOR, sensorAt("cage a-sensor0"), {cageAt("cage a")}},
    {SENSOR, sensorAt("cage a-sensor1"), {}},
    {SENSOR, sensorAt("cage c-sensor0"), {}},
    {SENSOR, sensorAt("cage a-sensor02"), {}},
};

TEST_F(AssociationTest, EveryTraversalReachesTheOtherEnd)
{
    populate();
    for (const Traversal& row : TRAVERSALS) {
        const Association& its = row.association;
        use(its);
        CIMObjectPath object = row.object;
        object.setHost("as.the.client.says");
        object.setClassName(CIMName(mixedCase(str(row.object.getClassName())).c_str()));
        const bool isCage = str(row.object.getClassName()).find("QBX_DriveCage") == 0;
        // The container refers to the package that it found at the start, whichever is asked for.
        const CIMObjectPath& here = &its == &CONTAINER && !isCage ? PACKAGE : object;
        Texts associations;
        for (const CIMObjectPath& other : row.others) {
            associations.push_back(
                str(associationOf(its, isCage ? here : other, isCage ? other : here)));
        }
        for (const std::string& operation : OPERATIONS) {
            SCOPED_TRACE(its.provider + "::" + operation + " " + str(object));
            EXPECT_EQ(run(operation, object), "nothing");
            EXPECT_EQ(steps, Texts{"processing"} + Texts(row.others.size(), "deliver") +
                                 Texts{"complete"});
            EXPECT_EQ(results, isReferences(operation) ? associations : strs(row.others));
            EXPECT_EQ(api.log().back(), lineOf(its.provider, operation + "<"));
            EXPECT_EQ(api.held, 0);
        }
    }
}

TEST_F(AssociationTest, AssociationsReferToBothEndsInTheirRoles)
{
    populate();
    for (const auto& [which, cage, other] :
         {std::tuple{&CARD, cageAt("cage c", "DC3Family"), cardAt("card 1", "DC3Family")},
          std::tuple{&MAGAZINE, cageAt("cage c", "DC3Family"), magazineAt("mag 1")},
          std::tuple{&CONTAINER, cageAt("cage a"), PACKAGE},
          std::tuple{&SENSOR, cageAt("cage a"), sensorAt("cage a-sensor0")}}) {
        use(*which);
        run("references", cage);
        const Values expected = {{which->cage.role, "reference " + str(cage)},
                                 {which->other.role, "reference " + str(other)}};
        EXPECT_EQ(valuesOf(instances.at(0)), expected);
        const CIMObjectPath path = instances[0].getPath();
        ASSERT_EQ(path.getKeyBindings().size(), 2u);
        EXPECT_EQ(path.getKeyBindings()[0].getType(), CIMKeyBinding::REFERENCE);
    }
}

TEST_F(AssociationTest, AllAssociationsAreListedFromTheRecordsAlone)
{
    populate();
    const struct
    {
        const Association& association;
        std::vector<std::pair<CIMObjectPath, CIMObjectPath>> pairs;  // cage, other
    } rows[] = {
        {CARD,
         {{cageAt("cage a"), cardAt("card 0")},
          {cageAt("cage c", "DC3Family"), cardAt("card 1", "DC3Family")},
          {cageAt("cage a"), cardAt("card 2")},
          {cageAt("ghost", "DC1Family"), cardAt("card 3", "DC1Family")},
          {cageAt("cage b"), cardAt("card 0")},
          {cageAt("cage a"), cardAt("card 3")}}},
        {MAGAZINE,
         {{cageAt("cage a"), magazineAt("mag 0")},
          {cageAt("cage a"), magazineAt("mag 2")},
          {cageAt("ghost", "DC3Family"), magazineAt("mag 3")},
          {cageAt("cage c", "DC3Family"), magazineAt("mag 1")}}},
        {CONTAINER,
         {{cageAt("cage a"), PACKAGE},
          {cageAt("cage b"), PACKAGE},
          {cageAt("cage c", "DC3Family"), PACKAGE},
          {cageAt("cage d", "DC1Family"), PACKAGE},
          {cageAt("cage a"), PACKAGE}}},
        {SENSOR,
         {{cageAt("cage a"), sensorAt("cage a-sensor0")},
          {cageAt("cage a"), sensorAt("cage a-sensor2")},
          {cageAt("cage a"), sensorAt("cage a-sensor0")},
          {cageAt("cage a"), sensorAt("cage a-sensor2")}}},
    };
    for (const auto& row : rows) {
        use(row.association);
        Texts expected;
        for (const auto& [cage, other] : row.pairs)
            expected.push_back(str(associationOf(row.association, cage, other)));
        PathHandler names;
        instanceProvider->enumerateInstanceNames(contextOf(), CIMObjectPath(), names);
        EXPECT_EQ(strs(names.results), expected);
        EXPECT_EQ(names.steps[1], "deliver " + std::to_string(expected.size()));
        InstanceHandler all;
        instanceProvider->enumerateInstances(contextOf(), CIMObjectPath(), false, false,
                                             CIMPropertyList(), all);
        Texts built;
        for (const CIMInstance& instance : all.results)
            built.push_back(str(instance.getPath()));
        EXPECT_EQ(built, expected);
    }
}

TEST_F(AssociationTest, GetInstanceWantsTwoKeys)
{
    populate();
    for (const Association* each : ALL) {
        use(*each);
        const std::string provider = each->provider;
        for (const std::size_t count : {0, 1, 3}) {
            const Keys keys = {{"GroupComponent", "a"}, {"PartComponent", "b"}, {"X", "c"}};
            InstanceHandler handler;
            api.events.clear();
            EXPECT_EQ(thrownBy([&] {
                          instanceProvider->getInstance(
                              contextOf(),
                              pathOf(each->className, Keys(keys.begin(), keys.begin() + count)),
                              false, false, CIMPropertyList(), handler);
                      }),
                      "4 " + provider + " Expect two keys.");
            EXPECT_EQ(handler.steps, Texts{});
            EXPECT_EQ(api.events,
                      (Texts{lineOf(provider, "getInstance>"), OPEN,
                             lineOf(provider, "getInstance!", {std::to_string(count)})}));
        }
    }
}

// ---- Where it comes from ----

struct Source
{
    const Association& association;
    const char* operation;
    CIMObjectPath object;
    std::string query;    ///< of the array; empty for none
    std::string upcall;   ///< to the object manager on behalf of the caller; empty for none
    std::string classes;  ///< fetched in this order, as the request asks for them
};

const std::string FETCH = "getInstance joe " + str(cageAt("cage a"));
const std::string PACKAGES = "enumerateInstances joe QBX_SystemPackage";
const std::string PACKAGE_NAMES = "enumerateInstanceNames joe QBX_SystemPackage";

const std::vector<Source> SOURCES = {
    // From the element through the object manager ...
    {CARD, "associators", cardAt("card 0"), CARD_LIST, FETCH + " TF Tag", ""},
    {CARD, "associatorNames", cardAt("card 0"), CARD_LIST, FETCH + " FF", ""},
    {CARD, "referenceNames", cardAt("card 0"), CARD_LIST, FETCH + " FF", ""},
    {CARD, "references", cardAt("card 0"), CARD_LIST, FETCH + " FF", "InterfaceCardInDriveCage"},
    {MAGAZINE, "associators", magazineAt("mag 0"), MAGAZINE_LIST, FETCH + " TF Tag", ""},
    {MAGAZINE, "referenceNames", magazineAt("mag 0"), MAGAZINE_LIST, FETCH + " FF", ""},
    // ... from the cage built on the spot, each from a class of its own.
    {CARD, "associators", cageAt("cage c"), CARD_LIST, "", "CageInterfaceCardDC3Family"},
    {CARD, "associatorNames", cageAt("cage c"), CARD_LIST, "", "CageInterfaceCardDC3Family"},
    {MAGAZINE, "associators", cageAt("cage a"), MAGAZINE_LIST, "", "Magazine Magazine"},
    // The list is read for other classes too.
    {CARD, "associators", objectOf("QBX_Disk"), CARD_LIST, "", ""},
    {MAGAZINE, "referenceNames", objectOf("QBX_Disk"), MAGAZINE_LIST, "", ""},
    // The package comes from the object manager; its cages alone with manufacturing data.
    {CONTAINER, "associators", cageAt("x"), "", PACKAGES + " TF Tag", ""},
    {CONTAINER, "associatorNames", cageAt("x"), "", PACKAGE_NAMES, ""},
    {CONTAINER, "referenceNames", cageAt("x"), "", PACKAGE_NAMES, ""},
    {CONTAINER, "references", cageAt("x"), "", PACKAGE_NAMES, "SysCageContainer"},
    {CONTAINER, "associators", PACKAGE, CAGE_LIST, "",
     "DriveCageDC2Family DriveCageDC2Family DriveCageDC3Family DriveCageDC1Family "
     "DriveCageDC2Family"},
    {CONTAINER, "associatorNames", PACKAGE, CAGE_LIST_SHORT, "", ""},
    {CONTAINER, "referenceNames", PACKAGE, CAGE_LIST_SHORT, "", ""},
    {CONTAINER, "associators", objectOf("QBX_Disk"), "", "", ""},
    // Both ends are built on the spot, always from the list with manufacturing data.
    {SENSOR, "associators", cageAt("cage a"), CAGE_LIST, "", "CageSensor"},
    {SENSOR, "associatorNames", cageAt("cage b"), CAGE_LIST, "", "CageSensor"},
    {SENSOR, "associators", sensorAt("cage a-sensor2"), CAGE_LIST, "", "DriveCageDC2Family"},
    {SENSOR, "referenceNames", sensorAt("cage a-sensor2"), CAGE_LIST, "", "DriveCageDC2Family"},
    {SENSOR, "associatorNames", objectOf("QBX_Disk"), CAGE_LIST, "", ""},
};

TEST_F(AssociationTest, TheOtherEndIsFetchedOrBuiltAsEachAssociationDoes)
{
    populate();
    for (const Source& row : SOURCES) {
        use(row.association);
        SCOPED_TRACE(row.association.provider + "::" + row.operation + " " + str(row.object));
        EXPECT_EQ(run(row.operation, row.object, {}, true, listOf({"Tag"})), "nothing");
        EXPECT_EQ(api.calls(), Texts{OPEN} + (row.query.empty() ? Texts{} : reading(row.query)));

        const bool isNames = std::string(row.operation).find("Names") != std::string::npos;
        Texts asked;
        if (!row.upcall.empty()) asked.push_back(row.upcall);
        std::istringstream classes(row.classes);
        for (std::string name; classes >> name;)
            asked.push_back("getClass nobody QBX_" + name + (isNames ? " FF" : " TF Tag"));
        EXPECT_EQ(cimom.asked, asked);
    }
}

TEST_F(AssociationTest, EveryLineOfATraversal)
{
    const struct
    {
        const Association& association;
        CIMObjectPath object;
        const char* key;
        std::string value;
        std::string query;
    } rows[] = {
        {CARD, cageAt("cage 100%s"), "Tag", "cage 100%s", CARD_LIST},
        {MAGAZINE, magazineAt("m"), "Tag", "m", MAGAZINE_LIST},
        {CONTAINER, PACKAGE, nullptr, "", CAGE_LIST_SHORT},
        {SENSOR, sensorAt("s"), "DeviceID", "s", CAGE_LIST},
    };
    for (const auto& row : rows) {
        use(row.association);
        const std::string& its = row.association.provider;
        const std::string className = str(row.object.getClassName());
        for (const std::string& operation : OPERATIONS) {
            Texts helpers = {"_getRelatedInstanceNames", "_getRelatedInstances"};
            if (operation == "associators")
                helpers = {"_getRelatedInstances"};
            else if (row.key == nullptr)
                helpers = {"_getRelatedInstanceNames"};

            const Asked asked = {"", "", "", isReferences(operation) ? "" : "CIM_Any"};
            Texts expected = opening(operation, row.object, asked);
            for (const std::string& helper : helpers)
                expected.push_back(lineOf(its, helper + ">", {className}));
            if (row.key != nullptr) {
                const std::string read = "QBX_Common::getStringProperty(), ";
                expected.push_back("4: -->" + read + "propertyName = " + row.key + "\n");
                expected.push_back("4: <--" + read + "value = " + row.value + "\n");
            }
            const bool readsAll = row.key == nullptr && operation == "associators";
            const std::string query = readsAll ? CAGE_LIST : row.query;
            expected = expected + reading(query);
            for (auto helper = helpers.rbegin(); helper != helpers.rend(); ++helper)
                expected.push_back(lineOf(its, *helper + "<"));
            expected.push_back(lineOf(its, operation + "<"));

            run(operation, row.object, asked);
            EXPECT_EQ(api.events, expected);
            EXPECT_EQ(steps, NOTHING_DELIVERED);
        }
    }
}

// ---- What goes wrong ----

TEST_F(AssociationTest, AFailedWaitOrQueryFindsNothingAndCompletes)
{
    populate();
    for (const Traversal& row : TRAVERSALS) {
        if (&row.association == &CONTAINER && str(row.object) != str(PACKAGE)) continue;
        use(row.association);
        for (const std::string& operation : OPERATIONS) {
            api.status.clear();
            run(operation, row.object);
            if (results.empty()) continue;
            const std::string query = api.calls().at(2);
            for (const std::string& failing :
                 {std::string("cim_sem_wait"), query.substr(0, query.size() - 3)}) {
                api.status = {{failing, -1}};
                api.failingQueryLeavesRecords = true;
                EXPECT_EQ(run(operation, row.object), "nothing");
                EXPECT_EQ(steps, NOTHING_DELIVERED) << operation << " " << str(row.object);
                EXPECT_EQ(api.log().back(), lineOf(association->provider, operation + "<"));
                EXPECT_EQ(api.held, 0);
            }
        }
    }
}

TEST_F(AssociationTest, AMissingOrEmptyKeyIsAnErrorForElementsAndNothingForSensors)
{
    populate();
    for (const Association* each : ALL) {
        use(*each);
        for (const Keys& keys :
             {Keys{}, Keys{{"Tag", ""}, {"DeviceID", ""}}, Keys{{"Name", "x"}}}) {
            for (const std::string& className :
                 {each->cage.classes.back(), each->other.classes[0], std::string("QBX_Disk")}) {
                const CIMObjectPath object = pathOf(className, keys);
                for (const std::string& operation : OPERATIONS) {
                    SCOPED_TRACE(each->provider + "::" + operation + " " + str(object));
                    const std::string thrown = run(operation, object);
                    if (each == &CONTAINER) {
                        EXPECT_EQ(thrown, "nothing");
                        EXPECT_EQ(results.empty(), className == "QBX_Disk");
                    } else if (each == &SENSOR) {
                        EXPECT_EQ(thrown, "nothing");
                        EXPECT_EQ(steps, NOTHING_DELIVERED);
                        EXPECT_EQ(api.calls(), Texts{OPEN}) << "the array is not asked";
                        const Texts log = api.log();
                        const std::string exit = lineOf(each->provider, "_getRelatedInstances<");
                        EXPECT_EQ(std::count(log.begin(), log.end(), exit), 0);
                    } else {
                        EXPECT_EQ(thrown, "4 " + each->provider + " Tag key not found.");
                        EXPECT_EQ(steps, Texts{});
                        EXPECT_EQ(api.calls(), Texts{OPEN});
                    }
                }
            }
        }
    }
}

TEST_F(AssociationTest, ACageHasItsContainerEvenWhenThePackageIsNotKnownAnyMore)
{
    use(CONTAINER);
    const CIMObjectPath object = cageAt("unheard of");
    const Texts one = {str(associationOf(CONTAINER, object, PACKAGE))};
    for (const Uint32 known : {0, 2}) {
        cimom.onEnumerateInstanceNames = [known](const CIMName& className) {
            return Array<CIMObjectPath>(known, element(str(className), "another"));
        };
        run("referenceNames", object);
        EXPECT_EQ(results, one);
        run("references", object);
        EXPECT_EQ(results, one);
        run("associatorNames", object);
        EXPECT_EQ(results, Texts(known, str(element("QBX_SystemPackage", "another"))));
    }
    cimom.onEnumerateInstances = [](const CIMName&) { return Array<CIMInstance>(); };
    run("associators", object);
    EXPECT_EQ(steps, NOTHING_DELIVERED);
}

TEST_F(AssociationTest, AFailingObjectManagerIsReportedByTheContainer)
{
    use(CONTAINER);
    cimom.onEnumerateInstanceNames = [](const CIMName&) -> Array<CIMObjectPath> {
        throw CIMException(CIM_ERR_FAILED, "not now");
    };
    cimom.onEnumerateInstances = [](const CIMName&) -> Array<CIMInstance> {
        throw CIMException(CIM_ERR_ACCESS_DENIED, "not you");
    };
    for (const std::string& operation : OPERATIONS) {
        const bool isFull = operation == "associators";
        EXPECT_EQ(run(operation, cageAt("a")), isFull ? "2 not you" : "1 not now") << operation;
        EXPECT_EQ(steps, Texts{}) << "the handler is not yet opened";
    }
}

TEST_F(AssociationTest, NothingCanReferToAPackageThatWasNotThereAtTheStart)
{
    populate();
    cimom.onEnumerateInstanceNames = nullptr;
    use(CONTAINER);
    EXPECT_NE(run("referenceNames", cageAt("cage a")), "nothing");
    EXPECT_EQ(steps, Texts{"processing"});
    EXPECT_NE(run("references", PACKAGE), "nothing");
    EXPECT_EQ(run("associatorNames", PACKAGE), "nothing");
    EXPECT_EQ(results.size(), api.cages.size());
    PathHandler names;
    EXPECT_NE(thrownBy([&] {
                  instanceProvider->enumerateInstanceNames(contextOf(), CIMObjectPath(), names);
              }),
              "nothing");
    EXPECT_EQ(names.steps, Texts{});
    EXPECT_EQ(api.held, 0);
}

}  // namespace
