#include "Mof/MofParser.h"

#include "Model/Errors.h"
#include "Model/Text.h"
#include "Mof/MofValue.h"

#include <Pegasus/Common/Exception.h>

#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

struct FlavorWord
{
    const char* name;
    bool Flavor::*member;
    bool value;
};

constexpr FlavorWord flavorWords[] = {{"EnableOverride", &Flavor::overridable, true},
                                      {"DisableOverride", &Flavor::overridable, false},
                                      {"ToSubclass", &Flavor::toSubclass, true},
                                      {"Restricted", &Flavor::toSubclass, false},
                                      {"ToInstance", &Flavor::toInstance, true},
                                      {"Translatable", &Flavor::translatable, true}};

// The entry of the table that the token names; null when it names none.
template <class Words>
auto findWord(const Words& words, const MofToken& token) -> decltype(&words[0])
{
    for (const auto& entry : words)
        if (token.is(entry.name)) return &entry;
    return nullptr;
}

// Runs an operation of the library or the repository; a refusal is a fault at the position.
template <class Operation>
auto refusedAt(const MofPosition& at, Operation operation)
{
    try {
        return operation();
    } catch (const CIMException& e) {
        throw MofFault{at, toUtf8(describe(e))};
    } catch (const Exception& e) {
        throw MofFault{at, toUtf8(e.getMessage())};
    }
}

struct Name
{
    CIMName name;
    MofPosition at;

    std::string text() const { return toUtf8(name.getString()); }
};

/// `existing`: the position of an element that has this name already, or PEG_NOT_FOUND.
void checkNew(Uint32 existing, const Name& name)
{
    if (existing != PEG_NOT_FOUND)
        throw MofFault{name.at, "'" + name.text() + "' is there already"};
}

// A recursive-descent parser with one token of look-ahead. Each production is one function.
class Parser
{
public:
    Parser(const std::string& text, Repository& repository, const CIMNamespaceName& nameSpace,
           const MofInclude& include)
        : lexer_(text),
          token_(lexer_.next()),
          repository_(repository),
          nameSpace_(nameSpace),
          include_(include)
    {
    }

    void parse()
    {
        while (token_.kind != MofToken::End) {
            if (accept('#')) {
                pragma();
            } else if (accept("qualifier")) {
                qualifierDeclaration();
            } else {
                const Qualifiers qualifiers = qualifierList();
                if (accept("class"))
                    classDeclaration(qualifiers);
                else if (accept("instance"))
                    instanceDeclaration(qualifiers);
                else
                    unexpected(token_, qualifiers.empty()
                                           ? "'class', 'instance of', 'qualifier' or '#pragma'"
                                           : "'class' or 'instance of' after the qualifiers");
            }
        }
    }

private:
    // #pragma NAME [("ARGUMENT")]. Those without meaning here, such as locale, are passed over.
    void pragma()
    {
        expect("pragma", "after '#'");
        const MofToken name = take();
        if (name.is("namespace"))
            throw MofFault{
                name.at, "a file cannot choose its namespace; it goes into the one given with it"};
        if (!accept('(')) return;
        if (token_.kind != MofToken::String)
            unexpected(token_, "the pragma's argument in double quotes");
        const std::string argument = literal().text;
        expect(')', "after the pragma's argument");
        if (name.is("include")) include_(argument, name.at);
    }

    // Qualifier NAME : TYPE [= DEFAULT], Scope(...) [, Flavor(...)];
    void qualifierDeclaration()
    {
        const Name name = expectName("the name of a qualifier");
        QualifierDecl decl;
        decl.name = name.name;
        expect(':', "and the type after the qualifier's name");
        const MofPosition typeAt = token_.at;
        MofType type = this->type();
        if (type.type == CIMTYPE_REFERENCE)
            throw MofFault{typeAt, "a qualifier cannot be a reference"};
        arraySuffix(type);
        decl.arraySize = type.arraySize;
        decl.value = accept('=') ? toValue(initializer(), type) : type.null();
        expect(',', "and 'Scope(...)'");
        expect("scope", "with what may carry the qualifier");
        decl.scopes = scopes();
        if (accept(',')) {
            expect("flavor", "or ';' after the scopes");
            expect('(', "after 'Flavor'");
            decl.flavor = flavors(decl.flavor, true);
            expect(')', "after the flavors");
        }
        expect(';', "after the qualifier declaration");
        refusedAt(name.at, [&] { repository_.addQualifierDecl(nameSpace_, decl); });
    }

    unsigned scopes()
    {
        unsigned scopes = 0;
        expect('(', "after 'Scope'");
        do {
            const ScopeName* const word = findWord(scopeNames, token_);
            if (word == nullptr)
                unexpected(token_,
                           "class, association, indication, property, reference, method, "
                           "parameter or any");
            scopes |= word->scope;
            take();
        } while (accept(','));
        expect(')', "after the scopes");
        return scopes;
    }

    // Applies flavor words: with commas between them in a declaration, with blanks in use.
    Flavor flavors(Flavor flavor, bool commas)
    {
        Flavor chosen{false, false, false, false};
        do {
            const FlavorWord* const word = findWord(flavorWords, token_);
            if (word == nullptr)
                unexpected(token_,
                           "EnableOverride, DisableOverride, ToSubclass, Restricted, ToInstance "
                           "or Translatable");
            bool& value = flavor.*word->member;
            if (chosen.*word->member && value != word->value)
                throw MofFault{token_.at,
                               "flavor " + token_.text + " contradicts one that stands before it"};
            chosen.*word->member = true;
            value = word->value;
            take();
        } while (commas ? accept(',') : token_.kind == MofToken::Identifier);
        return flavor;
    }

    // Nothing, or [QUALIFIER, ...]
    Qualifiers qualifierList()
    {
        std::vector<Qualifier> list;
        if (!accept('[')) return {};
        do {
            const Name name = expectName("the name of a qualifier");
            checkNew(positionOf(list, name.name), name);
            list.push_back(qualifier(name));
        } while (accept(','));
        expect(']', "or ',' after the qualifier");
        return Qualifiers(std::move(list));
    }

    // [(VALUE) | {VALUE, ...}] [: FLAVOR ...]. Without a value: true for a boolean, else null.
    Qualifier qualifier(const Name& name)
    {
        const QualifierDecl& decl = declarationOf(name);
        const MofType type{decl.value.getType(), {}, decl.value.isArray(), decl.arraySize};
        Qualifier result{name.name, type.null(), decl.flavor};
        if (token_.is('{')) {
            result.value = toValue(initializer(), type);
        } else if (accept('(')) {
            MofInitializer given = initializer();
            if (!given.isNull()) given.isList = given.isList || type.isArray;  // ("a") for {"a"}
            result.value = toValue(given, type);
            expect(')', "after the qualifier's value");
        } else if (type.type == CIMTYPE_BOOLEAN && !type.isArray) {
            result.value = CIMValue(Boolean(true));
        }
        if (accept(':')) result.flavor = flavors(decl.flavor, false);
        return result;
    }

    const QualifierDecl& declarationOf(const Name& qualifier) const
    {
        try {
            return repository_.getQualifierDecl(nameSpace_, qualifier.name);
        } catch (const CIMException&) {
            throw MofFault{qualifier.at, "qualifier " + qualifier.text() +
                                             " is not declared in namespace " +
                                             toUtf8(nameSpace_.getString())};
        }
    }

    // NAME [: SUPERCLASS] { FEATURES };
    void classDeclaration(const Qualifiers& qualifiers)
    {
        Class declared;
        const Name name = expectName("the name of a class");
        declared.path.setClassName(name.name);
        declared.qualifiers = qualifiers;
        const bool derived = accept(':');
        if (derived) declared.superClassName = expectName("the name of the superclass").name;
        expect('{', derived ? "after the name of the superclass" : "or ':' after the class name");
        while (!accept('}'))
            feature(declared);
        expect(';', "after the class");
        refusedAt(name.at, [&] { repository_.addClass(nameSpace_, declared); });
    }

    // [QUALIFIERS] TYPE NAME, then a property's or a method's rest
    void feature(Class& owner)
    {
        const Qualifiers qualifiers = qualifierList();
        const MofPosition typeAt = token_.at;
        MofType declared = type();
        const Name name = expectName("the name of a property or method");
        if (accept('(')) {
            if (declared.type == CIMTYPE_REFERENCE)
                throw MofFault{typeAt, "a method cannot return a reference"};
            checkNew(owner.methods.positionOf(name.name), name);
            auto added = std::make_shared<Method>();
            added->name = name.name;
            added->type = declared.type;
            added->qualifiers = qualifiers;
            added->parameters = parameters();
            owner.methods.push_back(std::move(added));
        } else {
            checkNew(owner.properties.positionOf(name.name), name);
            auto added = std::make_shared<Property>();
            added->name = name.name;
            added->value = defaultValue(name, declared);
            added->arraySize = declared.arraySize;
            added->referenceClassName = declared.referenceClass;
            added->qualifiers = qualifiers;
            owner.properties.push_back(std::move(added));
        }
    }

    // [ARRAY] [= VALUE];
    CIMValue defaultValue(const Name& name, MofType& type)
    {
        const MofPosition at = token_.at;
        arraySuffix(type);
        if (type.isArray && type.type == CIMTYPE_REFERENCE)
            throw MofFault{at, "a property cannot be an array of references"};
        CIMValue value = type.null();
        if (accept('='))
            value = toValue(initializer(), type);
        else if (!token_.is(';'))
            unexpected(token_, "';', '=', '[' or '(' after " + name.text());
        expect(';', "after the property");
        return value;
    }

    // [PARAMETER, ...]);
    std::vector<Parameter> parameters()
    {
        std::vector<Parameter> list;
        if (!accept(')')) {
            do {
                const Qualifiers qualifiers = qualifierList();
                MofType declared = type();
                const Name name = expectName("the name of a parameter");
                checkNew(positionOf(list, name.name), name);
                arraySuffix(declared);
                list.push_back({name.name, declared.type, declared.isArray, declared.arraySize,
                                declared.referenceClass, qualifiers});
            } while (accept(','));
            expect(')', "or ',' after the parameter");
        }
        expect(';', "after the method");
        return list;
    }

    // of CLASS { [QUALIFIERS] PROPERTY = VALUE; ... };
    void instanceDeclaration(const Qualifiers& qualifiers)
    {
        expect("of", "after 'instance'");
        const Name name = expectName("the name of a class");
        const ClassPtr definition =
            refusedAt(name.at, [&] { return repository_.findClass(nameSpace_, name.name); });
        if (definition == nullptr)
            throw MofFault{name.at, "class " + name.text() + " does not exist in namespace " +
                                        toUtf8(nameSpace_.getString())};
        const auto instance = std::make_shared<Instance>();
        instance->path = definition->path;
        instance->qualifiers = qualifiers;
        expect('{', "before the properties of the instance");
        while (!accept('}'))
            instance->properties.push_back(instanceProperty(*instance, *definition));
        expect(';', "after the instance");
        refusedAt(name.at, [&] { repository_.addInstance(nameSpace_, CIMInstance(instance)); });
    }

    std::shared_ptr<Property> instanceProperty(const Instance& instance, const Class& definition)
    {
        const Qualifiers qualifiers = qualifierList();
        const Name name = expectName("the name of a property or '}'");
        checkNew(instance.properties.positionOf(name.name), name);
        const Property* const declared = definition.property(name.name);
        if (declared == nullptr)
            throw MofFault{name.at, "class " + toUtf8(definition.name().getString()) +
                                        " has no property " + name.text()};
        expect('=', "and a value after the property's name");
        auto added = std::make_shared<Property>();
        added->name = declared->name;
        added->value = toValue(
            initializer(),
            {declared->value.getType(), {}, declared->value.isArray(), declared->arraySize});
        added->qualifiers = qualifiers;
        expect(';', "after the value");
        return added;
    }

    // A data type, or CLASS REF
    MofType type()
    {
        for (int type = CIMTYPE_BOOLEAN; type < CIMTYPE_REFERENCE; ++type)
            if (accept(cimTypeToString(CIMType(type)))) return {CIMType(type)};
        const Name name = expectName("a type");
        if (!accept("ref"))
            throw MofFault{name.at, "'" + name.text() +
                                        "' is no CIM data type; a reference is written CLASS REF "
                                        "NAME"};
        return {CIMTYPE_REFERENCE, name.name};
    }

    // Nothing, [] or [SIZE]
    void arraySuffix(MofType& type)
    {
        if (!accept('[')) return;
        type.isArray = true;
        if (token_.kind == MofToken::Number) {
            type.arraySize = readInteger<Uint16>(token_.text).value_or(0);
            if (type.arraySize == 0) unexpected(token_, "an array size of 1 to 65535");
            take();
        }
        expect(']', "after the array");
    }

    // LITERAL or {LITERAL, ...}
    MofInitializer initializer()
    {
        MofInitializer result;
        result.at = token_.at;
        result.isList = accept('{');
        if (result.isList && accept('}')) return result;
        do {
            result.items.push_back(literal());
        } while (result.isList && accept(','));
        if (result.isList) expect('}', "or ',' after the value");
        return result;
    }

    MofToken literal()
    {
        const bool word = token_.kind == MofToken::Identifier;
        if (token_.kind == MofToken::End || token_.kind == MofToken::Symbol ||
            (word && !token_.is("null") && !token_.is("true") && !token_.is("false")))
            unexpected(token_, "a value");
        MofToken result = take();
        while (result.kind == MofToken::String && token_.kind == MofToken::String)
            result.text += take().text;
        return result;
    }

    MofToken take() { return std::exchange(token_, lexer_.next()); }

    // `wanted` is a keyword or a symbol.
    template <class Wanted>
    bool accept(Wanted wanted)
    {
        if (!token_.is(wanted)) return false;
        take();
        return true;
    }

    template <class Wanted>
    void expect(Wanted wanted, const char* where)
    {
        if (!accept(wanted)) unexpected(token_, (std::string("'") += wanted) + "' " + where);
    }

    Name expectName(const char* what)
    {
        if (token_.kind != MofToken::Identifier) unexpected(token_, what);
        const MofToken token = take();
        return refusedAt(token.at, [&] { return Name{CIMName(toString(token.text)), token.at}; });
    }

    MofLexer lexer_;
    MofToken token_;
    Repository& repository_;
    const CIMNamespaceName& nameSpace_;
    const MofInclude& include_;
};

}  // namespace

void parseMof(const std::string& text, Repository& repository, const CIMNamespaceName& nameSpace,
              const MofInclude& include)
{
    Parser(text, repository, nameSpace, include).parse();
}

}  // namespace cimom
