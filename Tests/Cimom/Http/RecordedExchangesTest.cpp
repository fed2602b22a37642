// Exchanges recorded at a CIM server of the field, most with one fault or oddity in the request,
// replayed against ours. Ours has to answer alike; where it does not, the table says why.
#include "FakeObjectManager.h"
#include "Http/HttpServer.h"
#include "HttpTestClient.h"

#include <Pegasus/Common/Exception.h>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

using test::FakeObjectManager;
using test::TestClient;
using test::TestReply;

namespace fs = std::filesystem;

/// How our reply differs from the recorded one.
struct Deviation
{
    int status;
    std::string cimError;  ///< "-": no such field
    std::string detail;    ///< PGErrorDetail; "*": any, "-": none
    std::string body{};    ///< something that stands in the body
};

const std::map<std::string, Deviation> deviations = {
    // The recorded server never answers these: it waits for a body that does not come.
    {"no_clen", {411, "-", "*"}},
    {"clen_huge", {413, "-", "*"}},
    // Bytes behind an announced body of length 0 or -5 were taken for the body.
    {"clen_zero", {400, "request-not-valid", "*"}},
    {"clen_neg", {400, "-", "-"}},
    // The HTTP library answers these itself.
    {"clen_bad", {400, "-", "-"}},
    {"garbage", {400, "-", "-"}},
    {"http_version_0_9", {505, "-", "-"}},
    {"http_version_2_0", {505, "-", "-"}},
    {"header_nocolon", {400, "-", "-"}},
    // A built-in web server: absent here. It crashed at PUT.
    {"verb_get", {405, "-", "*"}},
    {"verb_put", {405, "-", "*"}},
    // &#0; cut the value off; XML knows no such character.
    {"xml_charref_zero", {400, "request-not-well-formed", "*"}},
    // References above 127 were taken for single bytes, so that the key was no UTF-8.
    {"xml_charref", {200, "-", "-", "<INSTANCE CLASSNAME=\"Probe_CageM\" >"}},
    // Not offered: changes of the schema, pulled enumerations.
    {"xml_delete_class",
     {200, "-", "-", "<ERROR CODE=\"7\" DESCRIPTION=\"CIM_ERR_NOT_SUPPORTED\"/>"}},
    {"xml_openenum", {200, "-", "-", "Unrecognized intrinsic method: OpenEnumerateInstances\"/>"}},
    {"xml_openenum0",
     {200, "-", "-", "Unrecognized intrinsic method: OpenEnumerateInstancePaths\"/>"}},
    // Trailers are optional for the server; ours answers plainly.
    {"chunked_TE", {200, "-", "-", "Probe_CageM:1</KEYVALUE>"}},
    // The ID is echoed with its escapes: the recorded reply is no XML.
    {"xml_msgid_weird", {200, "-", "-", "ID=\"a&lt;b \xC3\xA9\""}},
    // Nested without end: we refuse the depth, not the element.
    {"xml_deep", {400, "request-not-valid", "*"}},
};

/// Requests that are incomplete: nobody answers until the time is up.
const std::vector<std::string> incomplete = {"partial_then_wait", "clen_long", "garbage_bin"};

struct Recorded
{
    std::string request;
    std::string reply;
};

Recorded readRecorded(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(in), {});
    const std::string toServer = "##### client->server\n";
    const std::string toClient = "\n##### server->client\n";
    const std::size_t request = text.find(toServer) + toServer.size();
    const std::size_t middle = text.find(toClient, request);
    const std::size_t reply = middle + toClient.size();
    const std::size_t end = text.rfind("\n##### end");
    return {text.substr(request, middle - request),
            end < reply ? std::string() : text.substr(reply, end - reply)};
}

/// The instance that the recorded server's provider delivered.
CIMInstance recordedInstance()
{
    Array<Uint16> status;
    status.append(2);
    status.append(3);
    Array<Boolean> flags;
    flags.append(true);
    flags.append(false);
    CIMInstance instance("Probe_CageM");
    const std::pair<const char*, CIMValue> properties[] = {
        {"Tag", CIMValue(String("Probe_CageM:1"))},
        {"CreationClassName", CIMValue(String("Probe_CageM"))},
        {"ElementName", CIMValue(String("el <&> \xC3\xA4"))},
        {"Manufacturer", CIMValue(String("acme"))},
        {"OperationalStatus", CIMValue(status)},
        {"Removable", CIMValue(Boolean(true))},
        {"Bays", CIMValue(Uint32(12))},
        {"Big", CIMValue(Uint64(18446744073709551615ULL))},
        {"Ratio", CIMValue(Real32(0.1f))},
        {"When", CIMValue(CIMDateTime("20260102030405.678901+060"))},
        {"Flags", CIMValue(flags)},
        {"Note", CIMValue(CIMTYPE_STRING, false)},
        {"Level", CIMValue(Uint16(3))},
        {"MProp", CIMValue(String("m"))},
    };
    for (const auto& [name, value] : properties)
        instance.addProperty(CIMProperty(CIMName(name), value));
    instance.setPath(
        CIMObjectPath("Probe_CageM.CreationClassName=\"Probe_CageM\",Tag=\"Probe_CageM:1\""));
    return instance;
}

class RecordedExchanges : public ::testing::TestWithParam<fs::path>
{
protected:
    void SetUp() override
    {
        const CIMInstance instance = recordedInstance();
        manager_.instance = instance;
        manager_.instances.append(instance);
        manager_.paths.append(instance.getPath());
        manager_.value = CIMValue(Uint32(0));
        manager_.qualifiers.append(CIMQualifierDecl(
            "Key", CIMValue(Boolean(false)), CIMScope(CIMScope::PROPERTY) + CIMScope::REFERENCE,
            CIMFlavor(CIMFlavor::DISABLEOVERRIDE) + CIMFlavor::TOSUBCLASS));
        manager_.onCall = [](const std::string& operation, const std::string& className) {
            const bool known = className == "Probe_CageM" || className == "-" || className == "Key";
            if (known || operation == "getClass") return;
            throw CIMException(CIM_ERR_INVALID_CLASS, String(className.c_str()));
        };
    }

    TestReply replay(const std::string& request, const PasswordFile* users)
    {
        HttpOptions options;
        options.port = 0;
        options.hostName = "vm";
        HttpServer server(options, users, [this](const CimRequest& cimRequest) {
            return answerCimRequest(manager_, "vm", cimRequest);
        });
        TestClient client(server.port());
        EXPECT_TRUE(client.send(request));
        const auto reply = client.read();
        EXPECT_TRUE(reply.has_value()) << "no reply";
        return reply.value_or(TestReply());
    }

    FakeObjectManager manager_;
};

TEST_P(RecordedExchanges, AnsweredAlike)
{
    const std::string name = GetParam().stem().string();
    const Recorded recorded = readRecorded(GetParam());
    std::optional<PasswordFile> users;
    if (name.compare(0, 5, "auth_") == 0) users.emplace(fs::path(QBX_TEST_DATA) / "users");
    const TestReply reply = replay(recorded.request, users ? &*users : nullptr);

    const auto found = deviations.find(name);
    if (found != deviations.end()) {
        EXPECT_EQ(reply.status, found->second.status);
        EXPECT_EQ(reply.field("CIMError"), found->second.cimError);
        if (found->second.detail != "*") {
            EXPECT_EQ(reply.field("PGErrorDetail"), found->second.detail);
        }
        EXPECT_NE(reply.body.find(found->second.body), std::string::npos) << reply.body;
        return;
    }
    const TestReply expected = test::parseReply(recorded.reply);
    EXPECT_EQ(reply.statusLine, expected.statusLine);
    for (const char* field :
         {"CIMError", "CIMOperation", "Content-Type", "WWW-Authenticate", "Cache-Control"}) {
        EXPECT_EQ(reply.field(field), expected.field(field)) << field;
    }
    // What is wrong with text that is no XML, the parser says in its own words.
    const bool parserText = expected.field("CIMError") == "request-not-well-formed";
    if (!parserText) {
        EXPECT_EQ(reply.field("PGErrorDetail"), expected.field("PGErrorDetail"));
    }
    if (expected.status == 200) {
        EXPECT_EQ(reply.body, expected.body);
    }
}

std::vector<fs::path> recordedFiles()
{
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(QBX_TEST_DATA)) {
        const std::string name = entry.path().stem().string();
        const bool skip = std::find(incomplete.begin(), incomplete.end(), name) != incomplete.end();
        if (entry.path().extension() == ".txt" && !skip) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

INSTANTIATE_TEST_SUITE_P(All, RecordedExchanges, ::testing::ValuesIn(recordedFiles()),
                         [](const auto& info) { return info.param.stem().string(); });

}  // namespace
}  // namespace cimom
