// Object paths: the names of classes and instances.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

class CIMValue;

/// A key of an instance: name, value as text, and the kind of value.
class PEGASUS_COMMON_LINKAGE CIMKeyBinding
{
public:
    enum Type
    {
        BOOLEAN,
        STRING,
        NUMERIC,
        REFERENCE
    };

    CIMKeyBinding() = default;
    CIMKeyBinding(const CIMKeyBinding& x) = default;
    CIMKeyBinding(const CIMName& name, const String& value, Type type);
    /// Text and kind from the value; a null value gives empty text. Throws TypeMismatchException
    /// for arrays, objects and instances.
    CIMKeyBinding(const CIMName& name, const CIMValue& value);
    CIMKeyBinding& operator=(const CIMKeyBinding& x) = default;

    const CIMName& getName() const { return _name; }
    void setName(const CIMName& name) { _name = name; }
    const String& getValue() const { return _value; }
    void setValue(const String& value) { _value = value; }
    Type getType() const { return _type; }
    void setType(Type type) { _type = type; }
    /// True when this key stands for that value.
    Boolean equal(CIMValue value);

private:
    CIMName _name;
    String _value;
    Type _type = STRING;
};

/// Same name without case, same kind, same value: numbers by value, booleans without case,
/// references as paths, strings exactly.
PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMKeyBinding& x, const CIMKeyBinding& y);

/// The name of a class, or with keys of an instance: host, namespace, class, keys; any may be
/// missing.
///
/// Keys are kept sorted by name without case, reference values in their canonical form, and both
/// are done in the array that the caller gave, too, with all copies that share its storage.
/// Text has the form //host/name/space:Class.key="value",key=1. Throws
/// MalformedObjectNameException for text, hosts and reference keys that cannot be read.
class PEGASUS_COMMON_LINKAGE CIMObjectPath
{
public:
    CIMObjectPath();
    CIMObjectPath(const CIMObjectPath& x) = default;
    CIMObjectPath(const String& objectName);
    CIMObjectPath(const String& host, const CIMNamespaceName& nameSpace, const CIMName& className,
                  const Array<CIMKeyBinding>& keyBindings = Array<CIMKeyBinding>());
    CIMObjectPath& operator=(const CIMObjectPath& x) = default;

    void clear();
    /// Changes nothing when it throws for the host; when it throws for a key, all parts are
    /// stored, the keys as given.
    void set(const String& host, const CIMNamespaceName& nameSpace, const CIMName& className,
             const Array<CIMKeyBinding>& keyBindings = Array<CIMKeyBinding>());
    /// When it throws, the parts that were read before the fault are stored.
    void set(const String& objectName);
    CIMObjectPath& operator=(const String& objectName);

    const String& getHost() const { return _host; }
    void setHost(const String& host);
    const CIMNamespaceName& getNameSpace() const { return _nameSpace; }
    void setNameSpace(const CIMNamespaceName& nameSpace) { _nameSpace = nameSpace; }
    const CIMName& getClassName() const { return _className; }
    void setClassName(const CIMName& className) { _className = className; }
    const Array<CIMKeyBinding>& getKeyBindings() const { return _keyBindings; }
    void setKeyBindings(const Array<CIMKeyBinding>& keyBindings);

    String toString() const;
    /// Same host, namespace, class (without case) and keys.
    Boolean identical(const CIMObjectPath& x) const;
    /// Equal for identical paths.
    Uint32 makeHashCode() const;

private:
    String _host;
    CIMNamespaceName _nameSpace;
    CIMName _className;
    Array<CIMKeyBinding> _keyBindings;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMObjectPath& x, const CIMObjectPath& y);
PEGASUS_COMMON_LINKAGE Boolean operator!=(const CIMObjectPath& x, const CIMObjectPath& y);

}  // namespace Pegasus
