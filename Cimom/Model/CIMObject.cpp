#include <Pegasus/Common/CIMObject.h>

#include "Model/Elements.h"

namespace Pegasus
{

CIMObject CIMObject::clone() const
{
    return CIMObject(cimom::clone(object()));
}

}  // namespace Pegasus
