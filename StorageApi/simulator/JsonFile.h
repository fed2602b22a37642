// Reading JSON files that people write: every fault names the file, the line and the field.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace qbxsim
{

/// A fault in a file. what() reads "FILE:LINE: FIELD: what is wrong", the field as a JSON pointer.
class FileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The contents of a regular file. Throws std::system_error with the reason and the path.
std::string readFile(const std::string& path);

/// A file that somebody may edit at any time.
class WatchedFile
{
public:
    explicit WatchedFile(std::string path) : path_(std::move(path)) {}
    const std::string& path() const { return path_; }

    /// The contents, if they differ from those of the last call (or this is the first one).
    /// Throws std::system_error once each time the file has become unreadable.
    std::optional<std::string> readIfChanged();

private:
    std::string path_;
    std::optional<struct stat> seen_;
    bool settled_ = false;  // the file is old enough that its times tell of every change
    std::optional<std::string> text_;
};

/// What the codes of an enumeration are called in a file.
using CodeNames = std::vector<std::pair<const char*, std::int32_t>>;

/// Specialised for every enumeration that a file can hold.
template <class Enum>
CodeNames codeNames();

/// One value of a JSON file, and where it stands. Copies are cheap; the Document must outlive them.
class JsonValue
{
public:
    /// A parsed file. Throws FileError for a syntax error and for a key given twice.
    class Document
    {
    public:
        Document(std::string file, std::string text);
        JsonValue root() const;

    private:
        friend class JsonValue;
        int lineOf(const std::string& pointer) const;

        std::string file_;
        std::string text_;
        nlohmann::json json_;
    };

    /// Throws FileError for this value.
    [[noreturn]] void fail(const std::string& what) const;

    // Reading: each throws FileError when the value is of another kind or out of the target's
    // range.

    void read(bool& target) const { target = boolean(); }
    void read(std::string& target) const { target = text(); }
    void read(double& target) const { target = fraction(); }

    /// Text as the field of a record: NUL-padded, without terminator when it fills the field.
    template <std::size_t N>
    void read(char (&target)[N]) const
    {
        const std::string bytes = text();
        if (bytes.size() > N)
            fail("text of " + std::to_string(bytes.size()) + " bytes; the field holds " +
                 std::to_string(N));
        bytes.copy(target, N);
    }

    /// A number of JSON, or "0x..." in hexadecimal.
    template <class Number, std::enable_if_t<std::is_unsigned_v<Number>, int> = 0>
    void read(Number& target) const
    {
        target = static_cast<Number>(number(std::numeric_limits<Number>::max()));
    }

    /// Up to N values, in a JSON array; places that the file does not give keep their content.
    template <class Element, std::size_t N>
    void read(Element (&target)[N]) const
    {
        const std::vector<JsonValue> values = elements(N);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i].read(target[i]);
    }

    template <class Element>
    void read(std::vector<Element>& target) const
    {
        for (const JsonValue& value : elements(std::numeric_limits<std::uint32_t>::max()))
            value.read(target.emplace_back());
    }

    /// An enumeration that has codeNames, by name or number, or a structure that has a function
    /// `decode(JsonObject&, Structure&)` in this namespace.
    template <class T, std::enable_if_t<std::is_enum_v<T> || std::is_class_v<T>, int> = 0>
    void read(T& target) const;

    bool isNull() const { return json_->is_null(); }
    /// The values of a list, of which there may be `max`.
    std::vector<JsonValue> elements(std::size_t max) const;

private:
    friend class JsonObject;
    JsonValue(const Document& document, const nlohmann::json& json, std::string pointer)
        : document_(&document), json_(&json), pointer_(std::move(pointer))
    {
    }

    bool boolean() const;
    std::string text() const;
    std::uint64_t number(std::uint64_t max) const;
    double fraction() const;
    std::int32_t code(const CodeNames& names) const;

    const Document* document_;
    const nlohmann::json* json_;
    std::string pointer_;
};

/// A JSON object being read field by field. Every field is optional unless it is needed; after the
/// last one, done() refuses the fields that nobody asked for, which are mistypings.
class JsonObject
{
public:
    explicit JsonObject(const JsonValue& value);

    /// Reads the field into `target`, which stays as it is when the field is absent. Returns
    /// whether the field is there.
    template <class T>
    bool read(const char* name, T& target)
    {
        const std::optional<JsonValue> value = find(name);
        if (value) value->read(target);
        return value.has_value();
    }

    template <class T>
    void need(const char* name, T& target)
    {
        if (!read(name, target)) value_.fail(std::string("field '") + name + "' is missing");
    }

    /// For one-bit fields: false when absent.
    bool flag(const char* name)
    {
        bool value = false;
        read(name, value);
        return value;
    }

    std::optional<JsonValue> find(const char* name);
    void done() const;

private:
    JsonValue value_;
    std::vector<std::string> known_;
};

template <class T, std::enable_if_t<std::is_enum_v<T> || std::is_class_v<T>, int>>
void JsonValue::read(T& target) const
{
    if constexpr (std::is_enum_v<T>) {
        static_assert(sizeof(T) == sizeof(std::int32_t));
        target = static_cast<T>(code(codeNames<T>()));
    } else {
        JsonObject object(*this);
        decode(object, target);
        object.done();
    }
}

}  // namespace qbxsim
