#include "Model/Errors.h"
#include "Model/Text.h"

#include <exception>

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
