// A small element tree over expat, for requests of bounded size.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cimom
{

/// Thrown for a request that is refused before any operation starts.
struct RequestError
{
    int status;            ///< of HTTP
    std::string cimError;  ///< value of the CIMError header; empty: none
    std::string detail;    ///< what is wrong
};

/// The error for a request with invalid XML or CIM elements.
inline RequestError notValid(const std::string& text)
{
    return {400, "request-not-valid", text};
}

/// One element with its attributes, child elements and text. White space that stands literally at
/// either end of the text is cut off; character references and CDATA there are kept.
struct XmlElement
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<XmlElement> children;
    std::string text;
    unsigned line = 0;
    unsigned depth = 0;  ///< number of elements around it, those of outer documents included
    bool hasCdata = false;

    /// The attribute's value; null when the element does not have it.
    const std::string* attribute(std::string_view attributeName) const;
    /// The first child element of that name; null when there is none.
    const XmlElement* child(std::string_view childName) const;
};

/// The memory that parsing takes at most for each byte of a document, besides 1 MB: for elements,
/// attributes and texts, and inside the parser.
constexpr std::size_t xmlMemoryFactor = 16;

/// Parses UTF-8 text up to the end of its root element; an encoding named by the document and
/// whatever follows the root element are ignored. References to control characters, which XML 1.0
/// forbids but CIM servers and clients write, are accepted except for NUL. Throws RequestError:
/// request-not-well-formed for what is no XML, request-not-valid for a document type declaration,
/// text that is not UTF-8, text beside elements, and documents nested too deeply or that need more
/// memory than that. `depth` is that of the element which contains the document as its text.
XmlElement parseXml(const std::string& document, unsigned depth = 0);

}  // namespace cimom
