// The trace lines of all providers: the pattern that most of them follow, and every exception.
#include "ProviderTest.h"

#include <map>

namespace
{

using Lines = std::map<std::string, std::string>;

// "*" stands for the provider's name.
const Lines ELEMENT_LINES = {
    {"initialize>", "--> *::initialize()\n"},
    {"initialize<", "<--*::initialize()\n"},
    {"enumerateInstanceNames>", "--> *::enumerateInstanceNames\n"},
    {"enumerateInstanceNames<", "<-- *::enumerateInstanceNames\n"},
    {"enumerateInstances>", "--> *::enumerateInstances\n"},
    {"enumerateInstances<", "<-- *::enumerateInstances\n"},
    {"getInstance>", "--> *::getInstance\n"},
    {"getInstance<", "<-- *::getInstance\n"},
    {"modifyInstance>", "-->*::modifyInstance()\n"},
    {"modifyInstance<", "<--*::modifyInstance()\n"},
    {"invokeMethod>", "-->*::invokeMethod()\n\t className = %s, methodName = %s\n"},
    {"invokeMethod<", "<--*::invokeMethod()\n"},
    {"_build_ref>", "--> *::_build_ref\n"},
    {"_build_ref<", "<-- *::_build_ref\n"},
    {"_build_instances>", "--> *::_build_instances\n"},
    {"_build_instances<", "<-- *::_build_instances\n"},
};

const Lines ASSOCIATION_LINES = {
    {"initialize>", "--> *::initialize(cimom)\n)"},
    {"initialize<", "<-- *::initialize(cimom)\n)"},
    {"enumerateInstanceNames>", "--> *::enumerateInstanceNames()\n"},
    {"enumerateInstanceNames<", "<-- *::enumerateInstanceNames()\n"},
    {"enumerateInstances>", "--> *::enumerateInstances() \n"},
    {"enumerateInstances<", "<-- *::enumerateInstances()\n"},
    {"getInstance>", "-->*::getInstance()\n"},
    {"getInstance<", "<-- *::getInstance()\n"},
    {"getInstance!", "*::getInstance(): Invalid number of keys (%s)\n"},
    {"referenceNames>", "-->*::referenceNames\n"},
    {"referenceNames?", "*::references: objectName = %s; resultClass = %s"},
    {"referenceNames!", "*::referenceNames: invalid params: role = %s, resultClass = %s \n"},
    {"referenceNames<", "<--*::referenceNames\n"},
    {"references>", "-->*::references\n"},
    {"references?", "*::references: objectName = %s; resultClass = %s \n"},
    {"references!", "*::references: invalid params: role = %s, resultClass = %s \n"},
    {"references<", "<--*::references\n"},
    {"associatorNames>", "-->*::associatorNames\n"},
    {"associatorNames?",
     "*::associatorNames: objectName = %s; associationClass = %s; resultClass = %s \n"},
    {"associatorNames!",
     "*::associatorNames: invalid params: associationClass=%s, resultClass=%s\n"},
    {"associatorNames<", "<--*::associatorNames\n"},
    {"associators>", "-->*::associators\n"},
    {"associators?", "*::associators: objectName = %s; associationClass = %s; resultClass = %s \n"},
    {"associators!", "*::associators: invalid params: resultClass = %s \n"},
    {"associators<", "<--*::associators\n"},
    {"_getInstances>", "-->*::_getInstances\n"},
    {"_getInstances<", "<--*::_getInstances\n"},
    {"_getInstanceNames>", "-->*::_getInstanceNames\n"},
    {"_getInstanceNames<", "<--*::_getInstanceNames\n"},
    {"_getRelatedInstances>", "-->*::_getRelatedInstances: className = %s \n"},
    {"_getRelatedInstances<", "<--*::_getRelatedInstances\n"},
    {"_getRelatedInstanceNames>", "-->*::_getRelatedInstanceNames: className = %s \n"},
    {"_getRelatedInstanceNames<", "<--*::_getRelatedInstanceNames\n"},
};

const std::map<std::string, Lines> EXCEPTIONS = {
    {"QBX_DriveCageProvider", {{"initialize<", "-->*::initialize()\n"}}},
    {"QBX_FCALCardProvider", {{"_build_ref>", "--> QBX_FCALProvider::_build_ref\n"}}},
    {"QBX_FCALCardInDriveCageProvider",
     {{"associatorNames?",
       "*::associatorNames: objectName = %s; associationClass=%s; resultClass=%s \n"}}},
    {"QBX_MagazineInDriveCageProvider",
     {{"getInstance>", "-->*::getInstance() \n"},
      {"getInstance<", "<-- *::getInstance()\n\n"},
      {"enumerateInstanceNames<", "<-- *::enumerateInstanceNames() \n"},
      {"enumerateInstances<", "<-- *::enumerateInstances() \n"}}},
    {"QBX_SysCageContainerProvider",
     {{"enumerateInstanceNames>", "-->*::enumerateInstanceNames()\n"},
      {"enumerateInstanceNames<", "<--*::enumerateInstanceNames()\n"},
      {"enumerateInstances<", "<-- *::enumerateInstances() \n"},
      {"getInstance>", "-->*::getInstance() \n"}}},
    {"QBX_SensorInDriveCageProvider",
     {{"enumerateInstanceNames>", "--> *::enumerateInstanceNames() \n"},
      {"enumerateInstanceNames<", "<-- *::enumerateInstanceNames() \n"},
      {"enumerateInstances>", "-->*::enumerateInstances()\n"},
      {"enumerateInstances<", "<-- *::enumerateInstances() \n"},
      {"getInstance>", "-->*::getInstance() \n"},
      {"getInstance<", "<-- *::getInstance()\n\n"},
      {"associatorNames!",
       "*::associatorNames: invalid params: associationClass = %s, resultClass = %s\n"},
      {"_getRelatedInstances>", "-->*::_getRelatedInstance: className = %s \n"},
      {"_getRelatedInstances<", "<--*::_getRelatedInstance\n"},
      {"_getRelatedInstanceNames>", "-->*::_getRelatedInstanceName: className = %s \n"},
      {"_getRelatedInstanceNames<", "<--*::_getRelatedInstanceName\n"}}},
};

}  // namespace

std::string lineOf(const std::string& provider, const std::string& key, const Texts& arguments)
{
    const bool isAssociation =
        provider.find("In") != std::string::npos || provider == "QBX_SysCageContainerProvider";
    std::string line = (isAssociation ? ASSOCIATION_LINES : ELEMENT_LINES).at(key);
    const auto exceptions = EXCEPTIONS.find(provider);
    if (exceptions != EXCEPTIONS.end() && exceptions->second.count(key) != 0)
        line = exceptions->second.at(key);

    const std::size_t name = line.find('*');
    if (name != std::string::npos) line.replace(name, 1, provider);
    std::size_t from = 0;
    for (const std::string& argument : arguments) {
        from = line.find("%s", from);
        if (from == std::string::npos) throw std::logic_error("too many arguments: " + key);
        line.replace(from, 2, argument);
        from += argument.size();
    }
    return (key.back() == '!' ? "2: " : "4: ") + line;
}
