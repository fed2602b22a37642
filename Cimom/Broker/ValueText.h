// Values that arrive as text, turned into the types that the class declares.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMValue.h>

#include <string>
#include <vector>

namespace cimom
{

/// The value of these texts, written as CIM-XML writes values; exactly one text unless an array is
/// asked for. Throws std::invalid_argument when a text is no value of the type, and for embedded
/// objects, which have no plain text.
Pegasus::CIMValue valueFromTexts(const std::vector<std::string>& texts, Pegasus::CIMType type,
                                 bool isArray);

/// A string value as a value of the declared type; values of other types, and strings where
/// strings are declared, as they are. Throws CIMException with CIM_ERR_INVALID_PARAMETER when the
/// text is no such value, or an array is given for a scalar or the reverse.
Pegasus::CIMValue declaredValue(const Pegasus::CIMValue& value, Pegasus::CIMType type,
                                bool isArray);

/// The input parameters with every untyped one converted to the type that the method declares.
/// Typed ones, and untyped ones that the method does not declare, stay as they are. Throws
/// CIMException with CIM_ERR_METHOD_NOT_FOUND when there is an untyped parameter and the class
/// does not declare the method, and as declaredValue does.
Pegasus::Array<Pegasus::CIMParamValue> typedParameters(
    const Pegasus::Array<Pegasus::CIMParamValue>& parameters,
    const Pegasus::CIMConstClass& cimClass, const Pegasus::CIMName& methodName);

}  // namespace cimom
