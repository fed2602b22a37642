// What providers are asked for each operation, and what clients get to see of their answers.
//
// operations.txt is a session in blocks of lines: "! ..." prepares the requests of its block,
// "? OPERATION OBJECT" makes one, "= ..." is its answer (or the error's code and text), and "> ..."
// is what the providers have noted meanwhile. Operations are named as in the providers' notes.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

const std::map<std::string, void (*)()> faults = {
    {"denied", [] { throw CIMAccessDeniedException("no"); }},
    {"unsupported", [] { throw CIMNotSupportedException("not here"); }},
    {"code-31", [] { throw CIMException(static_cast<CIMStatusCode>(31), "t"); }},
    {"success", [] { throw CIMException(CIM_ERR_SUCCESS, "t"); }},
    {"library", [] { throw TypeMismatchException(); }},
    {"standard", [] { throw std::runtime_error("not UTF-8: \xE4"); }},
    {"number", [] { throw 5; }},
};

CIMName name(const std::string& word)
{
    return word == "-" ? CIMName() : CIMName(word.c_str());
}

/// The names between commas; null for "all".
CIMPropertyList list(const std::string& word)
{
    if (word == "all") return CIMPropertyList();
    Array<CIMName> names;
    std::istringstream text(word);
    for (std::string each; std::getline(text, each, ',');)
        names.append(CIMName(each.c_str()));
    return CIMPropertyList(names);
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
    instance.object().qualifiers = instance.object().properties[1]->qualifiers = notes;
    return instance;
}

class Operations : public BrokerTest
{
protected:
    Operations() { context_.insert(IdentityContainer("me")); }

    /// The block with the answers and notes that there really are.
    std::string played(const std::string& block)
    {
        scripted::stage = {};
        view_ = {};
        filter_ = {};
        mof_ = "";
        std::istringstream lines(block);
        std::string transcript;
        for (std::string line; std::getline(lines, line);) {
            if (line[0] == '=' || line[0] == '>') continue;
            transcript += line + "\n";
            std::istringstream words(line.substr(1));
            if (line[0] == '!') prepare(words);
            if (line[0] != '?') continue;
            const std::string answer = answerOf([&] { return ask(words); });
            transcript += (answer.empty() ? "=" : "= " + answer) + "\n";
            for (const std::string& note : notes())
                transcript += "> " + note + "\n";
        }
        for (const std::string folder : {PROVIDER_FOLDER "/", CIMOM_FOLDER "/"}) {
            for (std::size_t at; (at = transcript.find(folder)) != std::string::npos;)
                transcript.erase(at, folder.size());
        }
        return transcript;
    }

private:
    void prepare(std::istringstream& words)
    {
        std::string what, a, b, c, d;
        words >> what;
        if (what == "mof") std::getline(words, mof_);
        words >> a >> b >> c >> d;
        if (what == "script") scripted::stage.scripts[a] = b;
        if (what == "throw") scripted::stage.fault = faults.at(a);
        if (what == "deliver") scripted::stage.instances[a].push_back(instance(String(b.c_str())));
        if (what == "view") view_ = {a == "q" || a == "qo", a == "o" || a == "qo", list(b)};
        if (what == "via") filter_ = {{}, name(a), name(b), c.c_str(), d.c_str()};
    }

    std::string ask(std::istringstream& words)
    {
        std::string what, object, nameSpace = "Root/Test";
        words >> what >> object >> nameSpace;
        if (what == "START") return start();
        const CIMNamespaceName ns(nameSpace.c_str());
        const CIMObjectPath path(object.c_str());
        const CIMName& type = path.getClassName();
        const CIMValue level(Uint16(3));
        CIMInstance sent(type);
        sent.setPath(path);
        sent.addProperty(CIMProperty("Level", level));
        filter_.source = path;
        Broker& b = *broker;
        if (what == "GI") return Text::of(b.getInstance(context_, ns, path, view_));
        if (what == "EI") return Text::of(b.enumerateInstances(context_, ns, type, true, view_));
        if (what == "EI-") return Text::of(b.enumerateInstances(context_, ns, type, false, view_));
        if (what == "EIN") return Text::of(b.enumerateInstanceNames(context_, ns, type));
        if (what == "CI") return Text::of(b.createInstance(context_, ns, sent));
        if (what == "GP") return Text::of(b.getProperty(context_, ns, path, "Level"));
        if (what == "A") return Text::of(b.associators(context_, ns, filter_, view_));
        if (what == "AN") return Text::of(b.associatorNames(context_, ns, filter_));
        if (what == "R") return Text::of(b.references(context_, ns, filter_, view_));
        if (what == "RN") return Text::of(b.referenceNames(context_, ns, filter_));
        if (what == "MI") b.modifyInstance(context_, ns, sent, true, view_.properties);
        if (what == "SP") b.setProperty(context_, ns, path, "Level", level);
        if (what == "DI") b.deleteInstance(context_, ns, path);
        if (what != "IM") return "";
        const Array<CIMParamValue> in(1, CIMParamValue("cOUNT", level, false));
        Array<CIMParamValue> out;
        const CIMValue result = b.invokeMethod(context_, ns, path, "rUN", in, out);
        return Text::of(result) + " " + Text::of(out);
    }

    /// Makes another broker, of the registrations in mof_ only.
    std::string start() const
    {
        Repository other;
        other.addNamespace(options.interopNamespace);
        MofCompiler compiler(other);
        compiler.compileFile(INTEROP_MOF, options.interopNamespace);
        compiler.compileText(mof_, "test", options.interopNamespace);
        const Broker started(other, options);
        return "started";
    }

    InstanceView view_;
    Traversal filter_;
    OperationContext context_;
    std::string mof_;
};

TEST_F(Operations, AreAnsweredAsInTheSession)
{
    std::ifstream file(BROKER_TESTS "operations.txt");
    std::string block;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty()) block += line + "\n";
        if (!line.empty() && file.peek() != EOF) continue;
        EXPECT_EQ(played(block), block);
        block.clear();
    }
    broker.reset();
    EXPECT_EQ(notes(), (Lines{"terminate LinkSub", "terminate Link", "terminate Machine",
                              "terminate Side", "terminate Leaf", "terminate Base"}));
}

}  // namespace
}  // namespace cimom
