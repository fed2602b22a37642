#include "Mof/MofLexer.h"

#include "Model/Text.h"

#include <cstring>

namespace cimom
{
namespace
{

bool isNameStart(char c)
{
    return isLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool isNamePart(char c)
{
    return isNameStart(c) || isDigit(c);
}

// One of the characters, none of which is zero.
bool isOneOf(char c, const char* characters)
{
    return c != '\0' && std::strchr(characters, c) != nullptr;
}

bool isContinuationByte(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

std::string describeToken(const MofToken& token)
{
    switch (token.kind) {
        case MofToken::End:
            return "the end of the text";
        case MofToken::String:
            return "string \"" + token.text + "\"";
        case MofToken::Char:
            return "character '" + token.text + "'";
        default:
            return "'" + token.text + "'";
    }
}

}  // namespace

bool MofToken::is(const char* keyword) const
{
    return kind == Identifier && equalNoCase(text, keyword);
}

bool MofToken::is(char symbol) const
{
    return kind == Symbol && text[0] == symbol;
}

void unexpected(const MofToken& found, const std::string& expected)
{
    throw MofFault{found.at, "expected " + expected + ", found " + describeToken(found)};
}

MofLexer::MofLexer(const std::string& text) : text_(text)
{
    if (text_.compare(0, 3, "\xEF\xBB\xBF") == 0) offset_ = 3;  // byte order mark
}

MofToken MofLexer::next()
{
    skipBlanksAndComments();
    MofToken token;
    token.at = at_;
    if (offset_ == text_.size()) return token;
    const char c = peek();
    if (isOneOf(c, "\"'")) {
        token.kind = c == '"' ? MofToken::String : MofToken::Char;
        quoted(token);
    } else if (isNameStart(c)) {
        token.kind = MofToken::Identifier;
        while (isNamePart(peek()))
            token.text += take();
    } else if (isDigit(c) || isOneOf(c, "+-.")) {
        // All that could belong to a number; whether it is one is found when it is used.
        token.kind = MofToken::Number;
        do
            token.text += take();
        while (isNamePart(peek()) || peek() == '.' ||
               (isOneOf(peek(), "+-") && toLower(token.text.back()) == 'e'));
    } else if (isOneOf(c, "{}[]():;,=#")) {
        token.kind = MofToken::Symbol;
        token.text = take();
    } else {
        throw MofFault{at_, c > ' ' ? std::string("unexpected '") + c + "'"
                                    : "unexpected control character " + std::to_string(c)};
    }
    if (!isUtf8(token.text)) throw MofFault{token.at, "expected a text in UTF-8"};
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
    for (;;) {
        const MofPosition start = at_;
        if (isOneOf(peek(), " \t\r\n\f\v")) {
            take();
        } else if (peek() == '/' && peek(1) == '/') {
            skipPast("\n");
        } else if (peek() == '/' && peek(1) == '*') {
            if (!skipPast("*/")) throw MofFault{start, "comment without end, expected \"*/\""};
        } else {
            return;
        }
    }
}

// Takes two characters at least. False when `end` does not come any more.
bool MofLexer::skipPast(const char* end)
{
    const std::size_t found = text_.find(end, offset_ + 2);
    const std::size_t stop = found == std::string::npos ? text_.size() : found + std::strlen(end);
    while (offset_ < stop)
        take();
    return found != std::string::npos;
}

void MofLexer::quoted(MofToken& token)
{
    const char quote = take();
    while (peek() != quote) {
        if (offset_ == text_.size() || isOneOf(peek(), "\r\n"))
            throw MofFault{token.at, std::string(quote == '"' ? "string" : "character") +
                                         " without end, expected a closing " + quote +
                                         " on the same line"};
        if (peek() == '\\')
            escape(token.text);
        else
            token.text += take();
    }
    take();
}

void MofLexer::escape(std::string& content)
{
    static const char letters[] = "btnfr\"'\\";
    static const char meanings[] = "\b\t\n\f\r\"'\\";
    const MofPosition start = at_;
    take();
    if (isOneOf(peek(), letters)) {
        content += meanings[std::strchr(letters, take()) - letters];
        return;
    }
    static const char hexDigits[] = "0123456789abcdefABCDEF";
    if (toLower(peek()) != 'x' || !isOneOf(peek(1), hexDigits))
        throw MofFault{start,
                       "unknown escape, expected one of \\b \\t \\n \\f \\r \\\" \\' \\\\ or \\x "
                       "with one to four hexadecimal digits"};
    std::string code(1, '0');
    do
        code += take();
    while (code.size() < 6 && isOneOf(peek(), hexDigits));
    const Pegasus::Char16 unit(*readInteger<Pegasus::Uint16>(code));
    content += toUtf8(Pegasus::String(&unit, 1));
}

}  // namespace cimom
