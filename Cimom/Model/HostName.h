// The host part of object paths.
#pragma once

#include <Pegasus/Common/String.h>

namespace cimom
{

/// True for a host name, an IPv4 address or an IPv6 address in brackets (link-local ones with a
/// zone, others without), each with an optional port.
bool isHostWithPort(const Pegasus::String& text);

}  // namespace cimom
