// A repository filled from schema.mof and further MOF, and what it holds then.
#pragma once

#include "../Cases.h"
#include "CimXml/Encode.h"
#include "Mof/MofCompiler.h"

namespace cimom
{

struct TestRepository
{
    TestRepository()
    {
        repository.addNamespace(ns);
        compileMof(repository, ns, CIMOM_TESTS "Repository/schema.mof");
    }

    /// The fault in the text, or what it made of class T and of T_Middle's instances.
    std::string compile(const std::string& mof)
    {
        return answerOf([&] {
            std::string all;
            compileMofText(repository, ns, mof, "MOF");
            if (const ClassPtr made = repository.findClass(ns, "T")) xml::appendClass(all, *made);
            for (const CIMInstance& instance : repository.instancesOf(ns, "T_Middle"))
                xml::appendInstance(all, instance.object());
            return all;
        });
    }

    const CIMNamespaceName ns{"root/test"};
    Repository repository;
};

/// What a repository of its own makes of the text.
inline std::string compiled(const std::string& mof)
{
    return TestRepository().compile(mof);
}

}  // namespace cimom
