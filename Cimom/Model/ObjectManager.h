// The object manager of this process, as the CIM library sees it.
//
// CIMOMHandle and CIMClient::connectLocal() reach whatever object manager is installed here; the
// broker implements it. The interface stands in Model so that the library needs no broker.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/OperationContext.h>

namespace cimom
{

/// All CIM operations, one virtual function each. The caller's identity is the IdentityContainer
/// of the context (none: the empty user). Every operation throws Pegasus::CIMException with the
/// code and bare text that a client is to see; the text does not carry the code's name.
/// Implementations are called from any number of threads at once.
class ObjectManager
{
public:
    using Ctx = Pegasus::OperationContext;
    using Ns = Pegasus::CIMNamespaceName;

    virtual ~ObjectManager() = default;

    /// The object manager that handles and local clients of this process reach; null when none.
    static ObjectManager* current() noexcept;
    /// Installs (or with null removes) the process's object manager. The caller keeps ownership
    /// and must remove it before it ends. Not to be changed while operations run.
    static void setCurrent(ObjectManager* manager) noexcept;

    virtual Pegasus::CIMClass getClass(const Ctx&, const Ns&, const Pegasus::CIMName& className,
                                       bool localOnly, bool includeQualifiers,
                                       bool includeClassOrigin,
                                       const Pegasus::CIMPropertyList&) = 0;
    virtual Pegasus::Array<Pegasus::CIMClass> enumerateClasses(const Ctx&, const Ns&,
                                                               const Pegasus::CIMName& className,
                                                               bool deep, bool localOnly,
                                                               bool includeQualifiers,
                                                               bool includeClassOrigin) = 0;
    /// A null class name means the root classes.
    virtual Pegasus::Array<Pegasus::CIMName> enumerateClassNames(const Ctx&, const Ns&,
                                                                 const Pegasus::CIMName& className,
                                                                 bool deep) = 0;
    virtual Pegasus::CIMQualifierDecl getQualifier(const Ctx&, const Ns&,
                                                   const Pegasus::CIMName&) = 0;
    virtual Pegasus::Array<Pegasus::CIMQualifierDecl> enumerateQualifiers(const Ctx&,
                                                                          const Ns&) = 0;

    virtual Pegasus::CIMInstance getInstance(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&,
                                             bool includeQualifiers, bool includeClassOrigin,
                                             const Pegasus::CIMPropertyList&) = 0;
    virtual Pegasus::Array<Pegasus::CIMInstance> enumerateInstances(
        const Ctx&, const Ns&, const Pegasus::CIMName& className, bool deep, bool includeQualifiers,
        bool includeClassOrigin, const Pegasus::CIMPropertyList&) = 0;
    virtual Pegasus::Array<Pegasus::CIMObjectPath> enumerateInstanceNames(
        const Ctx&, const Ns&, const Pegasus::CIMName& className) = 0;
    virtual Pegasus::CIMObjectPath createInstance(const Ctx&, const Ns&,
                                                  const Pegasus::CIMInstance&) = 0;
    /// The instance's path names the target.
    virtual void modifyInstance(const Ctx&, const Ns&, const Pegasus::CIMInstance&,
                                bool includeQualifiers, const Pegasus::CIMPropertyList&) = 0;
    virtual void deleteInstance(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&) = 0;
    virtual Pegasus::CIMValue getProperty(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&,
                                          const Pegasus::CIMName& propertyName) = 0;
    virtual void setProperty(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&,
                             const Pegasus::CIMName& propertyName, const Pegasus::CIMValue&) = 0;

    virtual Pegasus::Array<Pegasus::CIMObject> associators(
        const Ctx&, const Ns&, const Pegasus::CIMObjectPath&, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole, bool includeQualifiers, bool includeClassOrigin,
        const Pegasus::CIMPropertyList&) = 0;
    virtual Pegasus::Array<Pegasus::CIMObjectPath> associatorNames(
        const Ctx&, const Ns&, const Pegasus::CIMObjectPath&, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole) = 0;
    virtual Pegasus::Array<Pegasus::CIMObject> references(
        const Ctx&, const Ns&, const Pegasus::CIMObjectPath&, const Pegasus::CIMName& resultClass,
        const Pegasus::String& role, bool includeQualifiers, bool includeClassOrigin,
        const Pegasus::CIMPropertyList&) = 0;
    virtual Pegasus::Array<Pegasus::CIMObjectPath> referenceNames(
        const Ctx&, const Ns&, const Pegasus::CIMObjectPath&, const Pegasus::CIMName& resultClass,
        const Pegasus::String& role) = 0;

    /// Returns the method's return value (null when the provider delivered none); `out` receives
    /// the output parameters.
    virtual Pegasus::CIMValue invokeMethod(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&,
                                           const Pegasus::CIMName& methodName,
                                           const Pegasus::Array<Pegasus::CIMParamValue>& in,
                                           Pegasus::Array<Pegasus::CIMParamValue>& out) = 0;
};

}  // namespace cimom
