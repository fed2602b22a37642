#include "QBX_SensorInDriveCageProvider.h"

#include "QBX_CageSensorProvider.h"
#include "QBX_DriveCageProvider.h"

namespace Pegasus
{

using namespace QBX_Frame;
using namespace QBX_Records;

static const String ClassName("QBX_SensorInDriveCageProvider");

namespace
{

// One line of log each; the blanks, the stray signs and the missing newlines are part of the texts.
constexpr AssociationTraces TRACES = {
    // initialize
    {"--> QBX_SensorInDriveCageProvider::initialize(cimom)\n)",
     "<-- QBX_SensorInDriveCageProvider::initialize(cimom)\n)"},
    // enumerateInstanceNames
    {"--> QBX_SensorInDriveCageProvider::enumerateInstanceNames() \n",
     "<-- QBX_SensorInDriveCageProvider::enumerateInstanceNames() \n"},
    // enumerateInstances
    {"-->QBX_SensorInDriveCageProvider::enumerateInstances()\n",
     "<-- QBX_SensorInDriveCageProvider::enumerateInstances() \n"},
    // getInstance
    {"-->QBX_SensorInDriveCageProvider::getInstance() \n",
     "<-- QBX_SensorInDriveCageProvider::getInstance()\n\n"},
    // getInstance with another number of keys than two
    "QBX_SensorInDriveCageProvider::getInstance(): Invalid number of keys (%d)\n",
    // referenceNames
    {{"-->QBX_SensorInDriveCageProvider::referenceNames\n",
      "<--QBX_SensorInDriveCageProvider::referenceNames\n"},
     "QBX_SensorInDriveCageProvider::references: objectName = %s; resultClass = %s",
     "QBX_SensorInDriveCageProvider::referenceNames: invalid params: role = %s, resultClass = %s \n"},
    // references
    {{"-->QBX_SensorInDriveCageProvider::references\n",
      "<--QBX_SensorInDriveCageProvider::references\n"},
     "QBX_SensorInDriveCageProvider::references: objectName = %s; resultClass = %s \n",
     "QBX_SensorInDriveCageProvider::references: invalid params: role = %s, resultClass = %s \n"},
    // associatorNames
    {{"-->QBX_SensorInDriveCageProvider::associatorNames\n",
      "<--QBX_SensorInDriveCageProvider::associatorNames\n"},
     "QBX_SensorInDriveCageProvider::associatorNames: objectName = %s; associationClass = %s; resultClass = %s \n",
     "QBX_SensorInDriveCageProvider::associatorNames: invalid params: associationClass = %s, resultClass = %s\n"},
    // associators
    {{"-->QBX_SensorInDriveCageProvider::associators\n",
      "<--QBX_SensorInDriveCageProvider::associators\n"},
     "QBX_SensorInDriveCageProvider::associators: objectName = %s; associationClass = %s; resultClass = %s \n",
     "QBX_SensorInDriveCageProvider::associators: invalid params: resultClass = %s \n"},
    // _getInstances
    {"-->QBX_SensorInDriveCageProvider::_getInstances\n",
     "<--QBX_SensorInDriveCageProvider::_getInstances\n"},
    // _getInstanceNames
    {"-->QBX_SensorInDriveCageProvider::_getInstanceNames\n",
     "<--QBX_SensorInDriveCageProvider::_getInstanceNames\n"},
    // _getRelatedInstances
    {"-->QBX_SensorInDriveCageProvider::_getRelatedInstance: className = %s \n",
     "<--QBX_SensorInDriveCageProvider::_getRelatedInstance\n"},
    // _getRelatedInstanceNames
    {"-->QBX_SensorInDriveCageProvider::_getRelatedInstanceName: className = %s \n",
     "<--QBX_SensorInDriveCageProvider::_getRelatedInstanceName\n"},
};

const String SENSOR_ROLE("Antecedent");
const String CAGE_ROLE("Dependent");

String sensorID(const api_Cage_t& cage, unsigned int index)
{
    return QBX_CageSensorProvider::makeDeviceID(text(cage.deviceID), index);
}

}  // namespace

QBX_SensorInDriveCageProvider::~QBX_SensorInDriveCageProvider() = default;

QBX_SensorInDriveCageProvider::Frame QBX_SensorInDriveCageProvider::_frame(const SourceLocation& at)
{
    return Frame(*this, ClassName, TRACES, at);
}

void QBX_SensorInDriveCageProvider::initialize(CIMOMHandle& cimom)
{
    trace(TRACES.initialize.entry);
    _cimom = cimom;
    _assoClassName = CIMName("QBX_SensorInDriveCage");
    _sensClassName = CIMName(QBX_CAGE_SENSOR);
    _cageClassName = CIMName(QBX_DRIVE_CAGE_DC2);
    _systemName = QBX_Common::getSystemName(cimom);
    _hostAddr = QBX_Common::getSystemHostName(cimom);
    cimom.disallowProviderUnload();
    trace(TRACES.initialize.exit);
}

void QBX_SensorInDriveCageProvider::terminate()
{
    delete this;
}

// ---- Traversals ----

void QBX_SensorInDriveCageProvider::associators(
    const OperationContext& context, const CIMObjectPath& objectName,
    const CIMName& associationClass, const CIMName& resultClass, const String& role,
    const String& resultRole, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    _frame().associators(context, objectName, associationClass, resultClass, role, resultRole,
                         includeQualifiers, includeClassOrigin, propertyList, handler);
}

void QBX_SensorInDriveCageProvider::associatorNames(const OperationContext& context,
                                                    const CIMObjectPath& objectName,
                                                    const CIMName& associationClass,
                                                    const CIMName& resultClass, const String& role,
                                                    const String& resultRole,
                                                    ObjectPathResponseHandler& handler)
{
    _frame().associatorNames(context, objectName, associationClass, resultClass, role, resultRole,
                             handler);
}

void QBX_SensorInDriveCageProvider::references(
    const OperationContext& context, const CIMObjectPath& objectName, const CIMName& resultClass,
    const String& role, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    _frame().references(context, objectName, resultClass, role, includeQualifiers,
                        includeClassOrigin, propertyList, handler);
}

void QBX_SensorInDriveCageProvider::referenceNames(const OperationContext& context,
                                                   const CIMObjectPath& objectName,
                                                   const CIMName& resultClass, const String& role,
                                                   ObjectPathResponseHandler& handler)
{
    _frame().referenceNames(context, objectName, resultClass, role, handler);
}

// ---- Instances ----

void QBX_SensorInDriveCageProvider::getInstance(const OperationContext& context,
                                                const CIMObjectPath& instanceReference,
                                                const Boolean includeQualifiers,
                                                const Boolean includeClassOrigin,
                                                const CIMPropertyList& propertyList,
                                                InstanceResponseHandler& handler)
{
    _frame().getInstance(context, instanceReference, includeQualifiers, includeClassOrigin,
                         propertyList, handler);
}

void QBX_SensorInDriveCageProvider::enumerateInstances(const OperationContext& context,
                                                       const CIMObjectPath&,
                                                       const Boolean includeQualifiers,
                                                       const Boolean includeClassOrigin,
                                                       const CIMPropertyList& propertyList,
                                                       InstanceResponseHandler& handler)
{
    _frame().enumerateInstances(context, includeQualifiers, includeClassOrigin, propertyList,
                                handler);
}

void QBX_SensorInDriveCageProvider::enumerateInstanceNames(const OperationContext& context,
                                                           const CIMObjectPath&,
                                                           ObjectPathResponseHandler& handler)
{
    _frame().enumerateInstanceNames(context, handler);
}

void QBX_SensorInDriveCageProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
                                                   const CIMInstance&, const Boolean,
                                                   const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support modifyInstance.");
}

void QBX_SensorInDriveCageProvider::createInstance(const OperationContext&, const CIMObjectPath&,
                                                   const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support createInstance.");
}

void QBX_SensorInDriveCageProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
                                                   ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support deleteInstance.");
}

// ---- The association ----

CIMObjectPath QBX_SensorInDriveCageProvider::_buildAssociationName(const CIMObjectPath& cagePath,
                                                                   const CIMObjectPath& sensorPath)
{
    return QBX_Common::buildAssocPath(_assoClassName, SENSOR_ROLE, CAGE_ROLE, sensorPath, cagePath,
                                      _hostAddr, nameSpace().getString());
}

CIMInstance QBX_SensorInDriveCageProvider::_buildAssociationInstance(
    const CIMObjectPath& cagePath, const CIMObjectPath& sensorPath, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    CIMClass cimClass =
        elementClass(_cimom, _assoClassName, includeQualifiers, includeClassOrigin, propertyList);
    return QBX_Common::buildAssocInstance(_assoClassName, SENSOR_ROLE, CAGE_ROLE, sensorPath,
                                          cagePath, cimClass, _hostAddr, nameSpace().getString());
}

template <class Visit>
void QBX_SensorInDriveCageProvider::_pairUp(const CIMObjectPath& objectName,
                                            const Array<CIMObjectPath>& related, Visit&& visit)
{
    pairWithCage(objectName, related, Array<CIMName>(1, _sensClassName),
                 Array<CIMName>(1, _cageClassName), visit);
}

Boolean QBX_SensorInDriveCageProvider::_invalidParms(const CIMObjectPath& objectName, String role,
                                                     String resultRole, CIMName resultClass,
                                                     String operationName)
{
    const AssociationScreen screen = {{SENSOR_ROLE, Array<CIMName>(1, _sensClassName)},
                                      {CAGE_ROLE, Array<CIMName>(1, _cageClassName)},
                                      names({"CIM_PackageDependency", "QBX_SensorInDriveCage"}),
                                      names({"CIM_Sensor", "QBX_CageSensor", "CIM_Chassis",
                                             "QBX_DriveCage", "QBX_DriveCageDC2Family"})};
    return isScreenedOut(screen, objectName, role, resultRole, resultClass, operationName);
}

Array<CIMInstance> QBX_SensorInDriveCageProvider::_getInstances(Boolean includeQualifiers,
                                                                Boolean includeClassOrigin,
                                                                const CIMPropertyList& propertyList)
{
    trace(TRACES.getInstances.entry);
    Array<CIMInstance> instances;
    for (const api_Cage_t& cage : CageList(api_getCages_Cached)) {
        if (!carriesSensors(cage.type)) continue;
        const CIMObjectPath cagePath = QBX_DriveCageProvider::buildObjectPath(
            QBX_DriveCageProvider::_getCIMName(cage.type), _hostAddr, text(cage.deviceID));
        forEachSensor(cage, [&](const api_sensor_t&, unsigned int index) {
            const CIMObjectPath sensorPath = QBX_CageSensorProvider::buildObjectPath(
                _hostAddr, sensorID(cage, index), _systemName);
            instances.append(_buildAssociationInstance(cagePath, sensorPath, includeQualifiers,
                                                       includeClassOrigin, propertyList));
            return true;
        });
    }
    trace(TRACES.getInstances.exit);
    return instances;
}

Array<CIMObjectPath> QBX_SensorInDriveCageProvider::_getInstanceNames()
{
    return _frame().instanceNames();
}

Array<CIMInstance> QBX_SensorInDriveCageProvider::_getRelatedInstances(
    const CIMObjectPath& objectName, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    traceClass(TRACES.getRelatedInstances.entry, objectName);
    const bool isCage = objectName.getClassName() == _cageClassName;
    const String key =
        QBX_Common::getStringProperty(objectName, isCage ? QBX_KEY_TAG : QBX_KEY_DEVICE_ID);
    Array<CIMInstance> related;
    if (key.size() == 0) return related;

    {
        const CageList cages(api_getCages_Cached);
        if (isCage) {
            related = _sensorsOf(cages, key, includeQualifiers, includeClassOrigin, propertyList);
        } else if (objectName.getClassName() == _sensClassName) {
            related = _cageOf(cages, key, includeQualifiers, includeClassOrigin, propertyList);
        }
    }  // the records are freed before the last line is written
    trace(TRACES.getRelatedInstances.exit);
    return related;
}

Array<CIMInstance> QBX_SensorInDriveCageProvider::_sensorsOf(const QBX_Records::CageList& cages,
                                                             const String& tag,
                                                             Boolean includeQualifiers,
                                                             Boolean includeClassOrigin,
                                                             const CIMPropertyList& propertyList)
{
    Array<CIMInstance> sensors;
    for (const api_Cage_t& cage : cages) {
        if (!carriesSensors(cage.type) || text(cage.deviceID) != tag) continue;
        const CIMClass cimClass = elementClass(_cimom, _sensClassName, includeQualifiers,
                                               includeClassOrigin, propertyList);
        forEachSensor(cage, [&](const api_sensor_t& sensor, unsigned int index) {
            sensors.append(QBX_CageSensorProvider::buildInstance(
                cimClass, sensor, _hostAddr, sensorID(cage, index), _systemName));
            return true;
        });
        break;
    }
    return sensors;
}

Array<CIMInstance> QBX_SensorInDriveCageProvider::_cageOf(const QBX_Records::CageList& cages,
                                                          const String& deviceID,
                                                          Boolean includeQualifiers,
                                                          Boolean includeClassOrigin,
                                                          const CIMPropertyList& propertyList)
{
    Array<CIMInstance> found;
    for (const api_Cage_t& cage : cages) {
        if (!carriesSensors(cage.type)) continue;
        const bool hasSensor = !forEachSensor(cage, [&](const api_sensor_t&, unsigned int index) {
            return sensorID(cage, index) != deviceID;
        });
        if (!hasSensor) continue;
        const CIMClass cimClass = QBX_DriveCageProvider::_getCIMClass(
            _cimom, cage.type, includeQualifiers, includeClassOrigin, propertyList);
        found.append(QBX_DriveCageProvider::buildInstance(cimClass, cage, _hostAddr));
        break;
    }
    return found;
}

Array<CIMObjectPath> QBX_SensorInDriveCageProvider::_getRelatedInstanceNames(
    const CIMObjectPath& objectName)
{
    return _frame().relatedInstanceNames(objectName);
}

}  // namespace Pegasus
