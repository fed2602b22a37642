// Reads a MOF text and puts what it declares into a repository.
#pragma once

#include "Mof/MofLexer.h"
#include "Mof/MofValue.h"
#include "Repository/Repository.h"

#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace cimom
{

/// The instances that `as $Name` gave a name to. One set serves a file and all that it includes.
struct MofAliases
{
    struct Target
    {
        Pegasus::CIMNamespaceName nameSpace;
        Pegasus::CIMObjectPath path;
    };
    std::map<std::string, Target> targets;
};

/// A recursive-descent parser with one token of look-ahead. Each production is one function, and
/// each declaration goes into the repository as soon as it is complete.
class MofParser
{
public:
    /// Compiles the file that an include pragma names. Throws MofFault when it cannot be found.
    using Include = std::function<void(const std::string& file, const Pegasus::CIMNamespaceName&,
                                       const MofPosition& at)>;

    MofParser(std::string text, Repository& repository, Pegasus::CIMNamespaceName nameSpace,
              MofAliases& aliases, Include include);
    /// Throws MofFault.
    void parse();

private:
    struct Name
    {
        Pegasus::CIMName name;
        MofPosition at;
    };
    struct Qualifier
    {
        Pegasus::CIMQualifier qualifier;
        MofPosition at;
    };
    using Qualifiers = std::vector<Qualifier>;
    /// A type as a property, parameter or method declares it.
    struct Type
    {
        Pegasus::CIMType type = Pegasus::CIMTYPE_BOOLEAN;
        Pegasus::CIMName referenceClass;
        MofPosition at;
    };

    // Productions
    void pragma();
    void qualifierDeclaration();
    Pegasus::CIMScope scopes();
    Pegasus::CIMFlavor flavors(Pegasus::CIMFlavor flavor, bool commas);
    Qualifiers qualifierList();
    Qualifier qualifier();
    void classDeclaration(const Qualifiers& qualifiers);
    void feature(Pegasus::CIMClass& owner);
    Pegasus::CIMProperty property(const Name& name, const Type& type);
    Pegasus::CIMMethod method(const Name& name, const Type& type);
    Pegasus::CIMParameter parameter();
    void instanceDeclaration(const Qualifiers& qualifiers);
    void instanceProperty(Pegasus::CIMInstance& instance, const Pegasus::CIMConstClass& definition);
    Type type();
    MofValueType arraySuffix(Pegasus::CIMType type);
    MofInitializer initializer();
    MofLiteral literal();
    Pegasus::CIMValue value(const MofInitializer& initializer, const MofValueType& type);

    // Tokens
    MofToken take();
    bool isSymbol(char symbol) const;
    bool isKeyword(const char* keyword) const;
    bool acceptSymbol(char symbol);
    bool acceptKeyword(const char* keyword);
    void expectSymbol(char symbol, const char* where);
    Name expectName(const char* what);
    std::string expectString(const char* what);
    [[noreturn]] void unexpected(const std::string& expected) const;

    Pegasus::CIMObjectPath aliasPath(const MofLiteral& alias) const;

    MofLexer lexer_;
    MofToken token_;
    Repository& repository_;
    Pegasus::CIMNamespaceName nameSpace_;
    MofAliases& aliases_;
    Include include_;
};

}  // namespace cimom
