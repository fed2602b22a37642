// Files of cases: what is asked, and what comes of it.
#pragma once

#include "Model/Errors.h"
#include "Model/Text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
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

/// Asks what the file asks. It holds blocks of lines with an empty line behind each: the question
/// and below it, with "= " before each line, what `ask` has to return for it; lines that it returns
/// with "> " stand there as they are. Lines with "# " are comments.
inline void checkCases(const std::string& file,
                       const std::function<std::string(const std::string& question)>& ask)
{
    std::ifstream stream(file);
    std::string question, expected;
    std::size_t count = 0;
    for (std::string line; std::getline(stream, line);) {
        const std::string mark = line.substr(0, 2);
        if (mark == "# ") continue;
        if (mark == "= ")
            expected += line.substr(2) + "\n";
        else if (!line.empty())
            (mark == "> " ? expected : question) += line + "\n";
        if (question.empty() || !(line.empty() || stream.peek() == EOF)) continue;
        std::string answer = ask(question);
        if (!answer.empty() && answer.back() != '\n') answer += '\n';
        EXPECT_EQ(answer, expected) << question;
        question = expected = "";
        ++count;
    }
    EXPECT_GT(count, 10U) << file;
}

}  // namespace cimom
