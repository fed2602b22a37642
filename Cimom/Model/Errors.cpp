#include "Model/Errors.h"
#include "Model/Text.h"

#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/MessageLoader.h>

#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Provider/ProviderException.h>

#include <exception>
#include <iterator>

namespace Pegasus
{

Exception::~Exception() = default;

TraceableCIMException::TraceableCIMException(CIMStatusCode code, const String& message,
                                             const String&, Uint32)
    : CIMException(code, message)
{
}

CIMOperationFailedException::CIMOperationFailedException(CIMStatusCode code, const String& message)
    : CIMException(code, message)
{
}

#define OPERATION_EXCEPTION(Name, CODE) \
    Name::Name(const String& message) : CIMOperationFailedException(CODE, message) {}
OPERATION_EXCEPTION(CIMAccessDeniedException, CIM_ERR_ACCESS_DENIED)
OPERATION_EXCEPTION(CIMInvalidParameterException, CIM_ERR_INVALID_PARAMETER)
OPERATION_EXCEPTION(CIMObjectNotFoundException, CIM_ERR_NOT_FOUND)
OPERATION_EXCEPTION(CIMNotSupportedException, CIM_ERR_NOT_SUPPORTED)
OPERATION_EXCEPTION(CIMObjectAlreadyExistsException, CIM_ERR_ALREADY_EXISTS)
OPERATION_EXCEPTION(CIMPropertyNotFoundException, CIM_ERR_NO_SUCH_PROPERTY)
OPERATION_EXCEPTION(CIMMethodNotFoundException, CIM_ERR_METHOD_NOT_FOUND)
#undef OPERATION_EXCEPTION

namespace
{

template <size_t Count>
const char* textAt(const char* const (&texts)[Count], Sint32 index, const char* otherwise)
{
    return index >= 0 && size_t(index) < Count ? texts[index] : otherwise;
}

}  // namespace

const char* cimStatusCodeToString(CIMStatusCode code)
{
    // The numbers 18 and 19 belong to no code.
    static constexpr const char* names[] = {"CIM_ERR_SUCCESS",
                                            "CIM_ERR_FAILED",
                                            "CIM_ERR_ACCESS_DENIED",
                                            "CIM_ERR_INVALID_NAMESPACE",
                                            "CIM_ERR_INVALID_PARAMETER",
                                            "CIM_ERR_INVALID_CLASS",
                                            "CIM_ERR_NOT_FOUND",
                                            "CIM_ERR_NOT_SUPPORTED",
                                            "CIM_ERR_CLASS_HAS_CHILDREN",
                                            "CIM_ERR_CLASS_HAS_INSTANCES",
                                            "CIM_ERR_INVALID_SUPERCLASS",
                                            "CIM_ERR_ALREADY_EXISTS",
                                            "CIM_ERR_NO_SUCH_PROPERTY",
                                            "CIM_ERR_TYPE_MISMATCH",
                                            "CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED",
                                            "CIM_ERR_INVALID_QUERY",
                                            "CIM_ERR_METHOD_NOT_AVAILABLE",
                                            "CIM_ERR_METHOD_NOT_FOUND",
                                            "empty",
                                            "empty",
                                            "CIM_ERR_NAMESPACE_NOT_EMPTY",
                                            "CIM_ERR_INVALID_ENUMERATION_CONTEXT",
                                            "CIM_ERR_INVALID_OPERATION_TIMEOUT",
                                            "CIM_ERR_PULL_HAS_BEEN_ABANDONED",
                                            "CIM_ERR_PULL_CANNOT_BE_ABANDONED",
                                            "CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED",
                                            "CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED",
                                            "CIM_ERR_SERVER_LIMITS_EXCEEDED",
                                            "CIM_ERR_SERVER_IS_SHUTTING_DOWN"};
    return textAt(names, code, "Unrecognized CIM status code");
}

const char* cimTypeToString(const CIMType type)
{
    static constexpr const char* names[] = {"boolean", "uint8",   "sint8",  "uint16",   "sint16",
                                            "uint32",  "sint32",  "uint64", "sint64",   "real32",
                                            "real64",  "char16",  "string", "datetime", "reference",
                                            "object",  "instance"};
    return textAt(names, type, "unknown");
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
