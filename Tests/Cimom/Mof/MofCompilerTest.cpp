#include "Mof/MofCompiler.h"

#include "../Repository/RepositoryFixture.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMQualifierDecl.h>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <limits>

PEGASUS_USING_PEGASUS;

namespace
{

namespace fs = std::filesystem;

CIMValue str(const char* utf8)
{
    return CIMValue(String(utf8));
}

template <class T>
CIMValue list(std::initializer_list<T> items)
{
    Array<T> values;
    for (const T& item : items)
        values.append(item);
    return CIMValue(values);
}

CIMValue nul(CIMType type, bool isArray = false)
{
    return CIMValue(type, isArray);
}

class MofCompilerTest : public RepositoryFixture
{
protected:
    // The fault that the text has, as the message, or "" when it has none.
    std::string faultOf(const std::string& mof)
    {
        try {
            compile(mof);
        } catch (const cimom::MofError& e) {
            return e.what();
        }
        return "";
    }
};

// ---- Values

struct ValueCase
{
    const char* declaration;  // of a property X
    CIMValue expected;
};

TEST_F(MofCompilerTest, ReadsDefaultValuesOfEveryType)
{
    const ValueCase cases[] = {
        {"boolean X = tRuE", CIMValue(Boolean(true))},
        {"boolean X = FALSE", CIMValue(Boolean(false))},
        {"boolean X[] = {TRUE, false}", list<Boolean>({true, false})},
        {"uint8 X = 255", CIMValue(Uint8(255))},
        {"sint8 X = -128", CIMValue(Sint8(-128))},
        {"sint8 X = +127", CIMValue(Sint8(127))},
        {"uint16 X = 0xFFff", CIMValue(Uint16(65535))},
        {"sint16 X = -0x8000", CIMValue(Sint16(-32768))},
        {"uint32 X = 0777", CIMValue(Uint32(511))},
        {"uint32 X = 0", CIMValue(Uint32(0))},
        {"sint32 X = -2147483648", CIMValue(std::numeric_limits<Sint32>::min())},
        {"uint8 X = 1011b", CIMValue(Uint8(11))},
        {"uint8 X = 0101B", CIMValue(Uint8(5))},
        {"uint32 X = 0x1b", CIMValue(Uint32(27))},
        {"uint64 X = 18446744073709551615", CIMValue(std::numeric_limits<Uint64>::max())},
        {"sint64 X = -9223372036854775808", CIMValue(std::numeric_limits<Sint64>::min())},
        {"sint16 X = -0", CIMValue(Sint16(0))},
        {"real32 X = -1.5", CIMValue(Real32(-1.5F))},
        {"real64 X = +.25e-2", CIMValue(Real64(0.0025))},
        {"real64 X = 3", CIMValue(Real64(3))},
        {"char16 X = 'x'", CIMValue(Char16('x'))},
        {"char16 X = '\\''", CIMValue(Char16('\''))},
        {"char16 X = '\\x20AC'", CIMValue(Char16(0x20AC))},
        {"char16 X = \"y\"", CIMValue(Char16('y'))},
        {"string X = \"\"", str("")},
        {"string X = \"a\\tb\\\\ \\\"q\\\" \\x41\\X7a!\"", str("a\tb\\ \"q\" Az!")},
        {"string X = \"\\x00e4 \xC3\xA4 \\x20ACx\"", str("\xC3\xA4 \xC3\xA4 \xE2\x82\xACx")},
        {"string X = \"one \" // comment\n \"two\" /* and */ \" three\"", str("one two three")},
        {"string X = \"// no comment\"", str("// no comment")},
        {"string X[] = {\"a\" \"b\", \"c\"}", list<String>({"ab", "c"})},
        {"string X[] = {}", CIMValue(Array<String>())},
        {"uint16 X[2] = {1, 2}", list<Uint16>({1, 2})},
        {"datetime X = \"20240229120000.000000+060\"",
         CIMValue(CIMDateTime("20240229120000.000000+060"))},
        {"datetime X = \"00000001000000.000000:000\"",
         CIMValue(CIMDateTime("00000001000000.000000:000"))},
        {"uint8 X = nUlL", nul(CIMTYPE_UINT8)},
        {"string X[] = NULL", nul(CIMTYPE_STRING, true)},
        {"datetime X", nul(CIMTYPE_DATETIME)},
        {"real32 X[]", nul(CIMTYPE_REAL32, true)},
    };
    int number = 0;
    for (const ValueCase& c : cases) {
        SCOPED_TRACE(c.declaration);
        const std::string name = "T_" + std::to_string(number++);
        ASSERT_EQ(faultOf("class " + name + " { " + c.declaration + "; };"), "");
        const CIMValue value = property(name.c_str(), "X").getValue();
        EXPECT_EQ(value.getType(), c.expected.getType());
        EXPECT_TRUE(value == c.expected) << text(value.toString());
    }
}

TEST_F(MofCompilerTest, KeepsTheSizeOfFixedArrays)
{
    compile("class T { uint8 Three[3]; uint8 Any[]; uint32 M(string P[0x10]); };");
    EXPECT_EQ(property("T", "Three").getArraySize(), 3U);
    EXPECT_EQ(property("T", "Any").getArraySize(), 0U);
    EXPECT_EQ(method("T", "M").getParameter(0).getArraySize(), 16U);
}

// ---- Declarations

TEST_F(MofCompilerTest, ReadsQualifierDeclarations)
{
    compile(
        R"(qualifier Units : string[2] = {"a", "b"}, scope(Property, METHOD), flavor(restricted);
               Qualifier Plain : sint64 = -5, Scope(any);)");
    const CIMQualifierDecl units = repository.getQualifierDecl(ns, "units");
    EXPECT_EQ(text(units.getName().getString()), "Units");
    EXPECT_TRUE(units.getValue() == list<String>({"a", "b"}));
    EXPECT_EQ(units.getArraySize(), 2U);
    EXPECT_TRUE(units.getScope().equal(CIMScope::PROPERTY + CIMScope::METHOD));
    EXPECT_TRUE(units.getFlavor().equal(CIMFlavor::OVERRIDABLE + CIMFlavor::RESTRICTED));
    const CIMQualifierDecl plain = repository.getQualifierDecl(ns, "PLAIN");
    EXPECT_TRUE(plain.getValue() == CIMValue(Sint64(-5)));
    EXPECT_TRUE(plain.getScope().hasScope(CIMScope::PARAMETER));
    EXPECT_TRUE(plain.getFlavor().equal(CIMFlavor(CIMFlavor::DEFAULTS)));
}

TEST_F(MofCompilerTest, ReadsClassesWithAllTheirParts)
{
    compile(R"(
        [Abstract, Description("The base")] class T_Base { [Key] string Id; };
        class T_Thing : T_Base
        {
            [MaxLen(8), Description ( "a " "name" )] string Name = "x";
            [Values{"one", "two"}] uint8 Kind;
            [Description("Does it."), Values("single")]
            uint32 Do([IN, MaxLen(3)] string What,
                      [IN(false), OUT] uint8 Results[],
                      T_Thing REF Peer, T_Base REF Others[]);
            string Class();
        };
        [Association] class T_Link { [Key] T_Base REF One; [Key] T_Thing ref Two = NULL; };)");

    EXPECT_EQ(qualifiersOf(theClass("T_Base")), "Abstract=TRUE Description=The base");
    EXPECT_EQ(text(theClass("t_thing").getSuperClassName().getString()), "T_Base");
    EXPECT_EQ(qualifiersOf(property("T_Thing", "Name")), "MaxLen=8 Description=a name");
    EXPECT_EQ(qualifiersOf(property("T_Thing", "Kind")), "Values=one two ");

    const CIMConstMethod run = method("T_Thing", "Do");
    EXPECT_EQ(run.getType(), CIMTYPE_UINT32);
    EXPECT_EQ(qualifiersOf(run), "Description=Does it. Values=single ");
    ASSERT_EQ(run.getParameterCount(), 4U);
    EXPECT_EQ(qualifiersOf(run.getParameter(0)), "IN=TRUE MaxLen=3");
    EXPECT_EQ(qualifiersOf(run.getParameter(1)), "IN=FALSE OUT=TRUE");
    EXPECT_TRUE(run.getParameter(1).isArray());
    EXPECT_EQ(text(run.getParameter(2).getReferenceClassName().getString()), "T_Thing");
    EXPECT_EQ(run.getParameter(3).getType(), CIMTYPE_REFERENCE);
    EXPECT_TRUE(run.getParameter(3).isArray());
    EXPECT_EQ(method("T_Thing", "class").getParameterCount(), 0U);

    EXPECT_TRUE(theClass("T_Link").isAssociation());
    EXPECT_EQ(property("T_Link", "Two").getType(), CIMTYPE_REFERENCE);
    EXPECT_EQ(text(property("T_Link", "Two").getReferenceClassName().getString()), "T_Thing");
}

struct FlavorCase
{
    const char* use;
    const CIMFlavor flavor;
};

TEST_F(MofCompilerTest, FlavorInUseChangesTheDeclaredFlavor)
{
    const CIMFlavor base = CIMFlavor::OVERRIDABLE + CIMFlavor::TRANSLATABLE;
    const FlavorCase cases[] = {
        {"Description(\"x\")", base + CIMFlavor::TOSUBCLASS},
        {"Description(\"x\"): Restricted", base + CIMFlavor::RESTRICTED},
        {"Description(\"x\") :restricted DISABLEOVERRIDE",
         CIMFlavor::DISABLEOVERRIDE + CIMFlavor::RESTRICTED + CIMFlavor::TRANSLATABLE},
        {"Mine : ToSubclass EnableOverride Translatable", base + CIMFlavor::TOSUBCLASS},
        {"Fixed : ToInstance",
         CIMFlavor::DISABLEOVERRIDE + CIMFlavor::TOSUBCLASS + CIMFlavor::TOINSTANCE},
    };
    int number = 0;
    for (const FlavorCase& c : cases) {
        SCOPED_TRACE(c.use);
        const std::string name = "T_" + std::to_string(number++);
        ASSERT_EQ(faultOf("[" + std::string(c.use) + "] class " + name + " {};"), "");
        const CIMFlavor flavor = theClass(name.c_str()).getQualifier(0).getFlavor();
        EXPECT_TRUE(flavor.equal(c.flavor)) << text(flavor.toString());
    }
}

TEST_F(MofCompilerTest, QualifierWithoutValueIsTrueOrNull)
{
    compile("class T { [Key, MaxLen, Description, Values] string Id; };");
    const CIMConstProperty id = property("T", "Id");
    EXPECT_TRUE(id.getQualifier(0).getValue() == CIMValue(Boolean(true)));
    EXPECT_TRUE(id.getQualifier(1).getValue() == nul(CIMTYPE_UINT32));
    EXPECT_TRUE(id.getQualifier(2).getValue() == nul(CIMTYPE_STRING));
    EXPECT_TRUE(id.getQualifier(3).getValue() == nul(CIMTYPE_STRING, true));
}

// ---- Instances

class MofInstanceTest : public MofCompilerTest
{
protected:
    MofInstanceTest()
    {
        compile(R"(class T_Thing { [Key] string Id; [Key] uint16 Number = 7; string Names[];
                                   char16 Letter; datetime When; boolean On = true; };
                   [Association] class T_Link { [Key] T_Thing REF One; [Key] T_Thing REF Two; };)");
    }

    std::string pathsOf(const char* className) const
    {
        std::string all;
        for (const CIMInstance& instance : repository.instancesOf(ns, CIMName(className)))
            all += text(instance.getPath().toString()) + "\n";
        return all;
    }
};

TEST_F(MofInstanceTest, ReadsPropertiesInAnySpellingAndOrder)
{
    compile(R"([Description("an instance")] INSTANCE OF t_thing {
                   names = {"a", "b"}; LETTER = 'z'; [Description("when")] When = NULL;
                   ON = fAlSe; ID = "q\"1"; };)");
    const CIMConstInstance instance = repository.instancesOf(ns, "T_Thing").at(0);
    EXPECT_EQ(text(instance.getPath().toString()), "T_Thing.Id=\"q\\\"1\",Number=7");
    EXPECT_EQ(propertiesOf(instance),
              "^Number/T_Thing Names/T_Thing Letter/T_Thing When/T_Thing On/T_Thing Id/T_Thing");
    EXPECT_EQ(qualifiersOf(instance), "Description=an instance");
    EXPECT_EQ(qualifiersOf(instance.getProperty(3)), "Description=when");
    EXPECT_TRUE(instance.getProperty(1).getValue() == list<String>({"a", "b"}));
    EXPECT_TRUE(instance.getProperty(3).getValue() == nul(CIMTYPE_DATETIME));
    EXPECT_TRUE(instance.getProperty(4).getValue() == CIMValue(Boolean(false)));
}

TEST_F(MofInstanceTest, ReferencesAreTextsOrAliases)
{
    compile(R"(instance of T_Thing as $A { Id = "a"; };
               instance of T_Thing as $B { Id = "b"; Number = 0x10; };
               instance of T_Link { One = $A; Two = $B; };
               instance of T_Link { One = "T_Thing.Number=1,Id=\"x\"";
                                    Two = "root/other:T_Thing.Id=\"y\"," "Number=2"; };)");
    EXPECT_EQ(pathsOf("T_Link"),
              R"(T_Link.One="T_Thing.Id=\"a\",Number=7",Two="T_Thing.Id=\"b\",Number=16")"
              "\n"
              R"(T_Link.One="T_Thing.Id=\"x\",Number=1",Two="root/other:T_Thing.Id=\"y\",Number=2")"
              "\n");
}

TEST_F(MofInstanceTest, AliasFromAnotherNamespaceCarriesIt)
{
    compile(R"(instance of T_Thing as $Here { Id = "h"; };
               #pragma namespace("root/other")
               Qualifier Key : boolean, Scope(any);
               Qualifier Association : boolean, Scope(association);
               class T_Thing { [Key] string Id; };
               [Association] class T_Link { [Key] T_Thing REF One; [Key] T_Thing REF Two; };
               instance of T_Thing as $There { Id = "t"; };
               instance of T_Link { One = $Here; Two = $There; };)");
    const auto links = repository.instancesOf("root/other", "T_Link");
    ASSERT_EQ(links.size(), 1U);
    EXPECT_EQ(text(links[0].getPath().toString()),
              R"(T_Link.One="root/test:T_Thing.Id=\"h\",Number=7",Two="T_Thing.Id=\"t\"")");
}

// ---- Faults

struct FaultCase
{
    const char* mof;
    const char* fault;  // after "test.mof:"
};

TEST_F(MofInstanceTest, FaultsNamePositionAndExpectation)
{
    const FaultCase cases[] = {
        // words
        {"klass T {};",
         "1:1: expected 'class', 'instance of', 'qualifier' or '#pragma', found 'klass'"},
        {"[Abstract] Qualifier Q : string, Scope(any);",
         "1:12: expected 'class' or 'instance of' after the qualifiers, found 'Qualifier'"},
        {"class T { string S = \"open\n\"; };",
         "1:22: string without end, expected a closing \" on the same line"},
        {"class T {\n  string S = \"caf\xC3\xA9 \\q\"; };",
         "2:20: unknown escape, expected one of \\b \\t \\n \\f \\r \\\" \\' \\\\ or \\x with one to "
         "four hexadecimal digits"},
        {"class T { /* no end\n\n", "1:11: comment without end, expected \"*/\""},
        {"class T { char16 C = 'x; };",
         "1:22: character without end, expected a closing ' on the same line"},
        {"class T { string @; };", "1:18: unexpected '@'"},
        {"class T\x01 {};", "1:8: unexpected byte 0x01"},
        {"class T { string S = \"\xFF\"; };", "1:22: expected UTF-8: "},
        // structure
        {"class { };", "1:7: expected the name of a class, found '{'"},
        {"class T", "1:8: expected '{' or ':' after the class name, found the end of the text"},
        {"class T : T_Thing;", "1:18: expected '{' after the name of the superclass, found ';'"},
        {"class T { string A; }", "1:22: expected ';' after the class, found the end of the text"},
        {"class T {\n\tstring A\n\tstring B; };",
         "3:2: expected ';', '=', '[' or '(' after A, found 'string'"},
        {"class T { void M(); };",
         "1:11: 'void' is no CIM data type; a reference is written CLASS REF NAME"},
        {"class T { T_Thing REF M(); };", "1:11: a method cannot return a reference"},
        {"[Association] class T { T_Thing REF R[]; };",
         "1:38: a property cannot be an array of references"},
        {"class T { uint8 A[0]; };", "1:19: expected an array size of 1 to 65535, found 0"},
        {"class T { uint32 M(string A string B); };",
         "1:29: expected ')' or ',' after the parameter, found 'string'"},
        {"class T { uint32 M(string A,); };", "1:29: expected a type, found ')'"},
        {"class T { string A; STRING a; };", "1:28: already exists: property \"a\""},
        {"class T { uint32 M(string A, string a); };", "1:30: already exists: parameter \"a\""},
        {"class T { [MaxLen(1), maxlen(2)] string A; };",
         "1:23: already exists: qualifier \"maxlen\""},
        {"instance T_Thing {};", "1:10: expected 'of' after 'instance', found 'T_Thing'"},
        {"#prgma locale(\"en\")", "1:2: expected 'pragma' after '#', found 'prgma'"},
        {"#pragma namespace(\"root//x\")", "1:19: invalid CIM namespace name: root//x"},
        // qualifiers
        {"class T { [Foo] string A; };",
         "1:12: qualifier Foo is not declared in namespace root/test"},
        {"class T { [Key(\"x\")] string A; };", "1:16: expected TRUE or FALSE, found string \"x\""},
        {"class T { [MaxLen{3}] string A; };",
         "1:18: expected a single value, found a list in braces"},
        {"[Mine(\"x\") : Restricted ToSubclass] class T {};",
         "1:25: flavor ToSubclass contradicts one that stands before it"},
        {"[Mine : Loose] class T {};",
         "1:9: expected EnableOverride, DisableOverride, ToSubclass, Restricted, ToInstance or "
         "Translatable, found 'Loose'"},
        {"Qualifier Q : string;", "1:21: expected ',' and 'Scope(...)', found ';'"},
        {"Qualifier Q : string, Scope(klass);",
         "1:29: expected class, association, indication, property, reference, method, parameter or "
         "any, found 'klass'"},
        {"Qualifier Q : T_Thing REF, Scope(any);", "1:15: a qualifier cannot be a reference"},
        {"Qualifier Q : string, Scope(any), Flavor(Restricted, ToSubclass);",
         "1:54: flavor ToSubclass contradicts one that stands before it"},
        {"Qualifier Key : string, Scope(any);",
         "1:11: CIM_ERR_ALREADY_EXISTS: qualifier Key is declared already, and differently"},
        // values
        {"class T { uint8 A = 256; };", "1:21: 256 does not fit into uint8, expected 0 to 255"},
        {"class T { uint16 A = -1; };", "1:22: -1 does not fit into uint16, expected 0 to 65535"},
        {"class T { sint8 A = -129; };",
         "1:21: -129 does not fit into sint8, expected -128 to 127"},
        {"class T { uint64 A = 18446744073709551616; };",
         "1:22: 18446744073709551616 does not fit into 64 bits"},
        {"class T { uint8 A = 12ab; };",
         "1:21: expected a number (decimal, octal with a leading 0, hexadecimal with 0x or binary "
         "with a trailing b), found 12ab"},
        {"class T { uint8 A = 09; };",
         "1:21: expected a number (decimal, octal with a leading 0, hexadecimal with 0x or binary "
         "with a trailing b), found 09"},
        {"class T { uint8 A = 1.5; };", "1:21: expected an integer of type uint8, found 1.5"},
        {"class T { real32 A = 1e99; };", "1:22: 1e99 does not fit into real32"},
        {"class T { real64 A = 1.2.3; };",
         "1:22: expected a decimal number such as -1.5e3, found 1.2.3"},
        {"class T { boolean A = 1; };", "1:23: expected TRUE or FALSE, found 1"},
        {"class T { string A = x; };", "1:22: expected a value, found 'x'"},
        {"class T { string A = 5; };", "1:22: expected a string in double quotes, found 5"},
        {"class T { char16 A = 'xy'; };",
         "1:22: expected exactly one 16-bit character, found character 'xy'"},
        {"class T { datetime A = \"today\"; };",
         "1:24: expected a datetime, yyyymmddhhmmss.mmmmmmsutc or an interval, "
         "ddddddddhhmmss.mmmmmm:000, found string \"today\""},
        {"class T { uint8 A[] = 5; };", "1:23: expected a list in braces, found 5"},
        {"class T { uint8 A[] = {1, NULL}; };",
         "1:27: expected an integer of type uint8, found NULL"},
        {"class T { uint8 A[2] = {1, 2, 3}; };",
         "1:24: expected 2 values for the fixed size of the array, found 3"},
        {"class T { uint8 A[] = {1 2}; };", "1:26: expected '}' or ',' after the value, found '2'"},
        // classes that the repository refuses
        {"\n  class T : T_None {};",
         "2:9: CIM_ERR_INVALID_SUPERCLASS: class T: its superclass T_None does not exist"},
        {"class t_THING {};", "1:7: CIM_ERR_ALREADY_EXISTS: class t_THING exists already"},
        // instances
        {"instance of T_None {};", "1:13: class T_None does not exist in namespace root/test"},
        {"instance of T_Thing {\n  Id = \"a\";\n  Colour = 1; };",
         "3:3: class T_Thing has no property Colour"},
        {"instance of T_Thing { Id = \"a\"; Number = \"x\"; };",
         "1:42: expected an integer of type uint16, found string \"x\""},
        {"instance of T_Thing { Id = \"a\"; ID = \"b\"; };",
         "1:33: already exists: property \"Id\""},
        {"instance of T_Thing { Id \"a\"; };",
         "1:26: expected '=' and a value after the property's name, found string \"a\""},
        {"instance of T_Thing { Number = 1; };",
         "1:13: CIM_ERR_INVALID_PARAMETER: key property without a value: T_Thing.Id"},
        {"instance of T_Thing { Id = \"a\"; };\ninstance of T_Thing { Id = \"a\"; };",
         "2:13: CIM_ERR_ALREADY_EXISTS: T_Thing.Id=\"a\",Number=7"},
        {"instance of T_Link { One = $Nobody; };",
         "1:28: alias $Nobody is not defined before its use"},
        {"instance of T_Link { One = \"no path\"; };",
         "1:28: expected an object path such as Class.Key=\"value\": malformed object name: "},
        {"instance of T_Thing as $C { Id = \"c\"; }; instance of T_Thing as $C {};",
         "1:65: alias $C names another instance already"},
    };
    for (const FaultCase& c : cases) {
        SCOPED_TRACE(c.mof);
        const std::string expected = "test.mof:" + std::string(c.fault);
        const std::string actual = faultOf(c.mof);
        const bool more = expected.back() == ' ';  // the library's own text follows
        EXPECT_EQ(more ? actual.substr(0, expected.size()) : actual, expected);
    }
}

TEST_F(MofCompilerTest, ErrorCarriesLineAndColumn)
{
    try {
        compile("\n\n  class T { uint8 A = 256; };");
        FAIL() << "compiled";
    } catch (const cimom::MofError& e) {
        EXPECT_EQ(e.line(), 3U);
        EXPECT_EQ(e.column(), 23U);
    }
}

TEST_F(MofCompilerTest, KeepsWhatStandsBeforeTheFault)
{
    EXPECT_NE(faultOf("class T_Good {}; class T_Bad { nonsense };"), "");
    EXPECT_TRUE(repository.hasClass(ns, "T_Good"));
    EXPECT_FALSE(repository.hasClass(ns, "T_Bad"));
}

// ---- Files and pragmas

class MofFileTest : public MofCompilerTest
{
protected:
    MofFileTest()
    {
        const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
        folder = fs::path(::testing::TempDir()) / ("mof-" + std::string(test->name()));
        fs::remove_all(folder);
        fs::create_directories(folder / "sub");
    }
    ~MofFileTest() override { fs::remove_all(folder); }

    void write(const std::string& name, const std::string& content) const
    {
        std::ofstream(folder / name) << content;
    }

    std::string faultOfFile(const std::string& name)
    {
        cimom::MofCompiler compiler(repository);
        compiler.setSearchPath({folder / "search"});
        try {
            compiler.compileFile(folder / name, ns);
        } catch (const std::runtime_error& e) {
            const std::string text = e.what();
            const std::size_t at = text.find(folder.string());
            return at == std::string::npos ? text : text.substr(at + folder.string().size() + 1);
        }
        return "";
    }

    fs::path folder;
};

TEST_F(MofFileTest, IncludesBesideTheIncludingFileThenFromTheSearchPath)
{
    fs::create_directories(folder / "search");
    write(
        "main.mof",
        "\xEF\xBB\xBF#pragma locale(\"en_US\")\n#pragma whatever\n#pragma include (\"sub/a.mof\")\n"
        "class T_Main : T_B {};");
    write("sub/a.mof", "#pragma include(\"b.mof\")\n#PRAGMA INCLUDE(\"c.mof\")");
    write("sub/b.mof", "class T_B {};");
    write("search/b.mof", "class T_WrongB {};");
    write("search/c.mof", "class T_C {};");
    EXPECT_EQ(faultOfFile("main.mof"), "");
    for (const char* name : {"T_Main", "T_B", "T_C"})
        EXPECT_TRUE(repository.hasClass(ns, name)) << name;
    EXPECT_FALSE(repository.hasClass(ns, "T_WrongB"));
}

TEST_F(MofFileTest, CompilesAFileOnceHoweverOftenItIsIncluded)
{
    write("main.mof", "#pragma include(\"a.mof\")\n#pragma include(\"sub/b.mof\")");
    write("a.mof", "class T_A {};");
    write("sub/b.mof", "#pragma include(\"../a.mof\")\nclass T_B : T_A {};");
    EXPECT_EQ(faultOfFile("main.mof"), "");
    EXPECT_TRUE(repository.hasClass(ns, "T_B"));
}

TEST_F(MofFileTest, NamespacePragmaHoldsToTheEndOfItsFile)
{
    write("main.mof", "#pragma include(\"a.mof\")\nclass T_Main {};");
    write("a.mof", "#pragma namespace(\"root/other\")\nclass T_A {};\n#pragma include(\"b.mof\")");
    write("b.mof", "class T_B {};");
    EXPECT_EQ(faultOfFile("main.mof"), "");
    EXPECT_TRUE(repository.hasClass(ns, "T_Main"));
    EXPECT_TRUE(repository.hasClass("root/other", "T_A"));
    EXPECT_TRUE(repository.hasClass("root/other", "T_B"));
}

TEST_F(MofFileTest, FaultsNameTheFileTheyAreIn)
{
    write("main.mof", "\n#pragma include(\"sub/bad.mof\")");
    write("sub/bad.mof", "class T_Bad\n{\n  strange x;\n};");
    EXPECT_EQ(faultOfFile("main.mof"),
              "sub/bad.mof:3:3: 'strange' is no CIM data type; a reference is written CLASS REF "
              "NAME");
}

TEST_F(MofFileTest, RefusesCyclesDepthAndMissingFiles)
{
    write("cycle.mof", "#pragma include(\"sub/back.mof\")");
    write("sub/back.mof", "// back\n#pragma include(\"../cycle.mof\")");
    EXPECT_EQ(faultOfFile("cycle.mof").substr(0, 18), "sub/back.mof:2:9: ");
    EXPECT_NE(faultOfFile("cycle.mof").find("includes itself"), std::string::npos);

    write("missing.mof", "class T_A {};\n#pragma include(\"none.mof\")");
    EXPECT_EQ(faultOfFile("missing.mof"),
              "missing.mof:2:9: cannot find the file to include, \"none.mof\", in " +
                  folder.string() + ", " + (folder / "search").string());

    for (int i = 0; i < 40; ++i)
        write("d" + std::to_string(i) + ".mof",
              "#pragma include(\"d" + std::to_string(i + 1) + ".mof\")");
    EXPECT_EQ(faultOfFile("d0.mof"), "d31.mof:1:9: more than 32 files include each other");

    EXPECT_EQ(faultOfFile("none.mof"), "none.mof: No such file or directory");
    EXPECT_EQ(faultOfFile("sub"), "sub: it is a folder");
}

// Whatever the text, the compiler ends with success or a MofError.
TEST_F(MofInstanceTest, NoPrefixAndNoChangedByteGetsPastTheErrors)
{
    const std::string good =
        "#pragma locale(\"en\")\nQualifier Q : uint8[] = {1}, Scope(any), Flavor(Restricted);\n"
        "[Q{2}: ToSubclass] class T_A : T_Thing { [Mine] real32 R[2] = {1.5e1, -2};"
        " uint32 M([IN] T_Thing REF P[]); };\n"
        "instance of T_A as $X { Id = \"\\x41\" \"b\"; Letter = '\\''; };"
        "instance of T_Link { One = $X; Two = \"T_Thing.Id=\\\"x\\\",Number=1\"; };";
    EXPECT_EQ(faultOf(good), "");
    for (std::size_t i = 0; i < good.size(); ++i) {
        faultOf(good.substr(0, i));
        for (const char c : {'\0', '"', '\'', '{', ']', ';', '\\', '\xC3', '$', '9', '-', '/'}) {
            std::string changed = good;
            changed[i] = c;
            faultOf(changed);
        }
    }
}

}  // namespace
