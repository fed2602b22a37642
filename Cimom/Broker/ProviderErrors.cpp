#include "Broker/ProviderErrors.h"

#include "Broker/Text.h"

#include <exception>

PEGASUS_USING_PEGASUS;

namespace cimom
{

CIMException currentProviderError()
{
    try {
        throw;
    } catch (const CIMException& error) {
        return CIMException(error.getCode(), error.getMessage());
    } catch (const Exception& error) {
        return CIMException(CIM_ERR_FAILED, error.getMessage());
    } catch (const std::exception& error) {
        return CIMException(CIM_ERR_FAILED, printable(error.what()));
    } catch (...) {
        return CIMException(CIM_ERR_FAILED, "Unknown error.");
    }
}

void terminateQuietly(CIMProvider& provider) noexcept
{
    try {
        provider.terminate();
    } catch (...) {
        // There is nobody left to tell.
    }
}

}  // namespace cimom
