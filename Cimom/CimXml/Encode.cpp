#include "CimXml/Encode.h"

#include "Model/Text.h"
#include "Model/ValueContent.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <memory>

PEGASUS_USING_PEGASUS;

namespace cimom::xml
{

namespace
{

/// What stands for each character; empty for those that stand for themselves.
const std::array<std::string_view, 256> escapes = [] {
    std::array<std::string_view, 256> texts;
    std::fill(texts.begin(), texts.begin() + ' ', "\xEF\xBF\xBD");
    texts['<'] = "&lt;";
    texts['>'] = "&gt;";
    texts['&'] = "&amp;";
    texts['"'] = "&quot;";
    texts['\''] = "&apos;";
    texts['\t'] = "&#9;";
    texts['\n'] = "&#10;";
    texts['\r'] = "&#13;";
    texts['\x7F'] = "&#127;";
    return texts;
}();

/// The characters that do not always stand for themselves; a blank sometimes does.
const std::array<bool, 256> isSpecial = [] {
    std::array<bool, 256> special;
    std::transform(escapes.begin(), escapes.end(), special.begin(),
                   [](std::string_view text) { return !text.empty(); });
    special[' '] = true;
    return special;
}();

/// An attribute whose value needs no escapes.
void appendPlain(std::string& out, std::string_view name, std::string_view value)
{
    out.append(1, ' ').append(name).append("=\"").append(value).append(1, '"');
}

void appendAttribute(std::string& out, std::string_view name, std::string_view value)
{
    out.append(1, ' ').append(name).append("=\"");
    appendEscaped(out, value);
    out += '"';
}

void appendName(std::string& out, std::string_view name, const CIMName& value)
{
    out.append(1, ' ').append(name).append("=\"");
    appendUtf8(out, value.getString());
    out += '"';
}

/// An attribute that is left out when the name is null.
void appendOptional(std::string& out, std::string_view name, const CIMName& value)
{
    if (!value.isNull()) appendName(out, name, value);
}

/// Whether two names have one text in common.
bool isShared(const CIMName& a, const CIMName& b)
{
    return a.getString().getChar16Data() == b.getString().getChar16Data();
}

/// The attributes that give a value's type: an embedded object travels as a string.
void appendType(std::string& out, std::string_view attribute, CIMType type)
{
    const bool embedded = type == CIMTYPE_INSTANCE || type == CIMTYPE_OBJECT;
    appendPlain(out, attribute, embedded ? "string" : cimTypeToString(type));
    if (!embedded) return;
    // The first name is the one of the standard; older clients know the second.
    appendPlain(out, "EmbeddedObject", cimTypeToString(type));
    appendPlain(out, "EMBEDDEDOBJECT", cimTypeToString(type));
}

/// What the name of an element for that kind of value ends with.
std::string_view suffix(CIMType type, bool isArray)
{
    if (type != CIMTYPE_REFERENCE) return isArray ? ".ARRAY" : "";
    return isArray ? ".REFARRAY" : ".REFERENCE";
}

void appendArraySize(std::string& out, Uint32 size)
{
    if (size != 0) appendAttribute(out, "ARRAYSIZE", std::to_string(size));
}

void appendOrigin(std::string& out, const CIMName& classOrigin, bool propagated)
{
    appendOptional(out, "CLASSORIGIN", classOrigin);
    if (propagated) appendPlain(out, "PROPAGATED", "true");
}

void appendFlavor(std::string& out, const Flavor& flavor)
{
    if (!flavor.overridable) appendAttribute(out, "OVERRIDABLE", "false");
    if (!flavor.toSubclass) appendAttribute(out, "TOSUBCLASS", "false");
    if (flavor.translatable) appendAttribute(out, "TRANSLATABLE", "true");
}

void appendQualifiers(std::string& out, const Qualifiers& qualifiers)
{
    for (const Qualifier& qualifier : qualifiers) {
        out += "<QUALIFIER";
        appendName(out, "NAME", qualifier.name);
        appendType(out, "TYPE", qualifier.value.getType());
        if (qualifier.propagated) appendAttribute(out, "PROPAGATED", "true");
        appendFlavor(out, qualifier.flavor);
        out += ">\n";
        appendValue(out, qualifier.value);
        out += "</QUALIFIER>\n";
    }
}

/// The start of a property's element, up to its value.
void appendHead(std::string& out, const Property& property)
{
    const CIMType type = property.value.getType();
    const bool isArray = property.value.isArray();
    const std::string_view end = suffix(type, isArray);
    out.append("<PROPERTY").append(end);
    appendName(out, "NAME", property.name);
    out += ' ';  // the blank that clients of the field's servers have always seen here
    if (isArray) appendType(out, "TYPE", type);
    appendArraySize(out, property.arraySize);
    appendOptional(out, "REFERENCECLASS", property.referenceClassName);
    appendOrigin(out, property.classOrigin, property.propagated);
    if (!isArray && type != CIMTYPE_REFERENCE) appendType(out, "TYPE", type);
    out += ">\n";
    appendQualifiers(out, property.qualifiers);
}

void appendEnd(std::string& out, const Property& property)
{
    const std::string_view end = suffix(property.value.getType(), property.value.isArray());
    out.append("</PROPERTY").append(end).append(">\n");
}

void appendProperty(std::string& out, const Property& property)
{
    appendHead(out, property);
    appendValue(out, property.value);
    appendEnd(out, property);
}

/// Whether two properties surely come from one declaration.
bool haveOneDeclaration(const Property& a, const Property& b)
{
    return isShared(a.name, b.name) && isShared(a.classOrigin, b.classOrigin) &&
           isShared(a.referenceClassName, b.referenceClassName) &&
           a.value.typeCompatible(b.value) && a.arraySize == b.arraySize &&
           a.propagated == b.propagated && a.qualifiers.begin() == b.qualifiers.begin();
}

void appendParameter(std::string& out, const Parameter& parameter)
{
    const std::string_view end = suffix(parameter.type, parameter.isArray);
    out.append("<PARAMETER").append(end);
    appendName(out, "NAME", parameter.name);
    if (parameter.type != CIMTYPE_REFERENCE) appendType(out, "TYPE", parameter.type);
    appendOptional(out, "REFERENCECLASS", parameter.referenceClassName);
    appendArraySize(out, parameter.arraySize);
    out += ">\n";
    appendQualifiers(out, parameter.qualifiers);
    out.append("</PARAMETER").append(end).append(">\n");
}

void appendMethod(std::string& out, const Method& method)
{
    out += "<METHOD";
    appendName(out, "NAME", method.name);
    appendType(out, "TYPE", method.type);
    appendOrigin(out, method.classOrigin, method.propagated);
    out += ">\n";
    appendQualifiers(out, method.qualifiers);
    for (const Parameter& parameter : method.parameters)
        appendParameter(out, parameter);
    out += "</METHOD>\n";
}

void appendLocalNamespace(std::string& out, const CIMNamespaceName& nameSpace)
{
    const std::string text = toUtf8(nameSpace.getString());
    out += "<LOCALNAMESPACEPATH>\n";
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('/', start), text.size());
        out += "<NAMESPACE";
        appendAttribute(out, "NAME", text.substr(start, end - start));
        out += "/>\n";
        start = end + 1;
    }
    out += "</LOCALNAMESPACEPATH>\n";
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
        appendInstancePath(out, path);
    }
    out += "</VALUE.REFERENCE>\n";
}

/// All of an instance's name but the values of its keys. Names of one class have it in common.
struct NameForm
{
    struct Key
    {
        CIMName name;
        CIMKeyBinding::Type type;
        std::string before;  ///< what stands before its value
    };
    CIMName className;
    std::vector<Key> keys;
    std::string end;

    explicit NameForm(const CIMObjectPath& path) : className(path.getClassName())
    {
        end = "<INSTANCENAME";
        appendName(end, "CLASSNAME", className);
        end += ">\n";
        for (Uint32 i = 0; i < path.getKeyBindings().size(); ++i)
            add(path.getKeyBindings()[i]);
        end += "</INSTANCENAME>\n";
    }

    bool fits(const CIMObjectPath& path) const
    {
        const CIMKeyBinding* key = path.getKeyBindings().getData();
        return isShared(className, path.getClassName()) &&
               path.getKeyBindings().size() == keys.size() &&
               std::all_of(keys.begin(), keys.end(), [&key](const Key& mine) {
                   const CIMKeyBinding& given = *key++;
                   return isShared(mine.name, given.getName()) && mine.type == given.getType();
               });
    }

private:
    void add(const CIMKeyBinding& key)
    {
        end += "<KEYBINDING";
        appendName(end, "NAME", key.getName());
        end += ">\n";
        const bool isReference = key.getType() == CIMKeyBinding::REFERENCE;
        if (!isReference) {
            const bool numeric = key.getType() == CIMKeyBinding::NUMERIC;
            const bool boolean = key.getType() == CIMKeyBinding::BOOLEAN;
            end += "<KEYVALUE";
            appendPlain(end, "VALUETYPE", numeric ? "numeric" : boolean ? "boolean" : "string");
            end += '>';
        }
        keys.push_back({key.getName(), key.getType(), std::move(end)});
        end = isReference ? "</KEYBINDING>\n" : "</KEYVALUE>\n</KEYBINDING>\n";
    }
};

/// A number's text, independent of the process's locale.
template <class Number, class... Format>
void appendNumber(std::string& out, Number number, Format... format)
{
    char buffer[40];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), number, format...);
    out.append(buffer, result.ptr);
}

template <class T>
void appendText(std::string& out, const T& value)
{
    if constexpr (std::is_same_v<T, Boolean>) {
        out += value ? "TRUE" : "FALSE";
    } else if constexpr (std::is_floating_point_v<T>) {
        appendNumber(out, value, std::chars_format::scientific, sizeof(T) == 4 ? 7 : 16);
    } else if constexpr (std::is_integral_v<T>) {
        appendNumber(out, value);
    } else if constexpr (std::is_same_v<T, String>) {
        appendEscaped(out, value);
    } else if constexpr (std::is_same_v<T, Char16>) {
        appendEscaped(out, String(&value, 1));
    } else if constexpr (std::is_same_v<T, CIMDateTime> || std::is_same_v<T, CIMObjectPath>) {
        appendEscaped(out, value.toString());
    } else {  // an embedded object
        std::string element;
        appendInstance(element, value.object());
        appendEscaped(out, element);
    }
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
void appendItem(std::string& out, const Array<T>& items)
{
    const std::string_view end = std::is_same_v<T, CIMObjectPath> ? ".REFARRAY" : ".ARRAY";
    out.append("<VALUE").append(end).append(">\n");
    for (Uint32 i = 0; i < items.size(); ++i)
        appendItem(out, items[i]);
    out.append("</VALUE").append(end).append(">\n");
}

void appendItem(std::string&, std::monostate) {}

void appendInstanceHead(std::string& out, const Instance& instance)
{
    out += "<INSTANCE";
    appendName(out, "CLASSNAME", instance.path.getClassName());
    out += " >\n";
    appendQualifiers(out, instance.qualifiers);
}

}  // namespace

void appendEscaped(std::string& out, std::string_view text)
{
    std::size_t done = 0;  // what is before stands in `out`
    bool afterBlank = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const bool mayStay = c == ' ' && !afterBlank && i + 1 < text.size();
        afterBlank = mayStay;
        if (!isSpecial[c] || mayStay) continue;
        out.append(text, done, i - done).append(c == ' ' ? "&#32;" : escapes[c]);
        done = i + 1;
    }
    out.append(text, done, std::string_view::npos);
}

void appendEscaped(std::string& out, const String& text)
{
    // Most texts are short, and have nothing to escape.
    char plain[64];
    bool isPlain = text.size() <= sizeof(plain);
    for (Uint32 i = 0; isPlain && i < text.size(); ++i) {
        const Uint16 unit = text.getChar16Data()[i];
        plain[i] = static_cast<char>(unit);
        isPlain = unit < 0x80 && !isSpecial[unit];
    }
    if (isPlain) {
        out.append(plain, text.size());
    } else {
        appendEscaped(out, toUtf8(text));
    }
}

void appendClassName(std::string& out, const CIMName& name)
{
    out += "<CLASSNAME";
    appendName(out, "NAME", name);
    out += "/>\n";
}

void appendInstanceName(std::string& out, const CIMObjectPath& path)
{
    // Names of one class come in a row, or in turn with those of the ends of an association.
    thread_local std::array<std::shared_ptr<const NameForm>, 16> forms;
    const auto address =
        reinterpret_cast<std::uintptr_t>(path.getClassName().getString().getChar16Data());
    auto& known = forms[address / 16 % forms.size()];
    if (!known || !known->fits(path)) known = std::make_shared<const NameForm>(path);
    const auto form = known;  // a name within this one may replace it
    const CIMKeyBinding* key = path.getKeyBindings().getData();
    for (const NameForm::Key& formKey : form->keys) {
        out += formKey.before;
        if (key->getType() != CIMKeyBinding::REFERENCE) {
            appendEscaped(out, key->getValue());
        } else if (key->reference()) {
            appendReference(out, *key->reference());
        } else {
            appendReference(out, CIMObjectPath(key->getValue()));
        }
        ++key;
    }
    out += form->end;
}

void appendInstancePath(std::string& out, const CIMObjectPath& path)
{
    // Nearly all paths name one host and one namespace.
    thread_local String host;
    thread_local String nameSpace;
    thread_local std::string where;
    if (where.empty() || path.getHost() != host ||
        path.getNameSpace().getString() != nameSpace) {  // to the letter
        host = path.getHost();
        nameSpace = path.getNameSpace().getString();
        where = "<INSTANCEPATH>\n<NAMESPACEPATH>\n<HOST>";
        appendEscaped(where, host);
        where += "</HOST>\n";
        appendLocalNamespace(where, path.getNameSpace());
        where += "</NAMESPACEPATH>\n";
    }
    out += where;
    appendInstanceName(out, path);
    out += "</INSTANCEPATH>\n";
}

void appendValue(std::string& out, const CIMValue& value)
{
    std::visit([&out](const auto& item) { appendItem(out, item); },
               CIMValue::Content::of(value).any);
}

void appendInstance(std::string& out, const Instance& instance)
{
    appendInstanceHead(out, instance);
    for (const auto& property : instance.properties)
        appendProperty(out, *property);
    out += "</INSTANCE>\n";
}

void InstanceWriter::append(std::string& out, const Instance& instance)
{
    appendInstanceHead(out, instance);
    const auto& properties = instance.properties;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        // Instances share the properties that they do not set, most of them without a value.
        const std::size_t first = i;
        while (i < std::min(properties.size(), written_.size()) && written_[i].isNull &&
               properties[i] == written_[i].property.get())
            ++i;
        if (i > first) {
            const std::size_t end = i < written_.size() ? written_[i].emptyAt : empty_.size();
            out.append(empty_, written_[first].emptyAt, end - written_[first].emptyAt);
        }
        if (i < properties.size()) append(out, instance, i);
    }
    out += "</INSTANCE>\n";
}

void InstanceWriter::append(std::string& out, const Instance& instance, std::size_t position)
{
    const Property* const property = instance.properties[position];
    const bool isKnown =
        position < written_.size() && haveOneDeclaration(*written_[position].property, *property);
    if (!isKnown) learn(instance.properties.shared(position), position);
    const Written& known = written_[position];
    out += known.before;
    appendValue(out, property->value);
    out += known.after;
}

void InstanceWriter::learn(const PropertyPtr& property, std::size_t position)
{
    if (position < written_.size()) {
        empty_.resize(written_[position].emptyAt);
        written_.resize(position);
    }
    Written known{property, property->value.isNull(), empty_.size(), "", ""};
    appendHead(known.before, *property);
    appendEnd(known.after, *property);
    empty_.append(known.before).append(known.after);
    written_.push_back(std::move(known));
}

void appendClass(std::string& out, const Class& cimClass)
{
    out += "<CLASS";
    appendName(out, "NAME", cimClass.name());
    if (!cimClass.superClassName.isNull()) {
        out += ' ';
        appendName(out, "SUPERCLASS", cimClass.superClassName);
    }
    out += " >\n";
    appendQualifiers(out, cimClass.qualifiers);
    for (const auto& property : cimClass.properties)
        appendProperty(out, *property);
    for (const auto& method : cimClass.methods)
        appendMethod(out, *method);
    out += "</CLASS>\n";
}

void appendQualifierDecl(std::string& out, const QualifierDecl& declaration)
{
    out += "<QUALIFIER.DECLARATION";
    appendName(out, "NAME", declaration.name);
    appendType(out, "TYPE", declaration.value.getType());
    if (declaration.value.isArray()) appendAttribute(out, "ISARRAY", "true");
    appendArraySize(out, declaration.arraySize);
    appendFlavor(out, declaration.flavor);
    out += ">\n";
    std::string scopes;
    for (const auto& [name, scope] : scopeNames) {
        if (scope != AnyScope && (declaration.scopes & scope))
            appendAttribute(scopes, name, "true");
    }
    if (!scopes.empty()) out += "<SCOPE" + scopes + "/>";
    appendValue(out, declaration.value);
    out += "</QUALIFIER.DECLARATION>\n";
}

void appendParamValue(std::string& out, const CIMParamValue& parameter)
{
    const CIMValue value = parameter.getValue();
    out += "<PARAMVALUE";
    appendAttribute(out, "NAME", toUtf8(parameter.getParameterName()));
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
