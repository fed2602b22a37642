// The provider interfaces' own members, here so that every module shares one set of type data.
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

namespace Pegasus
{

CIMProvider::CIMProvider() = default;
CIMProvider::~CIMProvider() = default;
CIMInstanceProvider::CIMInstanceProvider() = default;
CIMInstanceProvider::~CIMInstanceProvider() = default;
CIMMethodProvider::CIMMethodProvider() = default;
CIMMethodProvider::~CIMMethodProvider() = default;
CIMAssociationProvider::CIMAssociationProvider() = default;
CIMAssociationProvider::~CIMAssociationProvider() = default;

}  // namespace Pegasus
