// The CIM-XML service over the real module and the simulated array. An input is header lines
// (User, CIMProtocolVersion, CIMMethod, CIMObject, CIMBatch), an empty line, and the body.
#include "Broker/Broker.h"
#include "Broker/Interop.h"
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

/// The object manager with the module; lives as long as the process.
class Server
{
public:
    Server()
    {
        for (const auto& [name, file] :
             {std::pair("QBX_ARRAY_FILE",
                        std::string(PROJECT "StorageApi/simulator/sample-array.json")),
              {"QBX_ARRAY_STATE", folder_.path("state")},
              {"QBX_LOG_FILE", std::string("/dev/null")}})
            setenv(name, file.c_str(), 1);
        compile("root/interop", PROJECT "Cimom/Broker/interop.mof");
        compile("root/qbx", PROJECT "Schema/qbx.mof");
        compile("root/interop", PROJECT "Schema/registration.mof");
        describeObjectManager(repository_, options_.interopNamespace, "QBXObjectManager", "here");
        options_.hostName = "here";
        options_.providerFolders = {MODULES};
        broker_ = std::make_unique<Broker>(repository_, options_);
        ObjectManager::setCurrent(broker_.get());
    }
    ~Server() { ObjectManager::setCurrent(nullptr); }

    /// The reply, and the calls to the array's library that it took.
    CimReply answer(const CimRequest& request, std::string& calls)
    {
        qbxsim_recordCalls(1);
        const CimReply reply = answerCimRequest(*broker_, request);
        for (std::size_t i = 0; const char* call = qbxsim_callRecord(i); ++i)
            calls += std::string(call) + "\n";
        return reply;
    }

    /// Undoes what a request has changed.
    void restore() const
    {
        std::filesystem::remove(folder_.path("state"));
        qbxsim_reset();
    }

private:
    void compile(const char* nameSpace, const char* file)
    {
        const CIMNamespaceName name{Pegasus::String(nameSpace)};
        repository_.addNamespace(name);
        MofCompiler(repository_).compileFile(file, name);
    }

    const fuzz::Folder folder_;
    Repository repository_;
    BrokerOptions options_;
    std::unique_ptr<Broker> broker_;
};

std::size_t count(const std::string& text, const std::string& part)
{
    std::size_t found = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at)
        ++found;
    return found;
}

CimRequest requestOf(const std::string& input)
{
    std::istringstream lines(input);
    std::map<std::string, std::string> fields;
    for (std::string line; std::getline(lines, line) && !line.empty();) {
        const std::size_t colon = std::min(line.find(": "), line.size());
        fields[line.substr(0, colon)] = line.substr(std::min(colon + 2, line.size()));
    }
    const auto field = [&](const char* name) {
        const auto found = fields.find(name);
        return found == fields.end() ? std::nullopt : std::optional(found->second);
    };
    CimRequest request;
    request.user = field("User").value_or("");
    request.protocolVersion = field("CIMProtocolVersion");
    request.method = field("CIMMethod");
    request.object = field("CIMObject");
    request.batch = field("CIMBatch").has_value();
    if (lines) request.body.assign(std::istreambuf_iterator<char>(lines), {});
    return request;
}

/// Operations that change the array are methods and writes, by users who may act on it.
void checkChange(const CimRequest& request, const CimReply& reply, const std::string& calls)
{
    static const std::regex writing("<METHODRESPONSE |<IMETHODRESPONSE NAME=\"(Modify|Set)");
    check(std::regex_search(reply.body, writing), "reading changes nothing: " + calls);
    const std::string& user = request.user;
    check(user == "admin" || user == "root" || user == "operator",
          "nobody else changes the array: " + user + "\n" + calls);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Server server;
    static const std::regex change("api_(locate|set|upgrade)");
    const CimRequest request = requestOf(fuzz::text(data, size));
    std::string calls;
    const CimReply reply = server.answer(request, calls);
    if (reply.status == 200) {
        fuzz::checkXml(reply.body);
    } else {
        check(reply.status == 400 || reply.status == 501, "an error of the client");
        check(reply.body.empty() && !(reply.cimError + reply.detail).empty(), "a reason");
        const std::string fields = request.method.value_or("") + request.object.value_or("") +
                                   request.protocolVersion.value_or("");
        check(isUtf8(reply.detail) || !isUtf8(fields), "readable text: " + reply.detail);
    }
    check(count(calls, "cim_sem_wait() = 0\n") == count(calls, "cim_sem_post()\n"),
          "the semaphore is given back:\n" + calls);
    if (std::regex_search(calls, change)) {
        checkChange(request, reply, calls);
        server.restore();
    }
    return 0;
}
