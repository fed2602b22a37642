#include "QBX_SysCageContainerProvider.h"

#include "QBX_DriveCageProvider.h"

namespace Pegasus
{

using namespace QBX_Frame;
using namespace QBX_Records;

static const String ClassName("QBX_SysCageContainerProvider");

namespace
{

// One line of log each; the blanks, the stray signs and the missing newlines are part of the texts.
constexpr AssociationTraces TRACES = {
    // initialize
    {"--> QBX_SysCageContainerProvider::initialize(cimom)\n)",
     "<-- QBX_SysCageContainerProvider::initialize(cimom)\n)"},
    // enumerateInstanceNames
    {"-->QBX_SysCageContainerProvider::enumerateInstanceNames()\n",
     "<--QBX_SysCageContainerProvider::enumerateInstanceNames()\n"},
    // enumerateInstances
    {"--> QBX_SysCageContainerProvider::enumerateInstances() \n",
     "<-- QBX_SysCageContainerProvider::enumerateInstances() \n"},
    // getInstance
    {"-->QBX_SysCageContainerProvider::getInstance() \n",
     "<-- QBX_SysCageContainerProvider::getInstance()\n"},
    // getInstance with another number of keys than two
    "QBX_SysCageContainerProvider::getInstance(): Invalid number of keys (%d)\n",
    // referenceNames
    {{"-->QBX_SysCageContainerProvider::referenceNames\n",
      "<--QBX_SysCageContainerProvider::referenceNames\n"},
     "QBX_SysCageContainerProvider::references: objectName = %s; resultClass = %s",
     "QBX_SysCageContainerProvider::referenceNames: invalid params: role = %s, resultClass = %s \n"},
    // references
    {{"-->QBX_SysCageContainerProvider::references\n",
      "<--QBX_SysCageContainerProvider::references\n"},
     "QBX_SysCageContainerProvider::references: objectName = %s; resultClass = %s \n",
     "QBX_SysCageContainerProvider::references: invalid params: role = %s, resultClass = %s \n"},
    // associatorNames
    {{"-->QBX_SysCageContainerProvider::associatorNames\n",
      "<--QBX_SysCageContainerProvider::associatorNames\n"},
     "QBX_SysCageContainerProvider::associatorNames: objectName = %s; associationClass = %s; resultClass = %s \n",
     "QBX_SysCageContainerProvider::associatorNames: invalid params: associationClass=%s, resultClass=%s\n"},
    // associators
    {{"-->QBX_SysCageContainerProvider::associators\n",
      "<--QBX_SysCageContainerProvider::associators\n"},
     "QBX_SysCageContainerProvider::associators: objectName = %s; associationClass = %s; resultClass = %s \n",
     "QBX_SysCageContainerProvider::associators: invalid params: resultClass = %s \n"},
    // _getInstances
    {"-->QBX_SysCageContainerProvider::_getInstances\n",
     "<--QBX_SysCageContainerProvider::_getInstances\n"},
    // _getInstanceNames
    {"-->QBX_SysCageContainerProvider::_getInstanceNames\n",
     "<--QBX_SysCageContainerProvider::_getInstanceNames\n"},
    // _getRelatedInstances
    {"-->QBX_SysCageContainerProvider::_getRelatedInstances: className = %s \n",
     "<--QBX_SysCageContainerProvider::_getRelatedInstances\n"},
    // _getRelatedInstanceNames
    {"-->QBX_SysCageContainerProvider::_getRelatedInstanceNames: className = %s \n",
     "<--QBX_SysCageContainerProvider::_getRelatedInstanceNames\n"},
};

const String GROUP("GroupComponent");
const String PART("PartComponent");

CIMObjectPath pathOf(const api_Cage_t& cage, const String& host)
{
    return QBX_DriveCageProvider::buildObjectPath(QBX_DriveCageProvider::_getCIMName(cage.type),
                                                  host, text(cage.deviceID));
}

}  // namespace

QBX_SysCageContainerProvider::~QBX_SysCageContainerProvider() = default;

QBX_SysCageContainerProvider::Frame QBX_SysCageContainerProvider::_frame(const SourceLocation& at)
{
    return Frame(*this, ClassName, TRACES, at);
}

void QBX_SysCageContainerProvider::initialize(CIMOMHandle& cimom)
{
    trace(TRACES.initialize.entry);
    _cimom = cimom;
    _assoClassName = CIMName("QBX_SysCageContainer");
    _sysPkgClassName = CIMName(QBX_SYSTEM_PACKAGE);
    _cageClassNames = names(QBX_DRIVE_CAGES);
    _systemName = QBX_Common::getSystemName(cimom);
    _sysPkgObjectPath = QBX_Common::getSystemPkgObjectPath(_cimom);
    _hostAddr = QBX_Common::getSystemHostName(cimom);
    cimom.disallowProviderUnload();
    trace(TRACES.initialize.exit);
}

void QBX_SysCageContainerProvider::terminate()
{
    delete this;
}

// ---- Traversals ----

void QBX_SysCageContainerProvider::associators(
    const OperationContext& context, const CIMObjectPath& objectName,
    const CIMName& associationClass, const CIMName& resultClass, const String& role,
    const String& resultRole, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    _frame().associators(context, objectName, associationClass, resultClass, role, resultRole,
                         includeQualifiers, includeClassOrigin, propertyList, handler);
}

void QBX_SysCageContainerProvider::associatorNames(const OperationContext& context,
                                                   const CIMObjectPath& objectName,
                                                   const CIMName& associationClass,
                                                   const CIMName& resultClass, const String& role,
                                                   const String& resultRole,
                                                   ObjectPathResponseHandler& handler)
{
    _frame().associatorNames(context, objectName, associationClass, resultClass, role, resultRole,
                             handler);
}

void QBX_SysCageContainerProvider::references(
    const OperationContext& context, const CIMObjectPath& objectName, const CIMName& resultClass,
    const String& role, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    _frame().references(context, objectName, resultClass, role, includeQualifiers,
                        includeClassOrigin, propertyList, handler);
}

void QBX_SysCageContainerProvider::referenceNames(const OperationContext& context,
                                                  const CIMObjectPath& objectName,
                                                  const CIMName& resultClass, const String& role,
                                                  ObjectPathResponseHandler& handler)
{
    _frame().referenceNames(context, objectName, resultClass, role, handler);
}

// ---- Instances ----

void QBX_SysCageContainerProvider::getInstance(const OperationContext& context,
                                               const CIMObjectPath& instanceReference,
                                               const Boolean includeQualifiers,
                                               const Boolean includeClassOrigin,
                                               const CIMPropertyList& propertyList,
                                               InstanceResponseHandler& handler)
{
    _frame().getInstance(context, instanceReference, includeQualifiers, includeClassOrigin,
                         propertyList, handler);
}

void QBX_SysCageContainerProvider::enumerateInstances(const OperationContext& context,
                                                      const CIMObjectPath&,
                                                      const Boolean includeQualifiers,
                                                      const Boolean includeClassOrigin,
                                                      const CIMPropertyList& propertyList,
                                                      InstanceResponseHandler& handler)
{
    _frame().enumerateInstances(context, includeQualifiers, includeClassOrigin, propertyList,
                                handler);
}

void QBX_SysCageContainerProvider::enumerateInstanceNames(const OperationContext& context,
                                                          const CIMObjectPath&,
                                                          ObjectPathResponseHandler& handler)
{
    _frame().enumerateInstanceNames(context, handler);
}

void QBX_SysCageContainerProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
                                                  const CIMInstance&, const Boolean,
                                                  const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support modifyInstance.");
}

void QBX_SysCageContainerProvider::createInstance(const OperationContext&, const CIMObjectPath&,
                                                  const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support createInstance.");
}

void QBX_SysCageContainerProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
                                                  ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support deleteInstance.");
}

// ---- The association ----

CIMObjectPath QBX_SysCageContainerProvider::_buildAssociationName(const CIMObjectPath& cagePath)
{
    return QBX_Common::buildAssocPath(_assoClassName, GROUP, PART, _sysPkgObjectPath, cagePath,
                                      _hostAddr, nameSpace().getString());
}

CIMInstance QBX_SysCageContainerProvider::_buildAssociationInstance(
    const CIMObjectPath& cagePath, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    CIMClass cimClass =
        elementClass(_cimom, _assoClassName, includeQualifiers, includeClassOrigin, propertyList);
    return QBX_Common::buildAssocInstance(_assoClassName, GROUP, PART, _sysPkgObjectPath, cagePath,
                                          cimClass, _hostAddr, nameSpace().getString());
}

template <class Visit>
void QBX_SysCageContainerProvider::_pairUp(const CIMObjectPath& objectName,
                                           const Array<CIMObjectPath>& related, Visit&& visit)
{
    // A cage always has its one association, whatever the object manager knows of packages.
    if (QBX_Common::isPartOfArray(objectName.getClassName(), _cageClassNames)) {
        visit(objectName);
    } else if (objectName.getClassName() == _sysPkgClassName) {
        for (Uint32 i = 0; i < related.size(); ++i)
            visit(related[i]);
    }
}

Boolean QBX_SysCageContainerProvider::_invalidParms(const CIMObjectPath& objectName, String role,
                                                    String resultRole, CIMName resultClass,
                                                    String operationName)
{
    AssociationScreen screen = {{GROUP, Array<CIMName>(1, _sysPkgClassName)},
                                {PART, _cageClassNames},
                                names({"CIM_Container", "QBX_SysCageContainer"}),
                                names({"CIM_PhysicalPackage", "QBX_SystemPackage", "CIM_Chassis"})};
    screen.associatedClasses.appendArray(_cageClassNames);
    return isScreenedOut(screen, objectName, role, resultRole, resultClass, operationName);
}

Array<CIMInstance> QBX_SysCageContainerProvider::_getInstances(Boolean includeQualifiers,
                                                               Boolean includeClassOrigin,
                                                               const CIMPropertyList& propertyList)
{
    trace(TRACES.getInstances.entry);
    Array<CIMInstance> instances;
    for (const api_Cage_t& cage : CageList(api_getCagesNoMfg_Cached)) {
        instances.append(_buildAssociationInstance(pathOf(cage, _hostAddr), includeQualifiers,
                                                   includeClassOrigin, propertyList));
    }
    trace(TRACES.getInstances.exit);
    return instances;
}

Array<CIMObjectPath> QBX_SysCageContainerProvider::_getInstanceNames()
{
    return _frame().instanceNames();
}

Array<CIMInstance> QBX_SysCageContainerProvider::_getRelatedInstances(
    const CIMObjectPath& objectName, const OperationContext& context, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    traceClass(TRACES.getRelatedInstances.entry, objectName);
    Array<CIMInstance> related;
    if (QBX_Common::isPartOfArray(objectName.getClassName(), _cageClassNames)) {
        related = _cimom.enumerateInstances(context, nameSpace(), _sysPkgClassName, false, false,
                                            includeQualifiers, includeClassOrigin, propertyList);
    } else if (objectName.getClassName() == _sysPkgClassName) {
        // The one list of the associations that is read with manufacturing data.
        for (const api_Cage_t& cage : CageList(api_getCages_Cached)) {
            const CIMClass cimClass = QBX_DriveCageProvider::_getCIMClass(
                _cimom, cage.type, includeQualifiers, includeClassOrigin, propertyList);
            related.append(QBX_DriveCageProvider::buildInstance(cimClass, cage, _hostAddr));
        }
    }
    trace(TRACES.getRelatedInstances.exit);
    return related;
}

Array<CIMObjectPath> QBX_SysCageContainerProvider::_getRelatedInstanceNames(
    const CIMObjectPath& objectName, const OperationContext& context)
{
    traceClass(TRACES.getRelatedInstanceNames.entry, objectName);
    Array<CIMObjectPath> related;
    if (QBX_Common::isPartOfArray(objectName.getClassName(), _cageClassNames)) {
        related = _cimom.enumerateInstanceNames(context, nameSpace(), _sysPkgClassName);
    } else if (objectName.getClassName() == _sysPkgClassName) {
        for (const api_Cage_t& cage : CageList(api_getCagesNoMfg_Cached))
            related.append(pathOf(cage, _hostAddr));
    }
    trace(TRACES.getRelatedInstanceNames.exit);
    return related;
}

}  // namespace Pegasus
