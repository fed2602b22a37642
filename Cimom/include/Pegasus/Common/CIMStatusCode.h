// The status codes of CIM operations.
#pragma once

#include <Pegasus/Common/Config.h>

namespace Pegasus
{

/// The codes and their numbers: CODE(NAME, NUMBER) for each.
#define PEGASUS_CIM_STATUS_CODES(CODE)                    \
    CODE(CIM_ERR_SUCCESS, 0)                              \
    CODE(CIM_ERR_FAILED, 1)                               \
    CODE(CIM_ERR_ACCESS_DENIED, 2)                        \
    CODE(CIM_ERR_INVALID_NAMESPACE, 3)                    \
    CODE(CIM_ERR_INVALID_PARAMETER, 4)                    \
    CODE(CIM_ERR_INVALID_CLASS, 5)                        \
    CODE(CIM_ERR_NOT_FOUND, 6)                            \
    CODE(CIM_ERR_NOT_SUPPORTED, 7)                        \
    CODE(CIM_ERR_CLASS_HAS_CHILDREN, 8)                   \
    CODE(CIM_ERR_CLASS_HAS_INSTANCES, 9)                  \
    CODE(CIM_ERR_INVALID_SUPERCLASS, 10)                  \
    CODE(CIM_ERR_ALREADY_EXISTS, 11)                      \
    CODE(CIM_ERR_NO_SUCH_PROPERTY, 12)                    \
    CODE(CIM_ERR_TYPE_MISMATCH, 13)                       \
    CODE(CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, 14)        \
    CODE(CIM_ERR_INVALID_QUERY, 15)                       \
    CODE(CIM_ERR_METHOD_NOT_AVAILABLE, 16)                \
    CODE(CIM_ERR_METHOD_NOT_FOUND, 17)                    \
    CODE(CIM_ERR_NAMESPACE_NOT_EMPTY, 20)                 \
    CODE(CIM_ERR_INVALID_ENUMERATION_CONTEXT, 21)         \
    CODE(CIM_ERR_INVALID_OPERATION_TIMEOUT, 22)           \
    CODE(CIM_ERR_PULL_HAS_BEEN_ABANDONED, 23)             \
    CODE(CIM_ERR_PULL_CANNOT_BE_ABANDONED, 24)            \
    CODE(CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED, 25)  \
    CODE(CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED, 26) \
    CODE(CIM_ERR_SERVER_LIMITS_EXCEEDED, 27)              \
    CODE(CIM_ERR_SERVER_IS_SHUTTING_DOWN, 28)

// With an underlying type, so that a number which is not a CIM status code can be reported.
enum CIMStatusCode : Sint32
{
#define PEGASUS_CODE(NAME, NUMBER) NAME = NUMBER,
    PEGASUS_CIM_STATUS_CODES(PEGASUS_CODE)
#undef PEGASUS_CODE
};

/// The code's name, such as "CIM_ERR_FAILED".
const char* cimStatusCodeToString(CIMStatusCode code);

}  // namespace Pegasus
