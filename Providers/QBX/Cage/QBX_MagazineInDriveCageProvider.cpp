#include "QBX_MagazineInDriveCageProvider.h"

#include "QBX_ElementInCage.h"
#include "QBX_MagazineProvider.h"

namespace Pegasus
{

using namespace QBX_Frame;
using namespace QBX_Records;

static const String ClassName("QBX_MagazineInDriveCageProvider");

namespace
{

// One line of log each; the blanks, the stray signs and the missing newlines are part of the texts.
constexpr AssociationTraces TRACES = {
    // initialize
    {"--> QBX_MagazineInDriveCageProvider::initialize(cimom)\n)",
     "<-- QBX_MagazineInDriveCageProvider::initialize(cimom)\n)"},
    // enumerateInstanceNames
    {"--> QBX_MagazineInDriveCageProvider::enumerateInstanceNames()\n",
     "<-- QBX_MagazineInDriveCageProvider::enumerateInstanceNames() \n"},
    // enumerateInstances
    {"--> QBX_MagazineInDriveCageProvider::enumerateInstances() \n",
     "<-- QBX_MagazineInDriveCageProvider::enumerateInstances() \n"},
    // getInstance
    {"-->QBX_MagazineInDriveCageProvider::getInstance() \n",
     "<-- QBX_MagazineInDriveCageProvider::getInstance()\n\n"},
    // getInstance with another number of keys than two
    "QBX_MagazineInDriveCageProvider::getInstance(): Invalid number of keys (%d)\n",
    // referenceNames
    {{"-->QBX_MagazineInDriveCageProvider::referenceNames\n",
      "<--QBX_MagazineInDriveCageProvider::referenceNames\n"},
     "QBX_MagazineInDriveCageProvider::references: objectName = %s; resultClass = %s",
     "QBX_MagazineInDriveCageProvider::referenceNames: invalid params: role = %s, resultClass = %s \n"},
    // references
    {{"-->QBX_MagazineInDriveCageProvider::references\n",
      "<--QBX_MagazineInDriveCageProvider::references\n"},
     "QBX_MagazineInDriveCageProvider::references: objectName = %s; resultClass = %s \n",
     "QBX_MagazineInDriveCageProvider::references: invalid params: role = %s, resultClass = %s \n"},
    // associatorNames
    {{"-->QBX_MagazineInDriveCageProvider::associatorNames\n",
      "<--QBX_MagazineInDriveCageProvider::associatorNames\n"},
     "QBX_MagazineInDriveCageProvider::associatorNames: objectName = %s; associationClass = %s; resultClass = %s \n",
     "QBX_MagazineInDriveCageProvider::associatorNames: invalid params: associationClass=%s, resultClass=%s\n"},
    // associators
    {{"-->QBX_MagazineInDriveCageProvider::associators\n",
      "<--QBX_MagazineInDriveCageProvider::associators\n"},
     "QBX_MagazineInDriveCageProvider::associators: objectName = %s; associationClass = %s; resultClass = %s \n",
     "QBX_MagazineInDriveCageProvider::associators: invalid params: resultClass = %s \n"},
    // _getInstances
    {"-->QBX_MagazineInDriveCageProvider::_getInstances\n",
     "<--QBX_MagazineInDriveCageProvider::_getInstances\n"},
    // _getInstanceNames
    {"-->QBX_MagazineInDriveCageProvider::_getInstanceNames\n",
     "<--QBX_MagazineInDriveCageProvider::_getInstanceNames\n"},
    // _getRelatedInstances
    {"-->QBX_MagazineInDriveCageProvider::_getRelatedInstances: className = %s \n",
     "<--QBX_MagazineInDriveCageProvider::_getRelatedInstances\n"},
    // _getRelatedInstanceNames
    {"-->QBX_MagazineInDriveCageProvider::_getRelatedInstanceNames: className = %s \n",
     "<--QBX_MagazineInDriveCageProvider::_getRelatedInstanceNames\n"},
};

const String GROUP("GroupComponent");
const String PART("PartComponent");

using MagazinesInCages = QBX_ElementInCage<QBX_MagazineProvider, MagazineList>;

}  // namespace

QBX_MagazineInDriveCageProvider::~QBX_MagazineInDriveCageProvider() = default;

QBX_MagazineInDriveCageProvider::Frame QBX_MagazineInDriveCageProvider::_frame(
    const SourceLocation& at)
{
    return Frame(*this, ClassName, TRACES, at);
}

void QBX_MagazineInDriveCageProvider::initialize(CIMOMHandle& cimom)
{
    trace(TRACES.initialize.entry);
    _cimom = cimom;
    _assoClassName = CIMName("QBX_MagazineInDriveCage");
    _cageClassNames = names(QBX_DRIVE_CAGES);
    _magClassNames = names({QBX_MAGAZINE});
    _hostAddr = QBX_Common::getSystemHostName(cimom);
    cimom.disallowProviderUnload();
    trace(TRACES.initialize.exit);
}

void QBX_MagazineInDriveCageProvider::terminate()
{
    delete this;
}

// ---- Traversals ----

void QBX_MagazineInDriveCageProvider::associators(
    const OperationContext& context, const CIMObjectPath& objectName,
    const CIMName& associationClass, const CIMName& resultClass, const String& role,
    const String& resultRole, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    _frame().associators(context, objectName, associationClass, resultClass, role, resultRole,
                         includeQualifiers, includeClassOrigin, propertyList, handler);
}

void QBX_MagazineInDriveCageProvider::associatorNames(const OperationContext& context,
                                                      const CIMObjectPath& objectName,
                                                      const CIMName& associationClass,
                                                      const CIMName& resultClass,
                                                      const String& role, const String& resultRole,
                                                      ObjectPathResponseHandler& handler)
{
    _frame().associatorNames(context, objectName, associationClass, resultClass, role, resultRole,
                             handler);
}

void QBX_MagazineInDriveCageProvider::references(
    const OperationContext& context, const CIMObjectPath& objectName, const CIMName& resultClass,
    const String& role, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    _frame().references(context, objectName, resultClass, role, includeQualifiers,
                        includeClassOrigin, propertyList, handler);
}

void QBX_MagazineInDriveCageProvider::referenceNames(const OperationContext& context,
                                                     const CIMObjectPath& objectName,
                                                     const CIMName& resultClass, const String& role,
                                                     ObjectPathResponseHandler& handler)
{
    _frame().referenceNames(context, objectName, resultClass, role, handler);
}

// ---- Instances ----

void QBX_MagazineInDriveCageProvider::getInstance(const OperationContext& context,
                                                  const CIMObjectPath& instanceReference,
                                                  const Boolean includeQualifiers,
                                                  const Boolean includeClassOrigin,
                                                  const CIMPropertyList& propertyList,
                                                  InstanceResponseHandler& handler)
{
    _frame().getInstance(context, instanceReference, includeQualifiers, includeClassOrigin,
                         propertyList, handler);
}

void QBX_MagazineInDriveCageProvider::enumerateInstances(const OperationContext& context,
                                                         const CIMObjectPath&,
                                                         const Boolean includeQualifiers,
                                                         const Boolean includeClassOrigin,
                                                         const CIMPropertyList& propertyList,
                                                         InstanceResponseHandler& handler)
{
    _frame().enumerateInstances(context, includeQualifiers, includeClassOrigin, propertyList,
                                handler);
}

void QBX_MagazineInDriveCageProvider::enumerateInstanceNames(const OperationContext& context,
                                                             const CIMObjectPath&,
                                                             ObjectPathResponseHandler& handler)
{
    _frame().enumerateInstanceNames(context, handler);
}

void QBX_MagazineInDriveCageProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
                                                     const CIMInstance&, const Boolean,
                                                     const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support modifyInstance.");
}

void QBX_MagazineInDriveCageProvider::createInstance(const OperationContext&, const CIMObjectPath&,
                                                     const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support createInstance.");
}

void QBX_MagazineInDriveCageProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
                                                     ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support deleteInstance.");
}

// ---- The association ----

CIMObjectPath QBX_MagazineInDriveCageProvider::_buildAssociationName(
    const CIMObjectPath& cagePath, const CIMObjectPath& magazinePath)
{
    return QBX_Common::buildAssocPath(_assoClassName, GROUP, PART, cagePath, magazinePath,
                                      _hostAddr, nameSpace().getString());
}

CIMInstance QBX_MagazineInDriveCageProvider::_buildAssociationInstance(
    const CIMObjectPath& cagePath, const CIMObjectPath& magazinePath, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    CIMClass cimClass =
        elementClass(_cimom, _assoClassName, includeQualifiers, includeClassOrigin, propertyList);
    return QBX_Common::buildAssocInstance(_assoClassName, GROUP, PART, cagePath, magazinePath,
                                          cimClass, _hostAddr, nameSpace().getString());
}

template <class Visit>
void QBX_MagazineInDriveCageProvider::_pairUp(const CIMObjectPath& objectName,
                                              const Array<CIMObjectPath>& related, Visit&& visit)
{
    pairWithCage(objectName, related, _magClassNames, _cageClassNames, visit);
}

Boolean QBX_MagazineInDriveCageProvider::_invalidParms(const CIMObjectPath& objectName, String role,
                                                       String resultRole, CIMName resultClass,
                                                       String operationName)
{
    AssociationScreen screen = {{GROUP, _cageClassNames},
                                {PART, _magClassNames},
                                names({"CIM_PackageInChassis", "QBX_MagazineInDriveCage"}),
                                names({"CIM_Chassis", "CIM_PhysicalPackage"})};
    screen.associatedClasses.appendArray(_cageClassNames);
    screen.associatedClasses.appendArray(_magClassNames);
    return isScreenedOut(screen, objectName, role, resultRole, resultClass, operationName);
}

Array<CIMInstance> QBX_MagazineInDriveCageProvider::_getInstances(
    Boolean includeQualifiers, Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    trace(TRACES.getInstances.entry);
    Array<CIMInstance> instances;
    MagazinesInCages(api_getMagazinesNoMfg_Cached, _cimom, _hostAddr)
        .forEachPair([&](const CIMObjectPath& cage, const CIMObjectPath& element) {
            instances.append(_buildAssociationInstance(cage, element, includeQualifiers,
                                                       includeClassOrigin, propertyList));
        });
    trace(TRACES.getInstances.exit);
    return instances;
}

Array<CIMObjectPath> QBX_MagazineInDriveCageProvider::_getInstanceNames()
{
    return _frame().instanceNames();
}

Array<CIMInstance> QBX_MagazineInDriveCageProvider::_getRelatedInstances(
    const CIMObjectPath& objectName, const OperationContext& context, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    traceClass(TRACES.getRelatedInstances.entry, objectName);
    const String tag = QBX_Common::getStringProperty(objectName, QBX_KEY_TAG);
    if (tag.size() == 0) throw CIMInvalidParameterException(ClassName + " Tag key not found.");

    const Array<CIMInstance> related =
        MagazinesInCages(api_getMagazinesNoMfg_Cached, _cimom, _hostAddr)
            .otherEnd(objectName.getClassName(), tag, _magClassNames, _cageClassNames, context,
                      includeQualifiers, includeClassOrigin, propertyList);
    trace(TRACES.getRelatedInstances.exit);
    return related;
}

Array<CIMObjectPath> QBX_MagazineInDriveCageProvider::_getRelatedInstanceNames(
    const CIMObjectPath& objectName, const OperationContext& context)
{
    return _frame().relatedInstanceNames(objectName, context);
}

}  // namespace Pegasus
