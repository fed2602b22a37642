// Initializers of MOF: what is written, and the CIM value it gives for a type.
#pragma once

#include "Mof/MofLexer.h"

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>

#include <functional>
#include <string>
#include <vector>

namespace cimom
{

/// One literal: null, a boolean, a number, a string (adjacent ones joined), a character or an
/// alias.
struct MofLiteral
{
    enum Kind
    {
        Null,
        Boolean,
        Integer,
        Real,
        String,
        Char,
        Alias
    };

    Kind kind = Null;
    std::string text;
    MofPosition at;
};

/// A single literal or a list of them in braces.
struct MofInitializer
{
    bool isList = false;
    std::vector<MofLiteral> items;
    MofPosition at;
};

/// Finds the path of an alias. Throws MofFault.
using AliasLookup = std::function<Pegasus::CIMObjectPath(const MofLiteral&)>;

/// What a value is for.
struct MofValueType
{
    Pegasus::CIMType type = Pegasus::CIMTYPE_BOOLEAN;
    bool isArray = false;
    Pegasus::Uint32 arraySize = 0;
};

/// Returns the initializer as a value of the type; null stands for the whole value only. Throws
/// MofFault with what is wrong and what was expected.
Pegasus::CIMValue toValue(const MofInitializer& initializer, const MofValueType& type,
                          const AliasLookup& aliases);

/// Returns the text as the library's string. Throws MofFault when it is not UTF-8.
Pegasus::String toString(const std::string& text, const MofPosition& at);

/// An integer literal in decimal, octal (leading 0), hexadecimal (0x) or binary (trailing b).
struct MofInteger
{
    bool negative = false;
    Pegasus::Uint64 magnitude = 0;
};

/// Throws MofFault when the text is no integer or beyond 64 bits.
MofInteger toInteger(const std::string& text, const MofPosition& at);

}  // namespace cimom
