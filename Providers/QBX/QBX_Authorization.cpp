#include "QBX_Common.h"
#include "QBX_Frame.h"
#include "QBX_VolumeAuthorization.h"

#include <initializer_list>
#include <optional>
#include <vector>

namespace Pegasus
{

namespace
{

using Parameters = Array<CIMParamValue>;

constexpr int GRANTED = API_CIMUSER_AUTHORIZATION_SUCCESS;
constexpr int UNSUPPORTED = API_CIMUSER_AUTHORIZATION_UNSUPPORTED_METHOD;

/// The array's decision; 3 for no key.
int ask(const String& user, const char* key)
{
    if (key == nullptr) return UNSUPPORTED;
    return api_authorizeCIMUser(QBX_Frame::c_str(user.getCString()), key);
}

/// The first decision that is no grant; 3, before anything is asked, when there is no key or one
/// of them is missing.
int askForAll(const String& user, const std::vector<const char*>& keys)
{
    if (keys.empty()) return UNSUPPORTED;
    for (const char* key : keys) {
        if (key == nullptr) return UNSUPPORTED;
    }
    int decision = GRANTED;
    for (const char* key : keys) {
        decision = ask(user, key);
        if (decision != GRANTED) break;
    }
    return decision;
}

// ---- Parameters ----

bool isScalar(const CIMValue& value, CIMType type)
{
    return value.getType() == type && !value.isArray();
}

/// One parameter of a call: the first value of that name that is not null.
class Parameter
{
public:
    Parameter(const Parameters& parameters, const char* name)
        : Parameter(parameters, name, [](const CIMValue& value) { return !value.isNull(); })
    {
    }

    bool isGiven() const { return _value.has_value(); }

    /// True when it is given, but as something else than one value of that type.
    bool isNo(CIMType type) const { return isGiven() && !isScalar(*_value, type); }

    /// The value of a given uint16.
    Uint16 number() const
    {
        Uint16 number = 0;
        _value->get(number);
        return number;
    }

protected:
    /// The first value of that name that counts.
    Parameter(const Parameters& parameters, const char* name, bool (*counts)(const CIMValue&))
    {
        for (Uint32 i = 0; i < parameters.size() && !_value; ++i) {
            if (!String::equalNoCase(parameters[i].getParameterName(), name)) continue;
            const CIMValue value = parameters[i].getValue();
            if (counts(value)) _value = value;
        }
    }

    std::optional<CIMValue> _value;
};

/// One parameter that the method declares as a reference or as an array of references: a path
/// without class name does not count.
class ReferenceParameter : public Parameter
{
public:
    ReferenceParameter(const Parameters& parameters, const char* name)
        : Parameter(parameters, name, counts)
    {
    }

    /// The value of a given reference.
    CIMObjectPath path() const { return pathIn(*_value); }

    /// The values of a given reference or array of references; none for any other value.
    Array<CIMObjectPath> paths() const
    {
        Array<CIMObjectPath> paths;
        if (_value->getType() != CIMTYPE_REFERENCE) return paths;
        if (!_value->isArray()) return Array<CIMObjectPath>(1, path());
        _value->get(paths);
        return paths;
    }

private:
    static bool counts(const CIMValue& value)
    {
        if (value.isNull()) return false;
        return !isScalar(value, CIMTYPE_REFERENCE) || !pathIn(value).getClassName().isNull();
    }

    static CIMObjectPath pathIn(const CIMValue& value)
    {
        CIMObjectPath path;
        value.get(path);
        return path;
    }
};

// ---- Keys by number ----

struct NumberKey
{
    Uint16 number;
    const char* key;
};

using NumberKeys = std::initializer_list<NumberKey>;

/// Null for a number that selects none, and for what is no uint16.
const char* keyFor(const Parameter& parameter, NumberKeys keys)
{
    if (parameter.isNo(CIMTYPE_UINT16)) return nullptr;
    for (const NumberKey& each : keys) {
        if (each.number == parameter.number()) return each.key;
    }
    return nullptr;
}

}  // namespace

// ---- Replication service ----

int authorize_ReplicationServiceCapabilitiesMethod(const String& user, const Parameters&)
{
    return ask(user, "qbx_replicationservicecapabilities");
}

namespace
{

int authorizeReplica(const String& user, const Parameters& parameters, NumberKeys keys)
{
    const Parameter syncType(parameters, "SyncType");
    const Parameter mode(parameters, "Mode");
    if (!syncType.isGiven() || !mode.isGiven()) return GRANTED;
    return ask(user, keyFor(syncType, keys));
}

}  // namespace

int authorize_CreateGroupReplica(const String& user, const Parameters& parameters)
{
    return authorizeReplica(user, parameters,
                            {{7, "qbx_replicationservice.creategroupreplica.creategroupsv"},
                             {8, "qbx_replicationservice.creategroupreplica.creategroupvvcopy"}});
}

int authorize_CreateElementReplica(const String& user, const Parameters& parameters)
{
    return authorizeReplica(user, parameters,
                            {{7, "qbx_replicationservice.createelementreplica.createsv"},
                             {8, "qbx_replicationservice.createelementreplica.createvvcopy"}});
}

int authorize_ModifyReplicaSynchronization(const String& user, const Parameters& parameters)
{
    const Parameter operation(parameters, "Operation");
    if (!operation.isGiven())
        return ask(user, "qbx_replicationservice.createelementreplica.createvvcopy");
    // The array knows the abort key with the blank at its end.
    return ask(user, keyFor(operation,
                            {{2, "qbx_replicationservice.modifyreplicasynchronization.abort "},
                             {8, "qbx_replicationservice.modifyreplicasynchronization.dissolve"},
                             {9, "qbx_replicationservice.modifyreplicasynchronization.dissolve"},
                             {14, "qbx_replicationservice.modifyreplicasynchronization.resync"},
                             {15, "qbx_replicationservice.modifyreplicasynchronization.restore"}}));
}

// ---- Storage configuration service ----

int authorize_ModifySynchronization(const String& user, const Parameters& parameters)
{
    const Parameter operation(parameters, "Operation");
    if (!operation.isGiven()) return UNSUPPORTED;
    return ask(user,
               keyFor(operation,
                      {{2, "qbx_storageconfigurationservice.modifysynchronization.detach"},
                       {4, "qbx_storageconfigurationservice.modifysynchronization.resync"},
                       {5, "qbx_storageconfigurationservice.modifysynchronization.restore"},
                       {12, "qbx_storageconfigurationservice.modifysynchronization.startcopy"},
                       {13, "qbx_storageconfigurationservice.modifysynchronization.stopcopy"}}));
}

int authorize_CreateOrModifyStoragePool(const String& user, const Parameters& parameters)
{
    const ReferenceParameter pool(parameters, "Pool");
    if (pool.isNo(CIMTYPE_REFERENCE)) return UNSUPPORTED;
    return ask(user, pool.isGiven()
                         ? "qbx_storageconfigurationservice.createormodifystoragepool.setcpg"
                         : "qbx_storageconfigurationservice.createormodifystoragepool.createcpg");
}

int authorize_CreateOrModifyElemFromStoragePool(const String& user, const Parameters& parameters)
{
    constexpr char CREATE[] =
        "qbx_storageconfigurationservice.createormodifyelementfromstoragepool.createvolume";
    constexpr char GROW[] =
        "qbx_storageconfigurationservice.createormodifyelementfromstoragepool.growvolume";
    constexpr char SET[] =
        "qbx_storageconfigurationservice.createormodifyelementfromstoragepool.setvolume";

    for (Uint32 i = 0; i < parameters.size(); ++i) {
        const CString name = parameters[i].getParameterName().getCString();
        log_message(QBX_LOG_TRACE, "Param %s", QBX_Frame::c_str(name));
    }
    const ReferenceParameter element(parameters, "TheElement");
    if (element.isNo(CIMTYPE_REFERENCE)) return UNSUPPORTED;
    if (!element.isGiven()) return ask(user, CREATE);

    int decision = GRANTED;
    if (Parameter(parameters, "Size").isGiven()) decision = ask(user, GROW);
    if (decision == GRANTED && Parameter(parameters, "ElementName").isGiven())
        decision = ask(user, SET);
    return decision;
}

int authorize_DeleteStoragePool(const String& user, const Parameters& parameters)
{
    constexpr struct
    {
        const char* poolClass;
        const char* key;
    } KEYS[] = {
        {"QBX_DynamicStoragePool",
         "qbx_storageconfigurationservice.deletestoragepool.deletedynamicstoragepool"},
        {"QBX_DeltaReplicaStoragePool",
         "qbx_storageconfigurationservice.deletestoragepool.deletedeltareplicastoragepool"},
    };
    const ReferenceParameter pool(parameters, "Pool");
    if (!pool.isGiven() || pool.isNo(CIMTYPE_REFERENCE)) return UNSUPPORTED;
    const CIMName poolClass = pool.path().getClassName();
    for (const auto& each : KEYS) {
        if (poolClass == CIMName(each.poolClass)) return ask(user, each.key);
    }
    return UNSUPPORTED;
}

// ---- Pools and volumes ----

namespace
{

/// True for "QBX_" ... `ending`, case ignored.
bool isNamed(const CIMName& className, const char* ending)
{
    const String& name = className.getString();
    const String prefix("QBX_");
    const String suffix(ending);
    if (name.size() < prefix.size() + suffix.size()) return false;
    return String::equalNoCase(name.subString(0, prefix.size()), prefix) &&
           String::equalNoCase(name.subString(name.size() - suffix.size()), suffix);
}

bool isPool(const CIMObjectPath& path)
{
    return isNamed(path.getClassName(), "StoragePool");
}

bool isVolume(const CIMObjectPath& path)
{
    return isNamed(path.getClassName(), "StorageVolume");
}

/// The object that a key refers to; an empty path when there is none.
CIMObjectPath referenceIn(const CIMObjectPath& path, const char* keyName)
{
    try {
        return CIMObjectPath(QBX_Common::getStringProperty(path, keyName));
    } catch (const Exception&) {
        return CIMObjectPath();  // no object path
    }
}

/// The kind as far as a path tells.
QBX_VolumeKind kindByClass(const CIMObjectPath& volume)
{
    return isVolume(volume) ? QBX_VolumeKind::Volume : QBX_VolumeKind::NotAVolume;
}

/// The key for returning the volume to its pool; null for what is no volume.
const char* returnKey(const CIMObjectPath& volume, const QBX_VolumeKindOf& kindOf)
{
    if (volume.getClassName().isNull()) return nullptr;
    switch (kindOf(volume)) {
        case QBX_VolumeKind::NotAVolume:
            return nullptr;
        case QBX_VolumeKind::Volume:
            return "qbx_storageconfigurationservice.returntostoragepool";
        case QBX_VolumeKind::BaseVolume:
            return "qbx_storageconfigurationservice.returntostoragepool.basevv";
        case QBX_VolumeKind::PhysicalCopy:
            return "qbx_storageconfigurationservice.returntostoragepool.physcopyvv";
        case QBX_VolumeKind::VirtualCopy:
            return "qbx_storageconfigurationservice.returntostoragepool.virtcopyvv";
    }
    return nullptr;
}

/// Appends the key for each volume of a given parameter. A value without any counts as one that is
/// no volume.
template <class VolumeOf>
void appendReturnKeys(std::vector<const char*>& keys, const ReferenceParameter& parameter,
                      const QBX_VolumeKindOf& kindOf, VolumeOf&& volumeOf)
{
    const Array<CIMObjectPath> paths = parameter.paths();
    if (paths.size() == 0) keys.push_back(nullptr);
    for (Uint32 i = 0; i < paths.size(); ++i)
        keys.push_back(returnKey(volumeOf(paths[i]), kindOf));
}

}  // namespace

int authorize_AllocatedFromStoragePoolModifyInstance(const String& user,
                                                     const CIMObjectPath& association)
{
    if (!isPool(referenceIn(association, "Antecedent"))) return UNSUPPORTED;
    const CIMObjectPath dependent = referenceIn(association, "Dependent");
    if (isPool(dependent)) return ask(user, "qbx_allocatedfromstoragepool.modifyinstance.setcpg");
    if (isVolume(dependent)) return ask(user, "qbx_allocatedfromstoragepool.modifyinstance.setvv");
    return UNSUPPORTED;
}

int authorize_DeleteStorageVolume(const String& user, const Parameters& parameters)
{
    return authorize_DeleteStorageVolumeByKind(user, parameters, kindByClass);
}

int authorize_DeleteStorageVolumeByKind(const String& user, const Parameters& parameters,
                                        const QBX_VolumeKindOf& kindOf)
{
    std::vector<const char*> keys;
    for (const char* name : {"TheElement", "TheElements"}) {
        const ReferenceParameter elements(parameters, name);
        if (!elements.isGiven()) continue;
        appendReturnKeys(keys, elements, kindOf, [](const CIMObjectPath& path) { return path; });
    }
    return askForAll(user, keys);
}

namespace
{

int authorizeReturnOfTargets(const String& user, const Parameters& parameters,
                             const QBX_VolumeKindOf& kindOf)
{
    const ReferenceParameter group(parameters, "TargetGroup");
    if (group.isNo(CIMTYPE_REFERENCE)) return UNSUPPORTED;
    std::vector<const char*> keys;
    if (group.isGiven()) keys.push_back("qbx_replicationservice.deletegroup");
    const ReferenceParameter synchronization(parameters, "Synchronization");
    if (synchronization.isGiven()) {
        appendReturnKeys(keys, synchronization, kindOf, [](const CIMObjectPath& path) {
            return referenceIn(path, "SyncedElement");
        });
    }
    return askForAll(user, keys);
}

}  // namespace

int authorize_ModifyListSynchronization(const String& user, const Parameters& parameters)
{
    return authorize_ModifyListSynchronizationByKind(user, parameters, kindByClass);
}

int authorize_ModifyListSynchronizationByKind(const String& user, const Parameters& parameters,
                                              const QBX_VolumeKindOf& kindOf)
{
    constexpr char RESYNC[] = "qbx_replicationservice.modifylistsynchronization.resync";
    constexpr Uint16 RETURN_TO_POOL = 19;

    const Parameter operation(parameters, "Operation");
    if (!operation.isGiven()) return ask(user, RESYNC);
    if (operation.isNo(CIMTYPE_UINT16)) return UNSUPPORTED;
    if (operation.number() == RETURN_TO_POOL)
        return authorizeReturnOfTargets(user, parameters, kindOf);
    return ask(user, keyFor(operation,
                            {{2, "qbx_replicationservice.modifylistsynchronization.abort"},
                             {8, "qbx_replicationservice.modifylistsynchronization.dissolve"},
                             {9, "qbx_replicationservice.modifylistsynchronization.dissolve"},
                             {14, RESYNC},
                             {15, "qbx_replicationservice.modifylistsynchronization.restore"}}));
}

}  // namespace Pegasus
