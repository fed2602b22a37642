#include "TestRepository.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

// ---- Inheritance

using Inheritance = TestRepository;

TEST_F(Inheritance, KeepsAllOfElementsThatAreNotOverridden)
{
    const ClassPtr made = classOf("class T : t_base {};");
    EXPECT_EQ(made->superClassName.getString(), "t_base");
    EXPECT_EQ(lines(made->properties), R"(
inherited [Key(TRUE), Text(id)] string Id of T_Base
inherited [Mine(p), Fixed(p), Text(name)] string Name = x of T_Base
inherited uint8 Sizes[2] = 1 2 of T_Base
)");
    EXPECT_EQ(lines(made->methods), R"(
inherited [Mine(m), Fixed(m)] uint32 Run([Fixed(in)] string A) of T_Base
inherited uint32 Stop() of T_Base
)");
}

TEST_F(Inheritance, PutsOwnQualifiersOfTheClassBehindInheritedOnes)
{
    EXPECT_EQ(text(classOf(R"([Fixed("c"), Mine("t")] class T : T_Middle {};)")->qualifiers),
              "[inherited Text(base), Fixed(c), Mine(t)] ");
}

TEST_F(Inheritance, MergesElementsThatOverrideIntoTheirPlaceBehindTheOthers)
{
    const ClassPtr made = classOf("class T : T_Middle {};");
    EXPECT_EQ(lines(made->properties), R"(
inherited [Key(TRUE), Text(id)] string Id of T_Base
inherited uint8 Sizes[2] = 1 2 of T_Base
inherited uint16 Own = 5 of T_Middle
inherited [inherited Text(name), inherited Fixed(p), Override(Name), Values(v)] string NAME of T_Base
)");
    EXPECT_EQ(lines(made->methods), R"(
inherited uint32 Stop() of T_Base
inherited uint32 Own() of T_Middle
inherited [inherited Fixed(m), Override(Run)] uint32 RUN([Fixed(in)] string B) of T_Base
)");
}

TEST_F(Inheritance, PutsOwnElementsLastWithTheOriginOfWhatTheyOverride)
{
    const ClassPtr made = classOf(R"(class T : T_Middle {
        uint8 Sizes[2]; sint8 More; uint16 own = 6; uint32 OWN(T_Later REF Later); };)");
    EXPECT_EQ(lines(made->properties), R"(
inherited [Key(TRUE), Text(id)] string Id of T_Base
inherited [inherited Text(name), inherited Fixed(p), Override(Name), Values(v)] string NAME of T_Base
uint8 Sizes[2] of T_Base
sint8 More of T
uint16 own = 6 of T_Middle
)");
    EXPECT_EQ(text(*made->method("OWN")), "uint32 OWN(T_Later REF Later) of T_Middle");
}

TEST_F(Inheritance, OfAnAssociationLetsAReferenceBeOverridden)
{
    EXPECT_EQ(lines(classOf(R"([Association] class T : T_Link { [Override("A"), Key] T REF A; };)")
                        ->properties),
              R"(
inherited [Key(TRUE)] T_Leaf REF B of T_Link
[Override(A), Key(TRUE)] T REF A of T_Link
)");
}

TEST_F(Inheritance, LetsAKeyComeWithAnOverrideBelowAClassWithoutKeys)
{
    EXPECT_EQ(lines(classOf(R"(class T_NoKeys { string Id; };
        class T : T_NoKeys { [Override("Id"), Key] string Id; };)")
                        ->properties),
              "\n[Override(Id), Key(TRUE)] string Id of T_NoKeys\n");
}

TEST_F(Inheritance, AcceptsAQualifierDeclaredTwiceAlike)
{
    compile("Qualifier KEY : boolean, Scope(reference, property), Flavor(DisableOverride);");
}

// ---- Rules

// The positions of faults are the compiler's business.
using RepositoryRule = FaultTest;

TEST_P(RepositoryRule, IsEnforced)
{
    expectFault(": " + GetParam().fault);
}

const Fault rules[] = {
    {"SuperclassExists", "class T : T_None {};",
     "CIM_ERR_INVALID_SUPERCLASS: class T: its superclass T_None does not exist"},
    {"ClassNameIsNew", "class t_LEAF : T_Base {};",
     "CIM_ERR_ALREADY_EXISTS: class t_LEAF exists already"},
    {"QualifierKeepsItsScope", "Qualifier Key : boolean, Scope(any), Flavor(DisableOverride);",
     "CIM_ERR_ALREADY_EXISTS: qualifier Key is declared already, and differently"},
    {"ClassOfInstanceHasKeys", "class T_Keyless {}; instance of T_Keyless {};",
     "CIM_ERR_FAILED: class has no keys: T_Keyless"},
    {"QualifierSuitsReference", "[Association] class T { [Values] T_Base REF A; };",
     "CIM_ERR_INVALID_PARAMETER: class T, property A: qualifier Values: its declaration does "
     "not allow it here"},
    {"QualifierSuitsParameter", "class T { uint8 M([Key] string P); };",
     "class T, method M, parameter P: qualifier Key: its declaration does not allow it here"},
    {"FixedQualifierOfMethodKeepsItsValue", "class T : T_Leaf { [Fixed(null)] uint32 Run(); };",
     "class T, method Run: qualifier Fixed is DisableOverride and has another value "
     "in the superclass"},
    {"OverridingPropertyStaysScalar", "class T : T_Base { string Name[]; };",
     "class T, property Name: its type differs from that in T_Base"},
    {"OverridingMethodKeepsItsType", "class T : T_Base { string Run(); };",
     "class T, method Run: its type differs from that in T_Base"},
    {"OverriddenPropertyExists", R"(class T : T_Base { [Override("Nome")] string Name; };)",
     "class T, property Name: it overrides \"Nome\", which no superclass has"},
    {"OverriddenNameIsAName", R"(class T : T_Base { [Override("no name")] string Name; };)",
     "class T, property Name: it overrides \"no name\", which no superclass has"},
    {"NewPropertyAddsNoKey", "class T : T_Base { [Key] string Two; };",
     "class T, property Two: it cannot be a key, because T_Base has keys already"},
    {"OverridingPropertyAddsNoKey", "class T : T_Base { [Key] string Name; };",
     "class T, property Name: it cannot be a key, because T_Base has keys already"},
    {"ReferenceNeedsAssociation", "class T : T_Link { T_Leaf REF A; };",
     "class T, property A: a class with references needs the Association qualifier"},
    {"ReferencedClassExists", "[Association] class T { [Key] T_None REF A; };",
     "class T, property A: it refers to class T_None, which does not exist"},
    {"AssociationDerivesFromAssociation", "[Association] class T : T_Base {};",
     "class T: an association cannot derive from T_Base, which is none"},
};
INSTANTIATE_TEST_SUITE_P(Of, RepositoryRule, testing::ValuesIn(rules), NameOfRow());

// ---- Classes and instances

using RepositoryTest = TestRepository;

TEST_F(RepositoryTest, ClassBuildsInstancesOfWhatIsRequested)
{
    const CIMClass middle(repository.getClass(nameSpace, "T_Middle"));
    const CIMInstance whole = middle.buildInstance(true, true, CIMPropertyList());
    EXPECT_EQ(text(whole.getPath()), "T_Middle");
    EXPECT_EQ(text(whole.object().qualifiers), "[inherited Text(base), inherited Fixed(c)] ");
    EXPECT_EQ(lines(whole), R"(
inherited [Key(TRUE), Text(id)] string Id of T_Base
inherited uint8 Sizes[2] = 1 2 of T_Base
uint16 Own = 5 of T_Middle
[inherited Text(name), inherited Fixed(p), Override(Name), Values(v)] string NAME of T_Base
)");
    const Array<CIMName> own(1, CIMName("OWN"));
    const CIMInstance part = middle.buildInstance(false, false, own);
    EXPECT_EQ(text(part.object().qualifiers) + lines(part), "\nuint16 Own = 5 of \n");
}

TEST_F(RepositoryTest, InstanceBuildsItsPathOfTheKeysOfTheClass)
{
    const CIMClass made(classOf("class T { [Key] string Id; [Key] uint8 B; string C; };"));
    CIMInstance instance("t");
    instance.addProperty(CIMProperty(CIMName("C"), CIMValue(String("c"))));
    instance.addProperty(CIMProperty(CIMName("ID"), CIMValue(String("a\"b"))));
    EXPECT_THROW(instance.buildPath(made), Exception) << "it lacks B";
    instance.addProperty(CIMProperty(CIMName("b"), CIMValue(Uint8(7))));
    EXPECT_EQ(text(instance.buildPath(made)), "t.B=7,Id=\"a\\\"b\"");
}

TEST_F(RepositoryTest, CompletesInstancesWithDefaultsInFrontOfGivenProperties)
{
    compile(R"([Text("here")] instance of t_middle { [Mine("p")] NAME = "n"; ID = "a"; };)");
    const CIMInstance stored = repository.instancesOf(nameSpace, "T_Middle").at(0);
    EXPECT_EQ(text(stored.object().qualifiers), "[Text(here)] ");
    EXPECT_EQ(lines(stored), R"(
inherited uint8 Sizes[2] = 1 2 of T_Base
inherited uint16 Own = 5 of T_Middle
[Mine(p)] string NAME = n of T_Base
string Id = a of T_Base
)");
}

TEST_F(RepositoryTest, HandsOutCopiesOfInstances)
{
    compile("instance of T_Middle { Id = \"a\"; };");
    const CIMInstance stored = repository.getInstance(nameSpace, String("T_Middle.Id=\"a\""));
    CIMInstance mine = repository.instancesOf(nameSpace, "T_Middle").at(0);
    mine.getProperty(mine.findProperty("Own")).setValue(CIMValue(Uint16(6)));
    EXPECT_TRUE(stored.identical(repository.instancesOf(nameSpace, "T_Middle").at(0)));
}

}  // namespace
}  // namespace cimom
