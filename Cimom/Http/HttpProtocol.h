// CIM operations over HTTP: which requests are accepted, what goes into headers.
#pragma once

#include "CimXml/Service.h"

#include <microhttpd.h>
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
/// The reply to a body that is larger than so many bytes.
HttpReply tooLargeReply(std::size_t maxBody);
/// 401 with the challenge.
HttpReply unauthorizedReply(const std::string& realm, const std::string& detail);
HttpReply httpReply(CimReply&&);
/// A reply without body as it goes over the wire.
std::string plainText(const HttpReply&);

/// The reply to a request that can be refused before its body is read, whoever sends it; nothing
/// when it may go on. These end the connection.
std::optional<HttpReply> refuseAtOnce(MHD_Connection*, std::string_view verb, std::size_t maxBody);
/// The reply to a request whose header fields are not acceptable; nothing when they are.
std::optional<HttpReply> refuseFields(MHD_Connection*);
/// The user and password of a request; nothing when it holds no Basic credentials.
std::optional<Credentials> basicCredentials(MHD_Connection*);
/// Sets the CIM fields of an acceptable request; leaves body and user.
void readCimFields(MHD_Connection*, CimRequest&);

}  // namespace cimom
