// Names of CIM elements and namespaces.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// The name of a class, property, method or the like; null by default. Names compare without case
/// (ASCII). Every way in but the default constructor throws InvalidNameException for what is not a
/// legal name; an assignment that throws changes nothing.
class PEGASUS_COMMON_LINKAGE CIMName
{
public:
    CIMName();
    CIMName(const CIMName& name) = default;
    CIMName(const String& name);
    CIMName(const char* name);
    CIMName& operator=(const CIMName& name);
    CIMName& operator=(const String& name);

    const String& getString() const { return _name; }
    Boolean isNull() const { return _name.size() == 0; }
    void clear() { _name.clear(); }
    Boolean equal(const CIMName& name) const;
    /// A letter, `_` or a unit from U+0080 to U+FFEF, then also digits.
    static Boolean legal(const String& name);

private:
    String _name;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMName& name1, const CIMName& name2);
PEGASUS_COMMON_LINKAGE Boolean operator!=(const CIMName& name1, const CIMName& name2);

/// The name of a namespace such as "root/cimv2"; null by default. One leading slash is dropped.
/// Throws InvalidNamespaceNameException as CIMName throws, but after an assignment that throws the
/// illegal text is held.
class PEGASUS_COMMON_LINKAGE CIMNamespaceName
{
public:
    CIMNamespaceName();
    CIMNamespaceName(const CIMNamespaceName& name) = default;
    CIMNamespaceName(const String& name);
    CIMNamespaceName(const char* name);
    CIMNamespaceName& operator=(const CIMNamespaceName& name);
    CIMNamespaceName& operator=(const String& name);

    const String& getString() const { return _name; }
    Boolean isNull() const { return _name.size() == 0; }
    void clear() { _name.clear(); }
    Boolean equal(const CIMNamespaceName& name) const;
    /// Legal names separated by slashes; one slash may lead.
    static Boolean legal(const String& name);

private:
    String _name;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMNamespaceName& name1,
                                          const CIMNamespaceName& name2);
PEGASUS_COMMON_LINKAGE Boolean operator!=(const CIMNamespaceName& name1,
                                          const CIMNamespaceName& name2);

}  // namespace Pegasus
