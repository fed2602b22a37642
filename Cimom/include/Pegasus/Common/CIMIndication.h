// Indications are instances.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

namespace Pegasus
{

typedef CIMInstance CIMIndication;

}  // namespace Pegasus
