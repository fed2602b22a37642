// CIM operations over HTTP: which requests are accepted, what goes into headers. No sockets here.
#pragma once

#include "CimXml/Service.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cimom
{

/// The start of a request: verb and header fields.
struct HttpHead
{
    std::string verb;
    std::vector<std::pair<std::string, std::string>> fields;

    /// The value of a field, its name compared without case; null when it is absent.
    const std::string* find(std::string_view name) const;
    /// A field that M-POST requests may prefix with the number of their namespace.
    const std::string* findCim(std::string_view name) const;
    bool isMandatoryPost() const { return verb == "M-POST"; }
};

struct HttpReply
{
    int status = 200;
    std::vector<std::pair<std::string, std::string>> fields;
    std::string body;
    bool close = false;  ///< end the connection afterwards
};

struct Credentials
{
    std::string user;
    std::string password;
};

/// A reply without body that names its reason in the PGErrorDetail field (empty: no field).
HttpReply plainReply(int status, const std::string& detail, bool close = false);

/// The reply to a request that can be refused before its body is read, whoever sends it; nothing
/// when it may go on. These end the connection.
std::optional<HttpReply> refuseAtOnce(const HttpHead&, std::size_t maxBody);
/// The reply to a request whose header fields are not acceptable; nothing when they are.
std::optional<HttpReply> refuseFields(const HttpHead&);

/// The user and password of an Authorization field; nothing when it holds no Basic credentials.
std::optional<Credentials> basicCredentials(const std::string* authorization);
/// 401 with the challenge; `given`: there were credentials, but wrong ones.
HttpReply unauthorizedReply(const std::string& realm, bool given);

/// The CIM fields of an acceptable request; body and user are left empty.
CimRequest cimRequest(const HttpHead&);
HttpReply httpReply(const HttpHead&, CimReply&&);

}  // namespace cimom
