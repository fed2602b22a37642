#include "CimXml/Encode.h"

#include <charconv>
#include <string_view>

PEGASUS_USING_PEGASUS;

namespace cimom::xml
{

namespace
{

void appendUtf8(std::string& out, char32_t c)
{
    if (c < 0x80) {
        out += static_cast<char>(c);
        return;
    }
    const int more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    static constexpr unsigned leads[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(leads[more] | (c >> (6 * more)));
    for (int i = more - 1; i >= 0; --i)
        out += static_cast<char>(0x80 | ((c >> (6 * i)) & 0x3F));
}

/// Calls `use` with every code point of a UTF-16 text and whether it is the first and the last.
template <class Use>
void forEachCodePoint(const Char16* text, std::size_t size, Use use)
{
    for (std::size_t i = 0; i < size;) {
        const std::size_t start = i;
        char32_t c = Uint16(text[i++]);
        if (c >= 0xD800 && c < 0xE000) {
            const char32_t low = i < size ? char32_t(Uint16(text[i])) : 0;
            const bool pair = c < 0xDC00 && low >= 0xDC00 && low < 0xE000;
            c = pair ? 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00) : 0xFFFD;
            if (pair) ++i;
        }
        use(c, start == 0, i == size);
    }
}

void appendCharacters(std::string& out, const Char16* text, std::size_t size)
{
    bool afterBlank = false;
    forEachCodePoint(text, size, [&](char32_t c, bool first, bool last) {
        const bool literalBlank = c == ' ' && !first && !last && !afterBlank;
        afterBlank = literalBlank;
        switch (c) {
            case '<':
                out += "&lt;";
                return;
            case '>':
                out += "&gt;";
                return;
            case '&':
                out += "&amp;";
                return;
            case '"':
                out += "&quot;";
                return;
            case '\'':
                out += "&apos;";
                return;
            default:
                break;
        }
        if (c < 0x20 || c == 0x7F || (c == ' ' && !literalBlank)) {
            out += "&#" + std::to_string(static_cast<unsigned>(c)) + ";";
        } else {
            appendUtf8(out, c);
        }
    });
}

void appendAttribute(std::string& out, std::string_view name, const String& value)
{
    out.append(" ").append(name).append("=\"");
    appendEscaped(out, value);
    out += '"';
}

void appendAttribute(std::string& out, std::string_view name, const CIMName& value)
{
    appendAttribute(out, name, value.getString());
}

/// The attributes that give a value's type: an embedded object travels as a string.
void appendType(std::string& out, std::string_view attribute, CIMType type)
{
    const bool instance = type == CIMTYPE_INSTANCE;
    const bool embedded = instance || type == CIMTYPE_OBJECT;
    out.append(" ")
        .append(attribute)
        .append("=\"")
        .append(embedded ? "string" : cimTypeToString(type))
        .append("\"");
    if (!embedded) return;
    // The name of the second attribute is the one of the standard; older clients know the first.
    const std::string_view kind = instance ? "instance" : "object";
    out.append(" EmbeddedObject=\"")
        .append(kind)
        .append("\" EMBEDDEDOBJECT=\"")
        .append(kind)
        .append("\"");
}

void appendArraySize(std::string& out, Uint32 size)
{
    if (size != 0) out += " ARRAYSIZE=\"" + std::to_string(size) + "\"";
}

template <class Element>
void appendOrigin(std::string& out, const Element& element)
{
    if (!element.getClassOrigin().isNull())
        appendAttribute(out, "CLASSORIGIN", element.getClassOrigin());
    if (element.getPropagated()) out += " PROPAGATED=\"true\"";
}

void appendFlavor(std::string& out, const CIMFlavor& flavor)
{
    if (!flavor.hasFlavor(CIMFlavor::OVERRIDABLE)) out += " OVERRIDABLE=\"false\"";
    if (!flavor.hasFlavor(CIMFlavor::TOSUBCLASS)) out += " TOSUBCLASS=\"false\"";
    if (flavor.hasFlavor(CIMFlavor::TRANSLATABLE)) out += " TRANSLATABLE=\"true\"";
}

void appendQualifier(std::string& out, const CIMConstQualifier& qualifier)
{
    out += "<QUALIFIER";
    appendAttribute(out, "NAME", qualifier.getName());
    appendType(out, "TYPE", qualifier.getType());
    if (qualifier.getPropagated()) out += " PROPAGATED=\"true\"";
    appendFlavor(out, qualifier.getFlavor());
    out += ">\n";
    appendValue(out, qualifier.getValue());
    out += "</QUALIFIER>\n";
}

template <class Element>
void appendQualifiers(std::string& out, const Element& element)
{
    for (Uint32 i = 0; i < element.getQualifierCount(); ++i)
        appendQualifier(out, element.getQualifier(i));
}

void appendProperty(std::string& out, const CIMConstProperty& property)
{
    const CIMValue& value = property.getValue();
    const bool reference = value.getType() == CIMTYPE_REFERENCE;
    const std::string tag = reference         ? "PROPERTY.REFERENCE"
                            : value.isArray() ? "PROPERTY.ARRAY"
                                              : "PROPERTY";
    out.append("<").append(tag);
    appendAttribute(out, "NAME", property.getName());
    out += ' ';  // the blank that clients of the field's servers have always seen here
    if (reference) {
        if (!property.getReferenceClassName().isNull()) {
            appendAttribute(out, "REFERENCECLASS", property.getReferenceClassName());
        }
        appendOrigin(out, property);
    } else if (value.isArray()) {
        appendType(out, "TYPE", value.getType());
        appendArraySize(out, property.getArraySize());
        appendOrigin(out, property);
    } else {
        appendOrigin(out, property);
        appendType(out, "TYPE", value.getType());
    }
    out += ">\n";
    appendQualifiers(out, property);
    appendValue(out, value);
    out.append("</").append(tag).append(">\n");
}

void appendParameter(std::string& out, const CIMConstParameter& parameter)
{
    const bool reference = parameter.getType() == CIMTYPE_REFERENCE;
    const std::string tag =
        std::string("PARAMETER") + (reference ? (parameter.isArray() ? ".REFARRAY" : ".REFERENCE")
                                              : (parameter.isArray() ? ".ARRAY" : ""));
    out.append("<").append(tag);
    appendAttribute(out, "NAME", parameter.getName());
    if (!reference) {
        appendType(out, "TYPE", parameter.getType());
    } else if (!parameter.getReferenceClassName().isNull()) {
        appendAttribute(out, "REFERENCECLASS", parameter.getReferenceClassName());
    }
    if (parameter.isArray()) appendArraySize(out, parameter.getArraySize());
    out += ">\n";
    appendQualifiers(out, parameter);
    out.append("</").append(tag).append(">\n");
}

void appendMethod(std::string& out, const CIMConstMethod& method)
{
    out += "<METHOD";
    appendAttribute(out, "NAME", method.getName());
    appendType(out, "TYPE", method.getType());
    appendOrigin(out, method);
    out += ">\n";
    appendQualifiers(out, method);
    for (Uint32 i = 0; i < method.getParameterCount(); ++i)
        appendParameter(out, method.getParameter(i));
    out += "</METHOD>\n";
}

void appendLocalNamespace(std::string& out, const CIMNamespaceName& nameSpace)
{
    out += "<LOCALNAMESPACEPATH>\n";
    const String& text = nameSpace.getString();
    for (Uint32 start = 0; start <= text.size();) {
        Uint32 end = text.find(start, Char16('/'));
        if (end == PEG_NOT_FOUND) end = text.size();
        out += "<NAMESPACE";
        appendAttribute(out, "NAME", text.subString(start, end - start));
        out += "/>\n";
        start = end + 1;
    }
    out += "</LOCALNAMESPACEPATH>\n";
}

void appendHostAndNamespace(std::string& out, const CIMObjectPath& path)
{
    out += "<NAMESPACEPATH>\n<HOST>";
    appendEscaped(out, path.getHost());
    out += "</HOST>\n";
    appendLocalNamespace(out, path.getNameSpace());
    out += "</NAMESPACEPATH>\n";
}

/// VALUE.REFERENCE with as much of the path as it has.
void appendReference(std::string& out, const CIMObjectPath& path)
{
    out += "<VALUE.REFERENCE>\n";
    if (path.getNameSpace().isNull()) {
        appendInstanceName(out, path);
    } else if (path.getHost().size() == 0) {
        out += "<LOCALINSTANCEPATH>\n";
        appendLocalNamespace(out, path.getNameSpace());
        appendInstanceName(out, path);
        out += "</LOCALINSTANCEPATH>\n";
    } else {
        appendFullPath(out, path, false);
    }
    out += "</VALUE.REFERENCE>\n";
}

void appendKeyBinding(std::string& out, const CIMKeyBinding& key)
{
    out += "<KEYBINDING";
    appendAttribute(out, "NAME", key.getName());
    out += ">\n";
    if (key.getType() == CIMKeyBinding::REFERENCE) {
        appendReference(out, CIMObjectPath(key.getValue()));
    } else {
        const bool numeric = key.getType() == CIMKeyBinding::NUMERIC;
        const bool boolean = key.getType() == CIMKeyBinding::BOOLEAN;
        out.append("<KEYVALUE VALUETYPE=\"")
            .append(numeric   ? "numeric"
                    : boolean ? "boolean"
                              : "string")
            .append("\">");
        appendEscaped(out, key.getValue());
        out += "</KEYVALUE>\n";
    }
    out += "</KEYBINDING>\n";
}

/// A number's text, independent of the process's locale.
template <class Number, class... Format>
void appendNumber(std::string& out, Number number, Format... format)
{
    char buffer[40];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), number, format...);
    out.append(buffer, result.ptr);
}

void appendText(std::string& out, Boolean value)
{
    out += value ? "TRUE" : "FALSE";
}
void appendText(std::string& out, Real32 value)
{
    appendNumber(out, value, std::chars_format::scientific, 7);
}
void appendText(std::string& out, Real64 value)
{
    appendNumber(out, value, std::chars_format::scientific, 16);
}
void appendText(std::string& out, const Char16& value)
{
    appendCharacters(out, &value, 1);
}
void appendText(std::string& out, const String& value)
{
    appendEscaped(out, value);
}
void appendText(std::string& out, const CIMDateTime& value)
{
    appendEscaped(out, value.toString());
}
void appendText(std::string& out, const CIMObject& value)
{
    std::string element;
    appendObject(element, value);
    appendEscaped(out, String(element.data(), static_cast<Uint32>(element.size())));
}
void appendText(std::string& out, const CIMInstance& value)
{
    appendText(out, CIMObject(value));
}
template <class Integer>
void appendText(std::string& out, Integer value)
{
    appendNumber(out, value);
}

template <class T>
void appendItem(std::string& out, const T& item)
{
    out += "<VALUE>";
    appendText(out, item);
    out += "</VALUE>\n";
}
void appendItem(std::string& out, const CIMObjectPath& item)
{
    appendReference(out, item);
}

template <class T>
void appendTyped(std::string& out, const CIMValue& value)
{
    if (!value.isArray()) {
        T item{};
        value.get(item);
        return appendItem(out, item);
    }
    Array<T> items;
    value.get(items);
    const std::string tag = value.getType() == CIMTYPE_REFERENCE ? "VALUE.REFARRAY" : "VALUE.ARRAY";
    out.append("<").append(tag).append(">\n");
    for (Uint32 i = 0; i < items.size(); ++i)
        appendItem(out, items[i]);
    out.append("</").append(tag).append(">\n");
}

}  // namespace

std::string utf8(const String& text)
{
    std::string out;
    forEachCodePoint(text.getChar16Data(), text.size(),
                     [&](char32_t c, bool, bool) { appendUtf8(out, c); });
    return out;
}

void appendEscaped(std::string& out, const String& text)
{
    appendCharacters(out, text.getChar16Data(), text.size());
}

void appendClassName(std::string& out, const CIMName& name)
{
    out += "<CLASSNAME";
    appendAttribute(out, "NAME", name);
    out += "/>\n";
}

void appendInstanceName(std::string& out, const CIMObjectPath& path)
{
    out += "<INSTANCENAME";
    appendAttribute(out, "CLASSNAME", path.getClassName());
    out += ">\n";
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); ++i)
        appendKeyBinding(out, keys[i]);
    out += "</INSTANCENAME>\n";
}

void appendFullPath(std::string& out, const CIMObjectPath& path, bool isClass)
{
    out += isClass ? "<CLASSPATH>\n" : "<INSTANCEPATH>\n";
    appendHostAndNamespace(out, path);
    isClass ? appendClassName(out, path.getClassName()) : appendInstanceName(out, path);
    out += isClass ? "</CLASSPATH>\n" : "</INSTANCEPATH>\n";
}

void appendValue(std::string& out, const CIMValue& value)
{
    if (value.isNull()) return;
    switch (value.getType()) {
        case CIMTYPE_BOOLEAN:
            return appendTyped<Boolean>(out, value);
        case CIMTYPE_UINT8:
            return appendTyped<Uint8>(out, value);
        case CIMTYPE_SINT8:
            return appendTyped<Sint8>(out, value);
        case CIMTYPE_UINT16:
            return appendTyped<Uint16>(out, value);
        case CIMTYPE_SINT16:
            return appendTyped<Sint16>(out, value);
        case CIMTYPE_UINT32:
            return appendTyped<Uint32>(out, value);
        case CIMTYPE_SINT32:
            return appendTyped<Sint32>(out, value);
        case CIMTYPE_UINT64:
            return appendTyped<Uint64>(out, value);
        case CIMTYPE_SINT64:
            return appendTyped<Sint64>(out, value);
        case CIMTYPE_REAL32:
            return appendTyped<Real32>(out, value);
        case CIMTYPE_REAL64:
            return appendTyped<Real64>(out, value);
        case CIMTYPE_CHAR16:
            return appendTyped<Char16>(out, value);
        case CIMTYPE_STRING:
            return appendTyped<String>(out, value);
        case CIMTYPE_DATETIME:
            return appendTyped<CIMDateTime>(out, value);
        case CIMTYPE_REFERENCE:
            return appendTyped<CIMObjectPath>(out, value);
        case CIMTYPE_OBJECT:
            return appendTyped<CIMObject>(out, value);
        case CIMTYPE_INSTANCE:
            return appendTyped<CIMInstance>(out, value);
    }
}

void appendInstance(std::string& out, const CIMConstInstance& instance)
{
    out += "<INSTANCE";
    appendAttribute(out, "CLASSNAME", instance.getClassName());
    out += " >\n";
    appendQualifiers(out, instance);
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i)
        appendProperty(out, instance.getProperty(i));
    out += "</INSTANCE>\n";
}

void appendClass(std::string& out, const CIMConstClass& cimClass)
{
    out += "<CLASS";
    appendAttribute(out, "NAME", cimClass.getClassName());
    if (!cimClass.getSuperClassName().isNull()) {
        out += ' ';
        appendAttribute(out, "SUPERCLASS", cimClass.getSuperClassName());
    }
    out += " >\n";
    appendQualifiers(out, cimClass);
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); ++i)
        appendProperty(out, cimClass.getProperty(i));
    for (Uint32 i = 0; i < cimClass.getMethodCount(); ++i)
        appendMethod(out, cimClass.getMethod(i));
    out += "</CLASS>\n";
}

void appendObject(std::string& out, const CIMConstObject& object)
{
    object.isClass() ? appendClass(out, CIMConstClass(object))
                     : appendInstance(out, CIMConstInstance(object));
}

void appendQualifierDecl(std::string& out, const CIMConstQualifierDecl& declaration)
{
    static const std::pair<const char*, const CIMScope&> scopes[] = {
        {"CLASS", CIMScope::CLASS},          {"ASSOCIATION", CIMScope::ASSOCIATION},
        {"REFERENCE", CIMScope::REFERENCE},  {"PROPERTY", CIMScope::PROPERTY},
        {"METHOD", CIMScope::METHOD},        {"PARAMETER", CIMScope::PARAMETER},
        {"INDICATION", CIMScope::INDICATION}};
    out += "<QUALIFIER.DECLARATION";
    appendAttribute(out, "NAME", declaration.getName());
    appendType(out, "TYPE", declaration.getType());
    if (declaration.isArray()) out += " ISARRAY=\"true\"";
    appendArraySize(out, declaration.getArraySize());
    appendFlavor(out, declaration.getFlavor());
    out += ">\n";
    std::string scope;
    for (const auto& [name, bit] : scopes) {
        if (declaration.getScope().hasScope(bit)) scope += std::string(" ") + name + "=\"true\"";
    }
    if (!scope.empty()) out += "<SCOPE" + scope + "/>";
    appendValue(out, declaration.getValue());
    out += "</QUALIFIER.DECLARATION>\n";
}

void appendParamValue(std::string& out, const CIMParamValue& parameter)
{
    const CIMValue value = parameter.getValue();
    out += "<PARAMVALUE";
    appendAttribute(out, "NAME", parameter.getParameterName());
    if (parameter.isTyped()) appendType(out, "PARAMTYPE", value.getType());
    out += ">\n";
    appendValue(out, value);
    out += "</PARAMVALUE>\n";
}

void appendReturnValue(std::string& out, const CIMValue& value)
{
    out += "<RETURNVALUE";
    appendType(out, "PARAMTYPE", value.getType());
    out += ">\n";
    appendValue(out, value);
    out += "</RETURNVALUE>\n";
}

}  // namespace cimom::xml
