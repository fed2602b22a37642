#include "Http/HttpProtocol.h"

#include "Model/Text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gnutls/gnutls.h>
#include <memory>

namespace cimom
{

namespace
{

/// The value of a header field, its name compared without case; null when it is absent.
const char* field(MHD_Connection* connection, const char* name)
{
    return MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
}

std::optional<std::string> valueOf(MHD_Connection* connection, const char* name)
{
    const char* value = field(connection, name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

/// The value with %XX turned back into bytes.
std::optional<std::string> decodedValueOf(MHD_Connection* connection, const char* name)
{
    std::optional<std::string> value = valueOf(connection, name);
    if (value) value->resize(MHD_http_unescape(value->data()));
    return value;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = std::min(text.find_first_not_of(" \t"), text.size());
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

bool isCimXml(std::string_view contentType)
{
    const std::size_t semicolon = std::min(contentType.find(';'), contentType.size());
    const std::string_view type = trimmed(contentType.substr(0, semicolon));
    if (!equalNoCase(type, "application/xml") && !equalNoCase(type, "text/xml")) return false;
    if (semicolon == contentType.size()) return true;
    const std::string_view parameter = trimmed(contentType.substr(semicolon + 1));
    return equalNoCase(parameter, "charset=utf-8") || equalNoCase(parameter, "charset=\"utf-8\"");
}

/// Standard base64 with or without padding; nothing for any other text.
std::optional<std::string> decodeBase64(std::string text)
{
    text.append((4 - text.size() % 4) % 4, '=');
    const gnutls_datum_t encoded{reinterpret_cast<unsigned char*>(text.data()),
                                 static_cast<unsigned>(text.size())};
    gnutls_datum_t decoded{};
    if (gnutls_base64_decode2(&encoded, &decoded) != GNUTLS_E_SUCCESS) return std::nullopt;
    const std::unique_ptr<unsigned char, gnutls_free_function> bytes(decoded.data, gnutls_free);
    return std::string(decoded.data, decoded.data + decoded.size);
}

HttpReply cimErrorReply(int status, const std::string& cimError, const std::string& detail)
{
    HttpReply reply;
    reply.status = status;
    if (!cimError.empty()) reply.fields.emplace_back("CIMError", cimError);
    // Enough to see what is wrong; a header must not grow with the request.
    if (!detail.empty())
        reply.fields.emplace_back("PGErrorDetail", percentEncoded(detail.substr(0, 500)));
    return reply;
}

/// Counts the fields that say where a body ends, those that somebody could read so twice: the
/// library looks at the first only, and appends a value on a line of its own to the name.
MHD_Result countFraming(void* count, MHD_ValueKind, const char* name, const char* value)
{
    const auto starts = [&](std::string_view known) {
        return equalNoCase(std::string_view(name).substr(0, known.size()), known);
    };
    const bool isOdd = std::strpbrk(name, " \t:") || (value && std::strchr(value, '\r'));
    const bool counts = starts("Content-Length") || starts("Transfer-Encoding");
    *static_cast<unsigned*>(count) += isOdd ? 2 : counts ? 1 : 0;
    return MHD_YES;
}

}  // namespace

std::string percentEncoded(std::string_view text)
{
    static const char* const digits = "0123456789ABCDEF";
    static const std::string_view kept =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (kept.find(c) != std::string_view::npos) {
            result += c;
        } else {
            result += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return result;
}

HttpReply plainReply(int status, const std::string& detail, bool close)
{
    HttpReply reply = cimErrorReply(status, "", detail);
    reply.close = close;
    return reply;
}

HttpReply tooLargeReply(std::size_t maxBody)
{
    return plainReply(413, "The request body is larger than " + std::to_string(maxBody) + " bytes.",
                      true);
}

HttpReply unauthorizedReply(const std::string& realm, const std::string& detail)
{
    HttpReply reply = plainReply(401, detail);
    reply.fields.emplace_back("WWW-Authenticate", "Basic realm=\"" + realm + "\"");
    return reply;
}

HttpReply httpReply(CimReply&& cim)
{
    if (cim.status != 200) return cimErrorReply(cim.status, cim.cimError, cim.detail);
    HttpReply reply;
    reply.body = std::move(cim.body);
    reply.rest = std::move(cim.rest);
    reply.fields = {{"Content-Type", "application/xml; charset=utf-8"},
                    {"CIMOperation", "MethodResponse"}};
    return reply;
}

std::string plainText(const HttpReply& reply)
{
    std::string text = "HTTP/1.1 " + std::to_string(reply.status) + " " +
                       MHD_get_reason_phrase_for(static_cast<unsigned>(reply.status)) + "\r\n";
    for (const auto& [name, value] : reply.fields)
        text += name + ": " + value + "\r\n";
    return text + "Content-Length: 0\r\nConnection: close\r\n\r\n";
}

std::optional<HttpReply> refuseAtOnce(MHD_Connection* connection, std::string_view verb,
                                      std::size_t maxBody)
{
    static const std::string_view otherVerbs[] = {"GET", "HEAD", "PUT", "DELETE", "M-POST"};
    if (std::find(std::begin(otherVerbs), std::end(otherVerbs), verb) != std::end(otherVerbs)) {
        HttpReply reply = plainReply(405, "This server answers CIM-XML requests: POST only.", true);
        reply.fields.emplace_back("Allow", "POST");
        return reply;
    }
    if (verb == "OPTIONS") return plainReply(400, "", true);
    if (verb != "POST") return plainReply(501, "", true);
    unsigned count = 0;
    MHD_get_connection_values(connection, MHD_HEADER_KIND, &countFraming, &count);
    if (count > 1)
        return plainReply(400, "It is not clear from the header where the body ends.", true);
    const char* length = field(connection, "Content-Length");
    const char* coding = field(connection, "Transfer-Encoding");
    if (!length && !coding) {
        return plainReply(411, "The request needs a Content-Length header or a chunked body.",
                          true);
    }
    if (coding && !equalNoCase(coding, "chunked"))
        return plainReply(501, "The only transfer coding known here is chunked.", true);
    // The library has refused what is no number.
    if (length && std::strtoull(length, nullptr, 10) > maxBody) return tooLargeReply(maxBody);
    return std::nullopt;
}

std::optional<HttpReply> refuseFields(MHD_Connection* connection)
{
    if (!field(connection, "Host"))
        return plainReply(400, "HTTP request message lacks a Host header field.");
    const char* operation = field(connection, "CIMOperation");
    if (!operation) return plainReply(400, "");
    const char* contentType = field(connection, "Content-Type");
    if (!contentType || !isCimXml(contentType))
        return plainReply(400, "HTTP Content-Type header error.");
    if (equalNoCase(operation, "MethodCall")) return std::nullopt;
    return cimErrorReply(400, "unsupported-operation",
                         std::string("CIMOperation value \"") + operation + "\" is not supported.");
}

std::optional<Credentials> basicCredentials(MHD_Connection* connection)
{
    const std::string_view scheme = "Basic ";
    const std::string text = valueOf(connection, "Authorization").value_or("");
    if (!equalNoCase(text.substr(0, scheme.size()), scheme)) return std::nullopt;
    const std::string_view encoded = trimmed(std::string_view(text).substr(scheme.size()));
    const auto decoded = decodeBase64(std::string(encoded));
    const std::size_t colon = decoded ? decoded->find(':') : std::string::npos;
    if (colon == std::string::npos) return std::nullopt;
    return Credentials{decoded->substr(0, colon), decoded->substr(colon + 1)};
}

void readCimFields(MHD_Connection* connection, CimRequest& request)
{
    request.protocolVersion = valueOf(connection, "CIMProtocolVersion");
    request.method = decodedValueOf(connection, "CIMMethod");
    request.object = decodedValueOf(connection, "CIMObject");
    request.batch = field(connection, "CIMBatch") != nullptr;
}

}  // namespace cimom
