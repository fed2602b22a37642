// Files of cases: what is asked, and what comes of it.
#pragma once

#include "Model/Errors.h"
#include "Model/Text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <string>

namespace cimom
{

/// What `call` returns, or "CODE text" of the error as a client would see it.
template <class Call>
std::string answerOf(Call call)
{
    try {
        return call();
    } catch (...) {
        const Pegasus::CIMException error = currentError();
        return std::to_string(error.getCode()) + " " + toUtf8(error.getMessage());
    }
}

/// The lines of the text, each with the mark before it.
inline std::string marked(const std::string& mark, const std::string& text)
{
    std::string all;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        all += mark + line + "\n";
    return all;
}

/// Asks what the file asks. It holds blocks of lines with an empty line behind each: the question,
/// and below it, marked "> " or "= ", what `ask` has to return for it. Lines with "# " are
/// comments.
inline void checkCases(const std::string& file,
                       const std::function<std::string(const std::string& question)>& ask)
{
    std::ifstream stream(file);
    std::string question, answer;
    std::size_t count = 0;
    for (std::string line; std::getline(stream, line);) {
        if (line.rfind("# ", 0) == 0) continue;
        const bool isAnswer = line.rfind("> ", 0) == 0 || line.rfind("= ", 0) == 0;
        if (!line.empty()) (isAnswer ? answer : question) += line + "\n";
        if (question.empty() || !(line.empty() || stream.peek() == EOF)) continue;
        EXPECT_EQ(ask(question), answer) << question;
        question = answer = "";
        ++count;
    }
    EXPECT_GT(count, 10U) << file;
}

}  // namespace cimom
