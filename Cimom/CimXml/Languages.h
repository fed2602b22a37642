// The language headers of a request.
#pragma once

#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/ContentLanguageList.h>

#include <string>

namespace cimom
{

/// "de, en;q=0.5". An empty header is an empty list. Throws RequestError (request-not-valid) for a
/// malformed language tag or quality.
Pegasus::AcceptLanguageList parseAcceptLanguage(const std::string& header);
/// "de, en". The same errors.
Pegasus::ContentLanguageList parseContentLanguage(const std::string& header);

}  // namespace cimom
