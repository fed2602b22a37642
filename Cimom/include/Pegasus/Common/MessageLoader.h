// What <Pegasus/Common/InternalException.h> needs before it in the library's source tree. This
// library's messages are not translated, so there is no message loader.
#pragma once
