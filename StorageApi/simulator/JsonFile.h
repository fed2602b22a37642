// Reading JSON files that people write: every fault names the file, the line and the field.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace qbxsim
{

/// A fault in a file. what() reads "FILE:LINE: FIELD: what is wrong", the field as a JSON pointer.
class FileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The contents of a regular file of at most `maxSize` bytes. Throws std::system_error with the
/// reason and the path.
std::string readFile(const std::string& path, std::size_t maxSize);

/// Replaces a file as a whole: nobody finds half of it, and nothing has changed when this throws
/// std::system_error.
void replaceFile(const std::string& path, const std::string& text);

/// A file that somebody may edit at any time.
class WatchedFile
{
public:
    explicit WatchedFile(std::string path) : path_(std::move(path)) {}
    const std::string& path() const { return path_; }

    /// The contents, if they differ from those of the last call (or this is the first one). A file
    /// that cannot be read is tried again each time; the reason is thrown once, as
    /// std::system_error.
    std::optional<std::string> readIfChanged();
    /// True when the last call found that the file cannot be read.
    bool isUnreadable() const { return static_cast<bool>(failure_); }

private:
    using Stamp =
        std::tuple<std::uint64_t, std::uint64_t, std::int64_t, std::int64_t, std::int64_t>;
    static Stamp stampOf(const std::string& path);

    std::string path_;
    Stamp seen_;
    bool isSettled_ = false;  // the stamp tells of every further change
    std::error_code failure_;
    std::optional<std::pair<std::size_t, std::size_t>> content_;  // its size and hash
};

/// What a code of an enumeration is called in a file.
struct CodeName
{
    const std::type_info* type;
    std::string name;
    std::int32_t value;
};

/// The codes of all enumerations that a file can hold.
const std::vector<CodeName>& codeNames();

/// One value of a JSON file. Copies are cheap; the Document must outlive them.
class JsonValue
{
public:
    /// Takes each element of a list at the top level, by the key of the list.
    using Readers = std::map<std::string, std::function<void(const JsonValue&)>>;

    /// A parsed file, whose name and text must outlive it.
    class Document
    {
    public:
        /// Gives the elements of the lists in `readers` to these as soon as each has been parsed,
        /// and does not keep them: such a list is empty in the document. Throws FileError for a
        /// syntax error and for a key given twice.
        Document(const std::string& file, const std::string& text, const Readers& readers = {});
        Document(const Document&) = delete;
        JsonValue root() const { return JsonValue(*this, json_); }

        /// The lines in which values stand, given by their JSON pointers. Parses the text once
        /// more, slowly.
        std::map<std::string, std::size_t> linesOf(const std::set<std::string>& pointers) const;
        /// The text of a fault, or warning, with the place of a value.
        std::string placed(std::size_t line, const std::string& pointer,
                           const std::string& what) const;

    private:
        friend class JsonValue;
        /// Throws FileError for what is wrong with the text, which the parser alone cannot place.
        void refuse() const { linesOf({}); }

        const std::string& file_;
        const std::string& text_;
        nlohmann::json json_;
        const nlohmann::json* top_ = &json_;  // what is being read: an element, then the whole
        std::string topPointer_;
    };

    /// Throws FileError for this value.
    [[noreturn]] void fail(const std::string& what) const;

    // Reading: each throws FileError when the value is of another kind or out of the target's
    // range.

    void read(bool& target) const;
    void read(double& target) const;
    void read(std::string& target) const;
    void read(std::int32_t& target) const { target = code(typeid(target)); }

    /// Text as the field of a record: NUL-padded, without terminator when it fills the field.
    template <std::size_t N>
    void read(char (&target)[N]) const
    {
        std::string bytes;
        read(bytes);
        if (bytes.size() > N)
            fail("string of " + std::to_string(bytes.size()) + " bytes; the field holds " +
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
        for (const JsonValue& value : elements())
            value.read(target.emplace_back());
    }

    /// An enumeration, by name (see codeNames) or number, or a structure that has a function
    /// `decode(JsonObject&, Structure&)` in this namespace.
    template <class T, std::enable_if_t<std::is_enum_v<T> || std::is_class_v<T>, int> = 0>
    void read(T& target) const;

    bool isNull() const { return json_->is_null(); }
    /// The values of a list, of which there may be `max`.
    std::vector<JsonValue> elements(std::size_t max = SIZE_MAX) const;

private:
    friend class JsonObject;
    JsonValue(const Document& document, const nlohmann::json& json)
        : document_(&document), json_(&json)
    {
    }

    std::uint64_t number(std::uint64_t max) const;
    std::int32_t code(const std::type_info& type) const;

    const Document* document_;
    const nlohmann::json* json_;
};

/// A JSON object being read field by field. Every field is optional unless it is needed; after the
/// last one, done() refuses the fields that nobody asked for, which are mistypings.
class JsonObject
{
public:
    explicit JsonObject(const JsonValue& value);

    /// Reads fields, each given by its name and its target, which stays as it is when the field is
    /// absent.
    template <class T, class... More>
    void read(const char* name, T& target, More&&... more)
    {
        if (const std::optional<JsonValue> value = find(name)) value->read(target);
        if constexpr (sizeof...(more) > 0) read(std::forward<More>(more)...);
    }

    /// The same; throws FileError when one is absent.
    template <class T, class... More>
    void need(const char* name, T& target, More&&... more)
    {
        if (!find(name)) value_.fail(std::string("field '") + name + "' is missing");
        read(name, target);
        if constexpr (sizeof...(more) > 0) need(std::forward<More>(more)...);
    }

    /// For one-bit fields: false when absent.
    bool flag(const char* name)
    {
        bool value = false;
        read(name, value);
        return value;
    }

    std::optional<JsonValue> find(const char* name);
    /// Throws FileError when more than one of the arms of a record's union are given.
    void oneArmOf(std::initializer_list<const char*> names);
    void done() const;

private:
    JsonValue value_;
    std::vector<std::string_view> known_;
};

template <class T, std::enable_if_t<std::is_enum_v<T> || std::is_class_v<T>, int>>
void JsonValue::read(T& target) const
{
    if constexpr (std::is_enum_v<T>) {
        static_assert(sizeof(T) == sizeof(std::int32_t));
        target = static_cast<T>(code(typeid(T)));
    } else {
        JsonObject object(*this);
        decode(object, target);
        object.done();
    }
}

}  // namespace qbxsim
