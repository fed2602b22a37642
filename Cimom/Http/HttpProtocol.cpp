#include "Http/HttpProtocol.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <microhttpd.h>
#include <strings.h>

namespace cimom
{

namespace
{

bool equalNoCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t") + 1 - first));
}

bool isCimXml(const std::string* contentType)
{
    if (!contentType) return false;
    const std::size_t semicolon = std::min(contentType->find(';'), contentType->size());
    const std::string type = trimmed(std::string_view(*contentType).substr(0, semicolon));
    if (!equalNoCase(type, "application/xml") && !equalNoCase(type, "text/xml")) return false;
    if (semicolon == contentType->size()) return true;
    const std::string parameter = trimmed(std::string_view(*contentType).substr(semicolon + 1));
    return equalNoCase(parameter, "charset=utf-8") || equalNoCase(parameter, "charset=\"utf-8\"");
}

/// The number that "Man: http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=NN" gives the CIM fields.
std::string fieldPrefix(const HttpHead& head)
{
    const std::string* man = head.find("Man");
    if (!head.isMandatoryPost() || !man) return {};
    const std::size_t at = man->find("ns=");
    if (at == std::string::npos) return {};
    const std::size_t end = man->find_first_not_of("0123456789", at + 3);
    return man->substr(at + 3, end == std::string::npos ? end : end - at - 3) + "-";
}

std::optional<std::string> valueOf(const std::string* field)
{
    return field ? std::optional<std::string>(*field) : std::nullopt;
}

/// The value with %XX turned back into bytes.
std::optional<std::string> decodedValueOf(const std::string* field)
{
    std::optional<std::string> value = valueOf(field);
    if (value) value->resize(MHD_http_unescape(value->data()));
    return value;
}

/// Letters, digits and "-_.~" stay; everything else becomes %XX.
std::string percentEncode(const std::string& text)
{
    static const char* const digits = "0123456789ABCDEF";
    static const std::string kept =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~";
    std::string result;
    for (const char c : text) {
        if (kept.find(c) != std::string::npos) {
            result += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            result += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return result;
}

/// Standard base64 with or without padding; nothing for any other text.
std::optional<std::string> decodeBase64(std::string_view text)
{
    static const std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    while (!text.empty() && text.back() == '=')
        text.remove_suffix(1);
    std::string result;
    unsigned bits = 0;
    unsigned count = 0;
    for (const char c : text) {
        const std::size_t value = alphabet.find(c);
        if (value == std::string_view::npos) return std::nullopt;
        bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFF;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        result += static_cast<char>(bits >> count & 0xFF);
    }
    return result;
}

HttpReply cimErrorReply(int status, const std::string& cimError, const std::string& detail)
{
    HttpReply reply{status, {}, {}, false};
    if (!cimError.empty()) reply.fields.emplace_back("CIMError", cimError);
    // Enough to see what is wrong; a header must not grow with the request.
    if (!detail.empty())
        reply.fields.emplace_back("PGErrorDetail", percentEncode(detail.substr(0, 500)));
    return reply;
}

}  // namespace

const std::string* HttpHead::find(std::string_view name) const
{
    for (const auto& [field, value] : fields) {
        if (equalNoCase(field, name)) return &value;
    }
    return nullptr;
}

const std::string* HttpHead::findCim(std::string_view name) const
{
    const std::string prefix = fieldPrefix(*this);
    const std::string* prefixed = prefix.empty() ? nullptr : find(prefix + std::string(name));
    return prefixed ? prefixed : find(name);
}

HttpReply plainReply(int status, const std::string& detail, bool close)
{
    HttpReply reply = cimErrorReply(status, "", detail);
    reply.close = close;
    return reply;
}

std::optional<HttpReply> refuseAtOnce(const HttpHead& head, std::size_t maxBody)
{
    static const std::string_view otherVerbs[] = {"GET",   "HEAD",  "PUT",    "DELETE",
                                                  "PATCH", "TRACE", "CONNECT"};
    if (std::find(std::begin(otherVerbs), std::end(otherVerbs), head.verb) !=
        std::end(otherVerbs)) {
        HttpReply reply =
            plainReply(405, "This server answers CIM-XML requests: POST and M-POST only.", true);
        reply.fields.emplace_back("Allow", "POST, M-POST");
        return reply;
    }
    if (head.verb == "OPTIONS") return plainReply(400, "", true);
    if (head.verb != "POST" && !head.isMandatoryPost()) return plainReply(501, "", true);
    const std::string* length = head.find("Content-Length");
    if (!length && !head.find("Transfer-Encoding")) {
        return plainReply(411, "The request needs a Content-Length header or a chunked body.",
                          true);
    }
    if (!length) return std::nullopt;
    std::size_t size = 0;
    const char* end = length->data() + length->size();
    const auto parsed = std::from_chars(length->data(), end, size);
    if (parsed.ptr != end || length->empty())
        return plainReply(400, "Invalid Content-Length header detected", true);
    if (parsed.ec == std::errc() && size <= maxBody) return std::nullopt;
    return plainReply(413, "The request body is larger than " + std::to_string(maxBody) + " bytes.",
                      true);
}

std::optional<HttpReply> refuseFields(const HttpHead& head)
{
    if (!head.find("Host"))
        return plainReply(400, "HTTP request message lacks a Host header field.");
    const std::string* operation = head.findCim("CIMOperation");
    if (!operation) return plainReply(400, "");
    if (!isCimXml(head.find("Content-Type")))
        return plainReply(400, "HTTP Content-Type header error.");
    if (equalNoCase(*operation, "MethodCall")) return std::nullopt;
    return cimErrorReply(400, "unsupported-operation",
                         "CIMOperation value \"" + *operation + "\" is not supported.");
}

std::optional<Credentials> basicCredentials(const std::string* authorization)
{
    if (!authorization || authorization->size() < 6 ||
        !equalNoCase(authorization->substr(0, 6), "Basic ")) {
        return std::nullopt;
    }
    const auto decoded = decodeBase64(trimmed(std::string_view(*authorization).substr(6)));
    const std::size_t colon = decoded ? decoded->find(':') : std::string::npos;
    if (colon == std::string::npos) return std::nullopt;
    return Credentials{decoded->substr(0, colon), decoded->substr(colon + 1)};
}

HttpReply unauthorizedReply(const std::string& realm, bool given)
{
    HttpReply reply = plainReply(401, given ? "" : "User Unauthorized");
    reply.fields.emplace_back("WWW-Authenticate", "Basic realm=\"" + realm + "\"");
    return reply;
}

CimRequest cimRequest(const HttpHead& head)
{
    CimRequest request;
    request.protocolVersion = valueOf(head.findCim("CIMProtocolVersion"));
    request.method = decodedValueOf(head.findCim("CIMMethod"));
    request.object = decodedValueOf(head.findCim("CIMObject"));
    request.batch = head.findCim("CIMBatch") != nullptr;
    return request;
}

HttpReply httpReply(const HttpHead& head, CimReply&& cim)
{
    if (cim.status != 200) return cimErrorReply(cim.status, cim.cimError, cim.detail);
    HttpReply reply;
    reply.body = std::move(cim.body);
    reply.fields.emplace_back("Content-Type", "application/xml; charset=utf-8");
    if (!head.isMandatoryPost()) {
        reply.fields.emplace_back("CIMOperation", "MethodResponse");
        return reply;
    }
    reply.fields.emplace_back("Ext", "");
    reply.fields.emplace_back("Cache-Control", "no-cache");
    reply.fields.emplace_back("Man", "http://www.dmtf.org/cim/mapping/http/v1.0; ns=36");
    reply.fields.emplace_back("36-CIMOperation", "MethodResponse");
    return reply;
}

}  // namespace cimom
