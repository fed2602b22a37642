// Object paths, and CIM-XML elements that hold values: what was written reads back as the same.
#include "CimXml/Decode.h"
#include "CimXml/Encode.h"
#include "Fuzz.h"

#include <QBX_Common.h>

PEGASUS_USING_PEGASUS;

namespace
{

using namespace cimom;

/// The element, as it is written after it was read.
std::string rewritten(const std::string& document)
{
    const XmlElement element = parseXml(document);
    std::string out;
    if (element.name == "INSTANCE")
        xml::Encoder(out).writeInstance(xml::decodeInstance(element).object());
    else if (element.name == "INSTANCENAME")
        xml::Encoder(out).writeInstanceName(xml::decodeInstanceName(element));
    else
        xml::Encoder(out).writeParamValue(xml::decodeParamValue(element));
    return out;
}

// Neither function may throw: their input comes from a successful read.

void checkElement(const std::string& once) noexcept
{
    fuzz::checkXml(once);
    fuzz::check(rewritten(once) == once, "an element reads back as it was written: " + once);
}

void checkPath(const CIMObjectPath& path) noexcept
{
    const CIMObjectPath again(path.toString());
    fuzz::check(again == path && again.toString() == path.toString() &&
                    QBX_Common::matchObjectPath(path, again),
                "a path reads back as it was written: " + toUtf8(path.toString()));
    std::string element;
    xml::Encoder(element).writeInstanceName(path);
    checkElement(rewritten(element));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    try {
        text[0] == '<' ? checkElement(rewritten(text)) : checkPath(CIMObjectPath(toString(text)));
    } catch (const RequestError&) {  // not such an element
    } catch (const Exception&) {     // refused by the CIM library
    }
    return 0;
}
