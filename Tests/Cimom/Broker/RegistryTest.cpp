// Registrations that are wrong, and what the object manager says of itself.
#include "BrokerFixture.h"

#include "Broker/Interop.h"

#include <algorithm>
#include <stdexcept>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// What a broker says to these registrations; empty when it accepts them.
std::string refusal(const std::string& mof)
{
    Repository repository;
    const BrokerOptions options;
    repository.addNamespace(options.interopNamespace);
    MofCompiler compiler(repository);
    compiler.compileFile(INTEROP_MOF, options.interopNamespace);
    compiler.compileText(scriptedModule + mof, "test", options.interopNamespace);
    try {
        const Broker broker(repository, options);
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

std::string module(const std::string& properties)
{
    return "instance of PG_ProviderModule { Name=\"M\"; " + properties + " };";
}

TEST(Registry, BadRegistrationsNameTheInstanceAndWhatIsWrong)
{
    const std::string vendor = "Vendor=\"v\"; Version=\"1\"; ";
    const std::string interface = "InterfaceType=\"C++Default\"; InterfaceVersion=\"2.6.0\"; ";
    const std::string location = "Location=\"L\"; ";
    const std::string provider =
        "instance of PG_Provider { ProviderModuleName=\"Scripted\"; Name=\"P\"; };";
    const auto capabilities = [](const std::string& properties) {
        return "instance of PG_ProviderCapabilities { ProviderModuleName=\"Scripted\"; "
               "ProviderName=\"P\"; CapabilityID=\"C\"; " +
               properties + " };";
    };
    struct Case
    {
        std::string mof;
        const char* instance;
        const char* fault;
    };
    const char* const m = "PG_ProviderModule.Name=\"M\"";
    const char* const c =
        "PG_ProviderCapabilities.CapabilityID=\"C\",ProviderModuleName=\"Scripted\","
        "ProviderName=\"P\"";
    const Case cases[] = {
        {module("Version=\"1\"; " + interface + location), m,
         "required property Vendor is missing or empty."},
        {module(vendor + interface), m, "required property Location is missing or empty."},
        {module(vendor + interface + "Location=\"\";"), m,
         "required property Location is missing or empty."},
        {module(vendor + interface + "Location=\"../evil\";"), m,
         "Location \"../evil\" is a path; give the bare name NAME of a library libNAME.so."},
        {module(vendor + location + "InterfaceType=\"c++default\"; InterfaceVersion=\"2.6.0\";"), m,
         "InterfaceType \"c++default\" is not supported; use \"C++Default\"."},
        {module(vendor + location + "InterfaceType=\"C++Default\"; InterfaceVersion=\"2.7.0\";"), m,
         "InterfaceVersion \"2.7.0\" is not supported; use 2.1.0, 2.2.0, 2.3.0, 2.5.0 or 2.6.0."},
        {module(vendor + interface + location + "UserContext=2;"), m,
         "The UserContext property is not supported; leave it out."},
        {"instance of PG_Provider { ProviderModuleName=\"scripted\"; Name=\"P\"; };",
         "PG_Provider.Name=\"P\",ProviderModuleName=\"scripted\"",
         "ProviderModuleName \"scripted\" names no registered PG_ProviderModule."},
        {capabilities("ClassName=\"T_Base\"; Namespaces={\"root/test\"}; ProviderType={2};"), c,
         "ProviderName \"P\" names no registered PG_Provider of module \"Scripted\"."},
        {provider + capabilities("Namespaces={\"root/test\"}; ProviderType={2};"), c,
         "required property ClassName is missing or empty."},
        {provider + capabilities("ClassName=\"T_Base\"; Namespaces={}; ProviderType={2};"), c,
         "required property Namespaces is missing or empty."},
        {provider + capabilities("ClassName=\"T Base\"; Namespaces={\"a\"}; ProviderType={2};"), c,
         "ClassName \"T Base\" is not a class name."},
        {provider + capabilities("ClassName=\"T_Base\"; Namespaces={\"*\"}; ProviderType={2};"), c,
         "Namespaces has \"*\", which is not a namespace name; wildcards are not supported."},
        {provider + capabilities("ClassName=\"T_Base\"; Namespaces={\"a\"}; ProviderType={9};"), c,
         "ProviderType 9 is not supported; use 2 (instance), 3 (association) or 5 (method)."},
        {registration("First", "T_Base", "2,5") + provider +
             capabilities("ClassName=\"t_base\"; Namespaces={\"ROOT/test\"}; ProviderType={3,5};"),
         c,
         "A provider is already registered for the specified capability: class \"t_base\", "
         "ProviderType 5, provider \"First\"."},
    };
    for (const Case& bad : cases) {
        EXPECT_EQ(refusal(bad.mof),
                  std::string("Bad provider registration ") + bad.instance + ": " + bad.fault);
    }
}

TEST(Registry, RegistrationsForWhatIsNotThereAreAccepted)
{
    EXPECT_EQ(refusal(registration("P", "No_Class", "2,3,4,5,6,7")), "");
    EXPECT_EQ(refusal(registration("P", "T_Base", "2") + registration("Q", "T_Base", "3")), "");
    EXPECT_EQ(refusal(module("Vendor=\"v\"; Version=\"1\"; InterfaceType=\"C++Default\"; "
                             "InterfaceVersion=\"2.1.0\"; Location=\"L\"; UserContext=5;")),
              "");
    Repository empty;
    EXPECT_NO_THROW(Broker(empty, BrokerOptions()));
}

TEST(Registry, AMalformedHostNameIsRefused)
{
    Repository repository;
    BrokerOptions options;
    options.hostName = "bad host";
    EXPECT_THROW(Broker(repository, options), std::runtime_error);
}

TEST(Registry, TheObjectManagerDescribesItselfAndItsNamespaces)
{
    Repository repository;
    const CIMNamespaceName interop("root/interop");
    repository.addNamespace(interop);
    repository.addNamespace(CIMNamespaceName("root/test"));
    MofCompiler(repository).compileFile(INTEROP_MOF, interop);
    describeObjectManager(repository, interop, "manager", "here");

    Broker broker(repository, BrokerOptions());
    const Array<CIMObjectPath> managers = broker.enumerateInstanceNames(
        OperationContext(), interop, CIMName("CIM_EnabledLogicalElement"));
    EXPECT_EQ(pathsOf(managers),
              Lines{"CIM_ObjectManager.CreationClassName=\"CIM_ObjectManager\",Name=\"manager\","
                    "SystemCreationClassName=\"CIM_ComputerSystem\",SystemName=\"here\""});
    Lines names;
    for (const CIMInstance& instance : repository.instancesOf(interop, CIMName("CIM_Namespace"))) {
        names.push_back(toUtf8(
            instance.getProperty(instance.findProperty(CIMName("Name"))).getValue().toString()));
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Lines{"root/interop", "root/test"}));
}

}  // namespace
}  // namespace cimom
