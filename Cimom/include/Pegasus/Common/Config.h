// Basic types and macros of the CIM library.
#pragma once

#ifndef PEGASUS_PLATFORM_LINUX_X86_64_GNU
#error \
    "<Pegasus/Common/Config.h>: define PEGASUS_PLATFORM_LINUX_X86_64_GNU; no other platform is supported"
#endif

#define PEGASUS_USING_PEGASUS using namespace Pegasus
#define PEGASUS_USING_STD using namespace std

#define PEGASUS_EXPORT __attribute__((visibility("default")))

namespace Pegasus
{

using Boolean = bool;
using Uint8 = unsigned char;
using Sint8 = signed char;
using Uint16 = unsigned short;
using Sint16 = short;
using Uint32 = unsigned int;
using Sint32 = int;
// Not the <cstdint> types: those are long here, and other overloads would be chosen.
using Uint64 = unsigned long long;
using Sint64 = long long;
using Real32 = float;
using Real64 = double;

}  // namespace Pegasus

/// The position of what was not found.
#define PEG_NOT_FOUND Pegasus::Uint32(-1)
