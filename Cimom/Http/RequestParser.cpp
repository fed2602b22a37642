#include "Http/RequestParser.h"

#include <array>
#include <boost/asio/buffer.hpp>

namespace cimom
{

namespace http = boost::beast::http;
using boost::beast::error_code;

namespace
{

RequestRefused unclear()
{
    return RequestRefused(400, "It is not clear from the header where the body ends.");
}

RequestRefused tooLarge(std::size_t maxBody)
{
    return RequestRefused(413,
                          "The request body is larger than " + std::to_string(maxBody) + " bytes.");
}

}  // namespace

RequestParser::RequestParser(std::size_t maxHeader, std::size_t maxBody)
    : maxHeader_(maxHeader), maxBody_(maxBody)
{
    parser_.header_limit(static_cast<std::uint32_t>(maxHeader));
    parser_.body_limit(maxBody);
}

/// Gives the parser bytes, and takes off those that it has used.
error_code RequestParser::take(std::string& input)
{
    error_code error;
    input.erase(0, parser_.put(boost::asio::buffer(input), error));
    return error;
}

bool RequestParser::hasHead(std::string_view input)
{
    // A line that is folded, or ends with a line feed alone, is one line to some readers and two
    // to others. The parser unfolds the first, and waits for the end of a head with the second.
    for (; seen_ < input.size(); ++seen_) {
        if (input[seen_] != '\n') continue;
        if (seen_ == 0 || input[seen_ - 1] != '\r') throw unclear();
        if (seen_ >= 3 && input.substr(seen_ - 3, 3) == "\r\n\r") return true;
        if (seen_ + 1 == input.size()) break;  // the next byte tells whether it goes on
        if (input[seen_ + 1] == ' ' || input[seen_ + 1] == '\t') throw unclear();
    }
    if (input.size() <= maxHeader_) return false;
    throw RequestRefused(input.find('\n') == input.npos ? 414 : 431);
}

bool RequestParser::takeHead(std::string& input)
{
    // Empty lines before a request: older clients send one behind a body.
    while (seen_ == 0 && input.compare(0, 2, "\r\n") == 0)
        input.erase(0, 2);
    if (!hasHead(input)) return false;
    if (seen_ >= maxHeader_) throw RequestRefused(431);
    const error_code error = take(input);
    if (error == http::error::body_limit) throw tooLarge(maxBody_);
    if (error == http::error::bad_version) throw RequestRefused(505);
    if (error == http::error::bad_method || error == http::error::bad_target)
        throw RequestRefused(400);
    if (error) throw unclear();
    parser_.eager(true);
    return true;
}

bool RequestParser::takeBody(std::string& input, std::string& body)
{
    std::array<char, 16384> part;
    while (!parser_.is_done()) {
        parser_.get().body().data = part.data();
        parser_.get().body().size = part.size();
        const error_code error = take(input);
        body.append(part.data(), part.size() - parser_.get().body().size);
        if (error == http::error::need_buffer || parser_.is_done()) continue;
        if (error == http::error::body_limit) throw tooLarge(maxBody_);
        if (error && error != http::error::need_more) throw RequestRefused(400);
        // What is left is the beginning of a chunk's header or of the trailer.
        if (input.size() > maxHeader_) throw RequestRefused(431);
        if (error || input.empty()) return false;
    }
    return true;
}

}  // namespace cimom
