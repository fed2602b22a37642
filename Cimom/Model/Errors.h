// The errors of operations, as clients receive them.
#pragma once

#include <Pegasus/Common/Exception.h>

namespace cimom
{

/// The exception that is being handled, as the error of an operation: CIM_ERR_FAILED unless it is a
/// CIMException. To be called in a catch block.
Pegasus::CIMException currentError();

/// The name of the code and the message, if there is one, as in "CIM_ERR_NOT_FOUND: text". A number
/// that is not a CIM status code stands in place of the name.
Pegasus::String describe(const Pegasus::CIMException& error);

}  // namespace cimom
