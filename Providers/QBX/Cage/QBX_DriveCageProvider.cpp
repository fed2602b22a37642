#include "QBX_DriveCageProvider.h"

#include "QBX_Common.h"
#include "QBX_Frame.h"
#include "QBX_Properties.h"
#include "QBX_Records.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace Pegasus
{

using namespace QBX_Frame;
using namespace QBX_Records;

static const String ClassName("QBX_DriveCageProvider");

namespace
{

const CIMName BASE(QBX_DRIVE_CAGE), DC1(QBX_DRIVE_CAGE_DC1), DC2(QBX_DRIVE_CAGE_DC2),
    DC3(QBX_DRIVE_CAGE_DC3);
const Elements ELEMENTS = {ClassName, names(QBX_DRIVE_CAGES), QBX_KEY_TAG};

/// Makes the handle that of the cage of that name, ready to be acted on. The handle is the array's
/// and must not move.
void findCage(const String& tag, const char* operation, api_CageHandle_t& cage)
{
    const CString name = tag.getCString();
    const int status = underSemaphore([&] { return api_findCageName_Cached(name, &cage); });
    if (status != 0) throw deviceNotFound(ClassName, operation, tag);
}

}  // namespace

QBX_DriveCageProvider::QBX_DriveCageProvider(const CIMObjectPath&)
{
    throw CIMNotSupportedException(ClassName + " does not support constructor with object path.");
}

QBX_DriveCageProvider::~QBX_DriveCageProvider() = default;

void QBX_DriveCageProvider::initialize(CIMOMHandle& cimom)
{
    _cimom = cimom;
    _hostAddr = QBX_Common::getSystemHostName(cimom);
    cimom.disallowProviderUnload();
    log_message(QBX_LOG_TRACE, "-->QBX_DriveCageProvider::initialize()\n");
}

void QBX_DriveCageProvider::terminate()
{
    delete this;
}

// ---- Instances ----

void QBX_DriveCageProvider::getInstance(const OperationContext& context, const CIMObjectPath& ref,
                                        const Boolean includeQualifiers,
                                        const Boolean includeClassOrigin,
                                        const CIMPropertyList& propertyList,
                                        InstanceResponseHandler& handler)
{
    getElement(
        {"--> QBX_DriveCageProvider::getInstance\n", "<-- QBX_DriveCageProvider::getInstance\n"},
        ELEMENTS, context, ref, handler, [&] {
            return _build_instances(ref.getClassName(), includeQualifiers, includeClassOrigin,
                                    propertyList);
        });
}

void QBX_DriveCageProvider::enumerateInstances(const OperationContext& context,
                                               const CIMObjectPath& ref,
                                               const Boolean includeQualifiers,
                                               const Boolean includeClassOrigin,
                                               const CIMPropertyList& propertyList,
                                               InstanceResponseHandler& handler)
{
    enumerateElements({"--> QBX_DriveCageProvider::enumerateInstances\n",
                       "<-- QBX_DriveCageProvider::enumerateInstances\n"},
                      ELEMENTS, context, ref, handler, [&] {
                          return _build_instances(ref.getClassName(), includeQualifiers,
                                                  includeClassOrigin, propertyList);
                      });
}

void QBX_DriveCageProvider::enumerateInstanceNames(const OperationContext& context,
                                                   const CIMObjectPath& ref,
                                                   ObjectPathResponseHandler& handler)
{
    enumerateElements({"--> QBX_DriveCageProvider::enumerateInstanceNames\n",
                       "<-- QBX_DriveCageProvider::enumerateInstanceNames\n"},
                      ELEMENTS, context, ref, handler,
                      [&] { return _build_ref(ref.getClassName()); });
}

// ---- Modification ----

namespace
{

/// The names that the client wants changed: all of the instance's properties without a list, else
/// those of the list that the instance holds.
Array<CIMName> namesToModify(const CIMInstance& instance, const CIMPropertyList& propertyList)
{
    Array<CIMName> result;
    if (propertyList.isNull()) {
        for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
            result.append(instance.getProperty(i).getName());
        }
        return result;
    }
    for (Uint32 i = 0; i < propertyList.size(); ++i) {
        if (instance.findProperty(propertyList[i]) != PEG_NOT_FOUND) result.append(propertyList[i]);
    }
    return result;
}

/// Throws unless "Location" is what the client wants changed, or it wants nothing changed at all.
void requireLocationOnly(const CIMInstance& instance, const CIMPropertyList& propertyList)
{
    const CIMName location("Location");
    const Array<CIMName> toModify = namesToModify(instance, propertyList);
    for (Uint32 i = 0; i < toModify.size(); ++i) {
        if (toModify[i] != location) {
            throw CIMInvalidParameterException("Invalid parameter: " + toModify[i].getString());
        }
    }
    const Uint32 asked = propertyList.isNull() ? instance.getPropertyCount() : propertyList.size();
    if (toModify.size() == 0 && asked != 0) {
        throw CIMNotSupportedException(ClassName + " does not support modifyInstance.");
    }
}

/// Throws for a location that clients could not read back as it is, since it has a character that
/// no reply can carry.
void requireReadable(const String& location, const char* bytes)
{
    const String readBack = text(bytes, std::strlen(bytes));
    if (readBack == location) return;
    Uint32 i = 0;
    while (i < readBack.size() && readBack[i] == location[i])
        ++i;
    char what[80];
    std::snprintf(what, sizeof(what), "Location: character %u is U+%04X, which XML cannot carry",
                  i + 1, unsigned(Uint16(location[i])));
    throw CIMInvalidParameterException("Invalid parameter: " + String(what));
}

}  // namespace

void QBX_DriveCageProvider::modifyInstance(const OperationContext& context,
                                           const CIMObjectPath& instanceReference,
                                           const CIMInstance& instanceObject, const Boolean,
                                           const CIMPropertyList& propertyList, ResponseHandler&)
{
    log_message(QBX_LOG_TRACE, "-->QBX_DriveCageProvider::modifyInstance()\n");
    openApiFor("modifyinstance", instanceReference.getClassName(), context);
    requireLocationOnly(instanceObject, propertyList);
    const String tag = QBX_Common::getStringProperty(instanceReference, QBX_KEY_TAG);
    api_CageHandle_t cage = {};
    findCage(tag, "modifyInstance", cage);
    const String location = QBX_Common::getStringProperty(instanceObject, "Location");
    const CString bytes = location.getCString();
    requireReadable(location, bytes);
    // The array takes the new text outside the semaphore and reports nothing of use.
    api_setCageLocation(&cage, bytes);
    log_message(QBX_LOG_TRACE, "<--QBX_DriveCageProvider::modifyInstance()\n");
}

void QBX_DriveCageProvider::createInstance(const OperationContext&, const CIMObjectPath&,
                                           const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support createInstance.");
}

void QBX_DriveCageProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
                                           ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support deleteInstance.");
}

// ---- Methods ----

namespace
{

Sint32 locate(const api_CageHandle_t& cage, const Array<CIMParamValue>& inParameters)
{
    Uint16 seconds = 0;
    QBX_Common::getParameter(inParameters, "LocateTimer", seconds);
    return underSemaphore([&] { return api_locateCage(&cage, seconds); });
}

Sint32 upgrade(const api_CageHandle_t& cage, const Array<CIMParamValue>& inParameters)
{
    // The messages say "Locate" here; clients know them so.
    String fileName;
    if (QBX_Common::getParameter(inParameters, "FileName", fileName) != QBX_PARAMETER_READ) {
        throw parameterNotFound(ClassName, "Locate", "FileName");
    }
    bool isPortA = true;
    if (QBX_Common::getParameter(inParameters, "IsPortA", isPortA) != QBX_PARAMETER_READ) {
        throw parameterNotFound(ClassName, "Locate", "IsPortA");
    }
    const CString name = fileName.getCString();
    return underSemaphore([&] { return api_upgradeCage(&cage, isPortA, name); });
}

}  // namespace

void QBX_DriveCageProvider::invokeMethod(const OperationContext& context,
                                         const CIMObjectPath& objectReference,
                                         const CIMName& methodName,
                                         const Array<CIMParamValue>& inParameters,
                                         MethodResultResponseHandler& handler)
{
    log_message(QBX_LOG_TRACE,
                "-->QBX_DriveCageProvider::invokeMethod()\n\t className = %s, methodName = %s\n",
                c_str(objectReference.getClassName().getString().getCString()),
                c_str(methodName.getString().getCString()));
    openApiFor(methodName.getString(), objectReference.getClassName(), context);
    const String tag = QBX_Common::getStringProperty(objectReference, QBX_KEY_TAG);
    api_CageHandle_t cage = {};
    findCage(tag, "invokeMethod", cage);

    Sint32 result = 0;
    if (methodName == CIMName("Locate")) {
        result = locate(cage, inParameters);
    } else if (methodName == CIMName("Upgrade")) {
        result = upgrade(cage, inParameters);
    }
    deliver(handler, CIMValue(result));
    log_message(QBX_LOG_TRACE, "<--QBX_DriveCageProvider::invokeMethod()\n");
}

// ---- From records to CIM ----

CIMName QBX_DriveCageProvider::_getCIMName(jb_type_e type)
{
    switch (type) {
        case JB_JBOD:
        case JB_KBOD:
            return DC1;
        case JB_LBOD:
        case JB_MBOD:
            return DC2;
        case JB_DC3:
            return DC3;
        default:
            return BASE;
    }
}

CIMClass QBX_DriveCageProvider::_getCIMClass(CIMOMHandle cimom, jb_type_e type,
                                             bool includeQualifiers, bool includeClassOrigin,
                                             const CIMPropertyList& propertyList)
{
    return elementClass(cimom, _getCIMName(type), includeQualifiers, includeClassOrigin,
                        propertyList);
}

CIMObjectPath QBX_DriveCageProvider::buildObjectPath(CIMName className, const String& host,
                                                     const String& tag)
{
    return elementPath(className, host, tag);
}

namespace
{

/// A world-wide name as 16 upper-case hexadecimal digits.
String worldWideName(uint64_t wwn)
{
    char digits[17];
    std::snprintf(digits, sizeof(digits), "%016" PRIX64, wwn);
    return String(digits);
}

}  // namespace

CIMInstance QBX_DriveCageProvider::buildInstance(CIMClass cimClass, const api_Cage_t& cage,
                                                 const String& host)
{
    const CIMName className = _getCIMName(cage.type);
    const String tag = text(cage.deviceID);
    CIMInstance instance = QBX_Common::buildInstanceSkeleton(cimClass);
    const auto set = [&instance](const CIMName& name, const auto& value) {
        QBX_Common::setPropertyValue(instance, name, value);
    };

    set(QBX_Property::CreationClassName, className.getString());
    set(QBX_Property::Tag, tag);
    set(QBX_Property::Name, worldWideName(cage.wwn));
    set(QBX_Property::ChassisPackageType, Uint16(22));
    set(QBX_Property::ChassisTypeDescription, String("Drive Cage"));
    set(QBX_Property::MultipleSystemSupport, Uint16(2));
    set(QBX_Property::RackMountable, Uint16(2));
    set(QBX_Property::ElementName, text(cage.elementName));
    set(QBX_Property::Location, text(cage.location));
    set(QBX_Property::CageType, publishedCageType(cage.type));
    set(QBX_Property::CageSubType, Uint16(cage.subType));
    set(QBX_Property::Manufacturer, text(cage.mfg.vendor));
    set(QBX_Property::Model, text(cage.mfg.model));
    set(QBX_Property::SerialNumber, text(cage.mfg.serial));
    set(QBX_Property::Position, Uint16(cage.position));
    set(QBX_Property::LoopSplit, bool(cage.loopSplit));
    set(QBX_Property::ChainPositionLoopA, Uint16(cage.chainPosA));
    set(QBX_Property::ChainPositionLoopB, Uint16(cage.chainPosB));
    set(QBX_Property::LocateON, bool(cage.locateON));
    _addOperationalStatus(cage, instance);

    switch (cage.type) {
        case JB_LBOD:
        case JB_MBOD:
            set(QBX_Property::FirmwareVersion, text(cage.u.lbod.fwVersion));
            set(QBX_Property::FirmwareStatus, Uint16(cage.u.lbod.fwState.actual));
            set(QBX_Property::CPUState, Uint16(cage.u.lbod.cpuState.actual));
            break;
        case JB_DC3:
            set(QBX_Property::TempSensorState, Uint16(cage.u.sbod.tempState.actual));
            set(QBX_Property::TempSensorValue, Uint16(cage.u.sbod.tempValue));
            set(QBX_Property::OperatorPanelState, Uint16(cage.u.sbod.opPanelState.actual));
            set(QBX_Property::AudibleAlarmState, Uint16(cage.u.sbod.audAlarmState.actual));
            set(QBX_Property::EnclosureID, Uint16(cage.u.sbod.enclosureID));
            break;
        default:
            set(QBX_Property::IsLeftSide, bool(cage.u.kbod.isLeft));
            set(QBX_Property::IsRightSide, bool(cage.u.kbod.isRight));
            break;
    }

    instance.setPath(buildObjectPath(className, host, tag));
    return instance;
}

void QBX_DriveCageProvider::_addOperationalStatus(const api_Cage_t& cage, CIMInstance& instance)
{
    // The array's state codes are those of the CIM value map.
    const Array<Uint16> status(1, Uint16(cage.cimState));
    QBX_Common::setPropertyValue(instance, QBX_Property::OperationalStatus, status);
}

Array<CIMObjectPath> QBX_DriveCageProvider::_build_ref(CIMName className)
{
    log_message(QBX_LOG_TRACE, "--> QBX_DriveCageProvider::_build_ref\n");
    const Array<CIMObjectPath> paths = pathsOfClass<QBX_DriveCageProvider>(
        CageList(api_getCagesNoMfg_Cached), className, _hostAddr);
    log_message(QBX_LOG_TRACE, "<-- QBX_DriveCageProvider::_build_ref\n");
    return paths;
}

Array<CIMInstance> QBX_DriveCageProvider::_build_instances(CIMName className,
                                                           bool includeQualifiers,
                                                           bool includeClassOrigin,
                                                           const CIMPropertyList& propertyList)
{
    log_message(QBX_LOG_TRACE, "--> QBX_DriveCageProvider::_build_instances\n");
    const Array<CIMInstance> instances = instancesOfClass<QBX_DriveCageProvider>(
        CageList(api_getCages_Cached), className, _cimom, includeQualifiers, includeClassOrigin,
        propertyList, _hostAddr);
    log_message(QBX_LOG_TRACE, "<-- QBX_DriveCageProvider::_build_instances\n");
    return instances;
}

}  // namespace Pegasus
