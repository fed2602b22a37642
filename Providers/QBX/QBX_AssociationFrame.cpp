#include "QBX_AssociationFrame.h"

namespace Pegasus
{
namespace QBX_Frame
{
namespace
{

using End = AssociationScreen::End;

bool stands(const CIMObjectPath& object, const End& end)
{
    return QBX_Common::isPartOfArray(object.getClassName(), end.classes);
}

bool isRole(const String& role, const End& end)
{
    return String::equalNoCase(role, end.role);
}

bool isAnyOf(const String& text, const char* one, const char* other)
{
    return String::equalNoCase(text, one) || String::equalNoCase(text, other);
}

/// True when a role is given that is not the object's own.
bool isWrongRole(const AssociationScreen& screen, const CIMObjectPath& object, const String& role)
{
    if (role.size() == 0) return false;
    if (!isRole(role, screen.first) && !isRole(role, screen.second)) return true;
    return (stands(object, screen.first) && !isRole(role, screen.first)) ||
           (stands(object, screen.second) && !isRole(role, screen.second));
}

}  // namespace

bool isScreenedOut(const AssociationScreen& screen, const CIMObjectPath& objectName,
                   const String& role, const String& resultRole, const CIMName& resultClass,
                   const String& operationName)
{
    if (isWrongRole(screen, objectName, role)) return true;
    // The result role is the other end's: the same rule with the ends' roles exchanged.
    const AssociationScreen other = {{screen.second.role, screen.first.classes},
                                     {screen.first.role, screen.second.classes},
                                     {},
                                     {}};
    if (isWrongRole(other, objectName, resultRole)) return true;
    if (resultClass.isNull()) return false;
    if (isAnyOf(operationName, "references", "referenceNames")) {
        return !QBX_Common::isPartOfArray(resultClass, screen.referenceClasses);
    }
    if (isAnyOf(operationName, "associators", "associatorNames")) {
        return !QBX_Common::isPartOfArray(resultClass, screen.associatedClasses);
    }
    return false;
}

Array<CIMObjectPath> pathsOf(const Array<CIMInstance>& instances)
{
    Array<CIMObjectPath> paths;
    for (Uint32 i = 0; i < instances.size(); ++i)
        paths.append(instances[i].getPath());
    return paths;
}

void traceClass(const char* entry, const CIMObjectPath& objectName)
{
    log_message(QBX_LOG_TRACE, entry, c_str(objectName.getClassName().getString().getCString()));
}

}  // namespace QBX_Frame
}  // namespace Pegasus
