#include "Model/Rep.h"

namespace cimom
{

using namespace Pegasus;

Named::Named(const CIMName& elementName) : name(elementName)
{
    if (name.isNull()) throw UninitializedObjectException();
}

void Named::checkRename(const CIMName& newName, const char* kind) const
{
    if (newName.isNull()) throw UninitializedObjectException();
    if (owners > 0 && !name.equal(newName)) {
        throw Exception(String("Attempted to change the name of a ") + String(kind) +
                        String(" already in a container."));
    }
}

void throwAlreadyExists(const char* kind, const CIMName& name)
{
    throw AlreadyExistsException(String(kind) + String(" \"") + name.getString() + String("\""));
}

ObjectRep::ObjectRep(const CIMName& className) : path(String(), CIMNamespaceName(), className)
{
    if (className.isNull()) throw UninitializedObjectException();
}

bool identical(const QualifierRep& a, const QualifierRep& b)
{
    return a.name.equal(b.name) && a.value.equal(b.value) && a.flavor.equal(b.flavor) &&
           a.propagated == b.propagated;
}

bool identical(const PropertyRep& a, const PropertyRep& b)
{
    return a.name.equal(b.name) && a.value.equal(b.value) &&
           a.referenceClassName.equal(b.referenceClassName) && a.classOrigin.equal(b.classOrigin) &&
           a.propagated == b.propagated && identical(a.qualifiers, b.qualifiers);
}

bool identical(const ParameterRep& a, const ParameterRep& b)
{
    return a.name.equal(b.name) && a.type == b.type &&
           a.referenceClassName.equal(b.referenceClassName) &&
           identical(a.qualifiers, b.qualifiers);
}

bool identical(const MethodRep& a, const MethodRep& b)
{
    return a.name.equal(b.name) && a.type == b.type && a.classOrigin.equal(b.classOrigin) &&
           a.propagated == b.propagated && identical(a.parameters, b.parameters) &&
           identical(a.qualifiers, b.qualifiers);
}

bool identical(const ObjectRep& a, const ObjectRep& b)
{
    return a.path.identical(b.path) && identical(a.properties, b.properties) &&
           identical(a.qualifiers, b.qualifiers);
}

bool identical(const ClassRep& a, const ClassRep& b)
{
    const ObjectRep& objectA = a;
    const ObjectRep& objectB = b;
    return identical(objectA, objectB) && a.superClassName.equal(b.superClassName) &&
           identical(a.methods, b.methods);
}

}  // namespace cimom
