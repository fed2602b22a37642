#include "Model/Frozen.h"

#include "Model/Rep.h"

namespace cimom
{

namespace
{

void freezeHandle(Pegasus::detail::Handle& handle)
{
    read<Rep>(handle);
    representation(handle)->freeze();
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
