// The CIM-XML service over the real module and the simulated array. An input is header lines (User,
// CIMProtocolVersion, CIMMethod, CIMObject, CIMBatch), an empty line, and the body.
#include "Broker/Broker.h"
#include "CimXml/Enumerations.h"
#include "CimXml/Service.h"
#include "Fuzz.h"
#include "Model/Text.h"
#include "Mof/MofCompiler.h"

#include <qbxapi_sim.h>

#include <map>
#include <regex>
#include <sstream>

namespace
{

using namespace cimom;
using fuzz::check;

/// The object manager with the module and the array.
struct Server
{
    Server()
    {
        setenv("QBX_ARRAY_FILE", PROJECT "StorageApi/simulator/sample-array.json", 1);
        setenv("QBX_ARRAY_STATE", (folder.path / "state").c_str(), 1);
        setenv("QBX_LOG_FILE", "/dev/null", 1);
        for (const auto& [name, file] :
             {std::pair("root/interop", PROJECT "Cimom/Broker/interop.mof"),
              {"root/qbx", PROJECT "Schema/qbx.mof"},
              {"root/interop", PROJECT "Schema/registration.mof"}}) {
            const CIMNamespaceName nameSpace{Pegasus::String(name)};
            repository.addNamespace(nameSpace);
            compileMof(repository, nameSpace, file);
        }
        broker = std::make_unique<Broker>(repository, BrokerOptions{"here", {MODULES}});
        ObjectManager::current = broker.get();
    }
    ~Server() { ObjectManager::current = nullptr; }

    const fuzz::Folder folder;
    Repository repository;
    std::unique_ptr<Broker> broker;
    Enumerations enumerations{1024 * 1024};
};

CimRequest requestOf(const std::string& input)
{
    std::istringstream lines(input);
    std::map<std::string, std::optional<std::string>> fields;
    for (std::string line; std::getline(lines, line) && !line.empty();) {
        const std::size_t colon = std::min(line.find(": "), line.size());
        fields[line.substr(0, colon)] = line.substr(std::min(colon + 2, line.size()));
    }
    return {fields["CIMProtocolVersion"], fields["CIMMethod"],
            fields["CIMObject"],          fields["CIMBatch"].has_value(),
            fields["User"].value_or(""),  std::string(std::istreambuf_iterator<char>(lines), {})};
}

/// The recorded calls to the array's library. Checks that its semaphore was released.
std::string recordedCalls()
{
    std::string calls;
    int held = 0;
    for (std::size_t i = 0; const char* call = qbxsim_callRecord(i); ++i) {
        held +=
            (call == std::string("cim_sem_wait() = 0")) - (call == std::string("cim_sem_post()"));
        calls += std::string(call) + "\n";
    }
    check(held == 0, "the semaphore is released: " + calls);
    return calls;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Server server;
    const CimRequest request = requestOf({data, data + size});
    qbxsim_recordCalls(1);
    CimReply reply = answerCimRequest(*server.broker, server.enumerations, request);
    while (reply.rest && reply.rest(reply.body)) {
    }
    if (reply.status == 200) {
        fuzz::checkXml(reply.body);
    } else {
        check(reply.status == 400 || reply.status == 501, "the status is an error of the client");
        check(reply.body.empty() && !(reply.cimError + reply.detail).empty(),
              "the error has a reason");
    }

    static const std::regex change("api_(locate|set|upgrade)");
    static const std::regex writing("<METHODRESPONSE |<IMETHODRESPONSE NAME=\"(Modify|Set)");
    const std::string calls = recordedCalls(), &user = request.user;
    if (!std::regex_search(calls, change)) return 0;
    check(std::regex_search(reply.body, writing),
          "an operation that reads changes nothing: " + calls);
    check(user == "admin" || user == "root" || user == "operator",
          "the user may change the array: " + user);
    std::filesystem::remove(server.folder.path / "state");
    qbxsim_reset();
    return 0;
}
