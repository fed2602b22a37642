#include <Pegasus/Client/CIMClient.h>

#include "Model/Errors.h"
#include "Model/ObjectManager.h"

using cimom::ObjectManager;

namespace Pegasus
{

void CIMClient::connectLocal()
{
    if (connected_) throw AlreadyConnectedException();
    if (!ObjectManager::current) {
        throw CannotConnectException("Cannot connect to local CIM server. Connection failed.");
    }
    connected_ = true;
}

Array<CIMObjectPath> CIMClient::enumerateInstanceNames(const CIMNamespaceName& nameSpace,
                                                       const CIMName& className)
{
    if (!connected_) throw NotConnectedException();
    try {
        return ObjectManager::running().enumerateInstanceNames(OperationContext(), nameSpace,
                                                               className, cimom::PathForm::Local);
    } catch (const CIMException& error) {
        throw CIMException(error.getCode(), cimom::describe(error));
    }
}

}  // namespace Pegasus
