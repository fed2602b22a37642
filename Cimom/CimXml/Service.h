// One CIM-XML request answered by an object manager.
#pragma once

#include "Model/ObjectManager.h"

#include <optional>
#include <string>

namespace cimom
{

/// What a transport hands over: the CIM headers (values as received, absent when the request lacks
/// them), the body, and the name of the user it has authenticated.
struct CimRequest
{
    std::optional<std::string> protocolVersion;  ///< CIMProtocolVersion
    std::optional<std::string> method;           ///< CIMMethod
    std::optional<std::string> object;           ///< CIMObject
    bool batch = false;                          ///< CIMBatch is there
    std::string acceptLanguage;
    std::string contentLanguage;
    std::string user;
    std::string body;
};

/// What goes back: with status 200 a CIM-XML body, otherwise the CIMError header (may be empty)
/// and an explanation.
struct CimReply
{
    int status = 200;
    std::string cimError;
    std::string detail;
    std::string body;
};

/// Decodes the request, runs its operation and encodes the result or the CIM error. Paths of
/// associated objects that have no host get `hostName`. Never throws for a bad request or a
/// failing operation.
CimReply answerCimRequest(ObjectManager& manager, const std::string& hostName,
                          const CimRequest& request);

}  // namespace cimom
