// What <Pegasus/Common/InternalException.h> needs before it. This library's messages are not
// translated, so there is no message loader.
#pragma once

#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/ContentLanguageList.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
