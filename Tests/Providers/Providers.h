// The eight providers, each with an object of its own in ONE_OF_EACH, and a request for every
// operation that they support.
#pragma once

#include "ProviderTest.h"

inline const CIMObjectPath CAGE = element("QBX_DriveCageDC2Family", "cage 0");
inline const CIMObjectPath CARD = element("QBX_CageInterfaceCardDC2Family", "card 0");
inline const CIMObjectPath MAGAZINE = element("QBX_Magazine", "mag 0");
inline const CIMObjectPath SENSOR = sensor("cage 0-sensor0");
inline const CIMObjectPath PACKAGE = element("QBX_SystemPackage", "package");

/// The path of an association, its references quoted as some clients send them.
inline CIMObjectPath associationPath(const std::string& className, const std::string& firstRole,
                                     const CIMObjectPath& first, const std::string& secondRole,
                                     const CIMObjectPath& second)
{
    return pathOf(className, {{firstRole, str(first)}, {secondRole, str(second)}}, "array1");
}

inline const char GROUP[] = "GroupComponent";
inline const char PART[] = "PartComponent";

/// A provider by its name.
struct ProviderRow : Row
{
    CIMObjectPath object;             ///< an instance of its class
    std::vector<CIMObjectPath> ends;  ///< of an association: what it associates
    Texts initialize;                 ///< the events of its initialization

    bool isAssociation() const { return !ends.empty(); }
    std::string className() const { return str(object.getClassName()); }
    /// The key that getInstance asks for before it looks for an element.
    std::string key() const { return name == "QBX_CageSensorProvider" ? "DeviceID" : "Tag"; }
};

inline const std::string UNLOAD = "cimom.disallowProviderUnload";
inline const Texts ELEMENTS_START = {"4: --> P::initialize()\n", UNLOAD, "4: <--P::initialize()\n"};
inline const Texts ASSOCIATION_STARTS = {"4: --> P::initialize(cimom)\n)", UNLOAD,
                                         "4: <-- P::initialize(cimom)\n)"};

// clang-format off
inline const std::vector<ProviderRow> PROVIDERS = {
    {"QBX_DriveCageProvider", CAGE, {}, {UNLOAD, "4: -->P::initialize()\n"}},
    {"QBX_FCALCardProvider", CARD, {}, ELEMENTS_START},
    {"QBX_MagazineProvider", MAGAZINE, {}, ELEMENTS_START},
    {"QBX_CageSensorProvider", SENSOR, {}, ELEMENTS_START},
    {"QBX_FCALCardInDriveCageProvider",
     associationPath("QBX_InterfaceCardInDriveCage", GROUP, CAGE, PART, CARD), {CAGE, CARD},
     ASSOCIATION_STARTS},
    {"QBX_MagazineInDriveCageProvider",
     associationPath("QBX_MagazineInDriveCage", GROUP, CAGE, PART, MAGAZINE), {CAGE, MAGAZINE},
     ASSOCIATION_STARTS},
    {"QBX_SysCageContainerProvider",
     associationPath("QBX_SysCageContainer", GROUP, PACKAGE, PART, CAGE), {CAGE, PACKAGE},
     {"4: --> P::initialize(cimom)\n)", "4: -->QBX_Common::enumerateInstanceNames()\n",
      "cimom.enumerateInstanceNames nobody QBX_SystemPackage",
      "4: <--QBX_Common::enumerateInstanceNames()\n", UNLOAD, "4: <-- P::initialize(cimom)\n)"}},
    {"QBX_SensorInDriveCageProvider",
     associationPath("QBX_SensorInDriveCage", "Antecedent", SENSOR, "Dependent", CAGE),
     {CAGE, SENSOR}, ASSOCIATION_STARTS},
};
// clang-format on

/// A request to a provider: a read, a method call with the method and its parameters, or a
/// modification of properties.
struct Request : Row
{
    std::string provider;
    std::string operation;
    CIMObjectPath object;
    const char* method = "";
    Parameters in = {};
};

/// The reads that each provider supports, on each end of an association.
inline std::vector<Request> allReads()
{
    std::vector<Request> requests;
    const auto add = [&](const ProviderRow& its, const char* operation, const CIMObjectPath& of) {
        const std::string name =
            its.name + "_" + operation + "_" + str(of.getClassName()).substr(4);
        requests.push_back({name.c_str(), its.name, operation, of});
    };
    for (const ProviderRow& its : PROVIDERS) {
        for (const char* operation :
             {"enumerateInstanceNames", "enumerateInstances", "getInstance"})
            add(its, operation, its.object);
        for (const CIMObjectPath& end : its.ends) {
            for (const char* operation :
                 {"referenceNames", "references", "associatorNames", "associators"})
                add(its, operation, end);
        }
    }
    return requests;
}

/// Each change that a provider supports.
inline const Parameters FIRMWARE_TO_PORT_A = {string("FileName", "/missing"),
                                              parameter("IsPortA", true)};
inline const Parameters LOCATION = {string("Location", "Row5")};
inline const Parameters OFF_LOOP_ON_ALL_PORTS = {parameter("IsOnloop", false)};
inline const Parameters FIRST_PORT = {uint16("Port", 0)};

inline const std::vector<Request> CHANGES = {
    {"LocateCage", "QBX_DriveCageProvider", "invokeMethod", CAGE, "Locate"},
    {"UpgradeCage", "QBX_DriveCageProvider", "invokeMethod", CAGE, "Upgrade", FIRMWARE_TO_PORT_A},
    {"ModifyCage", "QBX_DriveCageProvider", "modifyInstance", CAGE, "", LOCATION},
    {"LocateCard", "QBX_FCALCardProvider", "invokeMethod", CARD, "Locate", FIRST_PORT},
    {"LocateMagazine", "QBX_MagazineProvider", "invokeMethod", MAGAZINE, "Locate"},
    {"SetLoopState", "QBX_MagazineProvider", "invokeMethod", MAGAZINE, "SetLoopState",
     OFF_LOOP_ON_ALL_PORTS}};

inline std::vector<Request> allRequests()
{
    std::vector<Request> requests = allReads();
    requests.insert(requests.end(), CHANGES.begin(), CHANGES.end());
    return requests;
}

/// A test of one request, whose provider is started. A misuse of the semaphore shows among the
/// events.
class RequestTest : public RowTest<Request, ProviderTest>
{
protected:
    RequestTest()
    {
        setenv("QBX_SIM_STRICT", "0", 1);
        start(row.provider);
    }

    /// Makes the request; returns what it threw.
    std::string make() { return makeOf(row.object); }

    std::string makeOf(const CIMObjectPath& object)
    {
        if (row.operation == "invokeMethod") return invoke(object, row.method, row.in);
        if (row.operation == "modifyInstance") return modify(object, row.in);
        return read(row.operation, object);
    }
};
