#include "CimXml/Enumerations.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{

std::string Enumerations::open(OpenEnumeration enumeration)
{
    const std::lock_guard lock(mutex_);
    checkLimits(enumeration);
    const Time deadline = std::chrono::steady_clock::now() + enumeration.timeout;
    const std::string context = std::to_string(++last_);
    opened_.emplace(context, Opened{std::move(enumeration), deadline});
    return context;
}

void Enumerations::checkLimits(const OpenEnumeration& added) const
{
    unsigned ofUser = 1;
    std::size_t bytes = added.elements.size();
    std::size_t bytesOfUser = bytes;
    for (const auto& [context, opened] : opened_) {
        const std::size_t size = opened.enumeration.elements.size();
        const bool isOfUser = opened.enumeration.user == added.user;
        bytes += size;
        bytesOfUser += isOfUser ? size : 0;
        ofUser += isOfUser ? 1 : 0;
    }
    if (ofUser <= mostOfUser && bytes <= mostBytes_ && bytesOfUser <= mostBytes_ / 2) return;
    throw CIMException(CIM_ERR_SERVER_LIMITS_EXCEEDED,
                       "Too many open enumerations, or too large ones. Close some, pull more "
                       "elements at once, or enumerate without pulling.");
}

PulledPart Enumerations::pull(const std::string& context, const String& user,
                              OpenEnumeration::Kind kind, const CIMNamespaceName& nameSpace,
                              std::size_t most)
{
    const std::lock_guard lock(mutex_);
    const auto found = find(context, user);
    auto& [enumeration, deadline, pulled] = found->second;
    if (enumeration.kind != kind) {
        opened_.erase(found);
        throw CIMException(CIM_ERR_FAILED, "Open and Pull Message types do not match.");
    }
    if (!enumeration.nameSpace.equal(nameSpace)) {
        throw CIMException(CIM_ERR_FAILED, "Incorrect namespace (" + nameSpace.getString() +
                                               ") in pull operation. Expected: " +
                                               enumeration.nameSpace.getString() + ".");
    }
    deadline = std::chrono::steady_clock::now() + enumeration.timeout;
    const std::vector<std::size_t>& ends = enumeration.ends;
    const std::size_t begin = pulled == 0 ? 0 : ends[pulled - 1];
    pulled += std::min(most, ends.size() - pulled);
    const std::size_t end = pulled == 0 ? 0 : ends[pulled - 1];
    PulledPart part{enumeration.elements.substr(begin, end - begin), context};
    if (pulled == ends.size()) {
        opened_.erase(found);
        part.context.clear();
    }
    return part;
}

void Enumerations::close(const std::string& context, const String& user)
{
    const std::lock_guard lock(mutex_);
    opened_.erase(find(context, user));
}

void Enumerations::closeExpired()
{
    const std::lock_guard lock(mutex_);
    const Time now = std::chrono::steady_clock::now();
    for (auto each = opened_.begin(); each != opened_.end();)
        each = each->second.deadline < now ? opened_.erase(each) : std::next(each);
}

Enumerations::ByContext::iterator Enumerations::find(const std::string& context, const String& user)
{
    const auto found = opened_.find(context);
    if (found != opened_.end() && found->second.enumeration.user == user) return found;
    throw CIMException(CIM_ERR_INVALID_ENUMERATION_CONTEXT, "Context undefined.");
}

}  // namespace cimom
