#include "CimXml/XmlTree.h"

#include "Model/Text.h"

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <charconv>
#include <exception>
#include <cstdlib>
#include <expat.h>
#include <malloc.h>
#include <memory>

namespace cimom
{

namespace
{

constexpr std::size_t maxDepth = 64;
constexpr std::ptrdiff_t smallDocument = 1 << 20;  // bytes that each document may take besides
constexpr std::string_view blanks = " \t\r\n";

/// Bytes that the document which this thread parses may still take, by expat or in the tree;
/// negative when it needs more.
thread_local std::ptrdiff_t room = 0;

/// Counts what expat takes. It ends when it gets nothing.
void* retake(void* block, std::size_t size)
{
    const auto had = static_cast<std::ptrdiff_t>(malloc_usable_size(block));
    if (static_cast<std::ptrdiff_t>(size) > room + had) {
        room = -1;
        return nullptr;
    }
    void* const taken = std::realloc(block, size);
    if (taken) room += had - static_cast<std::ptrdiff_t>(malloc_usable_size(taken));
    return taken;
}

void giveBack(void* block)
{
    room += static_cast<std::ptrdiff_t>(malloc_usable_size(block));
    std::free(block);
}

const XML_Memory_Handling_Suite countedMemory = {
    [](std::size_t size) { return retake(nullptr, size); }, retake, giveBack};

// Expat parses a stand-in for each reference to the characters 1 to 32: a mark, the noncharacter
// U+FDD0, and the character 64 places further (A for 1). Expat refuses control characters, and
// blanks that are references differ from literal ones. '@' follows where a document itself has
// U+FDD0.
constexpr std::string_view mark = "\xEF\xB7\x90";
constexpr unsigned markCode = 0xFDD0;

std::string standIn(unsigned character)
{
    return std::string(mark) + static_cast<char>('@' + character);
}

/// Turns the stand-ins back into the characters, and drops the escapes.
std::string restored(std::string text)
{
    if (text.find(mark) == std::string::npos) return text;
    std::string result;
    std::size_t done = 0;
    for (std::size_t at; (at = text.find(mark, done)) != std::string::npos;) {
        result.append(text, done, at - done);
        at += mark.size();
        text[at] == '@' ? result.append(mark) : result.append(1, static_cast<char>(text[at] - '@'));
        done = at + 1;
    }
    return result.append(text, done);
}

/// The document with stand-ins in place of such references. CDATA, where a reference is plain
/// text, stays as it is.
std::string withStandIns(const std::string& document)
{
    std::string result;
    std::size_t done = 0;
    for (std::size_t at = 0; (at = document.find_first_of("&<", at)) != std::string::npos; ++at) {
        if (document.compare(at, 9, "<![CDATA[") == 0) {
            at = std::min(document.find("]]>", at), document.size());
            continue;
        }
        if (document.compare(at, 2, "&#") != 0) continue;
        const bool hex = document[at + 2] == 'x';
        const char* const digits = document.data() + at + (hex ? 3 : 2);
        unsigned number = 0;
        const auto [end, error] =
            std::from_chars(digits, document.data() + document.size(), number, hex ? 16 : 10);
        const bool isMark = number == markCode;
        const bool isOne = isMark || (number >= 1 && number <= ' ');
        if (error != std::errc() || *end != ';' || !isOne) continue;
        result.append(document, done, at - done).append(standIn(isMark ? 0 : number));
        done = static_cast<std::size_t>(end + 1 - document.data());
    }
    return result.append(document, done);
}

class TreeBuilder
{
public:
    explicit TreeBuilder(unsigned depth)
        : depth_(depth),
          parser_(XML_ParserCreate_MM("UTF-8", &countedMemory, nullptr), XML_ParserFree)
    {
        if (!parser_) throw std::bad_alloc();
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(parser_.get(), run<&TreeBuilder::start>, run<&TreeBuilder::end>);
        XML_SetCharacterDataHandler(parser_.get(), run<&TreeBuilder::text>);
        XML_SetCdataSectionHandler(parser_.get(), run<&TreeBuilder::beginCdata>,
                                   run<&TreeBuilder::endCdata>);
        XML_SetStartDoctypeDeclHandler(parser_.get(), run<&TreeBuilder::doctype>);
    }

    XmlElement build(const std::string& document)
    {
        XML_Parse(parser_.get(), document.data(), static_cast<int>(document.size()), XML_TRUE);
        if (failure_) std::rethrow_exception(failure_);
        if (room < 0) invalid_ = "the elements need too much memory";
        const std::string line = std::to_string(XML_GetCurrentLineNumber(parser_.get()));
        if (refused()) throw notValid("Validation error: on line " + line + ": " + invalid_);
        if (done_) return std::move(root_);
        const XML_Error error = XML_GetErrorCode(parser_.get());
        if (error == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
        throw RequestError{400, "request-not-well-formed",
                           std::string(XML_ErrorString(error)) + ": on line " + line};
    }

private:
    void stop() { XML_StopParser(parser_.get(), XML_FALSE); }

    void refuse(const std::string& why)
    {
        invalid_ = why;
        stop();
    }

    /// A callback of expat that runs this step. What that throws, such as bad_alloc, must not pass
    /// through expat's C code: it is kept until the parser has stopped. Expat reports the rest of
    /// the current tag even after that.
    template <auto step, class... Argument>
    static void run(void* self, Argument... arguments)
    {
        auto& tree = *static_cast<TreeBuilder*>(self);
        if (tree.failure_ || tree.refused() || room < 0) return;
        try {
            (tree.*step)(arguments...);
        } catch (...) {
            tree.failure_ = std::current_exception();
            tree.stop();
        }
    }

    bool refused() const { return !invalid_.empty(); }

    /// Counts bytes of the tree.
    void use(std::size_t bytes)
    {
        room -= static_cast<std::ptrdiff_t>(bytes);
        if (room < 0) stop();
    }

    /// A new last element.
    XmlElement& append(std::vector<XmlElement>& elements)
    {
        if (elements.size() == elements.capacity()) {
            const std::size_t had = elements.capacity();
            use((2 * had + 1) * sizeof(XmlElement));
            elements.reserve(2 * had + 1);
            room += static_cast<std::ptrdiff_t>(had * sizeof(XmlElement));
        }
        return elements.emplace_back();
    }

    void start(const char* name, const char** attributes)
    {
        const std::size_t depth = depth_ + open_.size();
        if (depth >= maxDepth) return refuse("elements are nested too deeply");
        XmlElement& element = open_.empty() ? root_ : append(open_.back().element->children);
        element.name = name;
        element.depth = static_cast<unsigned>(depth);
        element.line = static_cast<unsigned>(XML_GetCurrentLineNumber(parser_.get()));
        const auto count = static_cast<std::size_t>(XML_GetSpecifiedAttributeCount(parser_.get()));
        use(count / 2 * sizeof(element.attributes[0]));
        if (room < 0) return;
        element.attributes.reserve(count / 2);
        for (; *attributes; attributes += 2) {
            const auto& [key, value] =
                element.attributes.emplace_back(attributes[0], restored(attributes[1]));
            use(key.size() + value.size());
        }
        open_.push_back({&element, 0});
    }

    void end(const char*)
    {
        const auto [element, kept] = open_.back();
        open_.pop_back();
        std::string& text = element->text;
        text.resize(std::max(kept, text.find_last_not_of(blanks) + 1));
        text = restored(std::move(text));
        if (!element->children.empty() && !text.empty())
            return refuse("Unexpected text in " + element->name + " element");
        done_ = open_.empty();
        if (done_) stop();
    }

    void text(const char* begin, int size)
    {
        std::string_view chunk(begin, static_cast<std::size_t>(size));
        auto& [element, kept] = open_.back();
        std::string& text = element->text;
        if (text.empty() && !inCdata_)
            chunk.remove_prefix(std::min(chunk.find_first_not_of(blanks), chunk.size()));
        const std::size_t had = text.capacity();
        text.append(chunk);
        use(text.capacity() - had);
        if (inCdata_) kept = text.size();
    }

    void beginCdata()
    {
        inCdata_ = true;
        open_.back().element->hasCdata = true;
    }

    void endCdata() { inCdata_ = false; }

    void doctype(const char*, const char*, const char*, int)
    {
        refuse("Expected open of CIM element");
    }

    struct Open
    {
        XmlElement* element;
        std::size_t kept;  ///< length of its text up to the end of its last CDATA
    };

    const unsigned depth_;
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser_;
    XmlElement root_;
    std::vector<Open> open_;
    std::exception_ptr failure_;
    bool inCdata_ = false;
    bool done_ = false;
    std::string invalid_;
};

}  // namespace

const std::string* XmlElement::attribute(std::string_view attributeName) const
{
    for (const auto& [attribute, value] : attributes) {
        if (attribute == attributeName) return &value;
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

XmlElement parseXml(const std::string& document, unsigned depth)
{
    if (!isUtf8(document)) throw notValid("Invalid UTF-8 character detected.");
    room = smallDocument + static_cast<std::ptrdiff_t>(xmlMemoryFactor * document.size());
    const bool isPlain =
        document.find("&#") == std::string::npos && document.find(mark) == std::string::npos;
    if (isPlain) return TreeBuilder(depth).build(document);
    std::string changed = boost::replace_all_copy(document, mark, std::string(mark) + '@');
    changed = withStandIns(changed);
    return TreeBuilder(depth).build(changed);
}

}  // namespace cimom
