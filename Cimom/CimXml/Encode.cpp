#include "CimXml/Encode.h"

#include "Model/Text.h"
#include "Model/ValueContent.h"

#include <algorithm>
#include <charconv>

PEGASUS_USING_PEGASUS;

namespace cimom::xml
{

namespace
{

/// More classes than the instances and references of a response usually have.
constexpr std::size_t mostNameFrames = 16;

/// An attribute that is left out when the name is null.
void appendOptional(std::string& out, std::string_view attribute, const CIMName& name)
{
    if (!name.isNull()) appendName(out, attribute, name);
}

const Char16* textOf(const CIMName& name)
{
    return name.getString().getChar16Data();
}

/// Whether two names share one text, as those of one declaration do.
bool isShared(const CIMName& a, const CIMName& b)
{
    return textOf(a) == textOf(b);
}

/// The attributes that give a value's type: an embedded object travels as a string.
void appendType(std::string& out, std::string_view attribute, CIMType type)
{
    const bool isEmbedded = type == CIMTYPE_INSTANCE || type == CIMTYPE_OBJECT;
    appendPlain(out, attribute, isEmbedded ? "string" : cimTypeToString(type));
    if (!isEmbedded) return;
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
    if (size != 0) appendPlain(out, "ARRAYSIZE", std::to_string(size));
}

void appendOrigin(std::string& out, const CIMName& classOrigin, bool propagated)
{
    appendOptional(out, "CLASSORIGIN", classOrigin);
    if (propagated) appendPlain(out, "PROPAGATED", "true");
}

void appendFlavor(std::string& out, const Flavor& flavor)
{
    if (!flavor.overridable) appendPlain(out, "OVERRIDABLE", "false");
    if (!flavor.toSubclass) appendPlain(out, "TOSUBCLASS", "false");
    if (flavor.translatable) appendPlain(out, "TRANSLATABLE", "true");
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

/// Whether two properties surely come from one declaration.
bool haveOneDeclaration(const Property& a, const Property& b)
{
    return isShared(a.name, b.name) && isShared(a.classOrigin, b.classOrigin) &&
           isShared(a.referenceClassName, b.referenceClassName) &&
           a.value.typeCompatible(b.value) && a.arraySize == b.arraySize &&
           a.propagated == b.propagated && a.qualifiers.begin() == b.qualifiers.begin();
}

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
    } else if constexpr (std::is_same_v<T, CIMDateTime>) {
        appendEscaped(out, value.toString());
    } else {  // an embedded object
        std::string element;
        Encoder(element).writeInstance(value.object());
        appendEscaped(out, element);
    }
}

}  // namespace

// ---- Instance names ----

/// The text of an instance name around the values of its keys.
struct Encoder::NameFrame
{
    struct Key
    {
        CIMName name;
        CIMKeyBinding::Type type;
        std::string before;  ///< the text before its value
    };
    CIMName className;
    std::vector<Key> keys;
    std::string end;  ///< the text after the last value

    explicit NameFrame(const CIMObjectPath& path) : className(path.getClassName())
    {
        end = "<INSTANCENAME";
        appendName(end, "CLASSNAME", className);
        end += ">\n";
        for (Uint32 i = 0; i < path.getKeyBindings().size(); ++i)
            add(path.getKeyBindings()[i]);
        end += "</INSTANCENAME>\n";
    }

    bool hasKeysOf(const CIMObjectPath& path) const
    {
        const CIMKeyBinding* key = path.getKeyBindings().getData();
        return path.getKeyBindings().size() == keys.size() &&
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
            const bool isNumeric = key.getType() == CIMKeyBinding::NUMERIC;
            const bool isBoolean = key.getType() == CIMKeyBinding::BOOLEAN;
            end += "<KEYVALUE";
            appendPlain(end, "VALUETYPE", isNumeric ? "numeric" : isBoolean ? "boolean" : "string");
            end += '>';
        }
        keys.push_back({key.getName(), key.getType(), std::move(end)});
        end = isReference ? "</KEYBINDING>\n" : "</KEYVALUE>\n</KEYBINDING>\n";
    }
};

std::shared_ptr<const Encoder::NameFrame> Encoder::nameFrame(const CIMObjectPath& path)
{
    const Char16* const className = textOf(path.getClassName());
    for (const auto& frame : nameFrames_) {
        if (textOf(frame->className) == className && frame->hasKeysOf(path)) return frame;
    }
    if (nameFrames_.size() == mostNameFrames) nameFrames_.erase(nameFrames_.begin());
    return nameFrames_.emplace_back(std::make_shared<const NameFrame>(path));
}

void Encoder::writeInstanceName(const CIMObjectPath& path)
{
    const auto frame = nameFrame(path);  // shared, as the names of its keys may displace it
    const CIMKeyBinding* key = path.getKeyBindings().getData();
    for (const NameFrame::Key& frameKey : frame->keys) {
        out_ += frameKey.before;
        if (key->getType() != CIMKeyBinding::REFERENCE) {
            appendEscaped(out_, key->getValue());
        } else if (key->reference()) {
            writeReference(*key->reference());
        } else {
            writeReference(CIMObjectPath(key->getValue()));
        }
        ++key;
    }
    out_ += frame->end;
}

/// NAMESPACEPATH.
void Encoder::writeNamespacePath(const CIMObjectPath& path)
{
    const String& nameSpace = path.getNameSpace().getString();
    // Both are compared to the letter.
    if (namespacePath_.empty() || path.getHost() != host_ || nameSpace != nameSpace_) {
        host_ = path.getHost();
        nameSpace_ = nameSpace;
        namespacePath_ = "<NAMESPACEPATH>\n<HOST>";
        appendEscaped(namespacePath_, host_);
        namespacePath_ += "</HOST>\n";
        appendLocalNamespace(namespacePath_, path.getNameSpace());
        namespacePath_ += "</NAMESPACEPATH>\n";
    }
    out_ += namespacePath_;
}

void Encoder::writeInstancePath(const CIMObjectPath& path)
{
    out_ += "<INSTANCEPATH>\n";
    writeNamespacePath(path);
    writeInstanceName(path);
    out_ += "</INSTANCEPATH>\n";
}

void Encoder::writeObjectPath(const CIMObjectPath& path)
{
    out_ += "<OBJECTPATH>\n";
    writeInstancePath(path);
    out_ += "</OBJECTPATH>\n";
}

/// CLASSPATH.
void Encoder::writeClassPath(const CIMObjectPath& path)
{
    out_ += "<CLASSPATH>\n";
    writeNamespacePath(path);
    writeClassName(path.getClassName());
    out_ += "</CLASSPATH>\n";
}

void Encoder::writeClassObjectPath(const CIMObjectPath& path)
{
    out_ += "<OBJECTPATH>\n";
    writeClassPath(path);
    out_ += "</OBJECTPATH>\n";
}

/// VALUE.REFERENCE with as much of the path as it has.
void Encoder::writeReference(const CIMObjectPath& path)
{
    out_ += "<VALUE.REFERENCE>\n";
    if (path.getNameSpace().isNull()) {
        writeInstanceName(path);
    } else if (path.getHost().size() == 0) {
        out_ += "<LOCALINSTANCEPATH>\n";
        appendLocalNamespace(out_, path.getNameSpace());
        writeInstanceName(path);
        out_ += "</LOCALINSTANCEPATH>\n";
    } else {
        writeInstancePath(path);
    }
    out_ += "</VALUE.REFERENCE>\n";
}

// ---- Values ----

void Encoder::writeItem(const CIMObjectPath& item)
{
    writeReference(item);
}

template <class T>
void Encoder::writeItem(const T& item)
{
    out_ += "<VALUE>";
    appendText(out_, item);
    out_ += "</VALUE>\n";
}

template <class T>
void Encoder::writeItem(const Array<T>& items)
{
    const std::string_view end = std::is_same_v<T, CIMObjectPath> ? ".REFARRAY" : ".ARRAY";
    out_.append("<VALUE").append(end).append(">\n");
    for (Uint32 i = 0; i < items.size(); ++i)
        writeItem(items[i]);
    out_.append("</VALUE").append(end).append(">\n");
}

void Encoder::writeValue(const CIMValue& value)
{
    using Content = CIMValue::Content;
    Content::visit(value, [this](const auto& item) {
        if constexpr (!std::is_same_v<decltype(item), const Content::Null&>) writeItem(item);
    });
}

void Encoder::writeParamValue(const CIMParamValue& parameter)
{
    const CIMValue value = parameter.getValue();
    out_ += "<PARAMVALUE";
    appendAttribute(out_, "NAME", toUtf8(parameter.getParameterName()));
    if (parameter.isTyped()) appendType(out_, "PARAMTYPE", value.getType());
    out_ += ">\n";
    writeValue(value);
    out_ += "</PARAMVALUE>\n";
}

void Encoder::writeReturnValue(const CIMValue& value)
{
    out_ += "<RETURNVALUE";
    appendType(out_, "PARAMTYPE", value.getType());
    out_ += ">\n";
    writeValue(value);
    out_ += "</RETURNVALUE>\n";
}

// ---- Instances ----

void Encoder::writeInstance(const Instance& instance)
{
    startInstance(instance);
    for (std::size_t i = 0; i < instance.properties.size(); ++i) {
        const auto [property, value] = instance.properties[i];
        writeProperty(property, value);
    }
    out_ += "</INSTANCE>\n";
}

void Encoder::writeListedInstance(const Instance& instance)
{
    startInstance(instance);
    const InstanceProperties& properties = instance.properties;
    for (std::size_t i = 0; i < properties.size();) {
        const std::size_t end = endOfEmptyRun(properties, i);
        if (end > i) {
            const std::size_t from = propertyFrames_[i].emptyAt;
            const std::size_t to = end < propertyFrames_.size() ? propertyFrames_[end].emptyAt
                                                                : emptyProperties_.size();
            out_.append(emptyProperties_, from, to - from);
            i = end;
        } else {
            const PropertyFrame& frame = propertyFrame(properties, i);
            out_ += frame.before;
            writeValue(properties[i++].value);
            out_ += frame.after;
        }
    }
    out_ += "</INSTANCE>\n";
}

void Encoder::writeNamedInstance(const CIMInstance& instance)
{
    out_ += "<VALUE.NAMEDINSTANCE>\n";
    writeInstanceName(instance.getPath());
    writeListedInstance(instance.object());
    out_ += "</VALUE.NAMEDINSTANCE>\n";
}

void Encoder::writeObjectWithPath(const CIMInstance& instance)
{
    out_ += "<VALUE.OBJECTWITHPATH>\n";
    writeInstancePath(instance.getPath());
    writeListedInstance(instance.object());
    out_ += "</VALUE.OBJECTWITHPATH>\n";
}

void Encoder::writeInstanceWithPath(const CIMInstance& instance)
{
    out_ += "<VALUE.INSTANCEWITHPATH>\n";
    writeInstancePath(instance.getPath());
    writeListedInstance(instance.object());
    out_ += "</VALUE.INSTANCEWITHPATH>\n";
}

/// The end of a run of properties without a value which the instance shares with the one before it.
/// Instances share the properties that they do not set, and most of these have no value.
std::size_t Encoder::endOfEmptyRun(const InstanceProperties& properties, std::size_t begin) const
{
    const std::size_t most = std::min(properties.size(), propertyFrames_.size());
    std::size_t end = begin;
    const auto isEmpty = [&](std::size_t position) {
        const PropertyFrame& known = propertyFrames_[position];
        return known.isNull && &properties[position].value == &known.property->value;
    };
    while (end < most && isEmpty(end))
        ++end;
    return end;
}

/// The frame for the property at this position. If the known one does not fit, it is replaced and
/// those behind it are dropped.
const Encoder::PropertyFrame& Encoder::propertyFrame(const InstanceProperties& properties,
                                                     std::size_t position)
{
    const Property& property = properties[position].declaration;
    if (position < propertyFrames_.size()) {
        const PropertyFrame& known = propertyFrames_[position];
        if (&property == known.property.get() || haveOneDeclaration(*known.property, property))
            return known;
        emptyProperties_.resize(known.emptyAt);
        propertyFrames_.erase(propertyFrames_.begin() + std::ptrdiff_t(position),
                              propertyFrames_.end());
    }
    PropertyFrame frame{properties.declaration(position), property.value.isNull(),
                        emptyProperties_.size(), "", ""};
    Encoder(frame.before).startProperty(property);
    Encoder(frame.after).endProperty(property);
    emptyProperties_.append(frame.before).append(frame.after);
    return propertyFrames_.emplace_back(std::move(frame));
}

void Encoder::startInstance(const Instance& instance)
{
    out_ += "<INSTANCE";
    appendName(out_, "CLASSNAME", instance.path.getClassName());
    out_ += " >\n";
    writeQualifiers(instance.qualifiers);
}

void Encoder::writeProperty(const Property& property, const CIMValue& value)
{
    startProperty(property);
    writeValue(value);
    endProperty(property);
}

/// A property's element up to its value.
void Encoder::startProperty(const Property& property)
{
    const CIMType type = property.value.getType();
    const bool isArray = property.value.isArray();
    out_.append("<PROPERTY").append(suffix(type, isArray));
    appendName(out_, "NAME", property.name);
    out_ += ' ';  // OpenPegasus writes this blank
    if (isArray) appendType(out_, "TYPE", type);
    appendArraySize(out_, property.arraySize);
    appendOptional(out_, "REFERENCECLASS", property.referenceClassName);
    appendOrigin(out_, property.classOrigin, property.propagated);
    if (!isArray && type != CIMTYPE_REFERENCE) appendType(out_, "TYPE", type);
    out_ += ">\n";
    writeQualifiers(property.qualifiers);
}

void Encoder::endProperty(const Property& property)
{
    const std::string_view end = suffix(property.value.getType(), property.value.isArray());
    out_.append("</PROPERTY").append(end).append(">\n");
}

// ---- Classes and qualifiers ----

void Encoder::writeClassName(const CIMName& name)
{
    out_ += "<CLASSNAME";
    appendName(out_, "NAME", name);
    out_ += "/>\n";
}

void Encoder::writeClass(const Class& cimClass)
{
    out_ += "<CLASS";
    appendName(out_, "NAME", cimClass.name());
    if (!cimClass.superClassName.isNull()) {
        out_ += ' ';
        appendName(out_, "SUPERCLASS", cimClass.superClassName);
    }
    out_ += " >\n";
    writeQualifiers(cimClass.qualifiers);
    for (const auto& property : cimClass.properties)
        writeProperty(*property, property->value);
    for (const auto& method : cimClass.methods)
        writeMethod(*method);
    out_ += "</CLASS>\n";
}

void Encoder::writeClassWithPath(const CIMObjectPath& path, const Class& cimClass)
{
    out_ += "<VALUE.OBJECTWITHPATH>\n";
    writeClassPath(path);
    writeClass(cimClass);
    out_ += "</VALUE.OBJECTWITHPATH>\n";
}

void Encoder::writeMethod(const Method& method)
{
    out_ += "<METHOD";
    appendName(out_, "NAME", method.name);
    appendType(out_, "TYPE", method.type);
    appendOrigin(out_, method.classOrigin, method.propagated);
    out_ += ">\n";
    writeQualifiers(method.qualifiers);
    for (const Parameter& parameter : method.parameters)
        writeParameter(parameter);
    out_ += "</METHOD>\n";
}

void Encoder::writeParameter(const Parameter& parameter)
{
    const std::string_view end = suffix(parameter.type, parameter.isArray);
    out_.append("<PARAMETER").append(end);
    appendName(out_, "NAME", parameter.name);
    if (parameter.type != CIMTYPE_REFERENCE) appendType(out_, "TYPE", parameter.type);
    appendOptional(out_, "REFERENCECLASS", parameter.referenceClassName);
    appendArraySize(out_, parameter.arraySize);
    out_ += ">\n";
    writeQualifiers(parameter.qualifiers);
    out_.append("</PARAMETER").append(end).append(">\n");
}

void Encoder::writeQualifiers(const Qualifiers& qualifiers)
{
    for (const Qualifier& qualifier : qualifiers) {
        out_ += "<QUALIFIER";
        appendName(out_, "NAME", qualifier.name);
        appendType(out_, "TYPE", qualifier.value.getType());
        if (qualifier.propagated) appendPlain(out_, "PROPAGATED", "true");
        appendFlavor(out_, qualifier.flavor);
        out_ += ">\n";
        writeValue(qualifier.value);
        out_ += "</QUALIFIER>\n";
    }
}

void Encoder::writeQualifierDecl(const QualifierDecl& declaration)
{
    out_ += "<QUALIFIER.DECLARATION";
    appendName(out_, "NAME", declaration.name);
    appendType(out_, "TYPE", declaration.value.getType());
    if (declaration.value.isArray()) appendPlain(out_, "ISARRAY", "true");
    appendArraySize(out_, declaration.arraySize);
    appendFlavor(out_, declaration.flavor);
    out_ += ">\n";
    std::string scopes;
    for (const auto& [name, scope] : scopeNames) {
        if (scope != AnyScope && (declaration.scopes & scope)) appendPlain(scopes, name, "true");
    }
    if (!scopes.empty()) out_ += "<SCOPE" + scopes + "/>";
    writeValue(declaration.value);
    out_ += "</QUALIFIER.DECLARATION>\n";
}

}  // namespace cimom::xml
