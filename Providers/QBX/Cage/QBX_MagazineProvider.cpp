#include "QBX_MagazineProvider.h"

#include "QBX_Common.h"
#include "QBX_Frame.h"
#include "QBX_Properties.h"
#include "QBX_Records.h"

#include <cstring>

namespace Pegasus
{

using namespace QBX_Frame;
using namespace QBX_Records;

static const String ClassName("QBX_MagazineProvider");

namespace
{

const Elements ELEMENTS = {ClassName, names({QBX_MAGAZINE}), QBX_KEY_TAG};

}  // namespace

QBX_MagazineProvider::QBX_MagazineProvider(const CIMObjectPath&)
{
    throw CIMNotSupportedException(ClassName + " does not support constructor with object path.");
}

QBX_MagazineProvider::~QBX_MagazineProvider() = default;

void QBX_MagazineProvider::initialize(CIMOMHandle& cimom)
{
    log_message(QBX_LOG_TRACE, "--> QBX_MagazineProvider::initialize()\n");
    _cimom = cimom;
    _hostAddr = QBX_Common::getSystemHostName(cimom);
    cimom.disallowProviderUnload();
    log_message(QBX_LOG_TRACE, "<--QBX_MagazineProvider::initialize()\n");
}

void QBX_MagazineProvider::terminate()
{
    delete this;
}

// ---- Instances ----

void QBX_MagazineProvider::getInstance(const OperationContext& context, const CIMObjectPath& ref,
                                       const Boolean includeQualifiers,
                                       const Boolean includeClassOrigin,
                                       const CIMPropertyList& propertyList,
                                       InstanceResponseHandler& handler)
{
    getElement(
        {"--> QBX_MagazineProvider::getInstance\n", "<-- QBX_MagazineProvider::getInstance\n"},
        ELEMENTS, context, ref, handler, [&] {
            return _build_instances(ref.getClassName(), includeQualifiers, includeClassOrigin,
                                    propertyList);
        });
}

void QBX_MagazineProvider::enumerateInstances(const OperationContext& context,
                                              const CIMObjectPath& ref,
                                              const Boolean includeQualifiers,
                                              const Boolean includeClassOrigin,
                                              const CIMPropertyList& propertyList,
                                              InstanceResponseHandler& handler)
{
    enumerateElements({"--> QBX_MagazineProvider::enumerateInstances\n",
                       "<-- QBX_MagazineProvider::enumerateInstances\n"},
                      ELEMENTS, context, ref, handler, [&] {
                          return _build_instances(ref.getClassName(), includeQualifiers,
                                                  includeClassOrigin, propertyList);
                      });
}

void QBX_MagazineProvider::enumerateInstanceNames(const OperationContext& context,
                                                  const CIMObjectPath& ref,
                                                  ObjectPathResponseHandler& handler)
{
    enumerateElements({"--> QBX_MagazineProvider::enumerateInstanceNames\n",
                       "<-- QBX_MagazineProvider::enumerateInstanceNames\n"},
                      ELEMENTS, context, ref, handler,
                      [&] { return _build_ref(ref.getClassName()); });
}

void QBX_MagazineProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
                                          const CIMInstance&, const Boolean, const CIMPropertyList&,
                                          ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support modifyInstance.");
}

void QBX_MagazineProvider::createInstance(const OperationContext&, const CIMObjectPath&,
                                          const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support createInstance.");
}

void QBX_MagazineProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
                                          ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support deleteInstance.");
}

// ---- Methods ----

namespace
{

/// The magazine's number and the name of its cage.
api_MagazineIDs_t findMagazine(const String& tag)
{
    api_MagazineIDs_t ids = {};
    const CString name = tag.getCString();
    const int status = underSemaphore([&] { return api_findMagazineIDs(name, &ids); });
    if (status != 0) throw deviceNotFound(ClassName, "invokeMethod", tag);
    return ids;
}

/// A C string of the cage's name as the array wrote it; the field need not hold a terminator.
struct CageName
{
    explicit CageName(const api_MagazineIDs_t& ids)
    {
        std::memcpy(bytes, ids.cageName, sizeof(ids.cageName));
    }
    char bytes[sizeof(api_MagazineIDs_t::cageName) + 1] = {};
};

Sint32 setLoopState(const api_MagazineIDs_t& ids, const Array<CIMParamValue>& inParameters)
{
    constexpr uint8_t PORT_A = 0;
    constexpr uint8_t PORT_B = 1;
    constexpr uint8_t NO_PORT_NAMED = 2;

    bool isOnLoop = true;
    if (QBX_Common::getParameter(inParameters, "IsOnloop", isOnLoop) != QBX_PARAMETER_READ) {
        throw parameterNotFound(ClassName, "SetLoopState", "IsOnloop");
    }
    uint8_t port = NO_PORT_NAMED;
    bool isPortA = false;
    if (QBX_Common::getParameter(inParameters, "IsPortA", isPortA) != QBX_PARAMETER_MISSING) {
        port = isPortA ? PORT_A : PORT_B;
    }
    const CageName cage(ids);
    return underSemaphore(
        [&] { return api_setMagazineLoop(cage.bytes, ids.magazine, isOnLoop, port); });
}

Sint32 locate(const api_MagazineIDs_t& ids, const Array<CIMParamValue>& inParameters)
{
    Uint16 seconds = 0;
    QBX_Common::getParameter(inParameters, "LocateTimer", seconds);
    const CageName cage(ids);
    return underSemaphore([&] { return api_locateMagazine(cage.bytes, ids.magazine, seconds); });
}

}  // namespace

void QBX_MagazineProvider::invokeMethod(const OperationContext& context,
                                        const CIMObjectPath& objectReference,
                                        const CIMName& methodName,
                                        const Array<CIMParamValue>& inParameters,
                                        MethodResultResponseHandler& handler)
{
    log_message(QBX_LOG_TRACE,
                "-->QBX_MagazineProvider::invokeMethod()\n\t className = %s, methodName = %s\n",
                c_str(objectReference.getClassName().getString().getCString()),
                c_str(methodName.getString().getCString()));
    openApiFor(methodName.getString(), objectReference.getClassName(), context);
    const String tag = QBX_Common::getStringProperty(objectReference, QBX_KEY_TAG);
    const api_MagazineIDs_t ids = findMagazine(tag);

    Sint32 result = 0;
    if (methodName == CIMName("SetLoopState")) {
        result = setLoopState(ids, inParameters);
    } else if (methodName == CIMName("Locate")) {
        result = locate(ids, inParameters);
    }
    deliver(handler, CIMValue(result));
    log_message(QBX_LOG_TRACE, "<--QBX_MagazineProvider::invokeMethod()\n");
}

// ---- From records to CIM ----

CIMName QBX_MagazineProvider::_getCIMName(jb_type_e)
{
    return ELEMENTS.classes[0];
}

CIMClass QBX_MagazineProvider::_getCIMClass(CIMOMHandle cimom, jb_type_e cageType,
                                            bool includeQualifiers, bool includeClassOrigin,
                                            const CIMPropertyList& propertyList)
{
    return elementClass(cimom, _getCIMName(cageType), includeQualifiers, includeClassOrigin,
                        propertyList);
}

CIMObjectPath QBX_MagazineProvider::buildObjectPath(CIMName className, const String& host,
                                                    const String& tag)
{
    return elementPath(className, host, tag);
}

CIMInstance QBX_MagazineProvider::buildInstance(CIMClass cimClass, const api_Magazine_t& magazine,
                                                const String& host)
{
    log_message(QBX_LOG_TRACE, "-->QBX_MagazineProvider::buildInstance()\n");
    const CIMName className = _getCIMName(magazine.cageType);
    const String tag = text(magazine.deviceID);
    CIMInstance instance = QBX_Common::buildInstanceSkeleton(cimClass);
    const auto set = [&instance](const CIMName& name, const auto& value) {
        QBX_Common::setPropertyValue(instance, name, value);
    };

    set(QBX_Property::CreationClassName, className.getString());
    set(QBX_Property::Tag, tag);
    set(QBX_Property::Position, Uint16(magazine.position));
    set(QBX_Property::ElementName, text(magazine.elemName));
    set(QBX_Property::CageType, publishedCageType(magazine.cageType));
    set(QBX_Property::Manufacturer, text(magazine.mfg.vendor));
    set(QBX_Property::Model, text(magazine.mfg.model));
    set(QBX_Property::SerialNumber, text(magazine.mfg.serial));
    set(QBX_Property::LocationType, Uint16(3));
    set(QBX_Property::MediaTypesSupported, Array<Uint16>(1, Uint16(29)));
    set(QBX_Property::RemovalConditions, Uint16(4));
    set(QBX_Property::StateOnLoopA, Uint16(magazine.stateLoopA.actual));
    set(QBX_Property::StateOnLoopB, Uint16(magazine.stateLoopB.actual));
    set(QBX_Property::LocateON, bool(magazine.locateON));
    if (magazine.cageType != JB_DC3) {
        set(QBX_Property::SystemLED, Uint16(magazine.u.lbod.systemLED));
        set(QBX_Property::HotplugLED, Uint16(magazine.u.lbod.hplLED));
    }
    _addOperationalStatus(magazine, instance);
    instance.setPath(buildObjectPath(className, host, tag));
    log_message(QBX_LOG_TRACE, "<--QBX_MagazineProvider::buildInstance()\n");
    return instance;
}

void QBX_MagazineProvider::_addOperationalStatus(const api_Magazine_t&, CIMInstance& instance)
{
    // Always "OK": the loop states reach clients through "StateOnLoopA" and "StateOnLoopB".
    const Array<Uint16> status(1, Uint16(2));
    QBX_Common::setPropertyValue(instance, QBX_Property::OperationalStatus, status);
}

Array<CIMObjectPath> QBX_MagazineProvider::_build_ref(CIMName className)
{
    log_message(QBX_LOG_TRACE, "--> QBX_MagazineProvider::_build_ref\n");
    const Array<CIMObjectPath> paths = pathsOfClass<QBX_MagazineProvider>(
        MagazineList(api_getMagazinesNoMfg_Cached), className, _hostAddr);
    log_message(QBX_LOG_TRACE, "<-- QBX_MagazineProvider::_build_ref\n");
    return paths;
}

Array<CIMInstance> QBX_MagazineProvider::_build_instances(CIMName className, bool includeQualifiers,
                                                          bool includeClassOrigin,
                                                          const CIMPropertyList& propertyList)
{
    log_message(QBX_LOG_TRACE, "--> QBX_MagazineProvider::_build_instances\n");
    const Array<CIMInstance> instances = instancesOfClass<QBX_MagazineProvider>(
        MagazineList(api_getMagazines_Cached), className, _cimom, includeQualifiers,
        includeClassOrigin, propertyList, _hostAddr);
    log_message(QBX_LOG_TRACE, "<-- QBX_MagazineProvider::_build_instances\n");
    return instances;
}

}  // namespace Pegasus
