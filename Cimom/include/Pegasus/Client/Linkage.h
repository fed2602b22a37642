// Visibility of what the client library exports.
#pragma once

#include <Pegasus/Common/Config.h>

#ifndef PEGASUS_CLIENT_LINKAGE
#define PEGASUS_CLIENT_LINKAGE PEGASUS_IMPORT
#endif
