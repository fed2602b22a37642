#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/CIMType.h>

namespace Pegasus
{

const char* cimTypeToString(const CIMType type)
{
    switch (type) {
        case CIMTYPE_BOOLEAN:
            return "boolean";
        case CIMTYPE_UINT8:
            return "uint8";
        case CIMTYPE_SINT8:
            return "sint8";
        case CIMTYPE_UINT16:
            return "uint16";
        case CIMTYPE_SINT16:
            return "sint16";
        case CIMTYPE_UINT32:
            return "uint32";
        case CIMTYPE_SINT32:
            return "sint32";
        case CIMTYPE_UINT64:
            return "uint64";
        case CIMTYPE_SINT64:
            return "sint64";
        case CIMTYPE_REAL32:
            return "real32";
        case CIMTYPE_REAL64:
            return "real64";
        case CIMTYPE_CHAR16:
            return "char16";
        case CIMTYPE_STRING:
            return "string";
        case CIMTYPE_DATETIME:
            return "datetime";
        case CIMTYPE_REFERENCE:
            return "reference";
        case CIMTYPE_OBJECT:
            return "object";
        case CIMTYPE_INSTANCE:
            return "instance";
    }
    return "unknown";
}

const char* cimStatusCodeToString(CIMStatusCode code)
{
    switch (code) {
#define CODE(name) \
    case name:     \
        return #name
        CODE(CIM_ERR_SUCCESS);
        CODE(CIM_ERR_FAILED);
        CODE(CIM_ERR_ACCESS_DENIED);
        CODE(CIM_ERR_INVALID_NAMESPACE);
        CODE(CIM_ERR_INVALID_PARAMETER);
        CODE(CIM_ERR_INVALID_CLASS);
        CODE(CIM_ERR_NOT_FOUND);
        CODE(CIM_ERR_NOT_SUPPORTED);
        CODE(CIM_ERR_CLASS_HAS_CHILDREN);
        CODE(CIM_ERR_CLASS_HAS_INSTANCES);
        CODE(CIM_ERR_INVALID_SUPERCLASS);
        CODE(CIM_ERR_ALREADY_EXISTS);
        CODE(CIM_ERR_NO_SUCH_PROPERTY);
        CODE(CIM_ERR_TYPE_MISMATCH);
        CODE(CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED);
        CODE(CIM_ERR_INVALID_QUERY);
        CODE(CIM_ERR_METHOD_NOT_AVAILABLE);
        CODE(CIM_ERR_METHOD_NOT_FOUND);
        CODE(CIM_ERR_NAMESPACE_NOT_EMPTY);
        CODE(CIM_ERR_INVALID_ENUMERATION_CONTEXT);
        CODE(CIM_ERR_INVALID_OPERATION_TIMEOUT);
        CODE(CIM_ERR_PULL_HAS_BEEN_ABANDONED);
        CODE(CIM_ERR_PULL_CANNOT_BE_ABANDONED);
        CODE(CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED);
        CODE(CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED);
        CODE(CIM_ERR_SERVER_LIMITS_EXCEEDED);
        CODE(CIM_ERR_SERVER_IS_SHUTTING_DOWN);
#undef CODE
    }
    // The numbers 18 and 19 belong to no code.
    return code == 18 || code == 19 ? "empty" : "Unrecognized CIM status code";
}

}  // namespace Pegasus
