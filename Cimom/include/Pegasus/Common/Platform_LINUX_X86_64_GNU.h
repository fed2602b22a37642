// What the library defines for Linux on x86-64 with a GNU-compatible compiler.
#pragma once

#include <cstddef>
#include <cstdlib>

#ifndef PEGASUS_PLATFORM_LINUX_GENERIC_GNU
#define PEGASUS_PLATFORM_LINUX_GENERIC_GNU
#endif
#define PEGASUS_OS_TYPE_UNIX
#define PEGASUS_OS_LINUX
#define PEGASUS_HAVE_NAMESPACES

#define PEGASUS_EXPORT __attribute__((visibility("default")))
#define PEGASUS_IMPORT __attribute__((visibility("default")))
#define PEGASUS_HIDDEN_LINKAGE __attribute__((visibility("hidden")))
