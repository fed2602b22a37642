#include <Pegasus/Common/CIMScope.h>

namespace Pegasus
{

namespace
{

constexpr const char* keywords[] = {"CLASS",     "ASSOCIATION", "INDICATION", "PROPERTY",
                                    "REFERENCE", "METHOD",      "PARAMETER"};
constexpr Uint32 allBits = (1U << (sizeof(keywords) / sizeof(keywords[0]))) - 1;

}  // namespace

const CIMScope CIMScope::NONE(0);
const CIMScope CIMScope::CLASS(1);
const CIMScope CIMScope::ASSOCIATION(2);
const CIMScope CIMScope::INDICATION(4);
const CIMScope CIMScope::PROPERTY(8);
const CIMScope CIMScope::REFERENCE(16);
const CIMScope CIMScope::METHOD(32);
const CIMScope CIMScope::PARAMETER(64);
const CIMScope CIMScope::ANY(allBits);

CIMScope::CIMScope() : _bits(0) {}

Boolean CIMScope::hasScope(const CIMScope& scope) const
{
    return (_bits & scope._bits) == scope._bits;
}

void CIMScope::addScope(const CIMScope& scope)
{
    _bits |= scope._bits;
}

Boolean CIMScope::equal(const CIMScope& scope) const
{
    return _bits == scope._bits;
}

CIMScope CIMScope::operator+(const CIMScope& scope) const
{
    return CIMScope(_bits | scope._bits);
}

String CIMScope::toString() const
{
    String text;
    Uint32 bit = 1;
    for (const char* keyword : keywords) {
        if ((_bits & bit) != 0) {
            if (text.size() > 0) text.append(String(" "));
            text.append(String(keyword));
        }
        bit <<= 1;
    }
    return text;
}

}  // namespace Pegasus
