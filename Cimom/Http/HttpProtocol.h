// CIM operations over HTTP: which requests are accepted, what goes into headers.
#pragma once

#include "CimXml/Service.h"

#include <boost/beast/http/message.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cimom
{

/// The request line and the header fields of a request.
using RequestHead = boost::beast::http::request_header<>;

struct HttpReply
{
    int status = 200;
    std::vector<std::pair<std::string, std::string>> fields;
    std::string body;
    Pieces rest = nullptr;  ///< of a long body
    bool close = false;     ///< end the connection afterwards
};

/// Thrown for a request that no operation answers. When the reply does not end the connection, it
/// follows the body of the request.
struct RequestRefused
{
    explicit RequestRefused(int status, const std::string& detail = "", bool close = true);

    HttpReply reply;
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
/// The refusal of a user who is not let in: 401 with the challenge.
RequestRefused unauthorized(const std::string& realm, const std::string& detail = "");
HttpReply httpReply(CimReply&&);
/// The status line and the header fields as they go over the wire; `framing` is the field that says
/// where the body ends, with its line end.
std::string headText(const HttpReply&, const std::string& framing);

/// Throws RequestRefused, which ends the connection, for what is no POST with a body whose end is
/// clear: whoever sends it.
void checkFraming(const RequestHead&);
/// Throws RequestRefused when the header fields are not those of a CIM-XML request.
void checkFields(const RequestHead&);
/// The value of a field; nothing when it is not there.
std::optional<std::string_view> fieldOf(const RequestHead&, std::string_view name);
/// The user and password of a request; nothing when it holds no Basic credentials.
std::optional<Credentials> basicCredentials(const RequestHead&);
/// The CIM fields of an acceptable request, without body and user.
CimRequest cimRequest(const RequestHead&);

}  // namespace cimom
