// A small element tree over expat, for requests of bounded size.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cimom
{

/// One element with its attributes, child elements and text. White space that stands literally at
/// either end of the text is cut off; character references and CDATA there are kept.
struct XmlElement
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<XmlElement> children;
    std::string text;
    unsigned line = 0;
    bool hasCdata = false;

    /// The attribute's value; null when the element does not have it.
    const std::string* attribute(std::string_view attributeName) const;
    /// The first child element of that name; null when there is none.
    const XmlElement* child(std::string_view childName) const;
};

/// A document that cannot be read. `wellFormed()` tells a document that is XML but not acceptable
/// from one that is no XML at all.
class XmlError : public std::runtime_error
{
public:
    XmlError(bool wellFormed, const std::string& text)
        : std::runtime_error(text), wellFormed_(wellFormed)
    {
    }
    bool wellFormed() const { return wellFormed_; }

private:
    bool wellFormed_;
};

enum class XmlProlog
{
    Required,  ///< the text must start with an XML declaration
    Optional
};

/// Parses UTF-8 text up to the end of its root element; an encoding named by the document and
/// whatever follows the root element are ignored. References to control characters, which XML 1.0
/// forbids but CIM servers and clients write, are accepted except for NUL. Throws XmlError, also
/// for a document type declaration, text that is not UTF-8, and documents nested too deeply or
/// with too many elements.
XmlElement parseXml(const std::string& document, XmlProlog prolog);

}  // namespace cimom
