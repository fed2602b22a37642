// A broker over a small schema, with scripted providers.
#pragma once

#include "Broker/Broker.h"
#include "Model/Errors.h"
#include "Mof/MofCompiler.h"
#include "ScriptedProvider.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace cimom
{

using Lines = std::vector<std::string>;
using scripted::Text;

/// What `call` returns, or "CODE text" of the error as a client would see it.
template <class Call>
std::string answerOf(Call call)
{
    try {
        return call();
    } catch (...) {
        const Pegasus::CIMException error = currentError();
        return std::to_string(error.getCode()) + " " + toUtf8(error.getMessage());
    }
}

/// Fixture: schema.mof in root/test, the providers of registration.mof, and the broker of both as
/// the process's object manager.
class BrokerTest : public ::testing::Test
{
protected:
    BrokerTest()
    {
        scripted::stage = {};
        repository.addNamespace(ns);
        repository.addNamespace(options.interopNamespace);
        MofCompiler compiler(repository);
        compiler.compileFile(BROKER_TESTS "schema.mof", ns);
        compiler.compileFile(INTEROP_MOF, options.interopNamespace);
        compiler.compileFile(BROKER_TESTS "registration.mof", options.interopNamespace);
        options.hostName = "here";
        options.providerFolders = {"/nonexistent", PROVIDER_FOLDER, CIMOM_FOLDER};
        broker = std::make_unique<Broker>(repository, options);
        broker->setModuleFactory("Scripted", scripted::create);
        ObjectManager::setCurrent(broker.get());
    }
    ~BrokerTest() override
    {
        ObjectManager::setCurrent(nullptr);
        scripted::stage = {};
    }

    /// What the providers have noted since the last time.
    static Lines notes() { return std::exchange(scripted::stage.notes, {}); }

    Repository repository;
    BrokerOptions options;
    std::unique_ptr<Broker> broker;
    const CIMNamespaceName ns{"root/test"};
};

}  // namespace cimom
