// HTTP requests as they come in: where they end, and what is in their heads.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cimom
{

/// The request line and the header fields of a request.
struct RequestHead
{
    std::string verb;
    bool isHttp10 = false;
    bool keepAlive = false;  ///< the client wants to send more on the connection
    std::vector<std::pair<std::string, std::string>> fields;

    /// The value of the first field with that name, compared without case; null when there is none.
    const std::string* field(std::string_view name) const;
    unsigned count(std::string_view name) const;
};

/// A request that cannot be answered by any operation: the connection ends with this reply.
struct RequestRefused
{
    int status;
    std::string detail;
};

/// The refusal of a body that is larger than so many bytes.
RequestRefused tooLarge(std::size_t maxBody);
/// The refusal of a body for which there is no memory.
RequestRefused noMemory();

/// Reads one request. What two readers could take for different requests is refused.
class RequestParser
{
public:
    RequestParser(std::size_t maxHeader, std::size_t maxBody);
    ~RequestParser();

    /// Takes the head off the input when it is there as a whole; nothing before. To be called again
    /// with more behind the same bytes. Throws RequestRefused.
    std::optional<RequestHead> takeHead(std::string& input);
    /// Takes what is there of the body off the input and appends it, decoded, to `body`. True when
    /// that was the end of the request. Throws RequestRefused.
    bool takeBody(std::string& input, std::string& body);

private:
    struct Parser;

    /// Where the head ends, behind its empty line; nothing when that has not come.
    std::optional<std::size_t> endOfHead(std::string_view input);

    const std::size_t maxHeader_;
    const std::size_t maxBody_;
    std::size_t seen_ = 0;  ///< bytes of the head that have been looked at
    std::unique_ptr<Parser> parser_;
};

/// The reason phrase of a status.
std::string_view reasonPhrase(int status);

}  // namespace cimom
