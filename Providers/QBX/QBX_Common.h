// The toolkit of the array's provider modules.
#ifndef QBX_Common_h
#define QBX_Common_h

#include "QBX_Authorization.h"
#include "QBX_Constants.h"

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <qbxapi.h>

namespace Pegasus
{

/// What every provider of the array needs to turn API records into CIM objects and requests back
/// into API calls. Stateless apart from the identity of the storage system, which is read once
/// per process; every operation may be called from any number of threads at once.
///
/// No operation throws on its own account. Exceptions of the CIM library and of the CIM server
/// (unknown class, type mismatch, illegal name) pass through. Operations write their entry and
/// exit at trace level.
class QBX_Common
{
public:
    // ---- Classes and instances ----

    /// The class definition as the CIM server stores it, fetched anew on every call.
    static CIMClass getStoredCIMClass(CIMOMHandle& cimom, const OperationContext& context,
                                      const CIMNamespaceName& nameSpace, const CIMName& className,
                                      bool localOnly, bool includeQualifiers,
                                      bool includeClassOrigin, CIMPropertyList propertyList);

    /// An instance of the class with every property the class has, at the class's defaults, with
    /// qualifiers and class origins.
    static CIMInstance buildInstanceSkeleton(CIMClass& cimClass);

    ///@{
    /// Each form replaces the value of the named property (case ignored). A property that the
    /// instance lacks is skipped silently, so that one list of properties serves every subclass of
    /// a family. Throws TypeMismatchException when the property is of another type.
    static void setPropertyValue(CIMInstance&, CIMName name, const bool& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Uint8& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Uint16& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Uint32& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Uint64& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Sint16& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const String& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const CIMDateTime& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const CIMObjectPath& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const CIMInstance& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Array<bool>& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Array<Uint16>& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Array<Uint64>& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Array<Sint32>& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Array<String>& value);
    static void setPropertyValue(CIMInstance&, CIMName name, const Array<CIMDateTime>& value);
    ///@}

    /// A C string would silently become the boolean TRUE: write String("text").
    static void setPropertyValue(CIMInstance&, CIMName name, const void* value) = delete;

    /// Sets the named property to the null value of a scalar type; absent properties are skipped.
    static void setPropertyValueToNull(CIMInstance&, CIMName name, CIMType type);

    // ---- Reading requests ----

    /// The text of the key of that name (case ignored), whatever its kind; of several the last;
    /// empty when there is none.
    static String getStringProperty(const CIMObjectPath& path, const String& keyName);

    /// The value of a string property; empty when the property is absent or null, when the name is
    /// empty or the instance uninitialized. TypeMismatchException when it is no string.
    static String getStringProperty(const CIMInstance& instance, const String& propertyName);

    ///@{
    /// Each form reads the method parameter of that name (case ignored) into `out`.
    /// Returns QBX_PARAMETER_READ (0) when it was read; QBX_PARAMETER_MISSING (3) when it is
    /// missing or has only null values (`out` is unchanged); QBX_PARAMETER_READ_AFTER_NULL (4) when
    /// it was read, but a null value of the same name stood before it: "not 0" for a caller that
    /// requires the parameter, a value like any other for a caller that has a default.
    /// TypeMismatchException when the value is of another type.
    static int getParameter(const Array<CIMParamValue>&, const String& name, Uint16& out);
    static int getParameter(const Array<CIMParamValue>&, const String& name, bool& out);
    static int getParameter(const Array<CIMParamValue>&, const String& name, Uint32& out);
    static int getParameter(const Array<CIMParamValue>&, const String& name, Uint64& out);
    static int getParameter(const Array<CIMParamValue>&, const String& name, String& out);
    static int getParameter(const Array<CIMParamValue>&, const String& name, Uint8& out);
    static int getParameter(const Array<CIMParamValue>&, const String& name, CIMDateTime& out);
    static int getParameter(const Array<CIMParamValue>&, const String& name, CIMObjectPath& out);
    static int getParameter(const Array<CIMParamValue>&, const String& name, Array<String>& out);
    static int getParameter(const Array<CIMParamValue>&, const String& name, Array<Uint16>& out);
    ///@}

    // ---- Identity of the storage system ----

    /// A copy of the storage-array record. The array is asked until it once delivers a record with
    /// both names; that record is kept for the life of the process and never refreshed. Until then
    /// each call returns what its own query delivered, after a failed query all zeros.
    static api_StorageArray_t initSystemInfo();

    /// The storage system's host name, the host of every object path; empty while unknown.
    static String getSystemHostName(CIMOMHandle&);
    /// The storage system's name; empty while unknown.
    static String getSystemName(CIMOMHandle&);
    /// True for a quad-port system.
    static bool isQuadPortSystem(CIMOMHandle&);
    /// The network address of the system's node; empty when the array gives none in five tries, and
    /// when its library lacks the operation.
    static String getSystemAddress();

    ///@{
    /// Each of the three returns the path of the first instance that the CIM server knows of the
    /// class, with the storage system's host and namespace "root/qbx"; an empty path when there is
    /// none. Asks through a local client connection and, if that fails, through the handle. Never
    /// throws.
    static CIMObjectPath getSystemPkgObjectPath(CIMOMHandle&);
    static CIMObjectPath getSystemObjectPath(CIMOMHandle&);
    static CIMObjectPath getSystemViewObjectPath(CIMOMHandle&);
    ///@}

    /// The instance names of a class, read through a local client connection.
    static Array<CIMObjectPath> enumerateInstanceNames(const CIMNamespaceName&, const CIMName&);

    // ---- Object paths and associations ----

    /// True when any element equals the name (case ignored).
    static bool isPartOfArray(const CIMName& name, const Array<CIMName>& names);

    /// True when the two paths denote the same object: hosts never count, neither of the paths nor
    /// of references in their keys, and a reference given as a quoted string equals the reference.
    /// Never throws for malformed keys.
    static bool matchObjectPath(const CIMObjectPath& first, const CIMObjectPath& second);

    /// The path of an association of two objects: two reference keys named by the roles, first
    /// role first. `host` is the host of the association path and of both references.
    static CIMObjectPath buildAssocPath(const CIMName& assocClass, const String& firstRole,
                                        const String& secondRole, const CIMObjectPath& first,
                                        const CIMObjectPath& second, const String& host,
                                        String nameSpace);
    /// The general form: a host for the association path and one for each reference.
    static CIMObjectPath buildAssocPath(const CIMName& assocClass, const String& firstRole,
                                        const String& secondRole, const CIMObjectPath& first,
                                        const CIMObjectPath& second, const String& host,
                                        const String& firstHost, const String& secondHost,
                                        String nameSpace);
    /// The path of a three-way association.
    static CIMObjectPath buildAssocPath(const CIMName& assocClass, const String& firstRole,
                                        const String& secondRole, const String& thirdRole,
                                        const CIMObjectPath& first, const CIMObjectPath& second,
                                        const CIMObjectPath& third, const String& host,
                                        String nameSpace);

    ///@{
    /// The instance of an association, its path set, its reference properties filled. A role that
    /// the class lacks is skipped silently. The forms are those of buildAssocPath().
    static CIMInstance buildAssocInstance(const CIMName& assocClass, const String& firstRole,
                                          const String& secondRole, const CIMObjectPath& first,
                                          const CIMObjectPath& second, CIMClass& cimClass,
                                          const String& host, String nameSpace);
    static CIMInstance buildAssocInstance(const CIMName& assocClass, const String& firstRole,
                                          const String& secondRole, const CIMObjectPath& first,
                                          const CIMObjectPath& second, CIMClass& cimClass,
                                          const String& host, const String& firstHost,
                                          const String& secondHost, String nameSpace);
    static CIMInstance buildAssocInstance(const CIMName& assocClass, const String& firstRole,
                                          const String& secondRole, const String& thirdRole,
                                          const CIMObjectPath& first, const CIMObjectPath& second,
                                          const CIMObjectPath& third, CIMClass& cimClass,
                                          const String& host, String nameSpace);
    ///@}
};

}  // namespace Pegasus

#endif
