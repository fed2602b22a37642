#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/ContentLanguageList.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>

namespace Pegasus
{

namespace
{

template <class T>
const T& at(const std::vector<T>& items, Uint32 index)
{
    if (index >= items.size()) throw IndexOutOfBoundsException();
    return items[index];
}

}  // namespace

String LanguageTag::toString() const
{
    if (_text.size() == 0) throw UninitializedObjectException();
    return _text;
}

Boolean LanguageTag::operator==(const LanguageTag& languageTag) const
{
    return String::equalNoCase(toString(), languageTag.toString());
}

LanguageTag AcceptLanguageList::getLanguageTag(Uint32 index) const
{
    return at(_tags, index).first;
}

Real32 AcceptLanguageList::getQualityValue(Uint32 index) const
{
    return at(_tags, index).second;
}

void AcceptLanguageList::insert(const LanguageTag& languageTag, Real32 qualityValue)
{
    const auto place = std::find_if(_tags.begin(), _tags.end(),
                                    [&](const auto& tag) { return tag.second < qualityValue; });
    _tags.insert(place, {languageTag, qualityValue});
}

LanguageTag ContentLanguageList::getLanguageTag(Uint32 index) const
{
    return at(_tags, index);
}

}  // namespace Pegasus
