#include "CimXml/XmlText.h"

#include "Model/Text.h"

#include <algorithm>
#include <array>

PEGASUS_USING_PEGASUS;

namespace cimom::xml
{

namespace
{

/// What stands for each character; empty for those that stand for themselves.
const std::array<std::string_view, 256> escapes = [] {
    std::array<std::string_view, 256> texts;
    std::fill(texts.begin(), texts.begin() + ' ', "\xEF\xBF\xBD");
    texts['<'] = "&lt;";
    texts['>'] = "&gt;";
    texts['&'] = "&amp;";
    texts['"'] = "&quot;";
    texts['\''] = "&apos;";
    texts['\t'] = "&#9;";
    texts['\n'] = "&#10;";
    texts['\r'] = "&#13;";
    texts['\x7F'] = "&#127;";
    return texts;
}();

/// The characters that do not always stand for themselves; a blank sometimes does.
const std::array<bool, 256> isSpecial = [] {
    std::array<bool, 256> special;
    std::transform(escapes.begin(), escapes.end(), special.begin(),
                   [](std::string_view text) { return !text.empty(); });
    special[' '] = true;
    return special;
}();

}  // namespace

void appendEscaped(std::string& out, std::string_view text)
{
    std::size_t done = 0;  // what is before stands in `out`
    bool afterBlank = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const bool mayStay = c == ' ' && !afterBlank && i + 1 < text.size();
        afterBlank = mayStay;
        if (!isSpecial[c] || mayStay) continue;
        out.append(text, done, i - done).append(c == ' ' ? "&#32;" : escapes[c]);
        done = i + 1;
    }
    out.append(text, done, std::string_view::npos);
}

void appendEscaped(std::string& out, const String& text)
{
    // Most texts are short, and have nothing to escape.
    char plain[64];
    bool isPlain = text.size() <= sizeof(plain);
    for (Uint32 i = 0; isPlain && i < text.size(); ++i) {
        const Uint16 unit = text.getChar16Data()[i];
        plain[i] = static_cast<char>(unit);
        isPlain = unit < 0x80 && !isSpecial[unit];
    }
    if (isPlain) {
        out.append(plain, text.size());
    } else {
        appendEscaped(out, toUtf8(text));
    }
}

void appendPlain(std::string& out, std::string_view name, std::string_view value)
{
    out.append(1, ' ').append(name).append("=\"").append(value).append(1, '"');
}

void appendAttribute(std::string& out, std::string_view name, std::string_view value)
{
    out.append(1, ' ').append(name).append("=\"");
    appendEscaped(out, value);
    out += '"';
}

void appendName(std::string& out, std::string_view name, const CIMName& value)
{
    out.append(1, ' ').append(name).append("=\"");
    appendUtf8(out, value.getString());
    out += '"';
}

}  // namespace cimom::xml
