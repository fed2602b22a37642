#include "JsonFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <random>
#include <sstream>
#include <string_view>
#include <system_error>

namespace qbxsim
{
namespace
{

using Json = nlohmann::json;
using Offsets = std::map<std::string, std::size_t>;

template <class Key>
std::string childPointer(const std::string& parent, const Key& key)
{
    return (Json::json_pointer(parent) / key).to_string();
}

/// Follows the parser through a text, to know which value stands where.
class Outline
{
public:
    explicit Outline(std::istream& stream) : stream_(stream) {}

    /// Where the last byte stands that the parser has taken; a line break is the look-ahead after
    /// a number.
    std::size_t offset() const
    {
        const auto taken = stream_.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
        return static_cast<std::size_t>(std::max<std::streamoff>(taken, 1) - 1);
    }

    /// The pointer of the value that is being parsed, or comes next.
    std::string here() const
    {
        if (levels_.empty()) return "";
        const Level& level = levels_.back();
        return level.member.empty() ? childPointer(level.pointer, level.next) : level.member;
    }

    /// Takes one step, and notes in `offsets` where a value starts. False for a key that is given
    /// twice.
    bool follow(Json::parse_event_t event, const Json& parsed, Offsets& offsets)
    {
        using Event = Json::parse_event_t;
        if (event == Event::object_end || event == Event::array_end) {
            levels_.pop_back();
            return true;
        }
        if (event == Event::key) {
            Level& level = levels_.back();
            level.member = childPointer(level.pointer, parsed.get<std::string>());
            return offsets.emplace(level.member, offset()).second;
        }
        const std::string pointer = here();
        offsets.emplace(pointer, offset());  // a member stands where its key does
        if (!levels_.empty()) ++levels_.back().next;
        if (event != Event::value) levels_.push_back({pointer});
        return true;
    }

private:
    struct Level
    {
        std::string pointer;
        std::size_t next = 0;     // index of the element that comes next
        std::string member = {};  // pointer of the present member
    };

    std::istream& stream_;
    std::vector<Level> levels_;
};

std::string bytesFromHex(const JsonValue& value, std::string digits)
{
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    if (digits.size() % 2 != 0) value.fail("'hex:' needs an even number of digits");
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const char* const pair = digits.data() + i;
        unsigned char byte = 0;
        if (std::from_chars(pair, pair + 2, byte, 16).ptr != pair + 2)
            value.fail("'" + digits.substr(i, 2) + "' is not a byte in hexadecimal");
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::system_error failure(int error, const std::string& path)
{
    return std::system_error(error, std::generic_category(), path);
}

/// The result of a system call on that file. Throws when the call failed.
std::size_t checked(ssize_t result, const std::string& path)
{
    if (result < 0) throw failure(errno, path);
    return static_cast<std::size_t>(result);
}

/// An open file.
struct Descriptor
{
    Descriptor(int opened, const std::string& path) : number(opened) { checked(opened, path); }
    ~Descriptor() { close(number); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    const int number;
};

template <class Words>
std::string joined(const Words& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

}  // namespace

std::string readFile(const std::string& path, std::size_t maxSize)
{
    // Looked at before it is opened, which alone makes some devices act.
    const auto status = std::filesystem::status(path);
    if (std::filesystem::is_directory(status)) throw failure(EISDIR, path);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw failure(EINVAL, path);
    // What is a FIFO by now does not hold us.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), path);
    std::string text;
    char part[65536];
    while (const std::size_t size = checked(read(file.number, part, sizeof part), path)) {
        text.append(part, size);
        if (text.size() > maxSize) throw failure(EFBIG, path);
    }
    return text;
}

void replaceFile(const std::string& path, const std::string& text)
{
    // A name of its own and O_EXCL: no link that waits there leads the text elsewhere.
    const std::string draft = path + '.' + std::to_string(std::random_device()()) + ".new";
    const int mode = 0640;  // not for everybody to read
    const Descriptor file(open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode), path);
    try {
        for (std::string_view rest = text; !rest.empty();)
            rest.remove_prefix(checked(write(file.number, rest.data(), rest.size()), path));
        checked(fsync(file.number), path);
        checked(std::rename(draft.c_str(), path.c_str()), path);
    } catch (...) {
        std::remove(draft.c_str());
        throw;
    }
}

/// All zero when there is no such file.
WatchedFile::Stamp WatchedFile::stampOf(const std::string& path)
{
    struct stat file = {};
    if (stat(path.c_str(), &file) != 0) return {};
    return {file.st_dev, file.st_ino, file.st_size, file.st_ctim.tv_sec, file.st_ctim.tv_nsec};
}

std::optional<std::string> WatchedFile::readIfChanged()
{
    constexpr std::time_t clockStepSeconds = 2;  // the coarsest file times in use
    const Stamp now = stampOf(path_);
    if (isSettled_ && now == seen_) return std::nullopt;
    seen_ = now;
    isSettled_ = false;
    try {
        std::string text = readFile(path_);
        failure_.clear();
        isSettled_ = std::time(nullptr) - std::get<3>(now) > clockStepSeconds;
        if (text_ == text) return std::nullopt;
        return text_ = std::move(text);
    } catch (const std::system_error& error) {
        if (std::exchange(failure_, error.code()) == error.code()) return std::nullopt;
        throw;
    }
}

JsonValue::Document::Document(std::string file, std::string text)
    : file_(std::move(file)), text_(std::move(text))
{
    std::istringstream stream(text_);
    Outline outline(stream);
    const auto follow = [&](int depth, Json::parse_event_t event, const Json& parsed) {
        if (depth > 64) fail(outline.offset(), "nested too deep");
        const bool isNew = outline.follow(event, parsed, offsets_);
        if (!isNew) {
            const std::string key = outline.here();
            fail(outline.offset(),
                 key + ": duplicate key, first in line " + lineOf(offsets_.at(key)));
        }
        return true;
    };
    try {
        json_ = Json::parse(stream, follow);
    } catch (const Json::parse_error& error) {
        const std::string what = error.what();  // "... line 1, column 2: syntax error ..."
        fail(outline.offset(), what.substr(what.find(": ") + 2));
    } catch (const Json::out_of_range&) {
        fail(outline.offset(), outline.here() + ": the number is too big");
    }
}

void JsonValue::Document::fail(std::size_t offset, const std::string& what) const
{
    throw FileError(file_ + ':' + lineOf(offset) + ": " + what);
}

std::string JsonValue::Document::lineOf(std::size_t offset) const
{
    const auto end = text_.begin() + static_cast<std::ptrdiff_t>(offset);
    return std::to_string(1 + std::count(text_.begin(), end, '\n'));
}

void JsonValue::fail(const std::string& what) const
{
    throw FileError(placed(what));
}

std::string JsonValue::placed(const std::string& what) const
{
    const std::string field = pointer_.empty() ? "/" : pointer_;
    return document_->file_ + ':' + line() + ": " + field + ": " + what;
}

void JsonValue::read(bool& target) const
{
    if (!json_->is_boolean()) fail("expected true or false");
    target = json_->get<bool>();
}

void JsonValue::read(double& target) const
{
    if (!json_->is_number()) fail("expected a number");
    target = json_->get<double>();
}

void JsonValue::read(std::string& target) const
{
    if (!json_->is_string()) fail("expected a string");
    target = json_->get<std::string>();
    if (target.rfind("hex:", 0) == 0) target = bytesFromHex(*this, target.substr(4));
}

std::uint64_t JsonValue::number(std::uint64_t max) const
{
    std::uint64_t number = 0;
    bool isNumber = json_->is_number_unsigned();
    if (isNumber) {
        number = json_->get<std::uint64_t>();
    } else if (json_->is_string()) {
        const std::string text = json_->get<std::string>();
        const char* const end = text.data() + text.size();
        if (text.rfind("0x", 0) == 0) {
            const auto [stop, error] = std::from_chars(text.data() + 2, end, number, 16);
            isNumber = error == std::errc() && stop == end;
        }
    }
    if (!isNumber || number > max)
        fail("expected a whole number from 0 to " + std::to_string(max) +
             ", or \"0x\" and hexadecimal digits");
    return number;
}

std::int32_t JsonValue::code(const std::type_info& type) const
{
    if (json_->is_number_integer()) {
        const auto number = json_->get<std::int64_t>();  // negative also when unsigned and too big
        const bool isTooBig = number > INT32_MAX || (number < 0 && json_->is_number_unsigned());
        if (isTooBig || number < INT32_MIN) fail("number does not fit 32 bits");
        return static_cast<std::int32_t>(number);
    }
    std::vector<std::string> known;
    for (const CodeName& code : codeNames()) {
        if (*code.type != type) continue;
        if (*json_ == code.name) return code.value;
        known.push_back(code.name);
    }
    fail("expected a number" + (known.empty() ? "" : " or one of " + joined(known)));
}

std::vector<JsonValue> JsonValue::elements(std::size_t max) const
{
    if (!json_->is_array()) fail("expected an array");
    if (json_->size() > max)
        fail("array of " + std::to_string(json_->size()) + " elements; there is room for " +
             std::to_string(max));
    std::vector<JsonValue> values;
    for (const Json& value : *json_)
        values.push_back({*document_, value, childPointer(pointer_, values.size())});
    return values;
}

JsonObject::JsonObject(const JsonValue& value) : value_(value)
{
    if (!value_.json_->is_object()) value_.fail("expected an object");
}

std::optional<JsonValue> JsonObject::find(const char* name)
{
    known_.insert(name);
    const auto field = value_.json_->find(name);
    if (field == value_.json_->end()) return std::nullopt;
    return JsonValue(*value_.document_, *field, childPointer(value_.pointer_, name));
}

void JsonObject::oneArmOf(std::initializer_list<const char*> names)
{
    bool isGiven = false;
    for (const char* const name : names) {
        const auto arm = find(name);
        if (arm && isGiven) arm->fail("only one arm of the union can be given");
        isGiven = isGiven || arm;
    }
}

void JsonObject::done() const
{
    for (const auto& [name, field] : value_.json_->items())
        if (known_.count(name) == 0)
            JsonValue(*value_.document_, field, childPointer(value_.pointer_, name))
                .fail("unknown field; known here: " + joined(known_));
}

}  // namespace qbxsim
