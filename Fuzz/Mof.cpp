// The MOF compiler succeeds, or reports an error with its line and column; what it has compiled can
// be written as XML.
#include "CimXml/Encode.h"
#include "Fuzz.h"
#include "Mof/MofCompiler.h"

#include <regex>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace cimom;
    static const std::regex place("^[^:]*:[0-9]+:[0-9]+: .");
    const CIMNamespaceName nameSpace("root/test");
    Repository repository;
    repository.addNamespace(nameSpace);
    compileMof(repository, nameSpace, PROJECT "Tests/Cimom/Repository/schema.mof");
    try {
        compileMofText(repository, nameSpace, {data, data + size}, "MOF");
    } catch (const std::runtime_error& error) {
        fuzz::check(std::regex_search(error.what(), place), error.what());
    }
    std::string all;
    for (const CIMName& name : repository.subclassNames(nameSpace, CIMName(), true)) {
        xml::Encoder(all).writeClass(*repository.findClass(nameSpace, name));
        for (const CIMInstance& instance : repository.instancesOf(nameSpace, name))
            xml::Encoder(all).writeInstance(instance.object());
    }
    fuzz::checkXml("<ALL>" + all + "</ALL>");
    return 0;
}
