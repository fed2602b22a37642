#include "Http/RequestParser.h"

#include "Model/Text.h"

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/status.hpp>

namespace cimom
{

namespace http = boost::beast::http;

namespace
{

const char* const unclear = "It is not clear from the header where the body ends.";

/// What is wrong with a head, by the parser's error.
RequestRefused refusalOfHead(const boost::beast::error_code& error, std::size_t maxBody)
{
    if (error == http::error::body_limit) return tooLarge(maxBody);
    if (error == http::error::bad_version) return {505, ""};
    if (error == http::error::bad_method || error == http::error::bad_target) return {400, ""};
    return {400, unclear};
}

}  // namespace

RequestRefused tooLarge(std::size_t maxBody)
{
    return {413, "The request body is larger than " + std::to_string(maxBody) + " bytes."};
}

RequestRefused noMemory()
{
    return {503, "The server has no memory for this request now. Try again."};
}

struct RequestParser::Parser : http::request_parser<http::buffer_body>
{
    /// Gives the parser bytes, and takes off those that it has used.
    boost::beast::error_code take(std::string& input)
    {
        boost::beast::error_code error;
        input.erase(0, put(boost::asio::buffer(input), error));
        return error;
    }
};

const std::string* RequestHead::field(std::string_view name) const
{
    const auto found = std::find_if(fields.begin(), fields.end(), [&](const auto& field) {
        return equalNoCase(field.first, name);
    });
    return found == fields.end() ? nullptr : &found->second;
}

unsigned RequestHead::count(std::string_view name) const
{
    return static_cast<unsigned>(
        std::count_if(fields.begin(), fields.end(),
                      [&](const auto& field) { return equalNoCase(field.first, name); }));
}

RequestParser::RequestParser(std::size_t maxHeader, std::size_t maxBody)
    : maxHeader_(maxHeader), maxBody_(maxBody)
{
}

RequestParser::~RequestParser() = default;

std::optional<std::size_t> RequestParser::endOfHead(std::string_view input)
{
    // A line that is folded, or ends with a line feed alone, is one line to some readers and two
    // to others. The parser unfolds the first, and waits for the end of a head with the second.
    for (; seen_ < input.size(); ++seen_) {
        if (input[seen_] != '\n') continue;
        if (seen_ == 0 || input[seen_ - 1] != '\r') throw RequestRefused{400, unclear};
        if (seen_ >= 3 && input.substr(seen_ - 3, 3) == "\r\n\r") return seen_ + 1;
        if (seen_ + 1 == input.size()) break;  // the next byte tells whether it goes on
        if (input[seen_ + 1] == ' ' || input[seen_ + 1] == '\t') throw RequestRefused{400, unclear};
    }
    if (input.size() <= maxHeader_) return std::nullopt;
    throw RequestRefused{input.find('\n') == input.npos ? 414 : 431, ""};
}

std::optional<RequestHead> RequestParser::takeHead(std::string& input)
{
    // Empty lines before a request: older clients send one behind a body.
    while (seen_ == 0 && input.compare(0, 2, "\r\n") == 0)
        input.erase(0, 2);
    const auto end = endOfHead(input);
    if (!end) return std::nullopt;
    if (*end > maxHeader_) throw RequestRefused{431, ""};
    parser_ = std::make_unique<Parser>();
    parser_->header_limit(static_cast<std::uint32_t>(maxHeader_));
    parser_->body_limit(maxBody_);
    const auto error = parser_->take(input);
    if (error) throw refusalOfHead(error, maxBody_);
    parser_->eager(true);
    RequestHead head;
    auto& message = parser_->get();
    head.verb = message.method_string();
    head.isHttp10 = message.version() < 11;
    head.keepAlive = parser_->keep_alive();
    for (const auto& field : message)
        head.fields.emplace_back(field.name_string(), field.value());
    message.clear();  // they can take much more than the bytes that came
    return head;
}

bool RequestParser::takeBody(std::string& input, std::string& body)
{
    if (parser_->is_done()) return true;
    std::array<char, 16384> part;
    for (;;) {
        parser_->get().body().data = part.data();
        parser_->get().body().size = part.size();
        const auto error = parser_->take(input);
        body.append(part.data(), part.size() - parser_->get().body().size);
        if (parser_->is_done()) return true;
        if (error == http::error::need_buffer) continue;
        if (error == http::error::body_limit) throw tooLarge(maxBody_);
        if (error && error != http::error::need_more) throw RequestRefused{400, ""};
        // What is left is the beginning of a chunk's header or of the trailer.
        if (input.size() > maxHeader_) throw RequestRefused{431, ""};
        if (error || input.empty()) return false;
    }
}

std::string_view reasonPhrase(int status)
{
    const auto phrase = http::obsolete_reason(static_cast<http::status>(status));
    return {phrase.data(), phrase.size()};
}

}  // namespace cimom
