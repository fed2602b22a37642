#include <Pegasus/Common/CIMFlavor.h>

namespace Pegasus
{

namespace
{

enum Bit : Uint32
{
    overridableBit = 1,
    toSubclassBit = 2,
    toInstanceBit = 4,
    translatableBit = 8,
    disableOverrideBit = 16,
    restrictedBit = 32
};

struct Keyword
{
    Uint32 bit;
    const char* text;
};

constexpr Keyword keywords[] = {
    {overridableBit, "OVERRIDABLE"},         {toSubclassBit, "TOSUBCLASS"},
    {toInstanceBit, "TOINSTANCE"},           {translatableBit, "TRANSLATABLE"},
    {disableOverrideBit, "DISABLEOVERRIDE"}, {restrictedBit, "RESTRICTED"}};

}  // namespace

const CIMFlavor CIMFlavor::NONE(0);
const CIMFlavor CIMFlavor::OVERRIDABLE(overridableBit);
const CIMFlavor CIMFlavor::ENABLEOVERRIDE(overridableBit);
const CIMFlavor CIMFlavor::DISABLEOVERRIDE(disableOverrideBit);
const CIMFlavor CIMFlavor::TOSUBCLASS(toSubclassBit);
const CIMFlavor CIMFlavor::RESTRICTED(restrictedBit);
const CIMFlavor CIMFlavor::TOINSTANCE(toInstanceBit);
const CIMFlavor CIMFlavor::TRANSLATABLE(translatableBit);
const CIMFlavor CIMFlavor::DEFAULTS(overridableBit | toSubclassBit);
const CIMFlavor CIMFlavor::TOSUBELEMENTS(toSubclassBit);

CIMFlavor::CIMFlavor() : _bits(0) {}

void CIMFlavor::addFlavor(const CIMFlavor& flavor)
{
    _bits |= flavor._bits;
}

void CIMFlavor::removeFlavor(const CIMFlavor& flavor)
{
    _bits &= ~flavor._bits;
}

Boolean CIMFlavor::hasFlavor(const CIMFlavor& flavor) const
{
    return (_bits & flavor._bits) == flavor._bits;
}

Boolean CIMFlavor::equal(const CIMFlavor& flavor) const
{
    return _bits == flavor._bits;
}

CIMFlavor CIMFlavor::operator+(const CIMFlavor& flavor) const
{
    return CIMFlavor(_bits | flavor._bits);
}

String CIMFlavor::toString() const
{
    String text;
    for (const Keyword& keyword : keywords) {
        if ((_bits & keyword.bit) == 0) continue;
        if (text.size() > 0) text.append(String(" "));
        text.append(String(keyword.text));
    }
    return text;
}

}  // namespace Pegasus
