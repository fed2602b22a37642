#include "CimXml/XmlTree.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <expat.h>
#include <memory>

namespace cimom
{

namespace
{

constexpr std::size_t maxDepth = 64;
constexpr std::size_t maxElements = 100000;

/// References to control characters are parsed under these Unicode noncharacters, because expat
/// refuses the characters themselves: U+FDD0 + N stands for N.
constexpr unsigned controlBase = 0xFDD0;

bool isUtf8(const std::string& text)
{
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    while (p < end) {
        const unsigned lead = *p++;
        if (lead < 0x80) continue;
        const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
        if (lead < 0xC2 || lead > 0xF4 || end - p < more) return false;
        const unsigned second = *p;
        const bool tooLong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
        const bool tooLarge = lead == 0xF4 && second > 0x8F;
        const bool surrogate = lead == 0xED && second > 0x9F;
        if (tooLong || tooLarge || surrogate) return false;
        for (int i = 0; i < more; ++i) {
            if ((*p++ & 0xC0) != 0x80) return false;
        }
    }
    return true;
}

/// The number of a character reference that starts at `at` ("&#"), and where it ends; -1 when it
/// is no such reference.
std::pair<long, std::size_t> characterReference(const std::string& text, std::size_t at)
{
    const bool hex = at + 2 < text.size() && text[at + 2] == 'x';
    const char* first = text.data() + at + (hex ? 3 : 2);
    const char* last = text.data() + text.size();
    unsigned number = 0;
    if (first >= last || !std::isxdigit(static_cast<unsigned char>(*first))) return {-1, 0};
    const auto [end, error] = std::from_chars(first, last, number, hex ? 16 : 10);
    if (error != std::errc() || end == last || *end != ';') return {-1, 0};
    return {static_cast<long>(number), static_cast<std::size_t>(end + 1 - text.data())};
}

bool isForbiddenControl(long number)
{
    return number > 0 && number < 0x20 && number != '\t' && number != '\n' && number != '\r';
}

/// The document with references to control characters replaced by their stand-ins. CDATA, where a
/// reference is plain text, stays as it is.
std::string replaceControlReferences(const std::string& document)
{
    static const std::string cdata = "<![CDATA[";
    std::string result;
    std::size_t done = 0;
    for (std::size_t at = document.find_first_of("&<"); at != std::string::npos;
         at = document.find_first_of("&<", at + 1)) {
        if (document.compare(at, cdata.size(), cdata) == 0) {
            const std::size_t end = document.find("]]>", at);
            if (end == std::string::npos) break;
            at = end;
            continue;
        }
        if (document.compare(at, 2, "&#") != 0) continue;
        const auto [number, end] = characterReference(document, at);
        if (!isForbiddenControl(number)) continue;
        result.append(document, done, at - done);
        result += "&#" + std::to_string(controlBase + static_cast<unsigned>(number)) + ";";
        done = end;
    }
    result.append(document, done);
    return result;
}

class TreeBuilder
{
public:
    explicit TreeBuilder(const std::string& document)
        : document_(document), parser_(XML_ParserCreate("UTF-8"))
    {
        if (!parser_) throw std::bad_alloc();
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(parser_.get(), onStart, onEnd);
        XML_SetCharacterDataHandler(parser_.get(), onText);
        XML_SetCdataSectionHandler(parser_.get(), onCdataStart, onCdataEnd);
        XML_SetStartDoctypeDeclHandler(parser_.get(), onDoctype);
    }

    XmlElement build()
    {
        const auto status = XML_Parse(parser_.get(), document_.data(),
                                      static_cast<int>(document_.size()), XML_TRUE);
        if (done_) return std::move(root_);
        if (!invalid_.empty())
            throw XmlError(true, "Validation error: on line " + line() + ": " + invalid_);
        const auto code = XML_GetErrorCode(parser_.get());
        const char* text = status == XML_STATUS_ERROR ? XML_ErrorString(code) : "no element found";
        throw XmlError(false, std::string(text) + ": on line " + line());
    }

private:
    struct Level
    {
        XmlElement* element;
        std::size_t keep = 0;  ///< length of the text that must not be cut off at its end
    };

    static TreeBuilder& self(void* data) { return *static_cast<TreeBuilder*>(data); }

    static void onStart(void* data, const XML_Char* name, const XML_Char** attributes)
    {
        self(data).start(name, attributes);
    }
    static void onEnd(void* data, const XML_Char*) { self(data).end(); }
    static void onText(void* data, const XML_Char* text, int length)
    {
        self(data).text(std::string_view(text, static_cast<std::size_t>(length)));
    }
    static void onCdataStart(void* data)
    {
        self(data).inCdata_ = true;
        if (!self(data).open_.empty()) self(data).open_.back().element->hasCdata = true;
    }
    static void onCdataEnd(void* data) { self(data).inCdata_ = false; }
    static void onDoctype(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int)
    {
        self(data).refuse("Expected open of CIM element");
    }

    /// Expat reports the rest of the current tag even after it was stopped.
    bool refused() const { return !invalid_.empty(); }

    void refuse(const std::string& why)
    {
        invalid_ = why;
        XML_StopParser(parser_.get(), XML_FALSE);
    }

    void start(const char* name, const char** attributes)
    {
        if (refused()) return;
        if (open_.size() >= maxDepth) return refuse("elements are nested too deeply");
        if (++elements_ > maxElements) return refuse("too many elements");
        XmlElement* element = &root_;
        if (!open_.empty()) element = &open_.back().element->children.emplace_back();
        element->name = name;
        element->line = static_cast<unsigned>(XML_GetCurrentLineNumber(parser_.get()));
        for (; *attributes; attributes += 2)
            element->attributes.emplace_back(attributes[0], restore(attributes[1]));
        open_.push_back({element});
    }

    void end()
    {
        if (refused()) return;
        Level& level = open_.back();
        level.element->text.resize(level.keep);
        const XmlElement& element = *level.element;
        if (!element.children.empty() && !element.text.empty()) {
            return refuse("Unexpected text in " + element.name + " element");
        }
        open_.pop_back();
        if (!open_.empty()) return;
        done_ = true;
        XML_StopParser(parser_.get(), XML_FALSE);
    }

    void text(std::string_view chunk)
    {
        if (open_.empty() || refused()) return;
        Level& level = open_.back();
        std::string& text = level.element->text;
        if (inCdata_ || isReference()) {
            text += inCdata_ ? std::string(chunk) : restore(std::string(chunk));
            level.keep = text.size();
            return;
        }
        if (text.empty())
            chunk.remove_prefix(std::min(chunk.find_first_not_of(" \t\r\n"), chunk.size()));
        text += chunk;
        const std::size_t last = chunk.find_last_not_of(" \t\r\n");
        if (last != std::string_view::npos) level.keep = text.size() - chunk.size() + last + 1;
    }

    /// True while the parser reports the character behind a reference.
    bool isReference() const
    {
        const auto at = XML_GetCurrentByteIndex(parser_.get());
        return at >= 0 && document_[static_cast<std::size_t>(at)] == '&';
    }

    /// Turns the stand-ins for control characters (EF B7 90 + N in UTF-8) back.
    static std::string restore(std::string text)
    {
        for (std::size_t at = text.find("\xEF\xB7"); at != std::string::npos;
             at = text.find("\xEF\xB7", at + 1)) {
            const unsigned last = static_cast<unsigned char>(text[at + 2]);
            if (last >= 0x90 && last < 0xB0) text.replace(at, 3, 1, static_cast<char>(last - 0x90));
        }
        return text;
    }

    std::string line() const { return std::to_string(XML_GetCurrentLineNumber(parser_.get())); }

    struct Free
    {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    const std::string& document_;
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> parser_;
    XmlElement root_;
    std::vector<Level> open_;
    std::size_t elements_ = 0;
    bool inCdata_ = false;
    bool done_ = false;
    std::string invalid_;
};

}  // namespace

const std::string* XmlElement::attribute(std::string_view attributeName) const
{
    for (const auto& [name, value] : attributes) {
        if (name == attributeName) return &value;
    }
    return nullptr;
}

const XmlElement* XmlElement::child(std::string_view childName) const
{
    for (const XmlElement& element : children) {
        if (element.name == childName) return &element;
    }
    return nullptr;
}

XmlElement parseXml(const std::string& document, XmlProlog prolog)
{
    if (prolog == XmlProlog::Required && document.compare(0, 5, "<?xml") != 0) {
        throw XmlError(true,
                       "Validation error: on line 1: Expected <?xml ... ?> style declaration");
    }
    if (!isUtf8(document)) throw XmlError(true, "Invalid UTF-8 character detected.");
    const std::string readable = replaceControlReferences(document);
    return TreeBuilder(readable).build();
}

}  // namespace cimom
