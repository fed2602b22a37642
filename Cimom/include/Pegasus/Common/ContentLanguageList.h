// The languages of a message's content.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/LanguageTag.h>
#include <Pegasus/Common/Linkage.h>

#include <vector>

namespace Pegasus
{

/// Language tags in the order they were appended.
class PEGASUS_COMMON_LINKAGE ContentLanguageList
{
public:
    Uint32 size() const { return static_cast<Uint32>(_tags.size()); }
    /// Throws IndexOutOfBoundsException.
    LanguageTag getLanguageTag(Uint32 index) const;
    void append(const LanguageTag& languageTag) { _tags.push_back(languageTag); }
    void clear() { _tags.clear(); }

private:
    std::vector<LanguageTag> _tags;
};

}  // namespace Pegasus
