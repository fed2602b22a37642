#include "Model/ObjectManager.h"

#include <Pegasus/Common/Exception.h>

namespace cimom
{

std::atomic<ObjectManager*> ObjectManager::current{nullptr};

ObjectManager& ObjectManager::running()
{
    if (ObjectManager* const manager = current) return *manager;
    throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED,
                                "No object manager is running in this process.");
}

}  // namespace cimom
