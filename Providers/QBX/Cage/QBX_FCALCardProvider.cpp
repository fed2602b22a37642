#include "QBX_FCALCardProvider.h"

#include "QBX_Common.h"
#include "QBX_Frame.h"
#include "QBX_Properties.h"
#include "QBX_Records.h"

#include <cstdio>

namespace Pegasus
{

using namespace QBX_Frame;
using namespace QBX_Records;

static const String ClassName("QBX_FCALCardProvider");

namespace
{

const CIMName BASE(QBX_INTERFACE_CARD), DC1(QBX_INTERFACE_CARD_DC1), DC2(QBX_INTERFACE_CARD_DC2),
    DC3(QBX_INTERFACE_CARD_DC3);
const Elements ELEMENTS = {ClassName, names(QBX_INTERFACE_CARDS), QBX_KEY_TAG};

}  // namespace

QBX_FCALCardProvider::QBX_FCALCardProvider(const CIMObjectPath&)
{
    throw CIMNotSupportedException(ClassName + " does not support constructor with object path.");
}

QBX_FCALCardProvider::~QBX_FCALCardProvider() = default;

void QBX_FCALCardProvider::initialize(CIMOMHandle& cimom)
{
    log_message(QBX_LOG_TRACE, "--> QBX_FCALCardProvider::initialize()\n");
    _cimom = cimom;
    _hostAddr = QBX_Common::getSystemHostName(cimom);
    cimom.disallowProviderUnload();
    log_message(QBX_LOG_TRACE, "<--QBX_FCALCardProvider::initialize()\n");
}

void QBX_FCALCardProvider::terminate()
{
    delete this;
}

// ---- Instances ----

void QBX_FCALCardProvider::getInstance(const OperationContext& context, const CIMObjectPath& ref,
                                       const Boolean includeQualifiers,
                                       const Boolean includeClassOrigin,
                                       const CIMPropertyList& propertyList,
                                       InstanceResponseHandler& handler)
{
    getElement(
        {"--> QBX_FCALCardProvider::getInstance\n", "<-- QBX_FCALCardProvider::getInstance\n"},
        ELEMENTS, context, ref, handler, [&] {
            return _build_instances(ref.getClassName(), includeQualifiers, includeClassOrigin,
                                    propertyList);
        });
}

void QBX_FCALCardProvider::enumerateInstances(const OperationContext& context,
                                              const CIMObjectPath& ref,
                                              const Boolean includeQualifiers,
                                              const Boolean includeClassOrigin,
                                              const CIMPropertyList& propertyList,
                                              InstanceResponseHandler& handler)
{
    enumerateElements({"--> QBX_FCALCardProvider::enumerateInstances\n",
                       "<-- QBX_FCALCardProvider::enumerateInstances\n"},
                      ELEMENTS, context, ref, handler, [&] {
                          return _build_instances(ref.getClassName(), includeQualifiers,
                                                  includeClassOrigin, propertyList);
                      });
}

void QBX_FCALCardProvider::enumerateInstanceNames(const OperationContext&, const CIMObjectPath& ref,
                                                  ObjectPathResponseHandler& handler)
{
    log_message(QBX_LOG_TRACE, "--> QBX_FCALCardProvider::enumerateInstanceNames\n");
    requireServedClass(ref.getClassName(), ELEMENTS.classes, ClassName);
    deliver(handler, _build_ref(ref.getClassName()));
    log_message(QBX_LOG_TRACE, "<-- QBX_FCALCardProvider::enumerateInstanceNames\n");
}

void QBX_FCALCardProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
                                          const CIMInstance&, const Boolean, const CIMPropertyList&,
                                          ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support modifyInstance.");
}

void QBX_FCALCardProvider::createInstance(const OperationContext&, const CIMObjectPath&,
                                          const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support createInstance.");
}

void QBX_FCALCardProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
                                          ResponseHandler&)
{
    throw CIMNotSupportedException(ClassName + " does not support deleteInstance.");
}

// ---- Methods ----

namespace
{

struct CageName
{
    char bytes[API_ID_SIZE + 1] = {};  // the array terminates the name; one byte in reserve
};

CageName findCageOf(const String& tag)
{
    CageName cage;
    const CString name = tag.getCString();
    const int status = underSemaphore([&] { return api_findCageNameForFCAL(name, cage.bytes); });
    if (status != 0) throw deviceNotFound(ClassName, "invokeMethod", tag);
    return cage;
}

Sint32 locate(const CageName& cage, const Array<CIMParamValue>& inParameters)
{
    Uint16 seconds = 0;
    Uint16 port = 0;
    QBX_Common::getParameter(inParameters, "LocateTimer", seconds);
    if (QBX_Common::getParameter(inParameters, "Port", port) != QBX_PARAMETER_READ) {
        throw parameterNotFound(ClassName, "Locate", "Port");
    }
    return underSemaphore([&] { return api_locateFCALPort(cage.bytes, port, seconds); });
}

}  // namespace

void QBX_FCALCardProvider::invokeMethod(const OperationContext& context,
                                        const CIMObjectPath& objectReference,
                                        const CIMName& methodName,
                                        const Array<CIMParamValue>& inParameters,
                                        MethodResultResponseHandler& handler)
{
    log_message(QBX_LOG_TRACE,
                "-->QBX_FCALCardProvider::invokeMethod()\n\t className = %s, methodName = %s\n",
                c_str(objectReference.getClassName().getString().getCString()),
                c_str(methodName.getString().getCString()));
    openApiFor(methodName.getString(), objectReference.getClassName(), context);
    const bool isLocate = methodName == CIMName("Locate");
    if (isLocate && objectReference.getClassName() == CIMName(QBX_INTERFACE_CARD_DC3)) {
        throw CIMNotSupportedException(ClassName + " does not support invokeMethod.");
    }
    const String tag = QBX_Common::getStringProperty(objectReference, QBX_KEY_TAG);
    const CageName cage = findCageOf(tag);
    const Sint32 result = isLocate ? locate(cage, inParameters) : 0;
    deliver(handler, CIMValue(result));
    log_message(QBX_LOG_TRACE, "<--QBX_FCALCardProvider::invokeMethod()\n");
}

// ---- From records to CIM ----

CIMName QBX_FCALCardProvider::_getCIMName(jb_type_e cageType)
{
    switch (cageType) {
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

CIMClass QBX_FCALCardProvider::_getCIMClass(CIMOMHandle cimom, jb_type_e cageType,
                                            bool includeQualifiers, bool includeClassOrigin,
                                            const CIMPropertyList& propertyList)
{
    return elementClass(cimom, _getCIMName(cageType), includeQualifiers, includeClassOrigin,
                        propertyList);
}

CIMObjectPath QBX_FCALCardProvider::buildObjectPath(CIMName className, const String& host,
                                                    const String& tag)
{
    return elementPath(className, host, tag);
}

namespace
{

/// The first `count` values as an array of CIM values of type T.
template <class T, class Source>
Array<T> values(const Source* source, Uint32 count)
{
    Array<T> result(count);
    for (Uint32 i = 0; i < count; ++i)
        result[i] = static_cast<T>(source[i]);
    return result;
}

/// The controller port that reaches a card port, as "node:slot:port"; "0" for none.
String nodePortText(lpid_t port)
{
    constexpr lpid_t NOT_CONNECTED = 0xFFFC;
    if (port == 0 || port == NOT_CONNECTED) return String("0");
    char text[31] = {};
    std::snprintf(text, sizeof(text), "%u:%u:%u", (port >> 7) & 0x7u, (port >> 3) & 0xFu,
                  port & 0x7u);
    return String(text);
}

Array<String> nodePortTexts(const lpid_t* ports, Uint32 count)
{
    Array<String> texts;
    for (Uint32 i = 0; i < count; ++i)
        texts.append(nodePortText(ports[i]));
    return texts;
}

Array<Uint16> actualStates(const api_StatePair_t* states, Uint32 count)
{
    Array<Uint16> result;
    for (Uint32 i = 0; i < count; ++i)
        result.append(Uint16(states[i].actual));
    return result;
}

}  // namespace

CIMInstance QBX_FCALCardProvider::buildInstance(CIMClass cimClass, const api_FCAL_t& card,
                                                const String& host)
{
    const CIMName className = _getCIMName(card.cageType);
    const String tag = text(card.deviceID);
    const Uint32 ports = card.cageType == JB_DC3 ? 4 : 2;
    CIMInstance instance = QBX_Common::buildInstanceSkeleton(cimClass);
    const auto set = [&instance](const CIMName& name, const auto& value) {
        QBX_Common::setPropertyValue(instance, name, value);
    };

    set(QBX_Property::CreationClassName, className.getString());
    set(QBX_Property::Tag, tag);
    set(QBX_Property::Position, Uint16(card.position));
    set(QBX_Property::ElementName, text(card.elementName));
    set(QBX_Property::Manufacturer, text(card.mfg.vendor));
    set(QBX_Property::Model, text(card.mfg.model));
    set(QBX_Property::SerialNumber, text(card.mfg.serial));
    set(QBX_Property::CageType, publishedCageType(card.cageType));
    set(QBX_Property::LoopAPortWWNs, values<Uint64>(card.loopA.loopPortWWN, ports));
    set(QBX_Property::LoopBPortWWNs, values<Uint64>(card.loopB.loopPortWWN, ports));
    set(QBX_Property::LoopALinkSpeed, values<Uint16>(card.loopA.linkSpeed, ports));
    set(QBX_Property::LoopBLinkSpeed, values<Uint16>(card.loopB.linkSpeed, ports));
    set(QBX_Property::NodePortsLoopA, values<Uint64>(card.loopA.nodePortWWN, ports));
    set(QBX_Property::NodePortsLoopB, values<Uint64>(card.loopB.nodePortWWN, ports));
    set(QBX_Property::LoopALocateON, values<bool>(card.loopA.locateON, ports));
    set(QBX_Property::LoopBLocateON, values<bool>(card.loopB.locateON, ports));

    const auto setLEDs = [&set](const api_FCALLeds_t& leds) {
        set(QBX_Property::SplitLED, Uint16(leds.split));
        set(QBX_Property::SystemLED, Uint16(leds.system));
        set(QBX_Property::HotplugLED, Uint16(leds.hpl));
    };
    switch (card.cageType) {
        case JB_JBOD:
        case JB_KBOD:
            set(QBX_Property::FirmwareVersion, text(card.u.kbod.fwVersion));
            set(QBX_Property::FirmwareStatus, Uint16(card.u.kbod.fwState.actual));
            set(QBX_Property::CPUSelfState, Uint16(card.u.kbod.cpuSelfState.actual));
            set(QBX_Property::CPUPartnerState, Uint16(card.u.kbod.cpuPartnerState.actual));
            set(QBX_Property::LoopALinkLED, values<Uint16>(card.u.kbod.loopALinkLED, 2));
            set(QBX_Property::LoopBLinkLED, values<Uint16>(card.u.kbod.loopBLinkLED, 2));
            setLEDs(card.u.kbod.leds);
            break;
        case JB_LBOD:
        case JB_MBOD:
            set(QBX_Property::LoopALinkRX, values<Uint16>(card.u.lbod.loopA.linkRX, 2));
            set(QBX_Property::LoopALinkTX, values<Uint16>(card.u.lbod.loopA.linkTX, 2));
            set(QBX_Property::LoopBLinkRX, values<Uint16>(card.u.lbod.loopB.linkRX, 2));
            set(QBX_Property::LoopBLinkTX, values<Uint16>(card.u.lbod.loopB.linkTX, 2));
            setLEDs(card.u.lbod.leds);
            break;
        case JB_DC3:
            set(QBX_Property::IsMaster, bool(card.u.sbod.master));
            set(QBX_Property::LoopState, actualStates(card.u.sbod.loopState, 4));
            set(QBX_Property::FirmwareVersion, text(card.u.sbod.fwVersion));
            set(QBX_Property::FirmwareStatus, Uint16(card.u.sbod.fwState.actual));
            set(QBX_Property::IFCState, Uint16(card.u.sbod.ifcState.actual));
            set(QBX_Property::ESHState, Uint16(card.u.sbod.eshState.actual));
            set(QBX_Property::ExtendedESHState, Uint16(card.u.sbod.extEshState.actual));
            break;
        default:
            break;
    }

    set(QBX_Property::PortsLoopA, nodePortTexts(card.loopA.nodePort, ports));
    set(QBX_Property::PortsLoopB, nodePortTexts(card.loopB.nodePort, ports));
    _addOperationalStatus(card, instance);
    instance.setPath(buildObjectPath(className, host, tag));
    return instance;
}

void QBX_FCALCardProvider::_addOperationalStatus(const api_FCAL_t&, CIMInstance& instance)
{
    // Always "OK": a card's states reach clients through properties of their own.
    const Array<Uint16> status(1, Uint16(2));
    QBX_Common::setPropertyValue(instance, QBX_Property::OperationalStatus, status);
}

Array<CIMObjectPath> QBX_FCALCardProvider::_build_ref(CIMName className)
{
    log_message(QBX_LOG_TRACE, "--> QBX_FCALProvider::_build_ref\n");
    const Array<CIMObjectPath> paths = pathsOfClass<QBX_FCALCardProvider>(
        FCALList(api_getFCALsNoMfg_Cached), className, _hostAddr);
    log_message(QBX_LOG_TRACE, "<-- QBX_FCALCardProvider::_build_ref\n");
    return paths;
}

Array<CIMInstance> QBX_FCALCardProvider::_build_instances(CIMName className, bool includeQualifiers,
                                                          bool includeClassOrigin,
                                                          const CIMPropertyList& propertyList)
{
    log_message(QBX_LOG_TRACE, "--> QBX_FCALCardProvider::_build_instances\n");
    const Array<CIMInstance> instances = instancesOfClass<QBX_FCALCardProvider>(
        FCALList(api_getFCALs_Cached), className, _cimom, includeQualifiers, includeClassOrigin,
        propertyList, _hostAddr);
    log_message(QBX_LOG_TRACE, "<-- QBX_FCALCardProvider::_build_instances\n");
    return instances;
}

}  // namespace Pegasus
