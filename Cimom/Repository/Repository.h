// Classes, qualifier declarations and static instances by namespace.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMQualifierDecl.h>

#include <memory>
#include <vector>

namespace cimom
{

/// The schema and the static instances of every namespace. Filled at start (by the MOF compiler),
/// read afterwards; instances may be added, changed and removed at any time. Safe for any number
/// of threads. All names compare without case.
///
/// Classes are stored with inheritance resolved: each holds every inherited property, method and
/// (by flavor) qualifier, with class origin and propagated set. Returned classes are shared and
/// immutable inside; a caller that changes one changes its own copy.
///
/// Errors are Pegasus::CIMException with the code and bare text a client is to see: unknown
/// namespace CIM_ERR_INVALID_NAMESPACE with the namespace as text, and as each function says.
class Repository
{
public:
    Repository();
    ~Repository();
    Repository(const Repository&) = delete;
    Repository& operator=(const Repository&) = delete;

    /// Adds an empty namespace; does nothing when it is there.
    void addNamespace(const Pegasus::CIMNamespaceName&);
    bool hasNamespace(const Pegasus::CIMNamespaceName&) const;
    std::vector<Pegasus::CIMNamespaceName> namespaces() const;

    /// CIM_ERR_ALREADY_EXISTS when it is there with another definition.
    void addQualifierDecl(const Pegasus::CIMNamespaceName&, const Pegasus::CIMQualifierDecl&);
    /// CIM_ERR_NOT_FOUND when unknown.
    Pegasus::CIMQualifierDecl getQualifierDecl(const Pegasus::CIMNamespaceName&,
                                               const Pegasus::CIMName&) const;
    std::vector<Pegasus::CIMQualifierDecl> qualifierDecls(const Pegasus::CIMNamespaceName&) const;

    /// Checks the class against its superclass and the qualifier declarations, resolves it and
    /// stores it. CIM_ERR_ALREADY_EXISTS, CIM_ERR_INVALID_SUPERCLASS, CIM_ERR_INVALID_PARAMETER.
    void addClass(const Pegasus::CIMNamespaceName&, const Pegasus::CIMClass&);
    bool hasClass(const Pegasus::CIMNamespaceName&, const Pegasus::CIMName&) const;
    /// CIM_ERR_NOT_FOUND with the class name as asked when unknown.
    Pegasus::CIMClass getClass(const Pegasus::CIMNamespaceName&, const Pegasus::CIMName&,
                               bool localOnly = false, bool includeQualifiers = true,
                               bool includeClassOrigin = true,
                               const Pegasus::CIMPropertyList& = Pegasus::CIMPropertyList()) const;
    /// Names of the direct (or with deep all) subclasses in schema order (as they were added, each
    /// class followed by its own subclasses); a null name means the root classes.
    /// CIM_ERR_INVALID_CLASS when the class is unknown.
    std::vector<Pegasus::CIMName> subclassNames(const Pegasus::CIMNamespaceName&,
                                                const Pegasus::CIMName&, bool deep) const;
    /// The superclasses, nearest first; empty for a root class. CIM_ERR_NOT_FOUND when unknown.
    std::vector<Pegasus::CIMName> superclassNames(const Pegasus::CIMNamespaceName&,
                                                  const Pegasus::CIMName&) const;
    /// True when `className` is `ancestor` or derives from it. False when either is unknown.
    bool isSubclassOf(const Pegasus::CIMNamespaceName&, const Pegasus::CIMName& className,
                      const Pegasus::CIMName& ancestor) const;

    /// Stores a static instance: properties the instance lacks are taken from the class with
    /// their defaults, its path is built from its keys. Returns the path (no host, no namespace).
    /// CIM_ERR_INVALID_CLASS, CIM_ERR_ALREADY_EXISTS (path as text), CIM_ERR_INVALID_PARAMETER.
    Pegasus::CIMObjectPath addInstance(const Pegasus::CIMNamespaceName&,
                                       const Pegasus::CIMInstance&);
    /// Replaces the listed (null list: all) property values of the instance that the path names.
    /// A listed property that the given instance lacks goes back to the default of the class,
    /// except a key; a listed name that the class lacks is passed over. CIM_ERR_INVALID_CLASS,
    /// CIM_ERR_NOT_FOUND (path as text), CIM_ERR_FAILED for a changed key, a given property that
    /// the class lacks or that has another type; then nothing is changed.
    void modifyInstance(const Pegasus::CIMNamespaceName&, const Pegasus::CIMInstance&,
                        const Pegasus::CIMPropertyList&);
    /// CIM_ERR_INVALID_CLASS, CIM_ERR_NOT_FOUND (path as text).
    void removeInstance(const Pegasus::CIMNamespaceName&, const Pegasus::CIMObjectPath&);
    /// A copy of the instance with exactly this class and these keys (host ignored).
    /// CIM_ERR_INVALID_CLASS, CIM_ERR_NOT_FOUND (path without host and namespace as text).
    Pegasus::CIMInstance getInstance(const Pegasus::CIMNamespaceName&,
                                     const Pegasus::CIMObjectPath&) const;
    /// Copies of the instances of exactly this class, in the order they were added.
    /// CIM_ERR_INVALID_CLASS.
    std::vector<Pegasus::CIMInstance> instancesOf(const Pegasus::CIMNamespaceName&,
                                                  const Pegasus::CIMName&) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace cimom
