// The CIM operations of the protocol: their parameters and how each is run.
#pragma once

#include "CimXml/XmlTree.h"
#include "Model/ObjectManager.h"

#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace cimom
{

/// Where and for whom an operation runs.
struct CallContext
{
    ObjectManager& manager;
    Pegasus::String hostName;
    Pegasus::OperationContext operation;
    Pegasus::CIMNamespaceName nameSpace;
};

class Parameters;

/// An intrinsic operation. `run` appends the content of its response element; it throws what the
/// object manager throws, and CIM_ERR_INVALID_PARAMETER for a required parameter that is missing.
struct Operation
{
    enum class Kind
    {
        Flag,           ///< VALUE, TRUE or FALSE
        Text,           ///< VALUE
        Names,          ///< VALUE.ARRAY of property names
        ClassName,      ///< CLASSNAME
        InstanceName,   ///< INSTANCENAME
        ObjectName,     ///< INSTANCENAME or CLASSNAME
        Instance,       ///< INSTANCE
        NamedInstance,  ///< VALUE.NAMEDINSTANCE
        Value           ///< any value; read when its type is known
    };
    struct Parameter
    {
        std::string_view name;
        Kind kind;
    };
    using Run = void (*)(const CallContext&, const Parameters&, std::string& out);

    std::string name;
    std::vector<Parameter> parameters;
    Run run;
};

/// The operation of that name, compared without case; null when there is none.
const Operation* findOperation(const std::string& name);

/// The decoded parameters of one call. A parameter given without a value counts as absent.
class Parameters
{
public:
    /// Decodes every IPARAMVALUE of the call, which must outlive this object. Throws RequestError
    /// for one that is not of its kind, CIM_ERR_NOT_SUPPORTED for one the operation does not know
    /// and CIM_ERR_INVALID_PARAMETER for one given twice.
    Parameters(const Operation& operation, const XmlElement& call);

    bool flag(std::string_view name, bool otherwise) const;
    Pegasus::String text(std::string_view name) const;
    Pegasus::CIMName className(std::string_view name) const;
    Pegasus::CIMPropertyList names(std::string_view name) const;
    /// These throw CIM_ERR_INVALID_PARAMETER when the parameter is missing.
    Pegasus::CIMName requiredClassName(std::string_view name) const;
    Pegasus::CIMName requiredName(std::string_view name) const;
    Pegasus::CIMObjectPath requiredPath(std::string_view name) const;
    Pegasus::CIMInstance requiredInstance(std::string_view name) const;
    /// The parameter's element, null when it is absent.
    const XmlElement* element(std::string_view name) const;

private:
    using Value = std::variant<bool, Pegasus::String, Pegasus::CIMPropertyList, Pegasus::CIMName,
                               Pegasus::CIMObjectPath, Pegasus::CIMInstance, const XmlElement*>;
    static Value decode(const XmlElement& parameter, Operation::Kind kind);
    template <class T>
    const T* find(std::string_view name) const;

    std::map<std::string_view, Value> values_;
};

/// Runs an extrinsic method. Untyped parameters get the types of the method's declaration.
void invokeMethod(const CallContext&, const Pegasus::CIMObjectPath& path,
                  const Pegasus::CIMName& method, const Pegasus::Array<Pegasus::CIMParamValue>& in,
                  std::string& out);

}  // namespace cimom
