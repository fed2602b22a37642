// Initializers of MOF: what is written, and the CIM value it gives for a type.
#pragma once

#include "Mof/MofLexer.h"

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMValue.h>

#include <vector>

namespace cimom
{

/// A type as a declaration gives it.
struct MofType
{
    Pegasus::CIMType type = Pegasus::CIMTYPE_BOOLEAN;
    Pegasus::CIMName referenceClass{};
    bool isArray = false;
    Pegasus::Uint32 arraySize = 0;

    Pegasus::CIMValue null() const { return Pegasus::CIMValue(type, isArray, arraySize); }
};

/// A single literal or a list of them in braces. A literal is a number, a string (adjacent ones
/// joined), a character, or one of the words null, true and false.
struct MofInitializer
{
    bool isList = false;
    std::vector<MofToken> items;
    MofPosition at;

    bool isNull() const { return !isList && items[0].is("null"); }
};

/// Returns the initializer as a value of the type; null stands for the whole value only. Throws
/// MofFault with what is wrong and what was expected.
Pegasus::CIMValue toValue(const MofInitializer& initializer, const MofType& type);

}  // namespace cimom
