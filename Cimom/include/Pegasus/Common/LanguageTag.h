// Names of natural languages.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// A language tag such as "en-US", kept as written and not checked.
class PEGASUS_COMMON_LINKAGE LanguageTag
{
public:
    LanguageTag() = default;
    LanguageTag(const String& languageTagString) : _text(languageTagString) {}

    /// Throws UninitializedObjectException for a default constructed tag.
    String toString() const;
    /// Tags compare without case.
    Boolean operator==(const LanguageTag& languageTag) const;
    Boolean operator!=(const LanguageTag& languageTag) const { return !(*this == languageTag); }

private:
    String _text;
};

}  // namespace Pegasus
