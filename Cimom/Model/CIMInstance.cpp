#include "Model/Rep.h"

namespace Pegasus
{

using namespace cimom;

namespace detail
{

InstanceReader::InstanceReader(const ObjectReader& other) : ObjectReader(other)
{
    if (!dynamic_cast<const InstanceRep*>(representation(*this).get()))
        throw DynamicCastFailedException();
}

InstanceReader::InstanceReader(const CIMName& className)
{
    representation(*this) = std::make_shared<InstanceRep>(className);
}

CIMObjectPath InstanceReader::buildPath(const CIMConstClass& cimClass) const
{
    const InstanceRep& rep = read<InstanceRep>(*this);
    Array<CIMName> names;
    cimClass.getKeyNames(names);
    Array<CIMKeyBinding> keys;
    for (Uint32 i = 0; i < names.size(); ++i) {
        const Uint32 index = rep.properties.find(names[i]);
        if (index == PEG_NOT_FOUND) throw NoSuchProperty(names[i].getString());
        keys.append(CIMKeyBinding(names[i], rep.properties.at(index)->value));
    }
    return CIMObjectPath(String(), CIMNamespaceName(), rep.path.getClassName(), keys);
}

Boolean InstanceReader::identical(const CIMConstInstance& x) const
{
    return cimom::identical(read<InstanceRep>(*this), read<InstanceRep>(x));
}

CIMInstance InstanceReader::clone() const
{
    return make<CIMInstance>(read<InstanceRep>(*this).clone());
}

}  // namespace detail

void CIMInstance::instanceFilter(Boolean includeQualifiers, Boolean includeClassOrigin,
                                 const CIMPropertyList& propertyList)
{
    filterInstance(includeQualifiers, includeClassOrigin, propertyList);
}

}  // namespace Pegasus
