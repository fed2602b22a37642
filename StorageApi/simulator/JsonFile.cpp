#include "JsonFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <ctime>
#include <iterator>
#include <system_error>

namespace qbxsim
{
namespace
{

using Json = nlohmann::json;

/// Walks a text and tells how far the parser has come.
class CountingIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, std::size_t* consumed) : at_(at), consumed_(consumed) {}
    reference operator*() const { return *at_; }
    CountingIterator& operator++()
    {
        ++at_;
        ++*consumed_;
        return *this;
    }
    CountingIterator operator++(int)
    {
        const CountingIterator old = *this;
        ++*this;
        return old;
    }
    bool operator==(const CountingIterator& other) const { return at_ == other.at_; }
    bool operator!=(const CountingIterator& other) const { return at_ != other.at_; }

private:
    const char* at_;
    std::size_t* consumed_;
};

/// The line of the last byte that the parser has taken; a line break is the look-ahead after a
/// number.
int lineAt(const std::string& text, std::size_t consumed)
{
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(consumed > 0 ? consumed - 1 : 0);
    return 1 + static_cast<int>(std::count(text.begin(), end, '\n'));
}

std::string childPointer(const std::string& parent, const std::string& key)
{
    return (Json::json_pointer(parent) / key).to_string();
}

std::string childPointer(const std::string& parent, std::size_t index)
{
    return parent + '/' + std::to_string(index);
}

/// Runs through a text until it meets the value with a given pointer.
class Finder : public nlohmann::json_sax<Json>
{
public:
    explicit Finder(std::string target) : target_(std::move(target)) {}

    bool null() override { return value(); }
    bool boolean(bool) override { return value(); }
    bool number_integer(number_integer_t) override { return value(); }
    bool number_unsigned(number_unsigned_t) override { return value(); }
    bool number_float(number_float_t, const string_t&) override { return value(); }
    bool string(string_t&) override { return value(); }
    bool binary(binary_t&) override { return value(); }
    bool start_object(std::size_t) override { return open(false); }
    bool start_array(std::size_t) override { return open(true); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool key(string_t& name) override
    {
        levels_.back().current = childPointer(levels_.back().pointer, name);
        return levels_.back().current != target_;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override
    {
        return false;
    }

private:
    struct Level
    {
        std::string pointer;
        bool isArray;
        std::size_t next = 0;      // index of the next element
        std::string current = {};  // pointer of the present member
    };

    std::string here()
    {
        if (levels_.empty()) return "";
        Level& level = levels_.back();
        return level.isArray ? childPointer(level.pointer, level.next++) : level.current;
    }
    bool value() { return here() != target_; }
    bool open(bool isArray)
    {
        levels_.push_back({here(), isArray});
        return levels_.back().pointer != target_;
    }
    bool close()
    {
        levels_.pop_back();
        return true;
    }

    std::string target_;
    std::vector<Level> levels_;
};

std::string withPosition(const std::string& file, int line, const std::string& what)
{
    return file + ':' + std::to_string(line) + ": " + what;
}

/// The library's message without its own prefix and position.
std::string syntaxFault(const Json::parse_error& error)
{
    const std::string text = error.what();
    const std::size_t column = text.find("column ");
    const std::size_t start = column == std::string::npos ? column : text.find(": ", column);
    return start == std::string::npos ? text : text.substr(start + 2);
}

std::string bytesFromHex(const JsonValue& value, std::string_view digits)
{
    std::string bytes;
    std::string pair;
    for (const char digit : digits) {
        if (digit == ' ') continue;
        pair += digit;
        if (pair.size() < 2) continue;
        unsigned byte = 0;
        const auto [end, error] = std::from_chars(pair.data(), pair.data() + 2, byte, 16);
        if (error != std::errc() || end != pair.data() + 2)
            value.fail("'" + pair + "' is not a byte in hexadecimal");
        bytes += static_cast<char>(byte);
        pair.clear();
    }
    if (!pair.empty()) value.fail("'hex:' wants an even number of digits");
    return bytes;
}

std::string joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

bool sameFile(const struct stat& left, const struct stat& right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino &&
           left.st_size == right.st_size && left.st_mtim.tv_sec == right.st_mtim.tv_sec &&
           left.st_mtim.tv_nsec == right.st_mtim.tv_nsec;
}

/// True when a later change is sure to give the file another time.
bool isSettled(const struct stat& file)
{
    constexpr std::time_t clockStepSeconds = 2;  // the coarsest file times in use
    return std::time(nullptr) - file.st_mtim.tv_sec > clockStepSeconds;
}

}  // namespace

std::string readFile(const std::string& path)
{
    const auto fail = [&](int error) -> std::string {
        throw std::system_error(error, std::generic_category(), path);
    };
    // Not blocking: a FIFO without a writer would hold us for ever.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return fail(errno);
    struct Closer
    {
        int file;
        ~Closer() { close(file); }
    } closer{file};
    struct stat status = {};
    if (fstat(file, &status) != 0) return fail(errno);
    if (S_ISDIR(status.st_mode)) return fail(EISDIR);
    if (!S_ISREG(status.st_mode)) return fail(EINVAL);
    std::string text;
    char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(file, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return fail(errno);
        if (got == 0) return text;
        text.append(buffer, static_cast<std::size_t>(got));
    }
}

std::optional<std::string> WatchedFile::readIfChanged()
{
    struct stat status = {};
    const std::optional<struct stat> now =
        stat(path_.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
    const bool isSame = seen_ && now && sameFile(*seen_, *now);
    if (isSame && settled_) return std::nullopt;
    if (!now && !seen_ && settled_) return std::nullopt;  // still missing
    seen_ = now;
    settled_ = true;  // an unreadable file is reported once
    std::string text = readFile(path_);
    settled_ = now && isSettled(*now);
    if (text_ == text) return std::nullopt;
    text_ = text;
    return text;
}

JsonValue::Document::Document(std::string file, std::string text)
    : file_(std::move(file)), text_(std::move(text))
{
    std::size_t consumed = 0;
    std::vector<std::set<std::string>> keys;
    const auto refuseRepeatedKeys = [&](int, Json::parse_event_t event, Json& parsed) {
        if (event == Json::parse_event_t::object_start) keys.emplace_back();
        if (event == Json::parse_event_t::object_end) keys.pop_back();
        if (event == Json::parse_event_t::key) {
            const std::string key = parsed.get<std::string>();
            if (!keys.back().insert(key).second)
                throw FileError(withPosition(file_, lineAt(text_, consumed),
                                             "field '" + key + "' is given twice"));
        }
        return true;
    };
    const char* const begin = text_.data();
    try {
        json_ = Json::parse(CountingIterator(begin, &consumed),
                            CountingIterator(begin + text_.size(), &consumed), refuseRepeatedKeys);
    } catch (const Json::parse_error& error) {
        throw FileError(withPosition(file_, lineAt(text_, consumed), syntaxFault(error)));
    }
}

JsonValue JsonValue::Document::root() const
{
    return JsonValue(*this, json_, "");
}

int JsonValue::Document::lineOf(const std::string& pointer) const
{
    std::size_t consumed = 0;
    const char* const begin = text_.data();
    Finder finder(pointer);
    Json::sax_parse(CountingIterator(begin, &consumed),
                    CountingIterator(begin + text_.size(), &consumed), &finder);
    return lineAt(text_, consumed);
}

void JsonValue::fail(const std::string& what) const
{
    const std::string field = pointer_.empty() ? "/" : pointer_;
    throw FileError(
        withPosition(document_->file_, document_->lineOf(pointer_), field + ": " + what));
}

bool JsonValue::boolean() const
{
    if (!json_->is_boolean()) fail("expected true or false");
    return json_->get<bool>();
}

std::string JsonValue::text() const
{
    if (!json_->is_string()) fail("expected a text");
    constexpr std::string_view hexPrefix = "hex:";
    const auto& text = json_->get_ref<const std::string&>();
    if (text.compare(0, hexPrefix.size(), hexPrefix) != 0) return text;
    return bytesFromHex(*this, std::string_view(text).substr(hexPrefix.size()));
}

std::uint64_t JsonValue::number(std::uint64_t max) const
{
    std::uint64_t number = 0;
    if (json_->is_number_unsigned()) {
        number = json_->get<std::uint64_t>();
    } else {
        const std::string text = json_->is_string() ? json_->get<std::string>() : "";
        const char* const end = text.data() + text.size();
        const bool isHex = text.compare(0, 2, "0x") == 0;
        const auto [stop, error] = std::from_chars(text.data() + (isHex ? 2 : 0), end, number, 16);
        if (!isHex || error != std::errc() || stop != end)
            fail("expected a whole number from 0 to " + std::to_string(max) +
                 ", or \"0x\" and hexadecimal digits");
    }
    if (number > max) fail("expected a whole number from 0 to " + std::to_string(max));
    return number;
}

std::vector<JsonValue> JsonValue::elements(std::size_t max) const
{
    if (!json_->is_array()) fail("expected a list");
    if (json_->size() > max)
        fail("list of " + std::to_string(json_->size()) + "; there is room for " +
             std::to_string(max));
    std::vector<JsonValue> values;
    for (std::size_t i = 0; i < json_->size(); ++i)
        values.push_back(JsonValue(*document_, (*json_)[i], childPointer(pointer_, i)));
    return values;
}

double JsonValue::fraction() const
{
    if (!json_->is_number()) fail("expected a number");
    return json_->get<double>();
}

std::int32_t JsonValue::code(const CodeNames& names) const
{
    if (json_->is_number_integer()) {
        const auto number = json_->get<std::int64_t>();
        const bool isUnsignedTooBig =
            json_->is_number_unsigned() && json_->get<std::uint64_t>() > 0x7FFFFFFF;
        if (isUnsignedTooBig || number < std::numeric_limits<std::int32_t>::min())
            fail("number does not fit 32 bits");
        return static_cast<std::int32_t>(number);
    }
    std::vector<std::string> known;
    for (const auto& [name, value] : names) {
        if (*json_ == name) return value;
        known.push_back(name);
    }
    fail("expected a number or one of " + joined(known));
}

JsonObject::JsonObject(const JsonValue& value) : value_(value)
{
    if (!value_.json_->is_object()) value_.fail("expected an object");
}

std::optional<JsonValue> JsonObject::find(const char* name)
{
    known_.push_back(name);
    const auto field = value_.json_->find(name);
    if (field == value_.json_->end()) return std::nullopt;
    return JsonValue(*value_.document_, *field, childPointer(value_.pointer_, name));
}

void JsonObject::done() const
{
    for (const auto& [name, field] : value_.json_->items()) {
        if (std::find(known_.begin(), known_.end(), name) != known_.end()) continue;
        JsonValue(*value_.document_, field, childPointer(value_.pointer_, name))
            .fail("unknown field; known here: " + joined(known_));
    }
}

}  // namespace qbxsim
