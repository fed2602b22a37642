// One CIM-XML request answered by the object manager.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace cimom
{

class Broker;

/// What a transport hands over: the CIM headers (percent-decoded, absent when the request lacks
/// them), the body, and the name of the user it has authenticated.
struct CimRequest
{
    std::optional<std::string> protocolVersion;  ///< CIMProtocolVersion
    std::optional<std::string> method;           ///< CIMMethod
    std::optional<std::string> object;           ///< CIMObject
    bool batch = false;                          ///< CIMBatch is there
    std::string user;
    std::string body;
};

/// Appends the next piece of a text; false when that was the last.
using Pieces = std::function<bool(std::string& out)>;

/// What goes back: with status 200 a CIM-XML body, otherwise the CIMError header (may be empty)
/// and an explanation. Of a long body the rest is encoded when it is asked for.
struct CimReply
{
    int status = 200;
    std::string cimError;
    std::string detail;
    std::string body;
    Pieces rest = nullptr;
};

/// Decodes the request, runs its operation and encodes the result or the CIM error. Never throws
/// for a bad request or a failing operation.
CimReply answerCimRequest(Broker& broker, const CimRequest& request);

}  // namespace cimom
