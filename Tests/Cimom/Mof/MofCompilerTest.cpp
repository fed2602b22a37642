#include "../Repository/TestRepository.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

TEST(MofCases, AreTakenOrRefused)
{
    checkCases(CIMOM_TESTS "Mof/cases.txt", compiled);
    EXPECT_EQ(compiled("class T { string \xFF; };"), "1 MOF:1:18: expected a text in UTF-8");
    EXPECT_EQ(compiled("class T\x01"), "1 MOF:1:8: unexpected control character 1");
}

TEST(MofFiles, AreIncludedOnceFromBesideOrTheSearchPath)
{
    std::filesystem::current_path(CIMOM_TESTS "Mof/files");
    TestRepository schema;
    const auto faultOf = [&schema](const char* file) {
        return answerOf(
            [&] { return compileMof(schema.repository, schema.ns, file, {"search"}), "taken"; });
    };
    EXPECT_EQ(faultOf("main.mof"), "taken");
    EXPECT_NE(schema.repository.findClass(schema.ns, "T_Main"), nullptr);
    EXPECT_EQ(faultOf("deep.mof"),
              "1 ./sub/bad.mof:3:3: 'strange' is no CIM data type; a reference "
              "is written CLASS REF NAME");
    EXPECT_NE(schema.repository.findClass(schema.ns, "T_BeforeTheFault"), nullptr);
    EXPECT_EQ(faultOf("missing.mof"),
              "1 missing.mof:2:9: cannot find the file to include, \"none.mof\", in ., search");
    EXPECT_EQ(faultOf("none.mof"),
              "1 cannot read the MOF file none.mof: No such file or directory");
    EXPECT_EQ(faultOf("sub"), "1 cannot read the MOF file sub: it is a folder");
}

// Whatever the text, the compiler ends with success or a fault.
TEST(MofFaults, NoPrefixAndNoChangedByteGetsPastTheErrors)
{
    const std::string good =
        "#pragma locale(\"en\")\nQualifier Q : uint8[] = {1}, Scope(any), Flavor(Restricted);\n"
        "[Q{2}: ToSubclass] class T : T_Other { [Mine] real32 R[2] = {1.5e1, -2};"
        " uint32 M([Fixed] T_Base REF P[]); };\n instance of T { Id = \"\\x41\" \"b\"; };";
    EXPECT_EQ(compiled(good).substr(0, 6), "<CLASS");
    for (std::size_t i = 0; i < good.size(); ++i) {
        compiled(good.substr(0, i));
        std::string changed = good;
        changed[i] = "\"{\xC3"[i % 4];  // each fourth time a zero
        compiled(changed);
    }
}

}  // namespace
}  // namespace cimom
