#include "Http/HttpProtocol.h"

#include "Model/Text.h"

#include <algorithm>
#include <boost/beast/http/status.hpp>
#include <charconv>
#include <openssl/evp.h>

namespace cimom
{

namespace
{

/// The value with %XX turned back into bytes; a % without two digits behind it stays.
std::string percentDecoded(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned char byte = 0;
        const char* const digits = text.data() + i + 1;
        const bool isEscape = text[i] == '%' && i + 2 < text.size() &&
                              std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
        result += isEscape ? static_cast<char>(byte) : text[i];
        if (isEscape) i += 2;
    }
    return result;
}

std::optional<std::string> decoded(std::optional<std::string_view> value)
{
    return value ? std::optional(percentDecoded(*value)) : std::nullopt;
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
std::optional<std::string> decodeBase64(std::string_view encoded)
{
    // OpenSSL takes blanks and whole blocks only, and counts the padding as bytes.
    static const std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t size = std::min(encoded.find_first_not_of(digits), encoded.size());
    const std::string_view padding = encoded.substr(size);
    const std::size_t missing = (4 - size % 4) % 4;
    if (missing == 3 || !(padding.empty() || padding == std::string_view("==", missing)))
        return std::nullopt;
    const std::string blocks = std::string(encoded.substr(0, size)) + std::string(missing, '=');
    std::string bytes(blocks.size() / 4 * 3, '\0');
    EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                    reinterpret_cast<const unsigned char*>(blocks.data()),
                    static_cast<int>(blocks.size()));
    bytes.resize(bytes.size() - missing);
    return bytes;
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

RequestRefused::RequestRefused(int status, const std::string& detail, bool close)
    : reply(plainReply(status, detail, close))
{
}

RequestRefused unauthorized(const std::string& realm, const std::string& detail)
{
    RequestRefused refused(401, detail, false);
    refused.reply.fields.emplace_back("WWW-Authenticate", "Basic realm=\"" + realm + "\"");
    return refused;
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

std::string headText(const HttpReply& reply, const std::string& framing)
{
    namespace http = boost::beast::http;
    std::string text = "HTTP/1.1 " + std::to_string(reply.status) + " ";
    text.append(http::obsolete_reason(static_cast<http::status>(reply.status)));
    text.append("\r\n").append(framing);
    for (const auto& [name, value] : reply.fields)
        text.append(name).append(": ").append(value).append("\r\n");
    return text + (reply.close ? "Connection: close\r\n\r\n" : "\r\n");
}

std::optional<std::string_view> fieldOf(const RequestHead& head, std::string_view name)
{
    const auto found = head.find(name);
    return found == head.end() ? std::nullopt : std::optional<std::string_view>(found->value());
}

void checkFraming(const RequestHead& head)
{
    static const std::string_view otherVerbs[] = {"GET", "HEAD", "PUT", "DELETE", "M-POST"};
    const std::string_view verb = head.method_string();
    if (std::find(std::begin(otherVerbs), std::end(otherVerbs), verb) != std::end(otherVerbs)) {
        RequestRefused refused(405, "This server answers CIM-XML requests: POST only.");
        refused.reply.fields.emplace_back("Allow", "POST");
        throw refused;
    }
    if (verb != "POST") throw RequestRefused(verb == "OPTIONS" ? 400 : 501);
    const auto length = fieldOf(head, "Content-Length");
    const auto coding = fieldOf(head, "Transfer-Encoding");
    if (!length && !coding)
        throw RequestRefused(411, "The request needs a Content-Length header or a chunked body.");
    // The parser lets equal ones pass, in one line or in several.
    const bool isList = length && !std::all_of(length->begin(), length->end(), isDigit<char>);
    if (isList || head.count("Content-Length") + head.count("Transfer-Encoding") > 1)
        throw RequestRefused(400, "It is not clear from the header where the body ends.");
    if (coding && !equalNoCase(*coding, "chunked"))
        throw RequestRefused(501, "The only transfer coding known here is chunked.");
}

void checkFields(const RequestHead& head)
{
    const auto operation = fieldOf(head, "CIMOperation");
    const auto contentType = fieldOf(head, "Content-Type");
    RequestRefused refused(400, "", false);
    if (!fieldOf(head, "Host")) {
        refused.reply = plainReply(400, "HTTP request message lacks a Host header field.");
    } else if (operation && (!contentType || !isCimXml(*contentType))) {
        refused.reply = plainReply(400, "HTTP Content-Type header error.");
    } else if (operation && equalNoCase(*operation, "MethodCall")) {
        return;
    } else if (operation) {
        refused.reply = cimErrorReply(
            400, "unsupported-operation",
            "CIMOperation value \"" + std::string(*operation) + "\" is not supported.");
    }
    throw refused;
}

std::optional<Credentials> basicCredentials(const RequestHead& head)
{
    const std::string_view scheme = "Basic ";
    const std::string_view text = fieldOf(head, "Authorization").value_or("");
    if (!equalNoCase(text.substr(0, scheme.size()), scheme)) return std::nullopt;
    const auto decoded = decodeBase64(trimmed(text.substr(scheme.size())));
    const std::size_t colon = decoded ? decoded->find(':') : std::string::npos;
    if (colon == std::string::npos) return std::nullopt;
    return Credentials{decoded->substr(0, colon), decoded->substr(colon + 1)};
}

CimRequest cimRequest(const RequestHead& head)
{
    const auto version = fieldOf(head, "CIMProtocolVersion");
    return {version ? std::optional<std::string>(*version) : std::nullopt,
            decoded(fieldOf(head, "CIMMethod")),
            decoded(fieldOf(head, "CIMObject")),
            head.count("CIMBatch") > 0,
            "",
            ""};
}

}  // namespace cimom
