// CIM elements written as CIM-XML text.
#pragma once

#include "CimXml/XmlText.h"
#include "Model/QualifierDecl.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMParamValue.h>

#include <memory>
#include <string>
#include <vector>

namespace cimom::xml
{

/// Writes CIM elements as UTF-8 text, one after the other, each followed by a line feed.
///
/// Elements in a row have much in common: instance names of one class differ in the values of their
/// keys, paths name one host and one namespace, and instances of one class share the declarations
/// of their properties. An encoder keeps such text and copies it into the elements that follow. It
/// compares what it keeps with each element first. Make one encoder for each response.
class Encoder
{
public:
    /// Writes at the end of this text, which has to outlive the encoder.
    explicit Encoder(std::string& out) : out_(out) {}

    /// CLASSNAME.
    void writeClassName(const CIMName&);
    /// INSTANCENAME; host and namespace of the path are left out.
    void writeInstanceName(const CIMObjectPath&);
    /// INSTANCEPATH; the path must have host and namespace, as in all elements below.
    void writeInstancePath(const CIMObjectPath&);
    /// OBJECTPATH of an instance.
    void writeObjectPath(const CIMObjectPath&);
    /// OBJECTPATH of a class.
    void writeClassObjectPath(const CIMObjectPath&);
    /// VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY; nothing for a null value.
    void writeValue(const CIMValue&);
    /// INSTANCE with all it carries.
    void writeInstance(const Instance&);
    /// The same for an instance of a list: all of a property but its value is copied from the
    /// instance before.
    void writeListedInstance(const Instance&);
    /// VALUE.NAMEDINSTANCE, as one of a list.
    void writeNamedInstance(const Pegasus::CIMInstance&);
    /// VALUE.OBJECTWITHPATH of an instance, as one of a list.
    void writeObjectWithPath(const Pegasus::CIMInstance&);
    /// VALUE.INSTANCEWITHPATH, as one of a list.
    void writeInstanceWithPath(const Pegasus::CIMInstance&);
    /// CLASS with all it carries.
    void writeClass(const Class&);
    /// VALUE.OBJECTWITHPATH of a class.
    void writeClassWithPath(const CIMObjectPath&, const Class&);
    /// QUALIFIER.DECLARATION.
    void writeQualifierDecl(const QualifierDecl&);
    /// PARAMVALUE; an untyped parameter is written without its type.
    void writeParamValue(const Pegasus::CIMParamValue&);
    /// RETURNVALUE.
    void writeReturnValue(const CIMValue&);

private:
    struct NameFrame;
    /// What stands around the value of a property in the instances of a list.
    struct PropertyFrame
    {
        std::shared_ptr<const Property> property;  ///< the first one that was declared so
        bool isNull;                               ///< whether that one has no value
        std::size_t emptyAt;                       ///< where it begins in emptyProperties_
        std::string before;
        std::string after;
    };

    std::shared_ptr<const NameFrame> nameFrame(const CIMObjectPath&);
    void writeNamespacePath(const CIMObjectPath&);
    void writeClassPath(const CIMObjectPath&);
    void writeReference(const CIMObjectPath&);
    void writeItem(const CIMObjectPath&);
    template <class T>
    void writeItem(const T&);
    template <class T>
    void writeItem(const Pegasus::Array<T>&);
    void writeQualifiers(const Qualifiers&);
    void startProperty(const Property&);
    void endProperty(const Property&);
    void writeProperty(const Property&, const CIMValue&);
    void startInstance(const Instance&);
    std::size_t endOfEmptyRun(const InstanceProperties&, std::size_t begin) const;
    const PropertyFrame& propertyFrame(const InstanceProperties&, std::size_t position);
    void writeParameter(const Parameter&);
    void writeMethod(const Method&);

    std::string& out_;
    std::vector<std::shared_ptr<const NameFrame>> nameFrames_;
    // The host and namespace of the last path, and their element.
    Pegasus::String host_;
    Pegasus::String nameSpace_;
    std::string namespacePath_;
    std::vector<PropertyFrame> propertyFrames_;  // by the position of the property
    std::string emptyProperties_;                // without values, one after the other
};

}  // namespace cimom::xml
