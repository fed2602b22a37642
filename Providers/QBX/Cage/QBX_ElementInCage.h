// What the associations of a cage with the elements plugged into it have in common: each element's
// record names its cage.
#ifndef QBX_ElementInCage_h
#define QBX_ElementInCage_h

#include "QBX_AssociationFrame.h"
#include "QBX_DriveCageProvider.h"

namespace Pegasus
{

/// The association of cages with one kind of element. `Element` is the provider of the elements,
/// `List` the list of their records, read once on construction.
template <class Element, class List>
class QBX_ElementInCage
{
public:
    using Query = typename List::Query;

    QBX_ElementInCage(Query query, const CIMOMHandle& cimom, const String& host)
        : _records(query), _cimom(cimom), _host(host)
    {
    }

    /// Calls `visit(cage path, element path)` for each element, in the array's order. Whether the
    /// cage exists is not asked.
    template <class Visit>
    void forEachPair(Visit&& visit) const
    {
        for (const auto& record : _records) {
            if (QBX_Records::isPresent(record)) visit(cagePath(record), elementPath(record));
        }
    }

    /// What lies at the other end of an object of that class and tag: the cage of an element, the
    /// elements of a cage, nothing for any other class.
    Array<CIMInstance> otherEnd(const CIMName& className, const String& tag,
                                const Array<CIMName>& elementClasses,
                                const Array<CIMName>& cageClasses, const OperationContext& context,
                                Boolean includeQualifiers, Boolean includeClassOrigin,
                                const CIMPropertyList& propertyList) const
    {
        if (QBX_Common::isPartOfArray(className, elementClasses))
            return cageOf(tag, context, includeQualifiers, includeClassOrigin, propertyList);
        if (QBX_Common::isPartOfArray(className, cageClasses))
            return elementsOf(tag, includeQualifiers, includeClassOrigin, propertyList);
        return Array<CIMInstance>();
    }

private:
    /// The cage of the element with that tag, fetched through the object manager on behalf of the
    /// caller; empty when there is no such element or its cage cannot be had.
    Array<CIMInstance> cageOf(const String& tag, const OperationContext& context,
                              Boolean includeQualifiers, Boolean includeClassOrigin,
                              const CIMPropertyList& propertyList) const
    {
        Array<CIMInstance> found;
        for (const auto& record : _records) {
            if (!QBX_Records::isPresent(record)) continue;
            if (QBX_Records::text(record.deviceID) != tag) continue;
            fetchCage(cagePath(record), context, includeQualifiers, includeClassOrigin,
                      propertyList, found);
            break;
        }
        return found;
    }

    /// The elements of the cage with that tag, built from their records.
    Array<CIMInstance> elementsOf(const String& tag, Boolean includeQualifiers,
                                  Boolean includeClassOrigin,
                                  const CIMPropertyList& propertyList) const
    {
        Array<CIMInstance> found;
        for (const auto& record : _records) {
            if (!QBX_Records::isPresent(record)) continue;
            if (QBX_Records::text(record.parentDeviceID) != tag) continue;
            const CIMClass cimClass = Element::_getCIMClass(
                _cimom, record.cageType, includeQualifiers, includeClassOrigin, propertyList);
            found.append(Element::buildInstance(cimClass, record, _host));
        }
        return found;
    }

    template <class Record>
    CIMObjectPath cagePath(const Record& record) const
    {
        return QBX_DriveCageProvider::buildObjectPath(
            QBX_DriveCageProvider::_getCIMName(record.cageType), _host,
            QBX_Records::text(record.parentDeviceID));
    }

    template <class Record>
    CIMObjectPath elementPath(const Record& record) const
    {
        return Element::buildObjectPath(Element::_getCIMName(record.cageType), _host,
                                        QBX_Records::text(record.deviceID));
    }

    void fetchCage(const CIMObjectPath& path, const OperationContext& context,
                   Boolean includeQualifiers, Boolean includeClassOrigin,
                   const CIMPropertyList& propertyList, Array<CIMInstance>& found) const
    {
        try {
            CIMOMHandle cimom(_cimom);
            found.append(cimom.getInstance(context, CIMNamespaceName(QBX_NAMESPACE), path, false,
                                           includeQualifiers, includeClassOrigin, propertyList));
            // An object manager may answer with a path that lacks host and namespace; no
            // association could refer to the cage by it. The instance may be the manager's own.
            if (!found[0].getPath().getNameSpace().isNull()) return;
            CIMInstance cage = found[0].clone();
            cage.setPath(path);
            found[0] = cage;
        } catch (...) {
            // A cage that cannot be had is missing from the result; one that cannot be given its
            // path stays as it came.
        }
    }

    const List _records;
    const CIMOMHandle& _cimom;
    const String& _host;
};

}  // namespace Pegasus

#endif
