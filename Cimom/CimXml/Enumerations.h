// Enumerations that clients pull in parts.
#pragma once

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/String.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace cimom
{

/// The part of a result that its client has not pulled yet.
struct OpenEnumeration
{
    /// What its elements are: VALUE.INSTANCEWITHPATH or INSTANCEPATH.
    enum Kind
    {
        Instances,
        Paths
    };

    std::string elements;           ///< as CIM-XML text, one behind the other
    std::vector<std::size_t> ends;  ///< where each of them ends
    Kind kind;
    Pegasus::String user;
    Pegasus::CIMNamespaceName nameSpace;
    std::chrono::seconds timeout;  ///< between two requests of its client
};

/// Elements for a client, and the context by which it pulls those behind them: empty when there are
/// none.
struct PulledPart
{
    std::string elements;
    std::string context;
};

/// The enumerations that clients have opened and not pulled to their end. Each belongs to its user,
/// and is closed when that user sends nothing for it within its timeout. Their number and the
/// memory that they take are bounded. Safe for any number of threads.
class Enumerations
{
public:
    static constexpr unsigned mostOfUser = 16;

    /// Keeps at most so many bytes; of one user, half of them.
    explicit Enumerations(std::size_t mostBytes) : mostBytes_(mostBytes) {}

    /// Keeps an enumeration; returns the context by which its client pulls it. Throws
    /// CIM_ERR_SERVER_LIMITS_EXCEEDED.
    std::string open(OpenEnumeration);
    /// The next elements, at most so many, for a client that asks for that kind in that namespace.
    /// Throws CIM_ERR_INVALID_ENUMERATION_CONTEXT when the user has no such enumeration, and
    /// CIM_ERR_FAILED when it is one of another kind, which closes it, or of another namespace.
    PulledPart pull(const std::string& context, const Pegasus::String& user, OpenEnumeration::Kind,
                    const Pegasus::CIMNamespaceName&, std::size_t most);
    /// Throws CIM_ERR_INVALID_ENUMERATION_CONTEXT when the user has no such enumeration.
    void close(const std::string& context, const Pegasus::String& user);
    /// Closes those whose clients have sent nothing in time.
    void closeExpired();

private:
    using Time = std::chrono::steady_clock::time_point;
    struct Opened
    {
        OpenEnumeration enumeration;
        Time deadline;
        std::size_t pulled = 0;  ///< elements
    };
    using ByContext = std::map<std::string, Opened>;

    ByContext::iterator find(const std::string& context, const Pegasus::String& user);
    void checkLimits(const OpenEnumeration& added) const;

    const std::size_t mostBytes_;
    std::mutex mutex_;
    ByContext opened_;
    std::uint64_t last_ = 0;
};

}  // namespace cimom
