// What a client is told when a provider throws.
#pragma once

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/CIMProvider.h>

namespace cimom
{

/// The exception being handled, as a client is to see it: a CIMException as it is, anything else
/// with CIM_ERR_FAILED and its text, or "Unknown error.". To be called in a catch block.
Pegasus::CIMException currentProviderError();

/// Calls terminate(), which deletes the provider; what it throws is lost.
void terminateQuietly(Pegasus::CIMProvider& provider) noexcept;

}  // namespace cimom
