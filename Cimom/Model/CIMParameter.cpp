#include "Model/Rep.h"

namespace Pegasus
{

using namespace cimom;

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
    representation(*this) = std::move(rep);
}

const CIMName& ParameterReader::getName() const
{
    return read<ParameterRep>(*this).name;
}

CIMType ParameterReader::getType() const
{
    return read<ParameterRep>(*this).type;
}

Boolean ParameterReader::isArray() const
{
    return read<ParameterRep>(*this).isArray;
}

Uint32 ParameterReader::getArraySize() const
{
    return read<ParameterRep>(*this).arraySize;
}

const CIMName& ParameterReader::getReferenceClassName() const
{
    return read<ParameterRep>(*this).referenceClassName;
}

Boolean ParameterReader::identical(const CIMConstParameter& x) const
{
    return cimom::identical(read<ParameterRep>(*this), read<ParameterRep>(x));
}

CIMParameter ParameterReader::clone() const
{
    return make<CIMParameter>(read<ParameterRep>(*this).clone());
}

}  // namespace detail

void CIMParameter::setName(const CIMName& name)
{
    rename<ParameterRep>(*this, name);
}

}  // namespace Pegasus
