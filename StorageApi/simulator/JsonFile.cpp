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
using Event = Json::parse_event_t;
using Lines = std::map<std::string, std::size_t>;

constexpr int maxDepth = 64;

template <class Key>
std::string childPointer(const std::string& parent, const Key& key)
{
    return parent + (Json::json_pointer() / key).to_string();
}

/// The event of a value that has been parsed as a whole.
bool isWhole(Event event)
{
    return event == Event::value || event == Event::object_end || event == Event::array_end;
}

/// Follows the parser through a text, to know what stands in which line. That takes its time, and
/// is for when there is something to say of the text.
class Outline
{
public:
    /// `pointers` are those of the values that are looked for.
    Outline(const std::string& file, const std::string& text, const std::set<std::string>& pointers)
        : file_(file), text_(text), pointers_(pointers), stream_(text), counted_(text.begin())
    {
    }

    /// Throws FileError for what is wrong with the text.
    Lines lines()
    {
        const auto follow = [this](int depth, Event event, const Json& parsed) {
            if (depth > maxDepth) fail("nested too deep");
            step(event, parsed);
            return !isWhole(event);  // and so not kept
        };
        try {
            const Json nothing = Json::parse(stream_, follow);
        } catch (const Json::parse_error& error) {
            const std::string what = error.what();  // "... line 1, column 2: syntax error ..."
            fail(what.substr(what.find(": ") + 2));
        } catch (const Json::out_of_range&) {
            fail(here() + ": the number is too big");
        }
        return lines_;
    }

private:
    struct Level
    {
        std::string pointer;
        std::size_t next = 0;     // index of the element that comes next
        std::string member = {};  // pointer of the present member
        Lines members = {};
    };

    [[noreturn]] void fail(const std::string& what)
    {
        throw FileError(file_ + ':' + std::to_string(line()) + ": " + what);
    }

    /// The line of the last byte that the parser has taken; a line break is the look-ahead after a
    /// number.
    std::size_t line()
    {
        const auto taken = stream_.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
        const auto last = text_.begin() + std::max<std::streamoff>(taken, 1) - 1;
        line_ += static_cast<std::size_t>(std::count(counted_, last, '\n'));
        counted_ = last;
        return line_;
    }

    /// The pointer of the value that is being parsed, or comes next.
    std::string here() const
    {
        if (levels_.empty()) return "";
        const Level& level = levels_.back();
        return level.member.empty() ? childPointer(level.pointer, level.next) : level.member;
    }

    void step(Event event, const Json& parsed)
    {
        if (event == Event::object_end || event == Event::array_end) {
            levels_.pop_back();
            return;
        }
        if (event == Event::key) {
            Level& level = levels_.back();
            level.member = childPointer(level.pointer, parsed.get<std::string>());
            const auto [first, isNew] = level.members.emplace(level.member, line());
            const std::string before = std::to_string(first->second);
            if (!isNew) fail(level.member + ": duplicate key, first in line " + before);
        }
        const std::string pointer = here();
        if (pointers_.count(pointer) > 0) lines_.emplace(pointer, line());
        if (event == Event::key) return;  // a member stands where its key does
        if (!levels_.empty()) ++levels_.back().next;
        if (event != Event::value) levels_.push_back({pointer});
    }

    const std::string& file_;
    const std::string& text_;
    const std::set<std::string>& pointers_;
    std::istringstream stream_;
    std::string::const_iterator counted_;  // up to here the line breaks are counted
    std::size_t line_ = 1;
    std::vector<Level> levels_;
    Lines lines_;
};

/// The pointer of `value`, which is `parent` or inside of it.
std::optional<std::string> pointerTo(const Json& value, const Json& parent,
                                     const std::string& pointer)
{
    if (&value == &parent) return pointer;
    if (!parent.is_structured()) return std::nullopt;
    for (const auto& [key, child] : parent.items())
        if (auto found = pointerTo(value, child, childPointer(pointer, key))) return found;
    return std::nullopt;
}

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
    for (const std::string_view word : words)
        text.append(text.empty() ? "" : ", ").append(word);
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
    struct stat opened = {};
    checked(fstat(file.number, &opened), path);
    const auto size = static_cast<std::size_t>(opened.st_size);
    if (size > maxSize) throw failure(EFBIG, path);
    std::string text;
    text.reserve(size);
    char part[65536];
    while (const std::size_t count = checked(read(file.number, part, sizeof part), path)) {
        text.append(part, count);
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
    constexpr std::size_t maxSize = 512 << 20;
    const Stamp now = stampOf(path_);
    if (isSettled_ && now == seen_) return std::nullopt;
    seen_ = now;
    isSettled_ = false;
    try {
        std::string text = readFile(path_, maxSize);
        failure_.clear();
        isSettled_ = std::time(nullptr) - std::get<3>(now) > clockStepSeconds;
        const std::pair content(text.size(), std::hash<std::string>()(text));
        if (std::exchange(content_, content) == content) return std::nullopt;
        return text;
    } catch (const std::system_error& error) {
        if (std::exchange(failure_, error.code()) == error.code()) return std::nullopt;
        throw;
    }
}

JsonValue::Document::Document(const std::string& file, const std::string& text,
                              const Readers& readers)
    : file_(file), text_(text)
{
    std::vector<std::size_t> keys;  // how many each open object has been given
    auto reader = readers.end();    // of the list that is being parsed
    std::size_t index = 0;
    const auto follow = [&](int depth, Event event, const Json& parsed) {
        if (depth > maxDepth) refuse();
        if (event == Event::object_start) keys.push_back(0);
        if (event == Event::key) ++keys.back();
        if (event == Event::object_end) {
            if (keys.back() != parsed.size()) refuse();  // one was given twice
            keys.pop_back();
        }
        if (depth == 1) {
            index = 0;
            if (event == Event::key) reader = readers.find(parsed.get_ref<const std::string&>());
            if (event == Event::object_start) reader = readers.end();  // no list
        }
        const bool isElement = depth == 2 && isWhole(event) && reader != readers.end();
        if (isElement) {
            top_ = &parsed;
            topPointer_ = '/' + reader->first + '/' + std::to_string(index++);
            reader->second(JsonValue(*this, parsed));
        }
        return !isElement;
    };
    try {
        json_ = Json::parse(text_, follow);
    } catch (const Json::exception&) {
        refuse();
    }
    top_ = &json_;
    topPointer_.clear();
}

Lines JsonValue::Document::linesOf(const std::set<std::string>& pointers) const
{
    return Outline(file_, text_, pointers).lines();
}

std::string JsonValue::Document::placed(std::size_t line, const std::string& pointer,
                                        const std::string& what) const
{
    const std::string field = pointer.empty() ? "/" : pointer;
    return file_ + ':' + std::to_string(line) + ": " + field + ": " + what;
}

void JsonValue::fail(const std::string& what) const
{
    const std::string pointer = pointerTo(*json_, *document_->top_, document_->topPointer_).value();
    const std::size_t line = document_->linesOf({pointer}).at(pointer);
    throw FileError(document_->placed(line, pointer, what));
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
        const auto& text = json_->get_ref<const std::string&>();
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
    const std::string name = json_->is_string() ? json_->get<std::string>() : "";
    std::vector<std::string_view> known;
    for (const CodeName& code : codeNames())
        if (code.name == name && *code.type == type) return code.value;
    for (const CodeName& code : codeNames())
        if (*code.type == type) known.push_back(code.name);
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
        values.push_back({*document_, value});
    return values;
}

JsonObject::JsonObject(const JsonValue& value) : value_(value)
{
    if (!value_.json_->is_object()) value_.fail("expected an object");
    known_.reserve(32);  // more than a record has
}

std::optional<JsonValue> JsonObject::find(const char* name)
{
    known_.push_back(name);
    const auto field = value_.json_->find(name);
    if (field == value_.json_->end()) return std::nullopt;
    return JsonValue(*value_.document_, *field);
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
        if (std::find(known_.begin(), known_.end(), name) == known_.end())
            JsonValue(*value_.document_, field)
                .fail("unknown field; known here: " +
                      joined(std::set<std::string_view>(known_.begin(), known_.end())));
}

}  // namespace qbxsim
