// Processes CIM-XML requests.
#pragma once

#include "CimXml/XmlTree.h"

#include <functional>
#include <optional>
#include <string>

namespace cimom
{

class Broker;
class Enumerations;

/// A request as the transport received it: the CIM headers (percent-decoded, absent when the
/// request lacks them), the body, and the name of the authenticated user.
struct CimRequest
{
    std::optional<std::string> protocolVersion;  ///< CIMProtocolVersion
    std::optional<std::string> method;           ///< CIMMethod
    std::optional<std::string> object;           ///< CIMObject
    bool batch = false;                          ///< CIMBatch is there
    std::string user;
    std::string body;
};

/// The memory that a request with a body of that size takes at most until its operation begins: the
/// body, and the elements that are made of it. Small ones take 1 MB more.
constexpr std::size_t requestMemory(std::size_t bodySize)
{
    return (1 + xmlMemoryFactor) * bodySize;
}

/// Appends the next piece of a text; false when that was the last.
using Pieces = std::function<bool(std::string& out)>;

/// The response: with status 200 a CIM-XML body, otherwise the CIMError header (may be empty) and
/// an explanation. `body` is the first piece of a long body; `rest` encodes the others one by one.
struct CimReply
{
    int status = 200;
    std::string cimError;
    std::string detail;
    std::string body;
    Pieces rest = nullptr;
    bool isDenied = false;  ///< the operation failed with CIM_ERR_ACCESS_DENIED
};

/// Decodes the request, runs its operation and encodes the result or the CIM error. Bad requests
/// and failed operations do not throw.
CimReply answerCimRequest(Broker&, Enumerations&, const CimRequest&);

}  // namespace cimom
