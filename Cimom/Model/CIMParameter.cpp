#include "Model/Rep.h"

namespace Pegasus
{

using Access = cimom::HandleAccess;
using cimom::ParameterRep;

namespace
{

const ParameterRep& read(const detail::Handle& handle)
{
    return Access::read<ParameterRep>(handle);
}

}  // namespace

namespace detail
{

ParameterReader::ParameterReader(const CIMName& name, CIMType type, Boolean isArray,
                                 Uint32 arraySize, const CIMName& referenceClassName)
{
    auto rep = std::make_shared<ParameterRep>(name);
    if (arraySize != 0 && !isArray) throw TypeMismatchException();
    if ((type == CIMTYPE_REFERENCE) == referenceClassName.isNull()) throw TypeMismatchException();
    rep->type = type;
    rep->isArray = isArray;
    rep->arraySize = arraySize;
    rep->referenceClassName = referenceClassName;
    Access::rep(*this) = std::move(rep);
}

const CIMName& ParameterReader::getName() const
{
    return read(*this).name;
}

CIMType ParameterReader::getType() const
{
    return read(*this).type;
}

Boolean ParameterReader::isArray() const
{
    return read(*this).isArray;
}

Uint32 ParameterReader::getArraySize() const
{
    return read(*this).arraySize;
}

const CIMName& ParameterReader::getReferenceClassName() const
{
    return read(*this).referenceClassName;
}

Boolean ParameterReader::identical(const CIMConstParameter& x) const
{
    return cimom::identical(read(*this), read(x));
}

CIMParameter ParameterReader::clone() const
{
    return Access::make<CIMParameter>(read(*this).clone());
}

}  // namespace detail

void CIMParameter::setName(const CIMName& name)
{
    Access::write<ParameterRep>(*this).rename(name, ParameterRep::kind);
}

}  // namespace Pegasus
