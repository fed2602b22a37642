// Declarations of qualifiers, and the kinds of elements that they allow.
#pragma once

#include "Model/Elements.h"

namespace cimom
{

/// Kinds of elements; a qualifier declaration allows a set of them, combined with `|`.
enum Scope : unsigned
{
    ClassScope = 1,
    AssociationScope = 2,
    IndicationScope = 4,
    PropertyScope = 8,
    ReferenceScope = 16,
    MethodScope = 32,
    ParameterScope = 64,
    AnyScope = 127
};

struct ScopeName
{
    const char* name;
    Scope scope;
};

/// The names of all scopes, as CIM-XML writes them. "ANY" is the last.
constexpr ScopeName scopeNames[] = {
    {"CLASS", ClassScope},           {"ASSOCIATION", AssociationScope},
    {"REFERENCE", ReferenceScope},   {"PROPERTY", PropertyScope},
    {"METHOD", MethodScope},         {"PARAMETER", ParameterScope},
    {"INDICATION", IndicationScope}, {"ANY", AnyScope}};

struct QualifierDecl
{
    CIMName name;
    CIMValue value;  ///< the default; also fixes type and arrayness
    unsigned scopes = 0;
    Flavor flavor;
    Uint32 arraySize = 0;
};

}  // namespace cimom
