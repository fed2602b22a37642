// Classes, qualifier declarations and static instances by namespace.
#pragma once

#include "Model/ObjectManager.h"
#include "Model/QualifierDecl.h"

#include <memory>
#include <vector>

namespace cimom
{

/// The schema and the static instances of every namespace. Filled at start (by the MOF compiler).
/// Afterwards any number of threads may read all of it and change instances, each change whole or
/// not at all. All names compare without case.
///
/// Classes are stored with inheritance resolved: each holds every inherited property, method and
/// (by flavor) qualifier, with class origin and propagated set. They are shared and immutable.
///
/// Errors are Pegasus::CIMException with the code and message for the client. Every function throws
/// CIM_ERR_INVALID_NAMESPACE with the name of an unknown namespace; the comments name other codes.
class Repository
{
public:
    Repository();
    ~Repository();

    /// Adds an empty namespace; does nothing when it is there.
    void addNamespace(const CIMNamespaceName&);
    std::vector<CIMNamespaceName> namespaces() const;

    /// CIM_ERR_ALREADY_EXISTS when it is there with another definition.
    void addQualifierDecl(const CIMNamespaceName&, QualifierDecl);
    /// CIM_ERR_NOT_FOUND when unknown. The declaration lives as long as the repository.
    const QualifierDecl& getQualifierDecl(const CIMNamespaceName&, const CIMName&) const;
    /// In the order they were added.
    std::vector<const QualifierDecl*> qualifierDecls(const CIMNamespaceName&) const;

    /// Checks the class against its superclass and the qualifier declarations, resolves it and
    /// stores it. CIM_ERR_ALREADY_EXISTS, CIM_ERR_INVALID_SUPERCLASS, CIM_ERR_INVALID_PARAMETER.
    void addClass(const CIMNamespaceName&, const Class&);
    /// The whole class; null when it is unknown.
    ClassPtr findClass(const CIMNamespaceName&, const CIMName&) const;
    /// The whole class. Throws the code given, with the requested class name, when it is unknown.
    ClassPtr requireClass(const CIMNamespaceName&, const CIMName&,
                          Pegasus::CIMStatusCode whenUnknown) const;
    /// The parts of the class that the view selects. CIM_ERR_NOT_FOUND with the requested class
    /// name when it is unknown. Views with a null property list are made once and shared.
    ClassPtr getClass(const CIMNamespaceName&, const CIMName&, const ClassView& = {}) const;
    /// Names of the direct (or with deep all) subclasses in schema order (as they were added, each
    /// class followed by its own subclasses); a null name means the root classes.
    /// CIM_ERR_INVALID_CLASS when the class is unknown.
    std::vector<CIMName> subclassNames(const CIMNamespaceName&, const CIMName&, bool deep) const;
    /// The class's name and those of its superclasses, the nearest first. Throws the code given,
    /// with the requested class name, when it is unknown.
    std::vector<CIMName> lineage(const CIMNamespaceName&, const CIMName&,
                                 Pegasus::CIMStatusCode whenUnknown) const;

    /// Stores a static instance: properties the instance lacks are taken from the class with
    /// their defaults, its path is built from its keys (no host, no namespace).
    /// Returns that path. CIM_ERR_INVALID_CLASS, CIM_ERR_ALREADY_EXISTS (path as text),
    /// CIM_ERR_INVALID_PARAMETER.
    CIMObjectPath addInstance(const CIMNamespaceName&, const CIMInstance&);
    /// Sets the listed properties (null list: those of the given instance) of the instance that the
    /// path names to the values in the given instance, or to the default of the class if it lacks
    /// them. CIM_ERR_INVALID_CLASS, CIM_ERR_NOT_FOUND (path as text), CIM_ERR_NO_SUCH_PROPERTY,
    /// CIM_ERR_INVALID_PARAMETER, CIM_ERR_FAILED when it would have other keys.
    void modifyInstance(const CIMNamespaceName&, const CIMInstance&, const CIMPropertyList&);
    /// CIM_ERR_INVALID_CLASS, CIM_ERR_NOT_FOUND (path as text).
    void deleteInstance(const CIMNamespaceName&, const CIMObjectPath&);
    /// A copy of the instance with exactly this class and these keys (host ignored).
    /// CIM_ERR_INVALID_CLASS, CIM_ERR_NOT_FOUND (path without host and namespace as text).
    CIMInstance getInstance(const CIMNamespaceName&, const CIMObjectPath&) const;
    /// Copies of the instances of exactly this class, in the order they were added.
    /// CIM_ERR_INVALID_CLASS.
    std::vector<CIMInstance> instancesOf(const CIMNamespaceName&, const CIMName&) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace cimom
