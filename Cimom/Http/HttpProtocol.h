// CIM operations over HTTP: which requests are accepted, what goes into headers.
#pragma once

#include "CimXml/Service.h"
#include "Http/RequestParser.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cimom
{

struct HttpReply
{
    int status = 200;
    std::vector<std::pair<std::string, std::string>> fields;
    std::string body;
    Pieces rest = nullptr;  ///< of a long body
    bool close = false;     ///< end the connection afterwards
    bool isDenied = false;  ///< the operation failed with CIM_ERR_ACCESS_DENIED
};

struct Credentials
{
    std::string user;
    std::string password;
};

/// The text with all but ASCII letters, digits and -_.~ as %XX.
std::string percentEncoded(std::string_view text);
/// A reply without body that names its reason in the PGErrorDetail field (empty: no field).
HttpReply plainReply(int status, const std::string& detail, bool close = false);
/// 401 with the challenge.
HttpReply unauthorizedReply(const std::string& realm, const std::string& detail);
HttpReply httpReply(CimReply&&);
/// The status line and the header fields as they go over the wire; `framing` is the field that says
/// where the body ends, with its line end.
std::string headText(const HttpReply&, const std::string& framing);

/// The reply to a request that can be refused before its body is read, whoever sends it; nothing
/// when it may go on. These end the connection.
std::optional<HttpReply> refuseAtOnce(const RequestHead&);
/// The reply to a request whose header fields are not acceptable; nothing when they are.
std::optional<HttpReply> refuseFields(const RequestHead&);
/// The user and password of a request; nothing when it holds no Basic credentials.
std::optional<Credentials> basicCredentials(const RequestHead&);
/// The CIM fields of an acceptable request, without body and user.
CimRequest cimRequest(const RequestHead&);

}  // namespace cimom
