// A broker over a small schema, with scripted providers.
#pragma once

#include "../Cases.h"
#include "Broker/Broker.h"
#include "Mof/MofCompiler.h"
#include "ScriptedProvider.h"

#include <memory>
#include <utility>

namespace cimom
{

using Lines = std::vector<std::string>;
using scripted::Text;

/// Fixture: schema.mof in root/test, the repository's in root/schema, the providers of
/// registration.mof, and the broker of all as the process's object manager.
class BrokerTest : public ::testing::Test
{
protected:
    BrokerTest()
    {
        scripted::stage = {};
        const std::pair<CIMNamespaceName, const char*> files[] = {
            {"root/test", CIMOM_TESTS "Broker/schema.mof"},
            {"root/test", CIMOM_TESTS "CimXml/everything.mof"},
            {"root/schema", CIMOM_TESTS "Repository/schema.mof"},
            {interopNamespace, INTEROP_MOF},
            {interopNamespace, CIMOM_TESTS "Broker/registration.mof"}};
        for (const auto& [nameSpace, file] : files) {
            repository.addNamespace(nameSpace);
            compileMof(repository, nameSpace, file);
        }
        options.hostName = "here";
        options.log = [](const std::string& line) { scripted::stage.notes.push_back(line); };
        options.providerFolders = {"/nonexistent", PROVIDER_FOLDER, CIMOM_FOLDER};
        broker = std::make_unique<Broker>(repository, options);
        broker->setModuleFactory("Scripted", scripted::create);
        ObjectManager::current = broker.get();
    }
    ~BrokerTest() override
    {
        ObjectManager::current = nullptr;
        scripted::stage = {};  // what a test has put there ends before the providers
    }

    /// What the providers have noted since the last time.
    static Lines notes() { return std::exchange(scripted::stage.notes, {}); }

    Repository repository;
    BrokerOptions options;
    std::unique_ptr<Broker> broker;
};

}  // namespace cimom
