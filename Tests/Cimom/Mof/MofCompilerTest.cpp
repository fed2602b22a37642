#include "../Repository/TestRepository.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

// ---- Values

struct Declared : Row
{
    const char* mof;
    const char* property;
};

class MofProperty : public TestRepository, public testing::WithParamInterface<Declared>
{
};

TEST_P(MofProperty, HasTheDeclaredTypeAndDefault)
{
    const testing::ScopedTrace row(GetParam().file, GetParam().line, GetParam().mof);
    const ClassPtr made = classOf(std::string("class T { ") + GetParam().mof + " };");
    EXPECT_EQ(text(*made->property("P")), GetParam().property + std::string(" of T"));
}

const Declared properties[] = {
    {"BooleanInAnyCase", "boolean P = tRuE;", "boolean P = TRUE"},
    {"HexadecimalUint16", "uint16 P = 0xFFff;", "uint16 P = 65535"},
    {"PlusSignBeforeSint32", "sint32 P = +2147483647;", "sint32 P = 2147483647"},
    {"RealWithExponent", "real64 P = +.25e-2;", "real64 P = 2.5000000000000001e-03"},
    {"EscapedQuoteCharacter", R"(char16 P = '\'';)", "char16 P = '"},
    {"HexadecimalCharacter", R"(char16 P = '\x20AC';)", "char16 P = €"},
    {"EmptyString", R"(string P = "";)", "string P = "},
    {"StringWithEscapes", R"(string P = "a\\ \"q\" \x41\X7a!";)", R"(string P = a\ "q" Az!)"},
    {"HexadecimalOfFourDigits", R"(string P = "\x00e4 ä \x20ACd";)", "string P = ä ä €d"},
    {"StringWithSlashes", R"(string P = "// no comment";)", "string P = // no comment"},
    {"AdjacentStrings", "string P = \"one \" // comment\n \"two\" /*/ and */ \" three\";",
     "string P = one two three"},
    {"StringArray", R"(string P[] = {"a" "b", "c"};)", "string P[] = ab c"},
    {"EmptyArray", "string P[] = {};", "string P[] = "},
    {"FixedSizeArray", "uint16 P[2] = {1, 2};", "uint16 P[2] = 1 2"},
    {"TimeStamp", "datetime P = \"20240229120000.000000+060\";",
     "datetime P = 20240229120000.000000+060"},
    {"NullInAnyCase", "uint8 P = nUlL;", "uint8 P"},
    {"QualifierWithSingleValueForArray", R"([Values("a")] string P;)", "[Values(a)] string P"},
    {"BooleanQualifierWithoutValue", "[Key] string P;", "[Key(TRUE)] string P"},
};
INSTANTIATE_TEST_SUITE_P(Of, MofProperty, testing::ValuesIn(properties), NameOfRow());

// ---- Declarations

using Mof = TestRepository;

TEST_F(Mof, DeclaresMethods)
{
    EXPECT_EQ(lines(classOf(R"(class T {
        [Text("does")] string Class();
        boolean M([Values{"x", "y"}] string P, T REF Q, T_Base REF R[], datetime S[3]); };)")
                        ->methods),
              R"(
[Text(does)] string Class() of T
boolean M([Values(x y)] string P, T REF Q, T_Base REF R[], datetime S[3]) of T
)");
}

TEST_F(Mof, DeclaresReferencesOfAssociations)
{
    EXPECT_EQ(lines(classOf(R"([Association] class T {
        T REF One;
        T_Base ref Two = NULL;
        T_Base REF Three = "T_Base.Id=\"x\""; };)")
                        ->properties),
              R"(
T REF One of T
T_Base REF Two of T
T_Base REF Three = T_Base.Id="x" of T
)");
}

TEST_F(Mof, DeclaresQualifierTypes)
{
    compile(
        "Qualifier Q : sint8[2] = {1, -1}, scope(Class, METHOD), "
        "flavor(restricted, disableOverride, toInstance, Translatable);");
    const QualifierDecl& declared = repository.getQualifierDecl(nameSpace, CIMName("q"));
    EXPECT_EQ(text(declared.value), "1 -1");
    EXPECT_EQ(declared.value.getType(), CIMTYPE_SINT8);
    EXPECT_EQ(declared.arraySize, 2U);
    EXPECT_EQ(declared.scopes, ClassScope | MethodScope);
    EXPECT_EQ(text(declared.flavor), "DisableOverride Restricted ToInstance Translatable ");
}

TEST_F(Mof, ReadsQualifiersWithTheFlavorsOfTheirDeclaration)
{
    const ClassPtr made = classOf(R"([Fixed, Text("a " "b"): Restricted Translatable,
                                      Mine("x"): ToSubclass] class T {};)");
    EXPECT_EQ(text(made->qualifiers), "[Fixed, Text(a b), Mine(x)] ");
    EXPECT_EQ(text(made->qualifiers.find("Fixed")->flavor), "DisableOverride ToInstance ");
    EXPECT_EQ(text(made->qualifiers.find("Text")->flavor), "Restricted Translatable ");
    EXPECT_EQ(text(made->qualifiers.find("Mine")->flavor), "");
}

// ---- Faults

using MofCompilerFault = FaultTest;

TEST_P(MofCompilerFault, IsReportedWithItsPlace)
{
    expectFault("MOF:" + GetParam().fault);
}

const Fault mofFaults[] = {
    // Words
    {"UnknownKeyword", "klass T {};",
     "1:1: expected 'class', 'instance of', 'qualifier' or '#pragma', found 'klass'"},
    {"QualifiersBeforeQualifierType", "[Abstract] Qualifier Q : string, Scope(any);",
     "1:12: expected 'class' or 'instance of' after the qualifiers, found 'Qualifier'"},
    {"NamespacePragma", "\n#pragma namespace(\"root/other\")",
     "2:9: a file cannot choose its namespace; it goes into the one given with it"},
    {"StringOverTwoLines", "class T { string S = \"open\n\"; };",
     "1:22: string without end, expected a closing \" on the same line"},
    {"UnknownEscapeBehindTwoByteCharacter", "class T {\n  string S = \"café \\q\"; };",
     R"(2:20: unknown escape, expected one of \b \t \n \f \r \" \' \\ or \x with one to four )"
     "hexadecimal digits"},
    {"OpenComment", "class T { /* no end", "1:11: comment without end, expected \"*/\""},
    {"ControlCharacter", "class T\x01", "1:8: unexpected control character 1"},
    // Structure
    {"UnknownType", "class T { void M(); };",
     "1:11: 'void' is no CIM data type; a reference is written CLASS REF NAME"},
    {"MethodThatReturnsReference", "class T { T_Base REF M(); };",
     "1:11: a method cannot return a reference"},
    {"PropertyOfReferenceArray", "[Association] class T { T_Base REF R[]; };",
     "1:37: a property cannot be an array of references"},
    {"ArraySizeZero", "class T { uint8 A[0]; };",
     "1:19: expected an array size of 1 to 65535, found '0'"},
    {"RepeatedQualifier", "class T { [MaxLen(1), maxlen(2)] string A; };",
     "1:23: 'maxlen' is there already"},
    // Qualifiers
    {"UndeclaredQualifier", "class T { [Foo] string A; };",
     "1:12: qualifier Foo is not declared in namespace root/test"},
    {"ListForSingleValue", "class T { [MaxLen{3}] string A; };",
     "1:18: expected a single value, found a list in braces"},
    {"ContradictingFlavors", "[Mine(\"x\") : Restricted ToSubclass] class T {};",
     "1:25: flavor ToSubclass contradicts one that stands before it"},
    {"UnknownScope", "Qualifier Q : string, Scope(klass);",
     "1:29: expected class, association, indication, property, reference, method, parameter or "
     "any, found 'klass'"},
    {"QualifierOfReferenceType", "Qualifier Q : T_Base REF, Scope(any);",
     "1:15: a qualifier cannot be a reference"},
    // Values
    {"TwoPoints", "class T { real64 A = 1.2.3; };",
     "1:22: expected a value of type real64, found '1.2.3'"},
    {"SingleValueForArray", "class T { uint8 A[] = 5; };",
     "1:23: expected a list in braces, found '5'"},
    {"TooManyForFixedSize", "class T { uint8 A[2] = {1, 2, 3}; };",
     "1:24: expected 2 values for the fixed size of the array, found 3"},
    // Instances
    {"InstanceOfUnknownClass", "instance of T_None {};",
     "1:13: class T_None does not exist in namespace root/test"},
    {"UnknownProperty", "instance of T_Middle {\n  Id = \"a\";\n  Colour = 1; };",
     "3:3: class T_Middle has no property Colour"},
    {"ReferenceThatIsNoPath",
     R"([Association] class T_L { [Key] T_Base REF A; }; instance of T_L { A = "no path"; };)",
     "1:72: expected a value of type reference, found string \"no path\""},
};
INSTANTIATE_TEST_SUITE_P(Of, MofCompilerFault, testing::ValuesIn(mofFaults), NameOfRow());

// ---- Files

class MofFiles : public TestRepository
{
protected:
    MofFiles() { std::filesystem::current_path(CIMOM_TESTS "Mof/files"); }

    std::string compileFile(const char* file)
    {
        return outcomeOf([&] { compileMof(repository, nameSpace, file, {"search"}); });
    }
};

TEST_F(MofFiles, AreIncludedOnceFromBesideOrTheSearchPath)
{
    EXPECT_EQ(compileFile("main.mof"), "compiled");
    EXPECT_NE(repository.findClass(nameSpace, CIMName("T_Main")), nullptr);
}

TEST_F(MofFiles, ReportFaultsWithTheNameOfTheIncludedFile)
{
    EXPECT_EQ(compileFile("deep.mof"),
              "./sub/bad.mof:3:3: 'strange' is no CIM data type; a "
              "reference is written CLASS REF NAME");
}

TEST_F(MofFiles, RejectIncludeThatIsNowhere)
{
    EXPECT_EQ(compileFile("missing.mof"),
              "missing.mof:2:9: cannot find the file to include, \"none.mof\", in ., search");
}

}  // namespace
}  // namespace cimom
