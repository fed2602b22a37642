// Registrations of providers, and what is wrong with bad ones.
#include "BrokerFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// A good registration in which one text is replaced, and whether a broker accepts it.
struct Registration : Row
{
    std::string replaced;
    std::string replacement;
    std::string outcome;
};

class RegistrationOfProvider : public ::testing::TestWithParam<Registration>
{
    const ::testing::ScopedTrace row_{GetParam().file, GetParam().line, GetParam().name};
};

TEST_P(RegistrationOfProvider, IsChecked)
{
    std::string mof = moduleMof("M", "L") + providerMof("M", "P", "T_Base", "2");
    const std::size_t at = mof.find(GetParam().replaced);
    ASSERT_NE(at, std::string::npos) << GetParam().replaced << " is not in\n" << mof;
    mof.replace(at, GetParam().replaced.size(), GetParam().replacement);
    Repository repository;
    repository.addNamespace(interopNamespace);
    compileMof(repository, interopNamespace, INTEROP_MOF);
    compileMofText(repository, interopNamespace, mof, "registration");
    const std::string outcome = outcomeOf([&] {
        const Broker broker(repository, BrokerOptions());
        return "accepted";
    });
    const std::string bad = "CIM_ERR_FAILED: Bad provider registration ";
    EXPECT_EQ(outcome, (GetParam().outcome == "accepted" ? "" : bad) + GetParam().outcome) << mof;
}

const std::string module = "PG_ProviderModule.Name=\"M\": ";
const std::string capabilities =
    "PG_ProviderCapabilities.CapabilityID=\"T_Base\",ProviderModuleName=\"M\",ProviderName=\"P\": ";

const Registration registrations[] = {
    {"AllTypes", "ProviderType={2}", "ProviderType={2, 3, 4, 5, 6, 7}", "accepted"},
    {"UserOfTheServer", "Vendor=", "UserContext=5; Vendor=", "accepted"},
    {"AnotherUser", "Vendor=", "UserContext=2; Vendor=",
     module + "UserContext \"2\": not supported; leave it out."},
    {"NoVendor", "Vendor=\"v\";", "", module + "Vendor \"\": a value is required."},
    {"UnknownInterface", "2.6.0", "2.7.0",
     module + "InterfaceVersion \"2.7.0\": supported: 2.1.0, 2.2.0, 2.3.0, 2.5.0, 2.6.0."},
    {"LocationWithAFolder", "Location=\"L\"", "Location=\"../L\"",
     module + "Location \"../L\": give the bare name NAME of a library libNAME.so."},
    {"ModuleInOtherCase", "Name=\"M\"", "Name=\"m\"",
     "PG_Provider.Name=\"P\",ProviderModuleName=\"M\": "
     "ProviderModuleName \"M\": no such PG_ProviderModule."},
    {"NotAClassName", "ClassName=\"T_Base\"", "ClassName=\"T Base\"",
     capabilities + "ClassName \"T Base\": not a class name."},
    {"NamespaceAsWildcard", "{\"Root/Test\"}", "{\"Root/Test\", \"*\"}",
     capabilities + "Namespaces \"*\": not a namespace name; wildcards are not supported."},
    {"UnknownType", "ProviderType={2}", "ProviderType={2, 8}",
     capabilities + "ProviderType \"8\": use 2 (instance), 3 (association) or 5 (method)."},
    {"SecondProviderOfAClass", "{\"Root/Test\"}", "{\"Root/Test\", \"ROOT/test\"}",
     capabilities +
         "ProviderType \"2\": provider \"P\" is already registered for class \"T_Base\"."},
};
INSTANTIATE_TEST_SUITE_P(With, RegistrationOfProvider, ::testing::ValuesIn(registrations),
                         NameOfRow());

}  // namespace
}  // namespace cimom
