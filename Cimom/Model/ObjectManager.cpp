#include "Model/ObjectManager.h"

#include <atomic>

namespace cimom
{

namespace
{

std::atomic<ObjectManager*> currentManager{nullptr};

}  // namespace

ObjectManager* ObjectManager::current() noexcept
{
    return currentManager;
}

void ObjectManager::setCurrent(ObjectManager* manager) noexcept
{
    currentManager = manager;
}

}  // namespace cimom
