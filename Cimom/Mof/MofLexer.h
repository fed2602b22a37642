// The words of a MOF text.
#pragma once

#include <string>

namespace cimom
{

/// A place in a text. Lines and columns count from 1, columns in characters.
struct MofPosition
{
    unsigned line = 1;
    unsigned column = 1;
};

/// A fault in a text, before it is known which file the text is from.
struct MofFault
{
    MofPosition at;
    std::string text;
};

struct MofToken
{
    enum Kind
    {
        End,
        Identifier,
        Number,
        String,
        Char,
        Symbol
    };

    Kind kind = End;
    /// As written; for String and Char the content with its escapes resolved. Always UTF-8.
    std::string text;
    MofPosition at;

    /// True for an identifier of this text in any case.
    bool is(const char* keyword) const;
    bool is(char symbol) const;
};

/// Throws the fault of having found this token instead of what was expected.
[[noreturn]] void unexpected(const MofToken& found, const std::string& expected);

/// Splits a MOF text, which has to outlive it, into tokens, leaving out blanks and comments.
class MofLexer
{
public:
    explicit MofLexer(const std::string& text);
    /// The next token, End for ever after the last. Throws MofFault.
    MofToken next();

private:
    char peek(std::size_t ahead = 0) const;
    char take();
    void skipBlanksAndComments();
    bool skipPast(const char* end);
    void quoted(MofToken& token);
    void escape(std::string& content);

    const std::string& text_;
    std::size_t offset_ = 0;
    MofPosition at_;
};

}  // namespace cimom
