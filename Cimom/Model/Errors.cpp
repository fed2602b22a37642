#include "Model/Errors.h"
#include "Model/Text.h"

#include <Pegasus/Common/CIMType.h>

#include <exception>

namespace Pegasus
{

Exception::~Exception() = default;

const char* cimStatusCodeToString(CIMStatusCode code)
{
    switch (code) {
#define NAME_OF(NAME, NUMBER) \
    case NAME:                \
        return #NAME;
        PEGASUS_CIM_STATUS_CODES(NAME_OF)
#undef NAME_OF
    }
    return "Unrecognized CIM status code";
}

const char* cimTypeToString(const CIMType type)
{
    switch (type) {
#define TEXT_OF(NAME, TEXT, T) \
    case CIMTYPE_##NAME:       \
        return TEXT;
        PEGASUS_CIM_TYPES(TEXT_OF)
#undef TEXT_OF
    }
    return "unknown";
}

}  // namespace Pegasus

namespace cimom
{

using namespace Pegasus;

CIMException currentError()
{
    try {
        throw;
    } catch (const CIMException& error) {
        return error;
    } catch (const Exception& error) {
        return CIMException(CIM_ERR_FAILED, error.getMessage());
    } catch (const std::exception& error) {
        return CIMException(CIM_ERR_FAILED, printable(error.what()));
    } catch (...) {
        return CIMException(CIM_ERR_FAILED, "Unknown error.");
    }
}

String describe(const CIMException& error)
{
    const CIMStatusCode code = error.getCode();
    String text(cimStatusCodeToString(code));
    if (text.find("CIM_ERR_") != 0)
        text = toString("Unrecognized CIM status code \"" + std::to_string(code) + "\"");
    return error.getMessage().size() == 0 ? text : text + ": " + error.getMessage();
}

}  // namespace cimom
