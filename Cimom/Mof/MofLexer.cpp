#include "Mof/MofLexer.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace cimom
{
namespace
{

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isNameStart(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool isNamePart(char c)
{
    return isNameStart(c) || isDigit(c);
}

int hexValue(char c)
{
    if (isDigit(c)) return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool isContinuationByte(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

void appendUtf8(std::string& text, std::uint32_t code)
{
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xC0 | (code >> 6));
        text += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        text += static_cast<char>(0xE0 | (code >> 12));
        text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
    }
}

std::string printable(char c)
{
    if (c >= 0x20 && c < 0x7F) return std::string("'") + c + "'";
    static const char digits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    return std::string("byte 0x") + digits[byte >> 4] + digits[byte & 15];
}

}  // namespace

std::string describe(const MofToken& token)
{
    switch (token.kind) {
        case MofToken::End:
            return "the end of the text";
        case MofToken::String:
            return "string \"" + token.text + "\"";
        case MofToken::Char:
            return "character '" + token.text + "'";
        case MofToken::Alias:
            return "'$" + token.text + "'";
        default:
            return "'" + token.text + "'";
    }
}

MofLexer::MofLexer(std::string text) : text_(std::move(text))
{
    if (text_.compare(0, 3, "\xEF\xBB\xBF") == 0) offset_ = 3;  // byte order mark
}

MofToken MofLexer::next()
{
    skipBlanksAndComments();
    MofToken token;
    token.at = at_;
    if (atEnd()) return token;
    const char c = peek();
    if (c == '"' || c == '\'') return quoted(c);
    if (isDigit(c) || ((c == '+' || c == '-' || c == '.') && (isDigit(peek(1)) || peek(1) == '.')))
        return number(token);
    if (isNameStart(c) || (c == '$' && isNameStart(peek(1)))) {
        token.kind = c == '$' ? MofToken::Alias : MofToken::Identifier;
        if (c == '$') take();
        while (isNamePart(peek()))
            token.text += take();
        return token;
    }
    if (c == '\0' || std::strchr("{}[]():;,=#", c) == nullptr)
        throw MofFault{at_, "unexpected " + printable(c)};
    token.kind = MofToken::Symbol;
    token.text = take();
    return token;
}

// The character, or 0 beyond the end.
char MofLexer::peek(std::size_t ahead) const
{
    return offset_ + ahead < text_.size() ? text_[offset_ + ahead] : '\0';
}

char MofLexer::take()
{
    const char c = text_[offset_++];
    if (c == '\n') {
        ++at_.line;
        at_.column = 1;
    } else if (!isContinuationByte(c)) {
        ++at_.column;
    }
    return c;
}

void MofLexer::skipBlanksAndComments()
{
    while (!atEnd()) {
        if (std::strchr(" \t\r\n\f\v", peek()) != nullptr && peek() != '\0') {
            take();
        } else if (peek() == '/' && peek(1) == '/') {
            while (!atEnd() && peek() != '\n')
                take();
        } else if (peek() == '/' && peek(1) == '*') {
            skipBlockComment();
        } else {
            return;
        }
    }
}

void MofLexer::skipBlockComment()
{
    const MofPosition start = at_;
    take();
    take();
    while (!(peek() == '*' && peek(1) == '/')) {
        if (atEnd()) throw MofFault{start, "comment without end, expected \"*/\""};
        take();
    }
    take();
    take();
}

MofToken MofLexer::quoted(char quote)
{
    MofToken token{quote == '"' ? MofToken::String : MofToken::Char, "", at_};
    take();
    while (peek() != quote) {
        if (atEnd() || peek() == '\n' || peek() == '\r')
            throw MofFault{token.at, std::string(quote == '"' ? "string" : "character") +
                                         " without end, expected a closing " + quote +
                                         " on the same line"};
        if (peek() == '\\')
            escape(token.text);
        else
            token.text += take();
    }
    take();
    return token;
}

void MofLexer::escape(std::string& content)
{
    const MofPosition start = at_;
    take();
    static const char letters[] = "btnfr\"'\\";
    static const char meanings[] = "\b\t\n\f\r\"'\\";
    const char* const found = peek() == '\0' ? nullptr : std::strchr(letters, peek());
    if (found != nullptr) {
        take();
        content += meanings[found - letters];
        return;
    }
    if ((peek() | 0x20) != 'x' || hexValue(peek(1)) < 0)
        throw MofFault{start,
                       "unknown escape, expected one of \\b \\t \\n \\f \\r \\\" \\' \\\\ or \\x "
                       "with one to four hexadecimal digits"};
    take();
    std::uint32_t code = 0;
    for (int digits = 0; digits < 4 && hexValue(peek()) >= 0; ++digits)
        code = code * 16 + static_cast<std::uint32_t>(hexValue(take()));
    appendUtf8(content, code);
}

// Takes all that could belong to a number; whether it is one is found when it is used.
MofToken MofLexer::number(MofToken token)
{
    token.text = take();
    while (isNamePart(peek()) || peek() == '.' ||
           ((peek() == '+' || peek() == '-') && (token.text.back() | 0x20) == 'e'))
        token.text += take();
    const bool hex = token.text.find_first_of("xX") != std::string::npos;
    const bool real = !hex && token.text.find_first_of(".eE") != std::string::npos;
    token.kind = real ? MofToken::Real : MofToken::Integer;
    return token;
}

}  // namespace cimom
