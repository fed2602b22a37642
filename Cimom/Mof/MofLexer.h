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
        Integer,
        Real,
        String,
        Char,
        Alias,
        Symbol
    };

    Kind kind = End;
    /// As written; for String and Char the content with its escapes resolved, in UTF-8; for Alias
    /// the name without the $.
    std::string text;
    MofPosition at;
};

/// How an error message names a token: 'text', "end of file" and the like.
std::string describe(const MofToken& token);

/// Splits a MOF text into tokens, leaving out blanks and comments.
class MofLexer
{
public:
    explicit MofLexer(std::string text);
    /// The next token, End for ever after the last. Throws MofFault.
    MofToken next();

private:
    bool atEnd() const { return offset_ == text_.size(); }
    char peek(std::size_t ahead = 0) const;
    char take();
    void skipBlanksAndComments();
    void skipBlockComment();
    MofToken quoted(char quote);
    void escape(std::string& content);
    MofToken number(MofToken token);

    std::string text_;
    std::size_t offset_ = 0;
    MofPosition at_;
};

}  // namespace cimom
