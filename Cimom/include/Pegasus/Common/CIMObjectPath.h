// Object paths: the names of classes and instances.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>

#include <memory>

namespace Pegasus
{

class CIMObjectPath;
class CIMValue;
class ObjectPathReader;

/// A key of an instance: name, value as text, and the kind of value.
class CIMKeyBinding
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
    CIMKeyBinding(const CIMName& name, const String& value, Type type);
    /// Text and kind from the value; a null value gives empty text. Throws TypeMismatchException
    /// for arrays, objects and instances.
    CIMKeyBinding(const CIMName& name, const CIMValue& value);

    const CIMName& getName() const { return name_; }
    const String& getValue() const;
    Type getType() const { return type_; }
    /// Of a reference that is a key of a path: what its value reads as. Null otherwise.
    const CIMObjectPath* reference() const;

private:
    friend class CIMObjectPath;
    friend class ObjectPathReader;
    struct Reference;
    static CIMKeyBinding ofReference(const CIMName& name, const CIMObjectPath& reference);

    CIMName name_;
    String value_;
    Type type_ = STRING;
    std::shared_ptr<const Reference> reference_;  // then the value is its text
};

/// Same name without case, same kind, same value: numbers by value, booleans without case,
/// references as paths, strings exactly.
Boolean operator==(const CIMKeyBinding& x, const CIMKeyBinding& y);

/// The name of a class, or with keys of an instance: host, namespace, class, keys; any may be
/// missing.
///
/// Keys are kept sorted by name without case, reference values in their canonical form. Text has
/// the form //host/name/space:Class.key="value",key=1. Throws MalformedObjectNameException for
/// text, hosts and reference keys that cannot be read, also for text of more than 65,536 characters
/// or with more than 8 references inside one another; what throws changes nothing.
class CIMObjectPath
{
public:
    CIMObjectPath() = default;
    CIMObjectPath(const String& objectName);
    CIMObjectPath(const String& host, const CIMNamespaceName& nameSpace, const CIMName& className,
                  const Array<CIMKeyBinding>& keyBindings = Array<CIMKeyBinding>());

    const String& getHost() const { return host_; }
    void setHost(const String& host);
    const CIMNamespaceName& getNameSpace() const { return nameSpace_; }
    void setNameSpace(const CIMNamespaceName& nameSpace) { nameSpace_ = nameSpace; }
    const CIMName& getClassName() const { return className_; }
    void setClassName(const CIMName& className) { className_ = className; }
    const Array<CIMKeyBinding>& getKeyBindings() const { return keyBindings_; }
    void setKeyBindings(const Array<CIMKeyBinding>& keyBindings);

    String toString() const;
    /// Same host, namespace, class (without case) and keys.
    Boolean identical(const CIMObjectPath& x) const;

private:
    friend class ObjectPathReader;
    void sortKeys();

    String host_;
    CIMNamespaceName nameSpace_;
    CIMName className_;
    Array<CIMKeyBinding> keyBindings_;
};

inline Boolean operator==(const CIMObjectPath& x, const CIMObjectPath& y)
{
    return x.identical(y);
}
inline Boolean operator!=(const CIMObjectPath& x, const CIMObjectPath& y)
{
    return !x.identical(y);
}

}  // namespace Pegasus
