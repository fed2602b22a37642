#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Exception.h>

namespace Pegasus
{

namespace
{

bool holds(const Array<CIMName>& names, const CIMName& name)
{
    for (Uint32 i = 0; i < names.size(); ++i) {
        if (names[i].equal(name)) return true;
    }
    return false;
}

}  // namespace

CIMPropertyList::CIMPropertyList() = default;

CIMPropertyList::CIMPropertyList(const Array<CIMName>& propertyNames)
{
    set(propertyNames);
}

void CIMPropertyList::set(const Array<CIMName>& propertyNames)
{
    if (holds(propertyNames, CIMName())) throw UninitializedObjectException();
    _names = propertyNames;
    _isNull = false;
}

void CIMPropertyList::clear()
{
    _names.clear();
    _isNull = true;
}

Boolean CIMPropertyList::isNull() const
{
    return _isNull;
}

Uint32 CIMPropertyList::size() const
{
    return _names.size();
}

const CIMName& CIMPropertyList::operator[](Uint32 index) const
{
    return _names[index];
}

Array<CIMName> CIMPropertyList::getPropertyNameArray() const
{
    return _names;
}

void CIMPropertyList::append(Array<String>& propertyListArray)
{
    const Array<String>& texts = propertyListArray;
    Array<CIMName> names;
    for (Uint32 i = 0; i < texts.size(); ++i) {
        const CIMName name(texts[i]);
        if (!holds(names, name)) names.append(name);
    }
    if (names.size() > 0) _names = names;
    _isNull = false;
}

Boolean CIMPropertyList::contains(const CIMName& name) const
{
    return holds(_names, name);
}

Boolean CIMPropertyList::useThisProperty(const CIMName& name) const
{
    return _isNull || contains(name);
}

String CIMPropertyList::toString() const
{
    if (_isNull) return String("NULL");
    if (_names.size() == 0) return String("EMPTY");
    String text;
    for (Uint32 i = 0; i < _names.size(); ++i) {
        if (i > 0) text.append(String(", "));
        text.append(_names[i].getString());
    }
    return text;
}

}  // namespace Pegasus
