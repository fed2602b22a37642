#include "QBX_CageSensorProvider.h"

#include "QBX_Common.h"
#include "QBX_Frame.h"
#include "QBX_Properties.h"
#include "QBX_Records.h"

#include <string>

namespace Pegasus
{

using namespace QBX_Frame;
using namespace QBX_Records;

static const String ClassName("QBX_CageSensorProvider");

namespace
{

const Elements ELEMENTS = {ClassName, names({QBX_CAGE_SENSOR}), QBX_KEY_DEVICE_ID};

}  // namespace

QBX_CageSensorProvider::QBX_CageSensorProvider(const CIMObjectPath&)
{
    throw CIMNotSupportedException(ClassName + " does not support constructor with object path.");
}

QBX_CageSensorProvider::~QBX_CageSensorProvider() = default;

void QBX_CageSensorProvider::initialize(CIMOMHandle& cimom)
{
    log_message(QBX_LOG_TRACE, "--> QBX_CageSensorProvider::initialize()\n");
    _cimom = cimom;
    _systemName = QBX_Common::getSystemName(cimom);
    _hostAddr = QBX_Common::getSystemHostName(cimom);
    cimom.disallowProviderUnload();
    log_message(QBX_LOG_TRACE, "<--QBX_CageSensorProvider::initialize()\n");
}

void QBX_CageSensorProvider::terminate()
{
    delete this;
}

// ---- Instances ----

void QBX_CageSensorProvider::getInstance(const OperationContext& context, const CIMObjectPath& ref,
                                         const Boolean includeQualifiers,
                                         const Boolean includeClassOrigin,
                                         const CIMPropertyList& propertyList,
                                         InstanceResponseHandler& handler)
{
    getElement(
        {"--> QBX_CageSensorProvider::getInstance\n", "<-- QBX_CageSensorProvider::getInstance\n"},
        ELEMENTS, context, ref, handler,
        [&] { return _build_instances(includeQualifiers, includeClassOrigin, propertyList); });
}

void QBX_CageSensorProvider::enumerateInstances(const OperationContext& context,
                                                const CIMObjectPath& ref,
                                                const Boolean includeQualifiers,
                                                const Boolean includeClassOrigin,
                                                const CIMPropertyList& propertyList,
                                                InstanceResponseHandler& handler)
{
    enumerateElements(
        {"--> QBX_CageSensorProvider::enumerateInstances\n",
         "<-- QBX_CageSensorProvider::enumerateInstances\n"},
        ELEMENTS, context, ref, handler,
        [&] { return _build_instances(includeQualifiers, includeClassOrigin, propertyList); });
}

void QBX_CageSensorProvider::enumerateInstanceNames(const OperationContext& context,
                                                    const CIMObjectPath& ref,
                                                    ObjectPathResponseHandler& handler)
{
    enumerateElements({"--> QBX_CageSensorProvider::enumerateInstanceNames\n",
                       "<-- QBX_CageSensorProvider::enumerateInstanceNames\n"},
                      ELEMENTS, context, ref, handler, [&] { return _build_ref(); });
}

void QBX_CageSensorProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
                                            const CIMInstance&, const Boolean,
                                            const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support modifyInstance.");
}

void QBX_CageSensorProvider::createInstance(const OperationContext&, const CIMObjectPath&,
                                            const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support createInstance.");
}

void QBX_CageSensorProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
                                            ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support deleteInstance.");
}

// ---- From records to CIM ----

String QBX_CageSensorProvider::makeDeviceID(const String& cageName, unsigned int index)
{
    static const String infix("-sensor");
    return String(cageName).append(infix).append(std::to_string(index).c_str());
}

CIMObjectPath QBX_CageSensorProvider::buildObjectPath(const String& host, const String& deviceID,
                                                      const String& systemName)
{
    const CIMName& className = ELEMENTS.classes[0];
    static const String systemClass(QBX_STORAGE_SYSTEM);
    Array<CIMKeyBinding> keys;
    const auto add = [&keys](const CIMName& name, const String& value) {
        keys.append(CIMKeyBinding(name, value, CIMKeyBinding::STRING));
    };
    // In the order in which a path keeps them.
    add(QBX_Property::CreationClassName, className.getString());
    add(QBX_Property::DeviceID, deviceID);
    add(QBX_Property::SystemCreationClassName, systemClass);
    add(QBX_Property::SystemName, systemName);
    return CIMObjectPath(host, nameSpace(), className, keys);
}

namespace
{

/// The unit's byte as a text of one character, by its Latin-1 code; empty for 0, U+FFFD for a
/// control character that no reply could carry.
String unitText(uint8_t unit)
{
    if (unit == 0) return String();
    const Char16 character(isForbidden(unit) ? 0xFFFD : unit);
    return String(&character, 1);
}

}  // namespace

CIMInstance QBX_CageSensorProvider::buildInstance(CIMClass cimClass, const api_sensor_t& sensor,
                                                  const String& host, const String& deviceID,
                                                  const String& systemName)
{
    log_message(QBX_LOG_TRACE, "-->QBX_CageSensorProvider::buildInstance()\n");
    CIMInstance instance = QBX_Common::buildInstanceSkeleton(cimClass);
    const auto set = [&instance](const CIMName& name, const auto& value) {
        QBX_Common::setPropertyValue(instance, name, value);
    };

    // The property names the cage's class, the path's key of the same name the system's.
    set(QBX_Property::SystemCreationClassName, String(QBX_DRIVE_CAGE_DC2));
    set(QBX_Property::SystemName, systemName);
    set(QBX_Property::CreationClassName, String(QBX_CAGE_SENSOR));
    set(QBX_Property::DeviceID, deviceID);
    set(QBX_Property::SensorType, Uint16(1));
    set(QBX_Property::OtherSensorTypeDescription, text(sensor.name));
    set(QBX_Property::Position, Uint16(sensor.position));
    set(QBX_Property::BaseUnit, unitText(sensor.type));
    set(QBX_Property::CurrentReading, Uint16(sensor.reading));
    set(QBX_Property::LowLimit, Uint16(sensor.limit_low));
    set(QBX_Property::HighLimit, Uint16(sensor.limit_high));
    set(QBX_Property::State, Uint16(sensor.state));
    instance.setPath(buildObjectPath(host, deviceID, systemName));
    log_message(QBX_LOG_TRACE, "<--QBX_CageSensorProvider::buildInstance()\n");
    return instance;
}

namespace
{

/// Calls `produce(sensor, deviceID)` for each sensor of one list's cages.
template <class List, class Produce>
void walkList(const List& cages, Produce&& produce)
{
    for (const auto& cage : cages) {
        if (!carriesSensors(cageType(cage))) continue;
        const String name = cageName(cage);
        forEachSensor(cage, [&](const api_sensor_t& sensor, unsigned int index) {
            produce(sensor, QBX_CageSensorProvider::makeDeviceID(name, index));
            return true;
        });
    }
}

/// The sensors of the cages, then those of the cages' power supplies.
template <class Produce>
void walkSensors(Produce&& produce)
{
    walkList(CageList(api_getCages_Cached), produce);
    walkList(CagePSList(api_getCagesPS_Cached), produce);
}

}  // namespace

Array<CIMObjectPath> QBX_CageSensorProvider::_build_ref()
{
    log_message(QBX_LOG_TRACE, "--> QBX_CageSensorProvider::_build_ref\n");
    Array<CIMObjectPath> paths;
    walkSensors([&](const api_sensor_t&, const String& deviceID) {
        paths.append(buildObjectPath(_hostAddr, deviceID, _systemName));
    });
    log_message(QBX_LOG_TRACE, "<-- QBX_CageSensorProvider::_build_ref\n");
    return paths;
}

Array<CIMInstance> QBX_CageSensorProvider::_build_instances(bool includeQualifiers,
                                                            bool includeClassOrigin,
                                                            const CIMPropertyList& propertyList)
{
    log_message(QBX_LOG_TRACE, "--> QBX_CageSensorProvider::_build_instances\n");
    const CIMClass cimClass = elementClass(_cimom, CIMName(QBX_CAGE_SENSOR), includeQualifiers,
                                           includeClassOrigin, propertyList);
    Array<CIMInstance> instances;
    walkSensors([&](const api_sensor_t& sensor, const String& deviceID) {
        instances.append(buildInstance(cimClass, sensor, _hostAddr, deviceID, _systemName));
    });
    log_message(QBX_LOG_TRACE, "<-- QBX_CageSensorProvider::_build_instances\n");
    return instances;
}

}  // namespace Pegasus
