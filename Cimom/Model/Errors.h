// Errors of operations as clients are told of them.
#pragma once

#include <Pegasus/Common/Exception.h>

namespace cimom
{

/// The exception that is being handled, as an error of an operation: CIM_ERR_FAILED unless it is a
/// CIMException. To be called in a catch block.
Pegasus::CIMException currentError();

/// The name of the code (with its number for what is no code) and the error's message, if any, as
/// in "CIM_ERR_NOT_FOUND: text".
Pegasus::String describe(const Pegasus::CIMException& error);

}  // namespace cimom
