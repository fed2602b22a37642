#include "QBX_FCALCardInDriveCageProvider.h"

#include "QBX_ElementInCage.h"
#include "QBX_FCALCardProvider.h"

namespace Pegasus
{

using namespace QBX_Frame;
using namespace QBX_Records;

static const String ClassName("QBX_FCALCardInDriveCageProvider");

namespace
{

// One line of log each; the blanks, the stray signs and the missing newlines are part of the texts.
constexpr AssociationTraces TRACES = {
    // initialize
    {"--> QBX_FCALCardInDriveCageProvider::initialize(cimom)\n)",
     "<-- QBX_FCALCardInDriveCageProvider::initialize(cimom)\n)"},
    // enumerateInstanceNames
    {"--> QBX_FCALCardInDriveCageProvider::enumerateInstanceNames()\n",
     "<-- QBX_FCALCardInDriveCageProvider::enumerateInstanceNames()\n"},
    // enumerateInstances
    {"--> QBX_FCALCardInDriveCageProvider::enumerateInstances() \n",
     "<-- QBX_FCALCardInDriveCageProvider::enumerateInstances()\n"},
    // getInstance
    {"-->QBX_FCALCardInDriveCageProvider::getInstance()\n",
     "<-- QBX_FCALCardInDriveCageProvider::getInstance()\n"},
    // getInstance with another number of keys than two
    "QBX_FCALCardInDriveCageProvider::getInstance(): Invalid number of keys (%d)\n",
    // referenceNames
    {{"-->QBX_FCALCardInDriveCageProvider::referenceNames\n",
      "<--QBX_FCALCardInDriveCageProvider::referenceNames\n"},
     "QBX_FCALCardInDriveCageProvider::references: objectName = %s; resultClass = %s",
     "QBX_FCALCardInDriveCageProvider::referenceNames: invalid params: role = %s, resultClass = %s \n"},
    // references
    {{"-->QBX_FCALCardInDriveCageProvider::references\n",
      "<--QBX_FCALCardInDriveCageProvider::references\n"},
     "QBX_FCALCardInDriveCageProvider::references: objectName = %s; resultClass = %s \n",
     "QBX_FCALCardInDriveCageProvider::references: invalid params: role = %s, resultClass = %s \n"},
    // associatorNames
    {{"-->QBX_FCALCardInDriveCageProvider::associatorNames\n",
      "<--QBX_FCALCardInDriveCageProvider::associatorNames\n"},
     "QBX_FCALCardInDriveCageProvider::associatorNames: objectName = %s; associationClass=%s; resultClass=%s \n",
     "QBX_FCALCardInDriveCageProvider::associatorNames: invalid params: associationClass=%s, resultClass=%s\n"},
    // associators
    {{"-->QBX_FCALCardInDriveCageProvider::associators\n",
      "<--QBX_FCALCardInDriveCageProvider::associators\n"},
     "QBX_FCALCardInDriveCageProvider::associators: objectName = %s; associationClass = %s; resultClass = %s \n",
     "QBX_FCALCardInDriveCageProvider::associators: invalid params: resultClass = %s \n"},
    // _getInstances
    {"-->QBX_FCALCardInDriveCageProvider::_getInstances\n",
     "<--QBX_FCALCardInDriveCageProvider::_getInstances\n"},
    // _getInstanceNames
    {"-->QBX_FCALCardInDriveCageProvider::_getInstanceNames\n",
     "<--QBX_FCALCardInDriveCageProvider::_getInstanceNames\n"},
    // _getRelatedInstances
    {"-->QBX_FCALCardInDriveCageProvider::_getRelatedInstances: className = %s \n",
     "<--QBX_FCALCardInDriveCageProvider::_getRelatedInstances\n"},
    // _getRelatedInstanceNames
    {"-->QBX_FCALCardInDriveCageProvider::_getRelatedInstanceNames: className = %s \n",
     "<--QBX_FCALCardInDriveCageProvider::_getRelatedInstanceNames\n"},
};

const String GROUP("GroupComponent");
const String PART("PartComponent");

using CardsInCages = QBX_ElementInCage<QBX_FCALCardProvider, FCALList>;

}  // namespace

QBX_FCALCardInDriveCageProvider::~QBX_FCALCardInDriveCageProvider() = default;

QBX_FCALCardInDriveCageProvider::Frame QBX_FCALCardInDriveCageProvider::_frame(
    const SourceLocation& at)
{
    return Frame(*this, ClassName, TRACES, at);
}

void QBX_FCALCardInDriveCageProvider::initialize(CIMOMHandle& cimom)
{
    trace(TRACES.initialize.entry);
    _cimom = cimom;
    _assoClassName = CIMName("QBX_InterfaceCardInDriveCage");
    _cageClassNames = names(QBX_DRIVE_CAGES);
    _fcalClassNames = names(QBX_INTERFACE_CARDS);
    _hostAddr = QBX_Common::getSystemHostName(cimom);
    cimom.disallowProviderUnload();
    trace(TRACES.initialize.exit);
}

void QBX_FCALCardInDriveCageProvider::terminate()
{
    delete this;
}

// ---- Traversals ----

void QBX_FCALCardInDriveCageProvider::associators(
    const OperationContext& context, const CIMObjectPath& objectName,
    const CIMName& associationClass, const CIMName& resultClass, const String& role,
    const String& resultRole, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    _frame().associators(context, objectName, associationClass, resultClass, role, resultRole,
                         includeQualifiers, includeClassOrigin, propertyList, handler);
}

void QBX_FCALCardInDriveCageProvider::associatorNames(const OperationContext& context,
                                                      const CIMObjectPath& objectName,
                                                      const CIMName& associationClass,
                                                      const CIMName& resultClass,
                                                      const String& role, const String& resultRole,
                                                      ObjectPathResponseHandler& handler)
{
    _frame().associatorNames(context, objectName, associationClass, resultClass, role, resultRole,
                             handler);
}

void QBX_FCALCardInDriveCageProvider::references(
    const OperationContext& context, const CIMObjectPath& objectName, const CIMName& resultClass,
    const String& role, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    _frame().references(context, objectName, resultClass, role, includeQualifiers,
                        includeClassOrigin, propertyList, handler);
}

void QBX_FCALCardInDriveCageProvider::referenceNames(const OperationContext& context,
                                                     const CIMObjectPath& objectName,
                                                     const CIMName& resultClass, const String& role,
                                                     ObjectPathResponseHandler& handler)
{
    _frame().referenceNames(context, objectName, resultClass, role, handler);
}

// ---- Instances ----

void QBX_FCALCardInDriveCageProvider::getInstance(const OperationContext& context,
                                                  const CIMObjectPath& instanceReference,
                                                  const Boolean includeQualifiers,
                                                  const Boolean includeClassOrigin,
                                                  const CIMPropertyList& propertyList,
                                                  InstanceResponseHandler& handler)
{
    _frame().getInstance(context, instanceReference, includeQualifiers, includeClassOrigin,
                         propertyList, handler);
}

void QBX_FCALCardInDriveCageProvider::enumerateInstances(const OperationContext& context,
                                                         const CIMObjectPath&,
                                                         const Boolean includeQualifiers,
                                                         const Boolean includeClassOrigin,
                                                         const CIMPropertyList& propertyList,
                                                         InstanceResponseHandler& handler)
{
    _frame().enumerateInstances(context, includeQualifiers, includeClassOrigin, propertyList,
                                handler);
}

void QBX_FCALCardInDriveCageProvider::enumerateInstanceNames(const OperationContext& context,
                                                             const CIMObjectPath&,
                                                             ObjectPathResponseHandler& handler)
{
    _frame().enumerateInstanceNames(context, handler);
}

void QBX_FCALCardInDriveCageProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
                                                     const CIMInstance&, const Boolean,
                                                     const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support modifyInstance.");
}

void QBX_FCALCardInDriveCageProvider::createInstance(const OperationContext&, const CIMObjectPath&,
                                                     const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support createInstance.");
}

void QBX_FCALCardInDriveCageProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
                                                     ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support deleteInstance.");
}

// ---- The association ----

CIMObjectPath QBX_FCALCardInDriveCageProvider::_buildAssociationName(const CIMObjectPath& cagePath,
                                                                     const CIMObjectPath& cardPath)
{
    return QBX_Common::buildAssocPath(_assoClassName, GROUP, PART, cagePath, cardPath, _hostAddr,
                                      nameSpace().getString());
}

CIMInstance QBX_FCALCardInDriveCageProvider::_buildAssociationInstance(
    const CIMObjectPath& cagePath, const CIMObjectPath& cardPath, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    CIMClass cimClass =
        elementClass(_cimom, _assoClassName, includeQualifiers, includeClassOrigin, propertyList);
    return QBX_Common::buildAssocInstance(_assoClassName, GROUP, PART, cagePath, cardPath, cimClass,
                                          _hostAddr, nameSpace().getString());
}

template <class Visit>
void QBX_FCALCardInDriveCageProvider::_pairUp(const CIMObjectPath& objectName,
                                              const Array<CIMObjectPath>& related, Visit&& visit)
{
    pairWithCage(objectName, related, _fcalClassNames, _cageClassNames, visit);
}

Boolean QBX_FCALCardInDriveCageProvider::_invalidParms(const CIMObjectPath& objectName, String role,
                                                       String resultRole, CIMName resultClass,
                                                       String operationName)
{
    AssociationScreen screen = {{GROUP, _cageClassNames},
                                {PART, _fcalClassNames},
                                names({"CIM_PackageInChassis", "QBX_InterfaceCardInDriveCage"}),
                                names({"CIM_Chassis", "CIM_PhysicalPackage"})};
    screen.associatedClasses.appendArray(_cageClassNames);
    screen.associatedClasses.appendArray(_fcalClassNames);
    return isScreenedOut(screen, objectName, role, resultRole, resultClass, operationName);
}

Array<CIMInstance> QBX_FCALCardInDriveCageProvider::_getInstances(
    Boolean includeQualifiers, Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    trace(TRACES.getInstances.entry);
    Array<CIMInstance> instances;
    CardsInCages(api_getFCALsNoMfg_Cached, _cimom, _hostAddr)
        .forEachPair([&](const CIMObjectPath& cage, const CIMObjectPath& element) {
            instances.append(_buildAssociationInstance(cage, element, includeQualifiers,
                                                       includeClassOrigin, propertyList));
        });
    trace(TRACES.getInstances.exit);
    return instances;
}

Array<CIMObjectPath> QBX_FCALCardInDriveCageProvider::_getInstanceNames()
{
    return _frame().instanceNames();
}

Array<CIMInstance> QBX_FCALCardInDriveCageProvider::_getRelatedInstances(
    const CIMObjectPath& objectName, const OperationContext& context, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    traceClass(TRACES.getRelatedInstances.entry, objectName);
    const String tag = QBX_Common::getStringProperty(objectName, QBX_KEY_TAG);
    if (tag.size() == 0) throw CIMInvalidParameterException(ClassName + " Tag key not found.");

    const Array<CIMInstance> related =
        CardsInCages(api_getFCALsNoMfg_Cached, _cimom, _hostAddr)
            .otherEnd(objectName.getClassName(), tag, _fcalClassNames, _cageClassNames, context,
                      includeQualifiers, includeClassOrigin, propertyList);
    trace(TRACES.getRelatedInstances.exit);
    return related;
}

Array<CIMObjectPath> QBX_FCALCardInDriveCageProvider::_getRelatedInstanceNames(
    const CIMObjectPath& objectName, const OperationContext& context)
{
    return _frame().relatedInstanceNames(objectName, context);
}

}  // namespace Pegasus
