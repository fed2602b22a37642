// Requests in; calls of providers and replies out.
#include "BrokerFixture.h"
#include "CimXml/Decode.h"
#include "CimXml/Encode.h"
#include "CimXml/Service.h"

#include <algorithm>
#include <fstream>
#include <sstream>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// The element for "Name=value", "Name:type=value" or "Name"; a value that is no XML is written in
/// the form that the name asks for.
std::string parameter(const std::string& element, const std::string& word)
{
    const std::size_t equals = std::min(word.find('='), word.size());
    std::string name = word.substr(0, equals);
    const std::string value = equals == word.size() ? "" : word.substr(equals + 1);
    std::string content = "<VALUE>" + value + "</VALUE>";
    if (word[0] == '<') return word;
    if (value.empty() || value[0] == '<') {
        content = value;
    } else if (name == "ClassName" || name == "AssocClass" || name == "ResultClass") {
        content = "<CLASSNAME NAME=\"" + value + "\"/>";
    } else if (name == "InstanceName" || name == "ObjectName") {
        content.clear();
        xml::appendInstanceName(content, CIMObjectPath(value.c_str()));
    } else if (name == "PropertyList") {
        content = "<VALUE.ARRAY>" + content + "</VALUE.ARRAY>";
    }
    const std::size_t colon = name.find(':');
    if (colon != std::string::npos) name.replace(colon, 1, "\" PARAMTYPE=\"");
    return "<" + element + " NAME=\"" + name + "\">" + content + "</" + element + ">";
}

/// A file beside this one.
std::string content(const std::string& name)
{
    std::ifstream file(CIMXML_TESTS + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The request for "Operation|parameter|...", of a method "Path|Method|parameter|...", or with a
/// body of its own.
CimRequest request(const std::string& line)
{
    CimRequest request;
    if (line[0] == '<') {
        request.body = line;
        return request;
    }
    std::istringstream words(line);
    std::string method, name;
    std::getline(words, method, '|');
    request.object = "root/test";
    request.user = "eva";
    std::string target =
        R"(<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="test"/></LOCALNAMESPACEPATH>)";
    const bool isMethod = method.find('.') != std::string::npos;
    if (isMethod) {
        *request.object += ":" + method;
        xml::appendInstanceName(name, CIMObjectPath(method.c_str()));
        target = "<LOCALINSTANCEPATH>" + target + name + "</LOCALINSTANCEPATH>";
        std::getline(words, method, '|');
    }
    request.method = method;
    const std::string call = isMethod ? "METHODCALL" : "IMETHODCALL";
    request.body =
        "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE "
        "ID=\"7\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><" +
        call + " NAME=\"" + method + "\">" + target;
    for (std::string word; std::getline(words, word, '|');)
        request.body += parameter(isMethod ? "PARAMVALUE" : "IPARAMVALUE", word);
    request.body += "</" + call + "></SIMPLEREQ></MESSAGE></CIM>";
    return request;
}

class Service : public BrokerTest
{
protected:
    Service() { MofCompiler(repository).compileFile(CIMXML_TESTS "everything.mof", ns); }

    /// What stands in the response element, or what is wrong with the request.
    std::string answer(const CimRequest& request)
    {
        const CimReply reply = answerCimRequest(*broker, request);
        if (reply.status != 200)
            return std::to_string(reply.status) + " " + reply.cimError + ": " + reply.detail;
        const std::string& body = reply.body;
        const std::size_t start = body.find(">\n", body.find("RESPONSE NAME=")) + 2;
        return body.substr(start, body.rfind("</", body.rfind("</SIMPLERSP>") - 1) - start);
    }

    /// The request, the calls of providers (with "> "), and the answer.
    std::string played(const std::string& line)
    {
        scripted::stage = {};
        scripted::stage.scripts = {{"IM", "doc"}};
        const std::string reply = answer(request(line));
        std::string transcript = line + "\n";
        for (const std::string& note : notes()) {
            if (note.find(" by eva") != std::string::npos) transcript += "> " + note + "\n";
        }
        return transcript + reply + (reply.empty() || reply.back() == '\n' ? "" : "\n");
    }
};

TEST_F(Service, RequestsOfTheFile)
{
    std::istringstream file(content("requests.txt"));
    std::string block;
    std::size_t count = 0;
    for (std::string line; std::getline(file, line) || !block.empty();) {
        if (line[0] == '#') continue;
        if (!line.empty()) {
            block += line + "\n";
            continue;
        }
        EXPECT_EQ(played(block.substr(0, block.find('\n'))), block);
        block.clear();
        ++count;
    }
    EXPECT_GT(count, 100U);
}

TEST_F(Service, ErrorsThatAClientCanRead)
{
    const std::pair<void (*)(), std::string> rows[] = {
        {[] {
             throw CIMException(CIM_ERR_NOT_FOUND, toString({"<&>\"'\n\t \xC3\xA4\x1F\0", 12}));
         },
         "<ERROR CODE=\"6\" DESCRIPTION=\"CIM_ERR_NOT_FOUND: &lt;&amp;&gt;&quot;&apos;&#10;&#9; "
         "\xC3\xA4\xEF\xBF\xBD\xEF\xBF\xBD\"/>"},
        {[] { throw CIMException(CIMStatusCode(30), ""); },
         "<ERROR CODE=\"30\" DESCRIPTION=\"Unrecognized CIM status code &quot;30&quot;\"/>"},
        {[] { throw CIMException(CIM_ERR_SUCCESS, "fine"); }, ""}};
    for (const auto& [fault, error] : rows) {
        scripted::stage.fault = fault;
        scripted::stage.scripts = {{"EI", "dt"}, {"IM", "odt"}};
        EXPECT_EQ(answer(request("EnumerateInstances|ClassName=T_Leaf")), error);
        EXPECT_EQ(answer(request("T_Machine.Id=1|Run")), error);
    }
}

TEST(Encode, EverythingComesBackAsItWasRead)
{
    const std::string text = content("everything.xml");
    std::string again;
    xml::appendInstance(again, xml::decodeInstance(parseXml(text)).object());
    EXPECT_EQ(again, text);
}

TEST(XmlTree, ControlCharactersByReference)
{
    // The last ones stand in for nothing.
    const std::string text = "&#1;&#x1f;&#31; &#x20;&#x7F;&#65519;&#65009;";
    const std::string characters = "\x01\x1f\x1f  \x7f\xEF\xBF\xAF\xEF\xB7\xB1";
    const XmlElement root = parseXml("<A X='" + text + "'>\n" + text + "<!-- &#1; --></A>");
    EXPECT_EQ(root.text, characters);
    EXPECT_EQ(*root.attribute("X"), characters);
}

TEST_F(Service, DocumentsThatTheFileCannotHold)
{
    std::string nested, many = "<A>";
    for (int i = 0; i < 100000; ++i) {
        many += "<B/>";
        if (i < 65) nested += "<A>";
    }
    const std::string notUtf8 = "Invalid UTF-8 character detected.";
    const std::string onLine = "Validation error: on line 2: ";
    const std::pair<std::string, std::string> rows[] = {
        {"<A>\xE4</A>", notUtf8},
        {"<A>\xE0\x82\x80</A>", notUtf8},
        {"<A/>\xED\xA0\x80", notUtf8},
        {"<!DOCTYPE A [<!ENTITY e \"x\">]>\n<A>&e;</A>", onLine + "Expected open of CIM element"},
        {nested, onLine + "elements are nested too deeply"},
        {many, onLine + "too many elements"},
    };
    for (const auto& [document, detail] : rows) {
        EXPECT_EQ(answer(request("<?xml version=\"1.0\"?>\n" + document)),
                  "400 request-not-valid: " + detail);
    }
}

TEST_F(Service, DamagedRequestsAreAnsweredAndNotRun)
{
    const CimRequest whole = request("T_Machine.Id=1|Run|Count:uint32=&#32;5");
    for (std::size_t at = 0; at < whole.body.size(); ++at) {
        CimRequest damaged = whole;
        damaged.body.resize(at);
        EXPECT_EQ(answerCimRequest(*broker, damaged).status, 400) << at;
        EXPECT_TRUE(notes().empty());
        damaged = whole;
        for (const char byte : {'<', '>', '"', '&', 'x', '\0', '\xFF'}) {
            damaged.body[at] = byte;
            answerCimRequest(*broker, damaged);
        }
        notes();
    }
}

}  // namespace
}  // namespace cimom
