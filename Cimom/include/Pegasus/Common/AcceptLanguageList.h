// The languages a client wants.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/LanguageTag.h>
#include <Pegasus/Common/Linkage.h>

#include <utility>
#include <vector>

namespace Pegasus
{

/// Language tags, the most wanted first.
class PEGASUS_COMMON_LINKAGE AcceptLanguageList
{
public:
    Uint32 size() const { return static_cast<Uint32>(_tags.size()); }
    /// Throws IndexOutOfBoundsException.
    LanguageTag getLanguageTag(Uint32 index) const;
    /// Throws IndexOutOfBoundsException.
    Real32 getQualityValue(Uint32 index) const;
    /// `qualityValue` from 0.0 to 1.0; equal values keep the order of insertion.
    void insert(const LanguageTag& languageTag, Real32 qualityValue);
    void clear() { _tags.clear(); }

private:
    std::vector<std::pair<LanguageTag, Real32>> _tags;
};

}  // namespace Pegasus
