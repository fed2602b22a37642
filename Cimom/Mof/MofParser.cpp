#include "Mof/MofParser.h"

#include "Repository/Names.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/CIMScope.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <cstring>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

// Without case. Bytes, since the word may be no valid text.
bool sameWord(const std::string& a, const char* b)
{
    const auto same = [](char x, char y) {
        return NoCase::fold(Uint8(x)) == NoCase::fold(Uint8(y));
    };
    return std::equal(a.begin(), a.end(), b, b + std::strlen(b), same);
}

struct TypeWord
{
    const char* word;
    CIMType type;
};

constexpr TypeWord typeWords[] = {
    {"boolean", CIMTYPE_BOOLEAN}, {"uint8", CIMTYPE_UINT8},      {"sint8", CIMTYPE_SINT8},
    {"uint16", CIMTYPE_UINT16},   {"sint16", CIMTYPE_SINT16},    {"uint32", CIMTYPE_UINT32},
    {"sint32", CIMTYPE_SINT32},   {"uint64", CIMTYPE_UINT64},    {"sint64", CIMTYPE_SINT64},
    {"real32", CIMTYPE_REAL32},   {"real64", CIMTYPE_REAL64},    {"char16", CIMTYPE_CHAR16},
    {"string", CIMTYPE_STRING},   {"datetime", CIMTYPE_DATETIME}};

const TypeWord* findType(const std::string& word)
{
    for (const TypeWord& entry : typeWords)
        if (sameWord(word, entry.word)) return &entry;
    return nullptr;
}

struct ScopeWord
{
    const char* word;
    const CIMScope& scope;
};

const ScopeWord scopeWords[] = {
    {"class", CIMScope::CLASS},           {"association", CIMScope::ASSOCIATION},
    {"indication", CIMScope::INDICATION}, {"property", CIMScope::PROPERTY},
    {"reference", CIMScope::REFERENCE},   {"method", CIMScope::METHOD},
    {"parameter", CIMScope::PARAMETER},   {"any", CIMScope::ANY}};

// A flavor word sets one bit and takes back its opposite.
struct FlavorWord
{
    const char* word;
    const CIMFlavor& sets;
    const CIMFlavor& clears;
};

const FlavorWord flavorWords[] = {
    {"EnableOverride", CIMFlavor::OVERRIDABLE, CIMFlavor::DISABLEOVERRIDE},
    {"DisableOverride", CIMFlavor::DISABLEOVERRIDE, CIMFlavor::OVERRIDABLE},
    {"ToSubclass", CIMFlavor::TOSUBCLASS, CIMFlavor::RESTRICTED},
    {"Restricted", CIMFlavor::RESTRICTED, CIMFlavor::TOSUBCLASS},
    {"ToInstance", CIMFlavor::TOINSTANCE, CIMFlavor::NONE},
    {"Translatable", CIMFlavor::TRANSLATABLE, CIMFlavor::NONE}};

template <class Words>
auto findWord(const Words& words, const std::string& word) -> decltype(&words[0])
{
    for (const auto& entry : words)
        if (sameWord(word, entry.word)) return &entry;
    return nullptr;
}

std::string reason(const CIMException& e)
{
    return std::string(cimStatusCodeToString(e.getCode())) + ": " + toUtf8(e.getMessage());
}

// Runs an operation of the library or the repository; a refusal is a fault at the position.
template <class Operation>
auto refusedAt(const MofPosition& at, Operation operation)
{
    try {
        return operation();
    } catch (const CIMException& e) {
        throw MofFault{at, reason(e)};
    } catch (const Exception& e) {
        throw MofFault{at, toUtf8(e.getMessage())};
    }
}

template <class Element, class Qualifiers>
void addQualifiers(Element& element, const Qualifiers& qualifiers)
{
    for (const auto& [qualifier, at] : qualifiers)
        refusedAt(at, [&element, &added = qualifier] { element.addQualifier(added); });
}

}  // namespace

MofParser::MofParser(std::string text, Repository& repository, CIMNamespaceName nameSpace,
                     MofAliases& aliases, Include include)
    : lexer_(std::move(text)),
      repository_(repository),
      nameSpace_(std::move(nameSpace)),
      aliases_(aliases),
      include_(std::move(include))
{
}

void MofParser::parse()
{
    token_ = lexer_.next();
    while (token_.kind != MofToken::End) {
        if (acceptSymbol('#')) {
            pragma();
        } else if (isKeyword("qualifier")) {
            qualifierDeclaration();
        } else {
            const Qualifiers qualifiers = qualifierList();
            if (acceptKeyword("class"))
                classDeclaration(qualifiers);
            else if (acceptKeyword("instance"))
                instanceDeclaration(qualifiers);
            else
                unexpected(qualifiers.empty() ? "'class', 'instance of', 'qualifier' or '#pragma'"
                                              : "'class' or 'instance of' after the qualifiers");
        }
    }
}

// #pragma NAME [("ARGUMENT")]. Those without meaning here, such as locale, are passed over.
void MofParser::pragma()
{
    if (!acceptKeyword("pragma")) unexpected("'pragma' after '#'");
    const MofPosition at = token_.at;
    const std::string name = toUtf8(expectName("the name of a pragma").name.getString());
    if (!acceptSymbol('(')) return;
    const MofPosition argumentAt = token_.at;
    const std::string argument = expectString("the pragma's argument in double quotes");
    expectSymbol(')', "after the pragma's argument");
    if (sameWord(name, "include")) {
        include_(argument, nameSpace_, at);
    } else if (sameWord(name, "namespace")) {
        nameSpace_ =
            refusedAt(argumentAt, [&] { return CIMNamespaceName(toString(argument, argumentAt)); });
        repository_.addNamespace(nameSpace_);
    }
}

// Qualifier NAME : TYPE [= DEFAULT], Scope(...) [, Flavor(...)];
void MofParser::qualifierDeclaration()
{
    take();
    const Name name = expectName("the name of a qualifier");
    expectSymbol(':', "and the type after the qualifier's name");
    const Type declared = type();
    if (declared.type == CIMTYPE_REFERENCE)
        throw MofFault{declared.at, "a qualifier cannot be a reference"};
    const MofValueType valueType = arraySuffix(declared.type);
    CIMValue defaultValue(valueType.type, valueType.isArray, valueType.arraySize);
    if (acceptSymbol('=')) defaultValue = value(initializer(), valueType);

    expectSymbol(',', "and 'Scope(...)'");
    if (!acceptKeyword("scope")) unexpected("'Scope(...)'");
    const CIMScope scope = scopes();
    CIMFlavor flavor(CIMFlavor::DEFAULTS);
    if (acceptSymbol(',')) {
        if (!acceptKeyword("flavor")) unexpected("'Flavor(...)'");
        expectSymbol('(', "after 'Flavor'");
        flavor = flavors(flavor, true);
        expectSymbol(')', "after the flavors");
    }
    expectSymbol(';', "after the qualifier declaration");
    refusedAt(name.at, [&] {
        repository_.addQualifierDecl(nameSpace_, CIMQualifierDecl(name.name, defaultValue, scope,
                                                                  flavor, valueType.arraySize));
    });
}

CIMScope MofParser::scopes()
{
    CIMScope scope;
    expectSymbol('(', "after 'Scope'");
    do {
        const ScopeWord* const word = findWord(scopeWords, token_.text);
        if (token_.kind != MofToken::Identifier || word == nullptr)
            unexpected(
                "class, association, indication, property, reference, method, parameter "
                "or any");
        scope.addScope(word->scope);
        take();
    } while (acceptSymbol(','));
    expectSymbol(')', "after the scopes");
    return scope;
}

// Applies flavor words to a flavor: with commas between them in a declaration, with blanks in use.
CIMFlavor MofParser::flavors(CIMFlavor flavor, bool commas)
{
    CIMFlavor cleared(CIMFlavor::NONE);
    do {
        const FlavorWord* const word = findWord(flavorWords, token_.text);
        if (token_.kind != MofToken::Identifier || word == nullptr)
            unexpected(
                "EnableOverride, DisableOverride, ToSubclass, Restricted, ToInstance or "
                "Translatable");
        if (!word->sets.equal(CIMFlavor::NONE) && cleared.hasFlavor(word->sets))
            throw MofFault{token_.at,
                           "flavor " + token_.text + " contradicts one that stands before it"};
        flavor.removeFlavor(word->clears);
        flavor.addFlavor(word->sets);
        cleared.addFlavor(word->clears);
        take();
    } while (commas ? acceptSymbol(',') : token_.kind == MofToken::Identifier);
    return flavor;
}

// Nothing, or [QUALIFIER, ...]
MofParser::Qualifiers MofParser::qualifierList()
{
    Qualifiers list;
    if (!acceptSymbol('[')) return list;
    do {
        list.push_back(qualifier());
    } while (acceptSymbol(','));
    expectSymbol(']', "or ',' after the qualifier");
    return list;
}

// NAME [(VALUE) | {VALUE, ...}] [: FLAVOR ...]. Without a value: true for a boolean, else null.
MofParser::Qualifier MofParser::qualifier()
{
    const Name name = expectName("the name of a qualifier");
    const CIMQualifierDecl decl = [&] {
        try {
            return repository_.getQualifierDecl(nameSpace_, name.name);
        } catch (const CIMException&) {
            throw MofFault{name.at, "qualifier " + toUtf8(name.name.getString()) +
                                        " is not declared in namespace " +
                                        toUtf8(nameSpace_.getString())};
        }
    }();
    const MofValueType valueType{decl.getType(), decl.isArray(), decl.getArraySize()};
    CIMValue content(valueType.type, valueType.isArray, valueType.arraySize);
    if (isSymbol('{')) {
        content = value(initializer(), valueType);
    } else if (acceptSymbol('(')) {
        MofInitializer given = initializer();
        if (given.items.size() != 1 || given.items[0].kind != MofLiteral::Null)
            given.isList = given.isList || valueType.isArray;  // ("a") will do for {"a"}
        content = value(given, valueType);
        expectSymbol(')', "after the qualifier's value");
    } else if (valueType.type == CIMTYPE_BOOLEAN && !valueType.isArray) {
        content = CIMValue(Boolean(true));
    }
    CIMFlavor flavor = decl.getFlavor();
    if (acceptSymbol(':')) flavor = flavors(flavor, false);
    return {CIMQualifier(name.name, content, flavor), name.at};
}

// [QUALIFIERS] class NAME [: SUPERCLASS] { FEATURES };
void MofParser::classDeclaration(const Qualifiers& qualifiers)
{
    const Name name = expectName("the name of a class");
    CIMName superclass;
    if (acceptSymbol(':')) superclass = expectName("the name of the superclass").name;
    CIMClass declared(name.name, superclass);
    addQualifiers(declared, qualifiers);
    expectSymbol('{', superclass.isNull() ? "or ':' after the class name"
                                          : "after the name of the superclass");
    while (!acceptSymbol('}'))
        feature(declared);
    expectSymbol(';', "after the class");
    refusedAt(name.at, [&] { repository_.addClass(nameSpace_, declared); });
}

// [QUALIFIERS] TYPE NAME, then a property's or a method's rest
void MofParser::feature(CIMClass& owner)
{
    const Qualifiers qualifiers = qualifierList();
    const Type declared = type();
    const Name name = expectName("the name of a property or method");
    if (isSymbol('(')) {
        CIMMethod added = method(name, declared);
        addQualifiers(added, qualifiers);
        refusedAt(name.at, [&] { owner.addMethod(added); });
    } else {
        CIMProperty added = property(name, declared);
        addQualifiers(added, qualifiers);
        refusedAt(name.at, [&] { owner.addProperty(added); });
    }
}

CIMProperty MofParser::property(const Name& name, const Type& declared)
{
    const MofPosition at = token_.at;
    const MofValueType valueType = arraySuffix(declared.type);
    if (valueType.isArray && valueType.type == CIMTYPE_REFERENCE)
        throw MofFault{at, "a property cannot be an array of references"};
    CIMValue content(valueType.type, valueType.isArray, valueType.arraySize);
    if (acceptSymbol('='))
        content = value(initializer(), valueType);
    else if (!isSymbol(';'))
        unexpected("';', '=', '[' or '(' after " + toUtf8(name.name.getString()));
    expectSymbol(';', "after the property");
    return refusedAt(name.at, [&] {
        return CIMProperty(name.name, content, valueType.arraySize, declared.referenceClass);
    });
}

CIMMethod MofParser::method(const Name& name, const Type& declared)
{
    if (declared.type == CIMTYPE_REFERENCE)
        throw MofFault{declared.at, "a method cannot return a reference"};
    CIMMethod result(name.name, declared.type);
    expectSymbol('(', "before the parameters");
    if (!acceptSymbol(')')) {
        do {
            const MofPosition at = token_.at;
            const CIMParameter added = parameter();
            refusedAt(at, [&] { result.addParameter(added); });
        } while (acceptSymbol(','));
        expectSymbol(')', "or ',' after the parameter");
    }
    expectSymbol(';', "after the method");
    return result;
}

CIMParameter MofParser::parameter()
{
    const Qualifiers qualifiers = qualifierList();
    const Type declared = type();
    const Name name = expectName("the name of a parameter");
    const MofValueType shape = arraySuffix(declared.type);
    CIMParameter result(name.name, shape.type, shape.isArray, shape.arraySize,
                        declared.referenceClass);
    addQualifiers(result, qualifiers);
    return result;
}

// [QUALIFIERS] instance of CLASS [as $ALIAS] { [QUALIFIERS] PROPERTY = VALUE; ... };
void MofParser::instanceDeclaration(const Qualifiers& qualifiers)
{
    if (!acceptKeyword("of")) unexpected("'of' after 'instance'");
    const Name name = expectName("the name of a class");
    if (!repository_.hasNamespace(nameSpace_) || !repository_.hasClass(nameSpace_, name.name))
        throw MofFault{name.at, "class " + toUtf8(name.name.getString()) +
                                    " does not exist in namespace " +
                                    toUtf8(nameSpace_.getString())};
    const CIMConstClass definition(repository_.getClass(nameSpace_, name.name));
    MofToken alias;
    if (acceptKeyword("as")) {
        if (token_.kind != MofToken::Alias) unexpected("an alias such as $Name after 'as'");
        alias = take();
        if (aliases_.targets.count(alias.text) > 0)
            throw MofFault{alias.at, "alias $" + alias.text + " names another instance already"};
    }
    CIMInstance instance(definition.getClassName());
    addQualifiers(instance, qualifiers);
    expectSymbol('{', "before the properties of the instance");
    while (!acceptSymbol('}'))
        instanceProperty(instance, definition);
    expectSymbol(';', "after the instance");
    const CIMObjectPath path =
        refusedAt(name.at, [&] { return repository_.addInstance(nameSpace_, instance); });
    if (alias.kind == MofToken::Alias) aliases_.targets[alias.text] = {nameSpace_, path};
}

void MofParser::instanceProperty(CIMInstance& instance, const CIMConstClass& definition)
{
    const Qualifiers qualifiers = qualifierList();
    const Name name = expectName("the name of a property or '}'");
    const Uint32 at = definition.findProperty(name.name);
    if (at == PEG_NOT_FOUND)
        throw MofFault{name.at, "class " + toUtf8(definition.getClassName().getString()) +
                                    " has no property " + toUtf8(name.name.getString())};
    const CIMConstProperty declared = definition.getProperty(at);
    expectSymbol('=', "and a value after the property's name");
    const CIMValue content =
        value(initializer(), {declared.getType(), declared.isArray(), declared.getArraySize()});
    expectSymbol(';', "after the value");
    refusedAt(name.at, [&] {
        CIMProperty added(declared.getName(), content, declared.getArraySize(),
                          declared.getReferenceClassName());
        addQualifiers(added, qualifiers);
        instance.addProperty(added);
    });
}

// A data type, or CLASS REF
MofParser::Type MofParser::type()
{
    Type result;
    result.at = token_.at;
    if (token_.kind != MofToken::Identifier) unexpected("a type");
    const TypeWord* const known = findType(token_.text);
    const Name name = expectName("a type");
    if (known != nullptr) {
        result.type = known->type;
        return result;
    }
    if (!acceptKeyword("ref"))
        throw MofFault{name.at, "'" + toUtf8(name.name.getString()) +
                                    "' is no CIM data type; a reference is written CLASS REF NAME"};
    result.type = CIMTYPE_REFERENCE;
    result.referenceClass = name.name;
    return result;
}

// Nothing, [] or [SIZE]
MofValueType MofParser::arraySuffix(CIMType type)
{
    MofValueType result{type, false, 0};
    if (!acceptSymbol('[')) return result;
    result.isArray = true;
    if (token_.kind == MofToken::Integer) {
        const MofToken size = take();
        const MofInteger number = toInteger(size.text, size.at);
        if (number.negative || number.magnitude == 0 || number.magnitude > 0xFFFF)
            throw MofFault{size.at, "expected an array size of 1 to 65535, found " + size.text};
        result.arraySize = static_cast<Uint32>(number.magnitude);
    }
    expectSymbol(']', "after the array");
    return result;
}

// LITERAL or {LITERAL, ...}
MofInitializer MofParser::initializer()
{
    MofInitializer result;
    result.at = token_.at;
    result.isList = acceptSymbol('{');
    if (result.isList && acceptSymbol('}')) return result;
    do {
        result.items.push_back(literal());
    } while (result.isList && acceptSymbol(','));
    if (result.isList) expectSymbol('}', "or ',' after the value");
    return result;
}

MofLiteral MofParser::literal()
{
    const MofPosition at = token_.at;
    switch (token_.kind) {
        case MofToken::Integer:
            return {MofLiteral::Integer, take().text, at};
        case MofToken::Real:
            return {MofLiteral::Real, take().text, at};
        case MofToken::Char:
            return {MofLiteral::Char, take().text, at};
        case MofToken::Alias:
            return {MofLiteral::Alias, take().text, at};
        case MofToken::String: {
            std::string text = take().text;
            while (token_.kind == MofToken::String)
                text += take().text;
            return {MofLiteral::String, text, at};
        }
        default:
            break;
    }
    if (acceptKeyword("null")) return {MofLiteral::Null, "", at};
    if (isKeyword("true") || isKeyword("false")) return {MofLiteral::Boolean, take().text, at};
    unexpected("a value");
}

CIMValue MofParser::value(const MofInitializer& initializer, const MofValueType& type)
{
    return toValue(initializer, type, [this](const MofLiteral& alias) { return aliasPath(alias); });
}

MofToken MofParser::take()
{
    return std::exchange(token_, lexer_.next());
}

bool MofParser::isSymbol(char symbol) const
{
    return token_.kind == MofToken::Symbol && token_.text[0] == symbol;
}

bool MofParser::isKeyword(const char* keyword) const
{
    return token_.kind == MofToken::Identifier && sameWord(token_.text, keyword);
}

bool MofParser::acceptSymbol(char symbol)
{
    if (!isSymbol(symbol)) return false;
    take();
    return true;
}

bool MofParser::acceptKeyword(const char* keyword)
{
    if (!isKeyword(keyword)) return false;
    take();
    return true;
}

void MofParser::expectSymbol(char symbol, const char* where)
{
    if (!acceptSymbol(symbol)) unexpected(std::string("'") + symbol + "' " + where);
}

MofParser::Name MofParser::expectName(const char* what)
{
    if (token_.kind != MofToken::Identifier) unexpected(what);
    const MofToken token = take();
    return refusedAt(token.at, [&] {
        return Name{CIMName(toString(token.text, token.at)), token.at};
    });
}

std::string MofParser::expectString(const char* what)
{
    if (token_.kind != MofToken::String) unexpected(what);
    return literal().text;
}

void MofParser::unexpected(const std::string& expected) const
{
    throw MofFault{token_.at, "expected " + expected + ", found " + describe(token_)};
}

CIMObjectPath MofParser::aliasPath(const MofLiteral& alias) const
{
    const auto found = aliases_.targets.find(alias.text);
    if (found == aliases_.targets.end())
        throw MofFault{alias.at, "alias $" + alias.text + " is not defined before its use"};
    CIMObjectPath path = found->second.path;
    if (!found->second.nameSpace.equal(nameSpace_)) path.setNameSpace(found->second.nameSpace);
    return path;
}

}  // namespace cimom
