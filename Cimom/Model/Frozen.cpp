#include "Model/Frozen.h"

#include "Model/Rep.h"

namespace cimom
{

namespace
{

void freezeHandle(Pegasus::detail::Handle& handle)
{
    const Rep& rep = read<Rep>(handle);
    if (rep.frozen) return;
    std::shared_ptr<Rep> copy = rep.clone();
    copy->freeze();
    representation(handle) = std::move(copy);
}

}  // namespace

void freeze(Pegasus::CIMClass& cimClass)
{
    freezeHandle(cimClass);
}

void freeze(Pegasus::CIMQualifierDecl& declaration)
{
    freezeHandle(declaration);
}

}  // namespace cimom
