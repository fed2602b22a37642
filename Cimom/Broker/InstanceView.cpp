#include "Broker/InstanceView.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

CIMProperty shown(const CIMProperty& property, const InstanceView& view)
{
    const bool hideOrigin = !view.includeClassOrigin && !property.getClassOrigin().isNull();
    const bool hideQualifiers = !view.includeQualifiers && property.getQualifierCount() > 0;
    if (!hideOrigin && !hideQualifiers) return property;

    CIMProperty copy = property.clone();
    if (hideOrigin) copy.setClassOrigin(CIMName());
    while (hideQualifiers && copy.getQualifierCount() > 0)
        copy.removeQualifier(0);
    return copy;
}

}  // namespace

CIMInstance InstanceView::of(const CIMInstance& instance, const CIMObjectPath& path) const
{
    CIMInstance source = instance;  // a non-const handle: its getters give non-const properties
    CIMInstance result(instance.getClassName());
    result.setPath(path);
    for (Uint32 i = 0; includeQualifiers && i < source.getQualifierCount(); ++i) {
        result.addQualifier(source.getQualifier(i));
    }
    if (properties.isNull()) {
        for (Uint32 i = 0; i < source.getPropertyCount(); ++i) {
            result.addProperty(shown(source.getProperty(i), *this));
        }
        return result;
    }
    for (Uint32 i = 0; i < properties.size(); ++i) {
        const Uint32 position = source.findProperty(properties[i]);
        if (position != PEG_NOT_FOUND) {
            result.addProperty(shown(source.getProperty(position), *this));
        }
    }
    return result;
}

CIMPropertyList withoutRepetitions(const CIMPropertyList& list)
{
    if (list.isNull()) return list;
    Array<CIMName> names;
    for (Uint32 i = 0; i < list.size(); ++i) {
        bool repeated = false;
        for (Uint32 k = 0; k < names.size() && !repeated; ++k)
            repeated = names[k].equal(list[i]);
        if (!repeated) names.append(list[i]);
    }
    return CIMPropertyList(names);
}

CIMPropertyList propertyNames(const CIMConstClass& cimClass)
{
    Array<CIMName> names;
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); ++i) {
        names.append(cimClass.getProperty(i).getName());
    }
    return CIMPropertyList(names);
}

}  // namespace cimom
