#include "RepositoryFixture.h"

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMQualifierDecl.h>

#include <atomic>
#include <initializer_list>
#include <thread>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace
{

CIMPropertyList list(std::initializer_list<const char*> names)
{
    Array<CIMName> array;
    for (const char* const name : names)
        array.append(CIMName(name));
    return CIMPropertyList(array);
}

CIMProperty stringProperty(const char* name, const char* value)
{
    return CIMProperty(CIMName(name), CIMValue(String(value)));
}

CIMInstance makeInstance(const char* className, std::initializer_list<CIMProperty> properties)
{
    CIMInstance instance{CIMName(className)};
    for (const CIMProperty& property : properties)
        instance.addProperty(property);
    return instance;
}

std::string joined(const std::vector<CIMName>& names)
{
    std::string all;
    for (const CIMName& name : names)
        all += (all.empty() ? "" : " ") + text(name.getString());
    return all;
}

// ---- Namespaces and qualifier declarations

using NamespaceTest = RepositoryFixture;

TEST_F(NamespaceTest, AreKnownInAnyCaseAndInTheirOrder)
{
    repository.addNamespace("root/Second");
    repository.addNamespace("ROOT/TEST");
    EXPECT_TRUE(repository.hasNamespace("Root/Test"));
    EXPECT_TRUE(repository.hasClass("Root/second", "None") == false);
    ASSERT_EQ(repository.namespaces().size(), 2U);
    EXPECT_EQ(text(repository.namespaces()[0].getString()), "root/test");
    EXPECT_EQ(text(repository.namespaces()[1].getString()), "root/Second");
    EXPECT_FALSE(repository.hasNamespace("root/none"));
}

TEST_F(NamespaceTest, UnknownOneIsRefusedByEveryOperation)
{
    const CIMNamespaceName none("root/None");
    const CIMObjectPath path("T.Id=\"1\"");
    const CIMInstance instance = makeInstance("T", {});
    const CIMQualifierDecl decl = repository.getQualifierDecl(ns, "Key");
    const std::vector<std::string> refusals = {
        refusal([&] { repository.addQualifierDecl(none, decl); }),
        refusal([&] { repository.getQualifierDecl(none, "Key"); }),
        refusal([&] { repository.qualifierDecls(none); }),
        refusal([&] { repository.addClass(none, CIMClass(CIMName("T"))); }),
        refusal([&] { repository.hasClass(none, "T"); }),
        refusal([&] { repository.getClass(none, "T"); }),
        refusal([&] { repository.subclassNames(none, CIMName(), true); }),
        refusal([&] { repository.superclassNames(none, "T"); }),
        refusal([&] { repository.isSubclassOf(none, "T", "T"); }),
        refusal([&] { repository.addInstance(none, instance); }),
        refusal([&] { repository.modifyInstance(none, instance, CIMPropertyList()); }),
        refusal([&] { repository.removeInstance(none, path); }),
        refusal([&] { repository.getInstance(none, path); }),
        refusal([&] { repository.instancesOf(none, "T"); }),
    };
    for (const std::string& refused : refusals)
        EXPECT_EQ(refused, "3 root/None") << "operation " << &refused - refusals.data();
}

TEST_F(NamespaceTest, QualifierMayBeDeclaredAgainButNotDifferently)
{
    const std::size_t count = repository.qualifierDecls(ns).size();
    repository.addQualifierDecl(ns, repository.getQualifierDecl(ns, "KEY"));
    EXPECT_EQ(repository.qualifierDecls(ns).size(), count);
    EXPECT_EQ(text(repository.qualifierDecls(ns)[3].getName().getString()), "Key");
    const CIMQualifierDecl other("key", CIMValue(Boolean(true)), CIMScope::PROPERTY);
    EXPECT_EQ(refusal([&] { repository.addQualifierDecl(ns, other); }),
              "11 qualifier key is declared already, and differently");
    EXPECT_EQ(refusal([&] { repository.getQualifierDecl(ns, "None"); }), "6 None");
}

// ---- Inheritance

class InheritanceTest : public RepositoryFixture
{
protected:
    InheritanceTest()
    {
        compile(R"(
            [Abstract, Mine("c"), Fixed("c"), Description("base")] class T_Base
            {
                [Key, Description("id")] string Id;
                [Mine("p"), Fixed("p"), Description("name"), MaxLen(4)] string Name = "x";
                uint8 Sizes[2] = {1, 2};
                [Mine("m"), Fixed("m"), Description("run")] uint32 Run([Fixed("in")] string A);
                uint32 Stop();
            };
            class T_Middle : T_Base
            {
                string Own;
                [Override("Name"), MaxLen(9)] string NAME;
                uint32 Own();
                [Override("Run")] uint32 RUN(string A);
            };
            [Description("leaf"), Fixed("c")] class T_Leaf : T_Middle { uint8 Sizes[2]; };)");
    }
};

TEST_F(InheritanceTest, InheritedElementsComeFirstThenOwnOnesWithTheirOrigin)
{
    EXPECT_EQ(propertiesOf(theClass("T_Base")), "Id/T_Base Name/T_Base Sizes/T_Base");
    EXPECT_EQ(propertiesOf(theClass("T_Middle")),
              "^Id/T_Base ^Sizes/T_Base Own/T_Middle NAME/T_Base");
    EXPECT_EQ(propertiesOf(theClass("T_Leaf")),
              "^Id/T_Base ^Own/T_Middle ^NAME/T_Base Sizes/T_Base");

    const auto methods = [this](const char* name) {
        const CIMConstClass owner = theClass(name);
        std::string all;
        for (Uint32 i = 0; i < owner.getMethodCount(); ++i)
            all += std::string(owner.getMethod(i).getPropagated() ? "^" : "") +
                   text(owner.getMethod(i).getName().getString()) + "/" +
                   text(owner.getMethod(i).getClassOrigin().getString()) + " ";
        return all;
    };
    EXPECT_EQ(methods("T_Middle"), "^Stop/T_Base Own/T_Middle RUN/T_Base ");
    EXPECT_EQ(methods("T_Leaf"), "^Stop/T_Base ^Own/T_Middle ^RUN/T_Base ");
}

TEST_F(InheritanceTest, FlavorsDecideWhichQualifiersReachSubclasses)
{
    // of the class: not the Restricted ones
    EXPECT_EQ(qualifiersOf(theClass("T_Base")), "Abstract=TRUE Mine=c Fixed=c Description=base");
    EXPECT_EQ(qualifiersOf(theClass("T_Middle")), "^Description=base ^Fixed=c");
    EXPECT_EQ(qualifiersOf(theClass("T_Leaf")), "Description=leaf Fixed=c");
    // of an element that overrides: the same
    EXPECT_EQ(qualifiersOf(property("T_Middle", "Name")),
              "^Description=name ^Fixed=p Override=Name MaxLen=9");
    EXPECT_EQ(qualifiersOf(method("T_Middle", "Run")), "^Description=run ^Fixed=m Override=Run");
    EXPECT_EQ(qualifiersOf(method("T_Middle", "Run").getParameter(0)), "");
    // of an element that is inherited as it is: all
    EXPECT_EQ(qualifiersOf(property("T_Middle", "Id")), "Key=TRUE Description=id");
    EXPECT_EQ(qualifiersOf(property("T_Leaf", "Name")),
              "^Description=name ^Fixed=p Override=Name MaxLen=9");
}

TEST_F(InheritanceTest, OverridingPropertyHasItsOwnDefault)
{
    EXPECT_FALSE(property("T_Base", "Name").getValue().isNull());
    EXPECT_TRUE(property("T_Middle", "Name").getValue().isNull());
    EXPECT_FALSE(property("T_Middle", "Sizes").getValue().isNull());
    EXPECT_EQ(property("T_Leaf", "Sizes").getArraySize(), 2U);
}

TEST_F(InheritanceTest, AssociationAndIndicationAreInheritedAbstractIsNot)
{
    compile(R"([Association, Abstract] class T_Link { [Key] T_Base REF A; [Key] T_Base REF B; };
               class T_SubLink : T_Link { string Note; };
               [Indication] class T_Event { string What; };)");
    EXPECT_TRUE(theClass("T_Link").isAbstract());
    EXPECT_TRUE(theClass("T_SubLink").isAssociation());
    EXPECT_FALSE(theClass("T_SubLink").isAbstract());
    EXPECT_EQ(qualifiersOf(theClass("T_Event")), "Indication=TRUE");
    Array<CIMName> keys;
    theClass("T_SubLink").getKeyNames(keys);
    EXPECT_EQ(keys.size(), 2U);
}

TEST_F(InheritanceTest, TellsTheTreeInSchemaOrder)
{
    compile("class T_Other : T_Base {}; class T_Root {}; class T_Low : T_Leaf {};");
    EXPECT_EQ(joined(repository.subclassNames(ns, CIMName(), false)), "T_Base T_Root");
    EXPECT_EQ(joined(repository.subclassNames(ns, CIMName(), true)),
              "T_Base T_Middle T_Leaf T_Low T_Other T_Root");
    EXPECT_EQ(joined(repository.subclassNames(ns, "t_base", false)), "T_Middle T_Other");
    EXPECT_EQ(joined(repository.subclassNames(ns, "T_Middle", true)), "T_Leaf T_Low");
    EXPECT_EQ(joined(repository.subclassNames(ns, "T_Low", true)), "");
    EXPECT_EQ(refusal([&] { repository.subclassNames(ns, "None", true); }), "5 None");
    EXPECT_EQ(joined(repository.superclassNames(ns, "T_LOW")), "T_Leaf T_Middle T_Base");
    EXPECT_EQ(joined(repository.superclassNames(ns, "T_Base")), "");
    EXPECT_EQ(refusal([&] { repository.superclassNames(ns, "None"); }), "6 None");
    EXPECT_TRUE(repository.isSubclassOf(ns, "T_low", "t_BASE"));
    EXPECT_TRUE(repository.isSubclassOf(ns, "T_Base", "T_Base"));
    EXPECT_FALSE(repository.isSubclassOf(ns, "T_Base", "T_Low"));
    EXPECT_FALSE(repository.isSubclassOf(ns, "None", "None"));
}

struct RefusalCase
{
    const char* mof;
    const char* refusal;  // after file, place and code
};

TEST_F(InheritanceTest, RefusesClassesThatBreakARule)
{
    compile(R"([Association] class T_Link { [Key] T_Base REF A; [Key] T_Leaf REF B; };)");
    const RefusalCase cases[] = {
        {"class T : T_None {};", "class T: its superclass T_None does not exist"},
        {"class T : T {};", "class T: its superclass T does not exist"},
        {"class t_leaf : T_Base {};", "class t_leaf exists already"},
        {"[MaxLen(1)] class T {};",
         "class T: qualifier MaxLen may stand in scope PROPERTY METHOD PARAMETER only, not CLASS"},
        {"class T { [Abstract] string A; };",
         "class T, property A: qualifier Abstract may stand in scope "
         "CLASS ASSOCIATION INDICATION only, not PROPERTY"},
        {"class T { [Key] uint8 M(); };",
         "class T, method M: qualifier Key may stand in scope PROPERTY REFERENCE only, not METHOD"},
        {"class T { uint8 M([Override(\"x\")] string P); };",
         "class T, method M, parameter P: qualifier Override may stand in scope "
         "PROPERTY REFERENCE METHOD only, not PARAMETER"},
        {"[Association] class T { [MaxLen(1)] T_Base REF A; };",
         "class T, property A: qualifier MaxLen may stand in scope "
         "PROPERTY METHOD PARAMETER only, not REFERENCE"},
        {"[Association, Indication] class T {};",
         "class T: qualifier Indication may stand in scope CLASS INDICATION only, not ASSOCIATION"},
        {"[Fixed(\"other\")] class T : T_Base {};",
         "class T: qualifier Fixed is DisableOverride and has another value in the superclass"},
        {"class T : T_Leaf { [Fixed(\"q\")] string Name; };",
         "class T, property Name: qualifier Fixed is DisableOverride and has another value in the "
         "superclass"},
        {"class T : T_Leaf { [Fixed(null)] uint32 Run(); };",
         "class T, method Run: qualifier Fixed is DisableOverride and has another value in the "
         "superclass"},
        {"class T : T_Base { [Key(false)] string Id; };",
         "class T, property Id: qualifier Key is DisableOverride and has another value in the "
         "superclass"},
        {"class T : T_Middle { uint8 Name; };",
         "class T, property Name: its type differs from that in T_Middle"},
        {"class T : T_Base { string Name[]; };",
         "class T, property Name: its type differs from that in T_Base"},
        {"class T : T_Base { string Run(); };",
         "class T, method Run: its return type differs from that in T_Base"},
        {"class T : T_Base { [Override(\"Nome\")] string Name; };",
         "class T, property Name: it overrides \"Nome\", which no superclass has"},
        {"class T { [Override(\"A\")] string A; };",
         "class T, property A: it overrides \"A\", which no superclass has"},
        {"class T : T_Base { [Override(\"Own\")] uint32 Own(); };",
         "class T, method Own: it overrides \"Own\", which no superclass has"},
        {"class T : T_Base { [Key] string Second; };",
         "class T, property Second: it cannot be a key, because T_Base has keys already"},
        {"class T { T_Base REF A; };",
         "class T, property A: a class with references needs the Association qualifier"},
        {"class T : T_Link { T_Leaf REF A; };",
         "class T, property A: a class with references needs the Association qualifier"},
        {"[Association] class T { [Key] T_None REF A; };",
         "class T, property A: it refers to class T_None, which does not exist"},
        {"[Association] class T : T_Base {};",
         "class T: an association cannot derive from T_Base, which is none"},
    };
    for (const RefusalCase& c : cases) {
        SCOPED_TRACE(c.mof);
        try {
            compile(c.mof);
            ADD_FAILURE() << "compiled";
        } catch (const cimom::MofError& e) {
            const std::string message = e.what();
            EXPECT_EQ(message.substr(message.find("class ", message.find("CIM_ERR_"))), c.refusal);
        }
        EXPECT_FALSE(repository.hasClass(ns, "T"));
    }
}

TEST_F(InheritanceTest, AcceptsWhatTheRulesAllow)
{
    compile(R"([Association] class T_Self { [Key] T_Self REF A; [Key] T_Base REF B; };
               [Association] class T_SubSelf : T_Self { [Override("A"), Key] T_SubSelf REF A; };
               [Abstract] class T_NoKeys { string Id; };
               class T_KeyBelow : T_NoKeys { [Override("Id"), Key] string Id; };
               class T_Again : T_Base { [Key, Fixed("x")] string Id; };
               class T_Later { uint32 M(T_NotYet REF A); [Fixed("c")] string B; };)");
    EXPECT_TRUE(theClass("T_KeyBelow").hasKeys());
    EXPECT_EQ(text(property("T_SubSelf", "A").getReferenceClassName().getString()), "T_SubSelf");
    // Names need not come through MOF, so the repository looks at declarations itself.
    CIMClass undeclared(CIMName("T_Undeclared"));
    undeclared.addQualifier(CIMQualifier("Nowhere", CIMValue(Boolean(true))));
    EXPECT_EQ(refusal([&] { repository.addClass(ns, undeclared); }),
              "4 class T_Undeclared: qualifier Nowhere is not declared");
    CIMClass mistyped(CIMName("T_Mistyped"));
    mistyped.addQualifier(CIMQualifier("Abstract", CIMValue(Uint8(1))));
    EXPECT_EQ(refusal([&] { repository.addClass(ns, mistyped); }),
              "4 class T_Mistyped: qualifier Abstract does not have the type it is declared with");
}

TEST_F(InheritanceTest, LeavesTheClassItIsGivenAlone)
{
    CIMClass given("T_Given", "T_Middle");
    given.addProperty(stringProperty("Name", "n"));
    repository.addClass(ns, given);
    EXPECT_EQ(propertiesOf(given), "Name/");
    EXPECT_EQ(given.getProperty(0).getQualifierCount(), 0U);
    given.addProperty(stringProperty("Late", "l"));
    EXPECT_EQ(theClass("T_Given").findProperty("Late"), PEG_NOT_FOUND);
}

// ---- GetClass

struct ViewCase
{
    bool localOnly, qualifiers, origin;
    const char* classQualifiers;
    const char* properties;
    const char* nameQualifiers;
};

TEST_F(InheritanceTest, GetClassShowsWhatIsAskedFor)
{
    const ViewCase cases[] = {
        {false, true, true, "^Description=base ^Fixed=c",
         "^Id/T_Base ^Sizes/T_Base Own/T_Middle NAME/T_Base",
         "^Description=name ^Fixed=p Override=Name MaxLen=9"},
        {false, false, true, "", "^Id/T_Base ^Sizes/T_Base Own/T_Middle NAME/T_Base", ""},
        {false, true, false, "^Description=base ^Fixed=c", "^Id/ ^Sizes/ Own/ NAME/",
         "^Description=name ^Fixed=p Override=Name MaxLen=9"},
        {false, false, false, "", "^Id/ ^Sizes/ Own/ NAME/", ""},
        {true, true, true, "", "Own/T_Middle NAME/T_Base", "Override=Name MaxLen=9"},
        {true, false, false, "", "Own/ NAME/", ""},
    };
    for (const ViewCase& c : cases) {
        SCOPED_TRACE(c.properties);
        const CIMConstClass view =
            repository.getClass(ns, "t_MIDDLE", c.localOnly, c.qualifiers, c.origin);
        EXPECT_EQ(text(view.getClassName().getString()), "T_Middle");
        EXPECT_EQ(text(view.getSuperClassName().getString()), "T_Base");
        EXPECT_EQ(qualifiersOf(view), c.classQualifiers);
        EXPECT_EQ(propertiesOf(view), c.properties);
        EXPECT_EQ(qualifiersOf(view.getProperty(view.findProperty("Name"))), c.nameQualifiers);
        EXPECT_EQ(view.getMethodCount(), c.localOnly ? 2U : 3U);
        const CIMConstMethod run = view.getMethod(view.findMethod("Run"));
        EXPECT_EQ(run.getClassOrigin().isNull(), !c.origin);
        EXPECT_EQ(run.getQualifierCount() == 0, !c.qualifiers);
    }
    const CIMConstClass base = repository.getClass(ns, "T_Base", false, false);
    EXPECT_EQ(qualifiersOf(base.getMethod(0).getParameter(0)), "");
    EXPECT_EQ(refusal([&] { repository.getClass(ns, "nO_nE"); }), "6 nO_nE");
}

TEST_F(InheritanceTest, PropertyListPicksPropertiesAndKeepsMethods)
{
    const auto view = [this](const CIMPropertyList& properties) {
        return CIMConstClass(repository.getClass(ns, "T_Middle", false, true, true, properties));
    };
    EXPECT_EQ(propertiesOf(view(list({"name", "bogus", "ID"}))), "^Id/T_Base NAME/T_Base");
    EXPECT_EQ(propertiesOf(view(list({}))), "");
    EXPECT_EQ(view(list({})).getMethodCount(), 3U);
}

TEST_F(InheritanceTest, CallerChangesOnlyItsOwnCopy)
{
    for (const bool qualifiers : {true, false}) {
        CIMClass mine = repository.getClass(ns, "T_Base", false, qualifiers, true);
        mine.removeProperty(0);
        mine.getProperty(0).setValue(CIMValue(String("changed")));
        mine.setSuperClassName("T_Else");
        const CIMClass fresh = repository.getClass(ns, "T_Base", false, qualifiers, true);
        EXPECT_EQ(propertiesOf(CIMConstClass(fresh)), "Id/T_Base Name/T_Base Sizes/T_Base");
        EXPECT_EQ(text(CIMConstClass(fresh).getProperty(1).getValue().toString()), "x");
        EXPECT_TRUE(fresh.getSuperClassName().isNull());
    }
    compile("class T_After : T_Base {};");
    EXPECT_EQ(text(property("T_After", "Name").getValue().toString()), "x");
}

// ---- Static instances

class InstanceTest : public RepositoryFixture
{
protected:
    InstanceTest()
    {
        compile(R"([Abstract] class T_Base { [Key] string Id; };
                   class T_Thing : T_Base { string Note; uint16 X = 5; uint16 Y; uint8 F[2]; };
                   class T_Sub : T_Thing {};
                   class T_Keyless { string A; };
                   instance of T_Thing { Id = "a"; Note = "one"; };
                   instance of T_Thing { Id = "b"; };)");
    }

    CIMConstInstance get(const char* path) const
    {
        return repository.getInstance(ns, CIMObjectPath(path));
    }

    std::string value(const char* path, const char* name) const
    {
        const CIMConstInstance instance = get(path);
        const CIMValue& value =
            instance.getProperty(instance.findProperty(CIMName(name))).getValue();
        return value.isNull() ? "null" : text(value.toString());
    }

    void modify(const char* path, std::initializer_list<CIMProperty> properties,
                const CIMPropertyList& names)
    {
        CIMInstance changed = makeInstance("t_thing", properties);
        changed.setPath(CIMObjectPath(path));
        repository.modifyInstance(ns, changed, names);
    }
};

TEST_F(InstanceTest, AddCompletesTheInstanceFromItsClass)
{
    const CIMInstance given =
        makeInstance("t_thing", {stringProperty("note", "n"), stringProperty("ID", "G")});
    const CIMObjectPath path = repository.addInstance(ns, given);
    EXPECT_EQ(text(path.toString()), "T_Thing.Id=\"G\"");
    const CIMConstInstance stored = get("T_Thing.Id=\"G\"");
    EXPECT_EQ(propertiesOf(stored), "^X/T_Thing ^Y/T_Thing ^F/T_Thing Note/T_Thing Id/T_Base");
    EXPECT_EQ(text(stored.getPath().toString()), "T_Thing.Id=\"G\"");
    EXPECT_EQ(value("T_Thing.Id=\"G\"", "X"), "5");
    EXPECT_EQ(value("T_Thing.Id=\"G\"", "Y"), "null");
    EXPECT_EQ(propertiesOf(given), "note/ ID/") << "the caller's instance was changed";
}

TEST_F(InstanceTest, AddRefusesWhatDoesNotFit)
{
    const auto add = [this](const char* className, std::initializer_list<CIMProperty> properties) {
        return refusal([&] { repository.addInstance(ns, makeInstance(className, properties)); });
    };
    const CIMProperty id = stringProperty("Id", "new");
    EXPECT_EQ(add("None", {id}), "5 None");
    EXPECT_EQ(add("T_Base", {id}), "1 attempted to instantiate an abstract class T_Base");
    EXPECT_EQ(add("T_Thing", {id, stringProperty("Foo", "")}), "1 no such property: Foo");
    EXPECT_EQ(add("T_Thing", {id, stringProperty("x", "1")}), "1 type mismatch: property X");
    EXPECT_EQ(add("T_Thing", {id, CIMProperty("X", CIMValue(Array<Uint16>()))}),
              "1 type mismatch: property X");
    EXPECT_EQ(add("T_Thing", {id, CIMProperty("F", CIMValue(Array<Uint8>(3, Uint8(1))))}),
              "1 type mismatch: property F");
    EXPECT_EQ(add("T_Thing", {}), "4 key property without a value: T_Thing.Id");
    EXPECT_EQ(add("T_Keyless", {}), "1 class has no keys: T_Keyless");
    EXPECT_EQ(add("T_THING", {stringProperty("iD", "a")}), "11 T_Thing.Id=\"a\"");
    EXPECT_EQ(repository.instancesOf(ns, "T_Thing").size(), 2U);
    EXPECT_EQ(add("T_Sub", {stringProperty("Id", "a")}), "") << "another class, another instance";
}

struct PathCase
{
    const char* path;
    const char* refusal;  // of getInstance, "" when it finds the instance
};

TEST_F(InstanceTest, PathMustNameClassAndKeysExactly)
{
    compile("instance of T_Sub { Id = \"s\"; };");
    const PathCase cases[] = {
        {"T_Thing.Id=\"a\"", ""},
        {"//host/root/test:t_thing.ID=\"a\"", ""},
        {"root/elsewhere:T_Thing.Id=\"a\"", ""},
        {"T_Sub.Id=\"s\"", ""},
        {"T_Thing.Id=\"A\"", "6 T_Thing.Id=\"A\""},
        {"//host/root/test:T_Thing.Id=\"c\"", "6 T_Thing.Id=\"c\""},
        {"T_Thing.Id=\"s\"", "6 T_Thing.Id=\"s\""},
        {"T_Base.Id=\"a\"", "6 T_Base.Id=\"a\""},
        {"T_Thing.Id=\"a\",Also=1", "6 T_Thing.Also=1,Id=\"a\""},
        {"T_Thing.Name=\"a\"", "6 T_Thing.Name=\"a\""},
        {"T_Thing.Id=5", "6 T_Thing.Id=5"},
        {"T_Thing", "6 T_Thing"},
        {"None.Id=\"a\"", "5 None"},
    };
    for (const PathCase& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(refusal([&] { get(c.path); }), c.refusal);
    }
}

TEST_F(InstanceTest, RemoveTakesExactlyOne)
{
    repository.removeInstance(ns, CIMObjectPath("//h/root/test:t_thing.id=\"a\""));
    EXPECT_EQ(refusal([&] { get("T_Thing.Id=\"a\""); }), "6 T_Thing.Id=\"a\"");
    const auto left = repository.instancesOf(ns, "t_thing");
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(text(left[0].getPath().toString()), "T_Thing.Id=\"b\"");
    EXPECT_EQ(refusal([&] { repository.removeInstance(ns, CIMObjectPath("x:T_Thing.Id=\"a\"")); }),
              "6 T_Thing.Id=\"a\"");
    EXPECT_EQ(refusal([&] { repository.removeInstance(ns, CIMObjectPath("No.Id=\"a\"")); }),
              "5 No");
    EXPECT_EQ(refusal([&] { repository.instancesOf(ns, "No"); }), "5 No");
}

TEST_F(InstanceTest, ModifyReplacesTheListedProperties)
{
    const CIMProperty note = stringProperty("NOTE", "two");
    const CIMProperty x("X", CIMValue(Uint16(8)));
    modify("T_Thing.Id=\"a\"", {note, x}, list({"note", "bogus"}));
    EXPECT_EQ(value("T_Thing.Id=\"a\"", "Note"), "two");
    EXPECT_EQ(value("T_Thing.Id=\"a\"", "X"), "5");
    EXPECT_EQ(value("T_Thing.Id=\"b\"", "Note"), "null");

    modify("T_Thing.Id=\"a\"", {x}, list({}));
    EXPECT_EQ(value("T_Thing.Id=\"a\"", "X"), "5");

    // What is listed and not given goes back to the default of the class; keys stay.
    modify("T_Thing.Id=\"a\"", {x}, list({"Note", "X", "Id"}));
    EXPECT_EQ(value("T_Thing.Id=\"a\"", "Note"), "null");
    EXPECT_EQ(value("T_Thing.Id=\"a\"", "X"), "8");

    modify("//h/root/test:T_Thing.Id=\"a\"", {stringProperty("Id", "a"), note}, CIMPropertyList());
    EXPECT_EQ(value("T_Thing.Id=\"a\"", "Note"), "two");
    EXPECT_EQ(value("T_Thing.Id=\"a\"", "X"), "5");
}

TEST_F(InstanceTest, ModifyRefusesAndThenChangesNothing)
{
    const CIMProperty note = stringProperty("Note", "changed");
    const auto refused = [&](const char* path, const CIMProperty& extra) {
        return refusal([&] { modify(path, {note, extra}, CIMPropertyList()); });
    };
    EXPECT_EQ(refused("T_Thing.Id=\"a\"", stringProperty("Foo", "")), "1 no such property: Foo");
    EXPECT_EQ(refused("T_Thing.Id=\"a\"", stringProperty("X", "")), "1 type mismatch: property X");
    EXPECT_EQ(refused("T_Thing.Id=\"a\"", stringProperty("Id", "z")),
              "1 Attempted to modify a key property");
    EXPECT_EQ(refused("//h/root/test:T_Thing.Id=\"z\"", stringProperty("Id", "z")),
              "6 T_Thing.Id=\"z\"");
    EXPECT_EQ(value("T_Thing.Id=\"a\"", "Note"), "one");
}

TEST_F(InstanceTest, CallersGetCopies)
{
    CIMInstance mine = repository.getInstance(ns, CIMObjectPath("T_Thing.Id=\"a\""));
    mine.getProperty(mine.findProperty("Note")).setValue(CIMValue(String("mine")));
    CIMInstance all = repository.instancesOf(ns, "T_Thing")[0];
    all.removeProperty(0);
    EXPECT_EQ(value("T_Thing.Id=\"a\"", "Note"), "one");
    EXPECT_EQ(get("T_Thing.Id=\"a\"").getPropertyCount(), 5U);
}

// ---- Threads

TEST_F(InstanceTest, ReadersAndWritersMayRunAtOnce)
{
    std::atomic<int> faults{0};
    const auto check = [&faults](bool ok) { faults += ok ? 0 : 1; };
    const auto reader = [&](int thread) {
        for (int i = 0; i < 200; ++i) {
            CIMClass shared = repository.getClass(ns, "T_Sub", i % 2 == 0, thread % 2 == 0, true);
            check(CIMConstClass(shared).getSuperClassName().equal("T_Thing"));
            const CIMConstClass sub = repository.getClass(ns, "T_Thing");
            check(sub.findProperty("Note") != PEG_NOT_FOUND);
            for (const CIMInstance& instance : repository.instancesOf(ns, "T_Thing"))
                check(instance.findProperty("Note") != PEG_NOT_FOUND);
            check(repository.subclassNames(ns, "T_Base", true).size() >= 2);
            shared.removeMethod(shared.addMethod(CIMMethod("M", CIMTYPE_UINT8)).findMethod("M"));
        }
    };
    const auto writer = [&](int thread) {
        const std::string name = "w" + std::to_string(thread);
        const std::string path = "T_Thing.Id=\"" + name + "\"";
        for (int i = 0; i < 50; ++i) {
            repository.addInstance(ns,
                                   makeInstance("T_Thing", {stringProperty("Id", name.c_str())}));
            modify(path.c_str(), {stringProperty("Note", "x")}, list({"Note"}));
            check(value(path.c_str(), "Note") == "x");
            repository.removeInstance(ns, CIMObjectPath(String(path.c_str())));
            const std::string className = "T_W" + std::to_string(thread) + "_" + std::to_string(i);
            repository.addClass(ns, CIMClass(CIMName(className.c_str()), "T_Sub"));
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back(reader, i);
    for (int i = 0; i < 2; ++i)
        threads.emplace_back(writer, i);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(repository.instancesOf(ns, "T_Thing").size(), 2U);
    EXPECT_EQ(repository.subclassNames(ns, "T_Sub", true).size(), 100U);
}

}  // namespace
