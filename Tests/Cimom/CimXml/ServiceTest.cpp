// Requests in; calls of providers and replies out.
#include "../Broker/BrokerFixture.h"
#include "CimXml/Decode.h"
#include "CimXml/Encode.h"
#include "CimXml/Service.h"

#include <Pegasus/Provider/ProviderException.h>

#include <regex>
#include <sstream>
#include <stdexcept>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

const String special = toString({"<&>\"'\n\t \xC3\xA4\x1F\0", 12});

const std::map<std::string, void (*)()> faults = {
    {"denied", [] { throw CIMAccessDeniedException("no"); }},
    {"unsupported", [] { throw CIMNotSupportedException("not here"); }},
    {"code-30", [] { throw CIMException(static_cast<CIMStatusCode>(30), ""); }},
    {"code-31", [] { throw CIMException(static_cast<CIMStatusCode>(31), "t"); }},
    {"success", [] { throw CIMException(CIM_ERR_SUCCESS, "t"); }},
    {"library", [] { throw TypeMismatchException(); }},
    {"standard", [] { throw std::runtime_error("not UTF-8: \xE4"); }},
    {"escapes", [] { throw CIMException(CIM_ERR_NOT_FOUND, special); }},
    {"number", [] { throw 5; }},
};

/// What a reply is written in shorter for the files; anything else than the exact elements stays.
const std::pair<const char*, const char*> shortForms[] = {
    {"<KEYBINDING NAME=\"(.*)\">\n<KEYVALUE VALUETYPE=\"numeric\">(.*)</KEYVALUE>\n</KEYBINDING>\n",
     "$1=$2,"},
    {"<INSTANCENAME CLASSNAME=\"(.*)\">\n(.*),</INSTANCENAME>\n", "$1.$2\n"},
    {"<INSTANCEPATH>\n<NAMESPACEPATH>\n<HOST>(.*)</HOST>\n<LOCALNAMESPACEPATH>\n"
     "<NAMESPACE NAME=\"(.*)\"/>\n<NAMESPACE NAME=\"(.*)\"/>\n</LOCALNAMESPACEPATH>\n"
     "</NAMESPACEPATH>\n(.*)\n</INSTANCEPATH>\n",
     "//$1/$2/$3:$4\n"},
    {"<INSTANCE CLASSNAME=\"(.*)\" >\n</INSTANCE>\n", "<INSTANCE $1/>\n"},
    {PROVIDER_FOLDER "/|" CIMOM_FOLDER "/", ""}};

std::string replaced(const std::string& text, const std::string& pattern, const char* by)
{
    return std::regex_replace(text, std::regex(pattern), by);
}

std::string element(const std::string& name, const std::string& content)
{
    return "<" + name + ">" + content + "</" + replaced(name, " .*", "") + ">";
}

/// The element for "Name=value", "Name:type=value" or "Name"; a value that is no XML is written in
/// the form that the name asks for.
std::string parameter(const std::string& tag, const std::string& word)
{
    const std::size_t equals = std::min(word.find('='), word.size());
    const std::string name = word.substr(0, equals);
    const std::string value = equals == word.size() ? "" : word.substr(equals + 1);
    std::string content = element("VALUE", value);
    if (word[0] == '<') return word;
    if (value.empty() || value[0] == '<') {
        content = value;
    } else if (name == "ClassName" || name == "AssocClass" || name == "ResultClass") {
        content = "<CLASSNAME NAME=\"" + value + "\"/>";
    } else if (name == "InstanceName" || name == "ObjectName") {
        content.clear();
        xml::appendInstanceName(content, CIMObjectPath(value.c_str()));
    } else if (name == "PropertyList") {
        content = element("VALUE.ARRAY", replaced(content, ",", "</VALUE><VALUE>"));
    }
    return element(tag + " NAME=\"" + replaced(name, ":", "\" PARAMTYPE=\"") + "\"", content);
}

/// The request for "Operation|parameter|...", of a method "Path|Method|parameter|...", or with a
/// body of its own.
CimRequest request(const std::string& line, const std::string& nameSpace = "root/test")
{
    CimRequest request;
    request.body = line;
    if (line[0] == '<') return request;
    std::istringstream words(line);
    std::string method, name;
    std::getline(words, method, '|');
    request.object = nameSpace;
    request.user = "me";
    std::string target =
        element("LOCALNAMESPACEPATH",
                "<NAMESPACE NAME=\"" + replaced(nameSpace, "/", "\"/><NAMESPACE NAME=\"") + "\"/>");
    const bool isMethod = method.find('_') != std::string::npos;
    if (isMethod) {
        *request.object += ":" + method;
        const CIMObjectPath path(method.c_str());
        const bool isClass = path.getKeyBindings().size() == 0;
        isClass ? xml::appendClassName(name, path.getClassName())
                : xml::appendInstanceName(name, path);
        target = element(isClass ? "LOCALCLASSPATH" : "LOCALINSTANCEPATH", target + name);
        std::getline(words, method, '|');
    }
    request.method = method;
    for (std::string word; std::getline(words, word, '|');)
        target += parameter(isMethod ? "PARAMVALUE" : "IPARAMVALUE", word);
    const std::string call =
        element((isMethod ? "METHODCALL NAME=\"" : "IMETHODCALL NAME=\"") + method + "\"", target);
    request.body =
        "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE "
        "ID=\"7\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ>" +
        call + "</SIMPLEREQ></MESSAGE></CIM>";
    return request;
}

/// An instance with something to hide.
CIMInstance instance(const CIMObjectPath& path)
{
    const Qualifiers notes({{"Note", CIMValue(String("n")), {}, false}});
    CIMInstance instance(path.getClassName());
    instance.setPath(path);
    instance.addProperty(CIMProperty("L", String("l"), 0, CIMName(), "T_Leaf"));
    instance.addProperty(CIMProperty("Level", CIMValue(Uint8(2))));
    instance.addProperty(CIMProperty("Id", CIMValue(Uint32(1))));
    instance.object().qualifiers = instance.getProperty(1).object().qualifiers = notes;
    return instance;
}

class Service : public BrokerTest
{
protected:
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

    /// Prepares what the lines with "! " say and makes the request of the last line: the notes of
    /// the providers and the answer.
    std::string played(const std::string& question)
    {
        scripted::stage = {};
        std::string nameSpace = "Root/Test", reply, calls, what, a, b;
        std::istringstream lines(question);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line.substr(2));
            words >> what >> a;
            b.clear();
            words >> b;
            if (line[0] != '!')
                reply = answer(request(line, nameSpace));
            else if (what == "in")
                nameSpace = a;
            else if (what == "script")
                scripted::stage.scripts[a] = b;
            else if (what == "throw")
                scripted::stage.fault = faults.at(a);
            else
                scripted::stage.instances[a].push_back(instance(String(b.c_str())));
        }
        for (const auto& [form, shorter] : shortForms)
            reply = replaced(reply, form, shorter);
        for (const std::string& note : notes())
            calls += "> " + note + "\n";
        return calls + reply;
    }
    void play(const std::string& file)
    {
        checkCases(file, [this](const std::string& question) { return played(question); });
    }
};

TEST_F(Service, Operations)
{
    play(CIMOM_TESTS "Broker/operations.txt");
    broker.reset();
    EXPECT_EQ(notes(), (Lines{"terminate LinkSub", "terminate Link", "terminate Machine",
                              "terminate Side", "terminate Leaf", "terminate Base"}));
}

TEST_F(Service, WritableInstances)
{
    options.writableInstances = true;
    broker = std::make_unique<Broker>(repository, options);
    play(CIMOM_TESTS "Broker/writable.txt");
}

TEST_F(Service, Requests)
{
    play(CIMOM_TESTS "CimXml/requests.txt");
}

TEST(Encode, EverythingComesBackAsItWasRead)
{
    std::ifstream file(CIMOM_TESTS "CimXml/everything.xml");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::string again;
    xml::appendInstance(again, xml::decodeInstance(parseXml(text)).object());
    EXPECT_EQ(again, text);
}

TEST(XmlTree, ControlCharactersByReference)
{
    // Noncharacters, of which the parser uses one itself, are what they are, whatever follows.
    const std::string same =
        "\xEF\xB7\x90@\xEF\xB7\xAF\xEF\xB7\x90\xF4\x8F\xBF\xBE\xEF\xB7\x90\x41";
    const std::string text =
        "&#1;&#x1f;&#31; &#x20;&#x7F;&#65519;&#xFDD0;&#xfdef;&#x10FFFE;" + same;
    const std::string characters =
        "\x01\x1f\x1f  \x7f\xEF\xBF\xAF\xEF\xB7\x90\xEF\xB7\xAF\xF4\x8F\xBF\xBE" + same;
    const XmlElement root = parseXml("<A X='" + text + "'>\n" + text + "<!-- &#1; --></A>");
    EXPECT_EQ(root.text, characters);
    EXPECT_EQ(*root.attribute("X"), characters);
}

TEST_F(Service, DocumentsThatTheFileCannotHold)
{
    std::string nested, many = "<A>", embedded = "x";
    for (int i = 0; i < 7; ++i) {
        std::string text;
        xml::appendEscaped(text, embedded);
        embedded = element("INSTANCE CLASSNAME='A'",
                           element("PROPERTY NAME='B' TYPE='string' EmbeddedObject='instance'",
                                   element("VALUE", text)));
    }
    const std::string reply = answer(request("CreateInstance|NewInstance=" + embedded));
    EXPECT_NE(reply.find("value: Validation error: on line 1: elements are nested too deeply"),
              std::string::npos)
        << reply;
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
