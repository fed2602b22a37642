// Library objects from recorded JSON, and JSON from library objects.
//
// Text that JSON cannot carry through the library's UTF-8 (zeros, lone surrogates, U+FFFE, U+FFFF)
// is written {"utf16": [units]}. Numbers of 64 bits and reals are written as strings. A null name
// is null, a default constructed handle {"uninitialized": true}.
#pragma once

#include "Replay.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMValue.h>

#include <cstdlib>
#include <stdexcept>
#include <type_traits>

namespace replay
{

/// The member, or null.
Json member(const Json& in, const char* name);
/// True when the member is there and true.
bool isSet(const Json& in, const char* name);

Pegasus::String text(const Json& in);
Pegasus::CIMName name(const Json& in);
Pegasus::CIMNamespaceName nameSpace(const Json& in);
Pegasus::CIMKeyBinding::Type keyType(const Json& in);
Pegasus::CIMKeyBinding key(const Json& in);
Pegasus::Array<Pegasus::CIMKeyBinding> keys(const Json& in);
Pegasus::CIMObjectPath path(const Json& in);
Pegasus::CIMType type(const Json& in);
Pegasus::CIMValue value(const Json& in);
/// The flavors named.
Pegasus::CIMFlavor flavor(const Json& in);
Pegasus::CIMQualifier qualifier(const Json& in);
Pegasus::CIMProperty property(const Json& in);
Pegasus::CIMParameter parameter(const Json& in);
Pegasus::CIMMethod method(const Json& in);
Pegasus::CIMInstance instance(const Json& in);
Pegasus::CIMClass classDefinition(const Json& in);
Pegasus::CIMPropertyList propertyList(const Json& in);
Pegasus::CIMParamValue paramValue(const Json& in);

Json describe(const Pegasus::String& x);
Json describe(const Pegasus::CIMName& x);
Json describe(const Pegasus::CIMNamespaceName& x);
Json describe(const Pegasus::CIMKeyBinding& x);
Json describe(const Pegasus::Array<Pegasus::CIMKeyBinding>& x);
Json describe(const Pegasus::CIMObjectPath& x);
Json describe(const Pegasus::CIMValue& x);
Json describe(const Pegasus::CIMConstQualifier& x);
Json describe(const Pegasus::CIMConstProperty& x);
Json describe(const Pegasus::CIMConstParameter& x);
Json describe(const Pegasus::CIMConstMethod& x);
Json describe(const Pegasus::CIMConstInstance& x);
Json describe(const Pegasus::CIMInstance& x);
Json describe(const Pegasus::CIMConstClass& x);
Json describe(const Pegasus::CIMPropertyList& x);
Json describe(const Pegasus::CIMParamValue& x);

/// A position, or "NOT_FOUND".
Json position(Pegasus::Uint32 index);

/// A list of what each element is described by.
template <class Container, class Describe>
Json listOf(const Container& container, Pegasus::Uint32 size, Describe describeAt)
{
    Json list = Json::array();
    for (Pegasus::Uint32 i = 0; i < size; ++i)
        list.push_back(describeAt(container, i));
    return list;
}

/// An element of a value of C++ type T.
template <class T>
T element(const Json& in)
{
    using namespace Pegasus;
    if constexpr (std::is_same_v<T, Boolean>) {
        return in.get<bool>();
    } else if constexpr (std::is_floating_point_v<T>) {
        return T(std::strtod(in.get<std::string>().c_str(), nullptr));
    } else if constexpr (std::is_unsigned_v<T>) {
        return in.is_string() ? T(std::stoull(in.get<std::string>())) : in.get<T>();
    } else if constexpr (std::is_integral_v<T>) {
        return in.is_string() ? T(std::stoll(in.get<std::string>())) : in.get<T>();
    } else if constexpr (std::is_same_v<T, Char16>) {
        return Char16(in.get<Uint16>());
    } else if constexpr (std::is_same_v<T, String>) {
        return text(in);
    } else if constexpr (std::is_same_v<T, CIMDateTime>) {
        return CIMDateTime(text(in));
    } else if constexpr (std::is_same_v<T, CIMObjectPath>) {
        return path(in);
    } else if constexpr (std::is_same_v<T, CIMInstance>) {
        return instance(in);
    } else {
        if (isSet(in, "uninitialized")) return CIMObject();
        return in.contains("classdef") ? CIMObject(classDefinition(in["classdef"]))
                                       : CIMObject(instance(in));
    }
}

/// Calls the function with a T() that has the C++ type of that CIM type.
template <class Call>
auto withElementType(Pegasus::CIMType type, Call call)
{
    using namespace Pegasus;
    switch (type) {
        case CIMTYPE_BOOLEAN:
            return call(Boolean());
        case CIMTYPE_UINT8:
            return call(Uint8());
        case CIMTYPE_SINT8:
            return call(Sint8());
        case CIMTYPE_UINT16:
            return call(Uint16());
        case CIMTYPE_SINT16:
            return call(Sint16());
        case CIMTYPE_UINT32:
            return call(Uint32());
        case CIMTYPE_SINT32:
            return call(Sint32());
        case CIMTYPE_UINT64:
            return call(Uint64());
        case CIMTYPE_SINT64:
            return call(Sint64());
        case CIMTYPE_REAL32:
            return call(Real32());
        case CIMTYPE_REAL64:
            return call(Real64());
        case CIMTYPE_CHAR16:
            return call(Char16());
        case CIMTYPE_STRING:
            return call(String());
        case CIMTYPE_DATETIME:
            return call(CIMDateTime());
        case CIMTYPE_REFERENCE:
            return call(CIMObjectPath());
        case CIMTYPE_OBJECT:
            return call(CIMObject());
        case CIMTYPE_INSTANCE:
            return call(CIMInstance());
    }
    throw std::runtime_error("no such type");
}

}  // namespace replay
