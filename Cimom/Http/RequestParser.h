// HTTP requests as they come in: where they end, and what is in their heads.
#pragma once

#include "Http/HttpProtocol.h"

#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <cstddef>
#include <string>
#include <string_view>

namespace cimom
{

/// Reads one request. What two readers could take for different requests is refused.
class RequestParser
{
public:
    RequestParser(std::size_t maxHeader, std::size_t maxBody);

    /// Takes the head off the input when it is there as a whole; nothing before. To be called again
    /// with more behind the same bytes. True when it was taken. Throws RequestRefused.
    bool takeHead(std::string& input);
    /// The head that was taken.
    RequestHead& head() { return parser_.get().base(); }
    /// Whether the client wants to send more requests on the connection.
    bool keepsAlive() const { return parser_.is_header_done() && parser_.keep_alive(); }
    /// Takes what is there of the body off the input and appends it, decoded, to `body`. True when
    /// that was the end of the request. Throws RequestRefused.
    bool takeBody(std::string& input, std::string& body);

private:
    bool hasHead(std::string_view input);
    boost::beast::error_code take(std::string& input);

    const std::size_t maxHeader_;
    const std::size_t maxBody_;
    std::size_t seen_ = 0;  ///< bytes of the head that have been looked at
    boost::beast::http::request_parser<boost::beast::http::buffer_body> parser_;
};

}  // namespace cimom
