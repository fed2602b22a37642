// The four associations: what a request may ask, what lies at the other end of an object and where
// it comes from, and what is written on the way.
#include "ProviderTest.h"

#include <set>

namespace
{

struct Association
{
    std::string provider;
    std::string className;
    std::string query;  ///< of the array for a traversal
    std::string cageRole;
    Texts cageClasses;
    std::string otherRole;
    Texts otherClasses;
    Texts referenceClasses;   ///< result classes of references
    Texts associatedClasses;  ///< result classes of associators
};

std::vector<Association> readAssociations()
{
    std::vector<Association> all;
    for (const Texts& row : table("associations", 9)) {
        all.push_back({row[0], row[1], row[2], row[3], split(row[4]), row[5], split(row[6]),
                       split(row[7]), split(row[8])});
    }
    return all;
}

const std::vector<Association> ALL = readAssociations();
const Association& CARD = ALL[0];
const Association& CONTAINER = ALL[2];
const Association& SENSOR = ALL[3];

const Texts OPERATIONS = {"referenceNames", "references", "associatorNames", "associators"};

bool isReferences(const std::string& operation)
{
    return operation[0] == 'r';
}

bool contains(const Texts& texts, const std::string& text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// The path of the association of a cage with an object at the other end.
std::string associationOf(const Association& association, CIMObjectPath cage, CIMObjectPath other)
{
    cage.setHost("array1");
    other.setHost("array1");
    return str(pathOf(association.className,
                      {{association.cageRole, str(cage)}, {association.otherRole, str(other)}},
                      "array1"));
}

const std::string PACKAGE = "SystemPackage package";
const std::string ASKED_LIST = "Tag GroupComponent PartComponent Antecedent Dependent";

class AssociationTest : public ProviderTest
{
protected:
    void use(const Association& which, const std::string& arrayName = "empty")
    {
        association = &which;
        start(which.provider, arrayName);
    }

    /// Calls a traversal; keeps what its handler got.
    std::string run(const std::string& operation, const CIMObjectPath& object,
                    const Asked& asked = {})
    {
        array.forget();
        cimom.asked.clear();
        got = Handler();
        return thrownBy([&] {
            traverse(*associations, operation, contextOf(), object, asked, listOf(ASKED_LIST), got);
        });
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
            pathOf(cased(className, std::toupper), {{"Tag", "nowhere"}, {"DeviceID", "nowhere"}});
        EXPECT_EQ(run(operation, object, asked), "nothing");
        if (isAccepted) {
            EXPECT_EQ(got.steps.empty() ? "not opened" : got.steps.front(), "processing");
            return;
        }
        EXPECT_EQ(got.steps, Texts{}) << "the handler is left alone";
        Texts arguments = {asked.resultClass};
        if (isReferences(operation)) arguments.insert(arguments.begin(), asked.role);
        if (operation == "associatorNames")
            arguments.insert(arguments.begin(), asked.associationClass);
        const std::string line = lineOf(association->provider, operation + "!", arguments);
        EXPECT_EQ(array.events(), opening(operation, object, asked) + Texts{line});
    }

    /// The instances hold the references that their paths hold.
    void expectReferences() const
    {
        for (const CIMInstance& instance : got.instances) {
            const Array<CIMKeyBinding> keys = instance.getPath().getKeyBindings();
            for (Uint32 i = 0; i < keys.size(); ++i) {
                EXPECT_EQ(keys[i].getType(), CIMKeyBinding::REFERENCE);
                EXPECT_EQ(valueOf(instance, str(keys[i].getName()).c_str()),
                          "reference " + str(keys[i].getValue()));
            }
        }
    }

    const Association* association = nullptr;
    Handler got;
};

// ---- What may be asked ----

TEST_F(AssociationTest, RolesMustBeTheObjectsOwnAndResultRolesTheOtherEnds)
{
    for (const Association& each : ALL) {
        use(each);
        const Texts classes = each.cageClasses + each.otherClasses + Texts{"QBX_Disk"};
        for (const std::string& className : classes) {
            const bool isCage = contains(each.cageClasses, className);
            const bool isOther = contains(each.otherClasses, className);
            for (const std::string role :
                 {"", "GroupComponent", "PartComponent", "Antecedent", "Dependent", "x"}) {
                const bool isCages = role.empty() || role == each.cageRole;
                const bool isOthers = role.empty() || role == each.otherRole;
                for (const std::string& operation : OPERATIONS) {
                    expectScreened(operation, className, {cased(role, std::toupper), "", "", ""},
                                   (isCages && !isOther) || (isOthers && !isCage));
                    if (isReferences(operation)) continue;
                    expectScreened(operation, className, {"", cased(role, std::toupper), "", ""},
                                   (isCages && !isCage) || (isOthers && !isOther));
                }
            }
        }
    }
}

TEST_F(AssociationTest, ResultClassesMustBeAmongThoseOfTheAssociation)
{
    std::set<std::string> candidates = {"CIM_Component", "CIM_PhysicalElement", "CIM_Dependency"};
    for (const Association& each : ALL) {
        for (const std::string& accepted : each.referenceClasses + each.associatedClasses)
            candidates.insert(accepted);
    }
    for (const Association& each : ALL) {
        use(each);
        for (const std::string& candidate : candidates) {
            for (const std::string& operation : OPERATIONS) {
                const bool isAccepted = contains(
                    isReferences(operation) ? each.referenceClasses : each.associatedClasses,
                    candidate);
                // The association class is nobody's business.
                const Asked asked = {"", "", cased(candidate, std::toupper), "CIM_Nonsense"};
                for (const std::string& className :
                     {each.cageClasses[0], each.otherClasses[0], std::string("QBX_Disk")})
                    expectScreened(operation, className, asked, isAccepted);
            }
        }
    }
}

// ---- What lies at the other end, and where it comes from ----

struct Traversal
{
    const Association& association;
    std::string object;   ///< as at() reads it, like the others
    bool isRefused;       ///< for want of a key
    Texts others;         ///< at the other end
    std::string fetched;  ///< a class that is asked for although there is no other
    bool isContainer;
    bool isSensor;
    bool isCage;   ///< the object stands at the cage's end ...
    bool isOther;  ///< ... or at the other
};

std::vector<Traversal> traversals()
{
    std::vector<Traversal> all;
    for (const Texts& row : table("traversals", 4)) {
        const auto its = std::find_if(ALL.begin(), ALL.end(), [&row](const Association& each) {
            return each.className == "QBX_" + row[0];
        });
        const std::string className = "QBX_" + split(row[1])[0];
        const bool isRefused = row[2] == "refused";
        all.push_back({*its, row[1], isRefused, isRefused ? Texts{} : split(row[2], ';'), row[3],
                       &*its == &CONTAINER, &*its == &SENSOR, contains(its->cageClasses, className),
                       contains(its->otherClasses, className)});
    }
    return all;
}

/// What the object manager is asked: for whole instances as the client wants them and on its
/// behalf, for the classes of what is built on the spot, for paths where they are enough.
Texts questions(const Traversal& row, const std::string& operation)
{
    const bool isFull = operation == "associators";
    const std::string view = isFull ? " TF " + ASKED_LIST : " FF";
    const Texts found = row.fetched.empty() ? row.others : Texts{row.fetched};
    Texts asked;
    for (const std::string& object : found)
        asked.push_back("getClass nobody " + str(at(object).getClassName()) + view);
    if (row.isSensor && !asked.empty()) asked.resize(1);  // one for all
    if (row.isContainer && !isFull) asked.clear();
    if (row.isContainer && row.isCage)
        asked = {isFull ? "enumerateInstances joe QBX_SystemPackage" + view
                        : "enumerateInstanceNames joe QBX_SystemPackage"};
    if (!row.isContainer && !row.isSensor && row.isOther && !found.empty())
        asked = {"getInstance joe " + str(at(found[0])) + view};
    if (operation != "references") return asked;
    const std::string its = "getClass nobody " + row.association.className + " TF " + ASKED_LIST;
    return asked + Texts(row.others.size(), its);
}

/// The lines and calls after the opening, but those of building instances.
Texts work(const Traversal& row, const std::string& operation, const CIMObjectPath& object)
{
    const std::string& provider = row.association.provider;
    const bool isFull = operation == "associators";
    Texts helpers = {"_getRelatedInstanceNames", "_getRelatedInstances"};
    if (row.isContainer) helpers.pop_back();
    if (isFull) helpers = {"_getRelatedInstances"};
    Texts events;
    for (const std::string& helper : helpers)
        events.push_back(lineOf(provider, helper + ">", {str(object.getClassName())}));
    const bool isByID = row.isSensor && !row.isCage;
    const std::string key = isByID && !row.isOther ? "" : rest(row.object);
    if (!row.isContainer) {
        const std::string read = "QBX_Common::getStringProperty(), ";
        events.push_back("4: -->" + read + "propertyName = " + (isByID ? "DeviceID\n" : "Tag\n"));
        events.push_back("4: <--" + read + "value = " + key + "\n");
    }
    if (row.isRefused) return events;
    // Nothing is done for sensors without a key; not even the last line is written.
    if (row.isSensor && key.empty()) helpers.pop_back();
    // The container's cages alone are read with manufacturing data, to be published whole.
    const std::string query =
        row.isContainer && isFull ? "api_getCages_Cached" : row.association.query;
    if (row.isContainer ? row.isOther : !key.empty())
        events = events + reading(query) + Texts{FREED};
    for (auto helper = helpers.rbegin(); helper != helpers.rend(); ++helper)
        events.push_back(lineOf(provider, *helper + "<"));
    return events + Texts{lineOf(provider, operation + "<")};
}

TEST_F(AssociationTest, EveryTraversalReachesTheOtherEnd)
{
    for (const Traversal& row : traversals()) {
        const Association& its = row.association;
        use(its);
        CIMObjectPath object = at(row.object, "as.the.client.says");
        object.setClassName(CIMName(cased(str(object.getClassName()), std::toupper).c_str()));
        // The container refers to the package that it found at the start, whichever is asked for.
        const CIMObjectPath here = row.isContainer && row.isOther ? at(PACKAGE) : object;
        const bool isFromManager = row.isContainer && row.isCage;
        const bool isCage = row.object.find("DriveCage") == 0;  // of whatever family
        Texts others;
        Texts references;
        for (const std::string& each : row.others) {
            const CIMObjectPath other = at(each, isFromManager ? "server1" : "array1");
            others.push_back(str(other));
            references.push_back(associationOf(its, isCage ? here : other, isCage ? other : here));
        }
        for (const std::string& operation : OPERATIONS) {
            SCOPED_TRACE(its.provider + "::" + operation + " " + str(object));
            array.serve("associations");
            const std::string thrown = "4 " + its.provider + " Tag key not found.";
            EXPECT_EQ(run(operation, object), row.isRefused ? thrown : "nothing");
            EXPECT_EQ(array.events("uildInstance"),
                      opening(operation, object) + work(row, operation, object));
            if (row.isRefused) {
                EXPECT_EQ(got.steps, Texts{});
                continue;
            }
            EXPECT_EQ(got.steps, Texts{"processing"} + Texts(row.others.size(), "deliver") +
                                     Texts{"complete"});
            EXPECT_EQ(cimom.asked, questions(row, operation));
            if (isFromManager && operation == "associators")
                EXPECT_EQ(got.paths.at(0).find("QBX_SystemPackage"), 0u) << "without host";
            else
                EXPECT_EQ(got.paths, isReferences(operation) ? references : others);
            if (operation == "references") expectReferences();
        }
    }
}

TEST_F(AssociationTest, AllAssociationsAreListedFromTheRecordsAlone)
{
    const std::vector<Texts> pairs = table("pairs", 3);
    for (const Association& each : ALL) {
        use(each, "associations");
        Texts expected;
        for (const Texts& row : pairs) {
            if (each.className == "QBX_" + row[0])
                expected.push_back(associationOf(each, at(row[1]), at(row[2])));
        }
        Handler handler;
        provider->enumerateInstanceNames(contextOf(), CIMObjectPath(), handler);
        EXPECT_EQ(handler.paths, expected);
        cimom.asked.clear();
        provider->enumerateInstances(contextOf(), CIMObjectPath(), false, true,
                                     listOf("PartComponent"), handler);
        EXPECT_EQ(handler.paths, expected + expected);
        EXPECT_EQ(cimom.asked, Texts(expected.size(),
                                     "getClass nobody " + each.className + " FT PartComponent"));
    }
}

// ---- What goes wrong ----

TEST_F(AssociationTest, WhatTheObjectManagerGivesIsNeitherChangedNorLost)
{
    use(CARD, "associations");
    CIMInstance its = cimom.onGetInstance(at("DriveCageDC2Family cage a"));
    const std::string bare = str(its.getPath());
    cimom.onGetInstance = [&its](const CIMObjectPath&) { return its; };
    EXPECT_EQ(run("associators", at("CageInterfaceCardDC2Family card 0")), "nothing");
    EXPECT_EQ(got.paths, Texts{str(at("DriveCageDC2Family cage a"))});
    EXPECT_EQ(str(its.getPath()), bare);

    // What has a path keeps it, and what cannot have this one stays as it came.
    its.setPath(pathOf("QBX_DriveCageDC2Family", {{"Tag", "another"}}));
    run("associators", at("CageInterfaceCardDC2Family card 0"));
    EXPECT_EQ(got.paths, Texts{str(its.getPath())});
    its = instanceOf(CIMName("QBX_Magazine"));
    EXPECT_EQ(run("associators", at("CageInterfaceCardDC2Family card 0")), "nothing");
    EXPECT_EQ(got.paths, Texts{str(its.getPath())});
}

TEST_F(AssociationTest, ACageHasItsContainerWhateverTheObjectManagerKnowsOfPackages)
{
    use(CONTAINER);
    const CIMObjectPath object = at("DriveCageDC2Family unheard of");
    const CIMObjectPath another = at("SystemPackage another");
    for (const Uint32 known : {0, 2}) {
        cimom.onEnumerateInstanceNames = [&](const CIMName&) {
            return Array<CIMObjectPath>(known, another);
        };
        for (const char* operation : {"referenceNames", "references"}) {
            run(operation, object);
            EXPECT_EQ(got.paths, Texts{associationOf(CONTAINER, object, at(PACKAGE))});
        }
        run("associatorNames", object);
        EXPECT_EQ(got.paths, Texts(known, str(another)));
    }

    // Nothing can refer to a package that was not there at the start.
    cimom.onEnumerateInstanceNames = [](const CIMName&) { return Array<CIMObjectPath>(); };
    use(CONTAINER, "associations");
    EXPECT_NE(run("references", at(PACKAGE)), "nothing");
    EXPECT_EQ(got.steps, Texts{"processing"});
    EXPECT_EQ(run("associatorNames", at(PACKAGE)), "nothing");
    EXPECT_EQ(got.paths.size(), 5u);
    Handler names;
    EXPECT_NE(
        thrownBy([&] { provider->enumerateInstanceNames(contextOf(), CIMObjectPath(), names); }),
        "nothing");
    EXPECT_EQ(names.steps, Texts{});
}

}  // namespace
