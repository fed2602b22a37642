// The privilege checks of storage methods: which key is asked for, in which order, and when nobody
// is asked.
#include "ProviderTest.h"

#include "QBX_Common.h"

#include <map>

using namespace Pegasus;

namespace
{

using Parameters = Array<CIMParamValue>;
using Check = int (*)(const String&, const Parameters&);

CIMValue uint16(unsigned number)
{
    return CIMValue(Uint16(number));
}

CIMValue text(const char* value)
{
    return CIMValue(String(value));
}

/// A reference to an object of a class; of an empty name, a reference without class name.
CIMValue ref(const std::string& className)
{
    if (className.empty()) return CIMValue(CIMObjectPath());
    return CIMValue(pathOf(className, {{"ID", "1"}}));
}

CIMValue refs(std::initializer_list<CIMValue> references)
{
    Array<CIMObjectPath> paths;
    for (const CIMValue& reference : references) {
        CIMObjectPath path;
        reference.get(path);
        paths.append(path);
    }
    return CIMValue(paths);
}

/// A synchronization of that target volume.
CIMValue sync(const std::string& volumeClass)
{
    return CIMValue(
        pathOf("QBX_StorageSynchronized", {{"SystemElement", "QBX_StorageVolume.ID=\"source\""},
                                           {"SyncedElement", volumeClass + ".ID=\"target\""}}));
}

/// What a call asks, and what it answers when the array answers `decision` to everything.
struct Case
{
    const char* what;
    Parameters in;
    Texts keys;       ///< asked for, in order, when all are granted
    int unasked = 3;  ///< the answer when nobody is asked
};

class AuthorizationTest : public ProviderTest
{
protected:
    template <class Function>
    void expectCases(Function&& check, const std::vector<Case>& cases)
    {
        for (const Case& row : cases) {
            SCOPED_TRACE(row.what);
            for (const int decision : {0, 1, 2, 3}) {
                api.events.clear();
                api.status = {{"api_authorizeCIMUser", decision}};
                const int answer = check("J\xC3\xB6 Doe", row.in);
                EXPECT_EQ(answer, row.keys.empty() ? row.unasked : decision);
                Texts asked;
                for (const std::string& key : row.keys) {
                    asked.push_back("api_authorizeCIMUser(J\xC3\xB6 Doe, " + key + ")");
                    if (decision != 0) break;  // the first refusal ends it
                }
                EXPECT_EQ(api.calls(), asked) << "decision " << decision;
            }
        }
    }

    /// For a uint16 parameter: every number but these selects nothing, and no other type does.
    void expectOnly(Check check, const char* name, const std::map<unsigned, std::string>& keys,
                    const Parameters& others = {})
    {
        const auto with = [&](const CIMValue& value) {
            Parameters in = others;
            in.append(CIMParamValue(name, value));
            return in;
        };
        std::vector<Case> cases;
        for (const unsigned number :
             {0u,  1u,  2u,  3u,  4u,  5u,  6u,  7u,  8u,   9u,        10u,   11u,
              12u, 13u, 14u, 15u, 16u, 17u, 18u, 20u, 255u, 256u + 2u, 65535u}) {
            const auto found = keys.find(number);
            cases.push_back({"", with(uint16(number)), {}});
            if (found != keys.end()) cases.back().keys = {found->second};
        }
        const unsigned known = keys.begin()->first;
        const std::string number = std::to_string(known);
        cases.push_back({"string", with(text(number.c_str())), {}});
        cases.push_back({"uint8", with(CIMValue(Uint8(known))), {}});
        cases.push_back({"uint32", with(CIMValue(Uint32(known))), {}});
        cases.push_back({"sint16", with(CIMValue(Sint16(known))), {}});
        cases.push_back({"array", with(CIMValue(Array<Uint16>(1, Uint16(known)))), {}});
        Parameters untyped = others;
        untyped.append(CIMParamValue(name, text(number.c_str()), false));
        cases.push_back({"untyped", untyped, {}});
        expectCases(check, cases);
    }
};

// ---- Replication service ----

TEST_F(AuthorizationTest, CapabilitiesMethodsShareOneKey)
{
    const Texts key = {"qbx_replicationservicecapabilities"};
    expectCases(authorize_ReplicationServiceCapabilitiesMethod,
                {{"nothing", {}, key}, {"anything", parameters({{"Operation", text("x")}}), key}});
}

const struct ReplicaCase
{
    Check check;
    const char* snapshot;
    const char* copy;
} REPLICAS[] = {
    {authorize_CreateGroupReplica, "qbx_replicationservice.creategroupreplica.creategroupsv",
     "qbx_replicationservice.creategroupreplica.creategroupvvcopy"},
    {authorize_CreateElementReplica, "qbx_replicationservice.createelementreplica.createsv",
     "qbx_replicationservice.createelementreplica.createvvcopy"},
};

TEST_F(AuthorizationTest, ReplicasAreToldBySyncType)
{
    const CIMValue null = nullOf(CIMTYPE_UINT16);
    for (const ReplicaCase& replica : REPLICAS) {
        SCOPED_TRACE(replica.copy);
        expectOnly(replica.check, "SYNCTYPE", {{7, replica.snapshot}, {8, replica.copy}},
                   parameters({{"mode", uint16(65535)}}));
        const int passes = 0;
        expectCases(
            replica.check,
            {
                {"nothing", {}, {}, passes},
                {"no mode", parameters({{"SyncType", uint16(7)}}), {}, passes},
                {"no mode, unknown type", parameters({{"SyncType", uint16(3)}}), {}, passes},
                {"no type", parameters({{"Mode", uint16(2)}}), {}, passes},
                {"null mode", parameters({{"SyncType", uint16(7)}, {"Mode", null}}), {}, passes},
                {"null type", parameters({{"SyncType", null}, {"Mode", uint16(2)}}), {}, passes},
                {"other type of mode",
                 parameters({{"SyncType", uint16(7)}, {"Mode", text("2")}}),
                 {}},
                {"other type alone", parameters({{"SyncType", text("7")}}), {}},
                {"the first value that is not null",
                 parameters({{"SyncType", null},
                             {"SyncType", uint16(8)},
                             {"SyncType", uint16(7)},
                             {"Mode", uint16(2)}}),
                 {replica.copy}},
            });
    }
}

TEST_F(AuthorizationTest, ReplicaSynchronizationsAreToldByOperation)
{
    const std::string prefix = "qbx_replicationservice.modifyreplicasynchronization.";
    expectOnly(authorize_ModifyReplicaSynchronization, "operation",
               {{2, prefix + "abort "},  // the blank belongs to the key
                {8, prefix + "dissolve"},
                {9, prefix + "dissolve"},
                {14, prefix + "resync"},
                {15, prefix + "restore"}});
    const Texts byDefault = {"qbx_replicationservice.createelementreplica.createvvcopy"};
    expectCases(
        authorize_ModifyReplicaSynchronization,
        {{"nothing", {}, byDefault},
         {"null", parameters({{"Operation", nullOf(CIMTYPE_UINT16)}}), byDefault},
         {"return to the pool",
          parameters({{"Operation", uint16(19)}, {"Synchronization", sync("QBX_StorageVolume")}}),
          {}}});
}

TEST_F(AuthorizationTest, ListSynchronizationsAreToldByOperation)
{
    const std::string prefix = "qbx_replicationservice.modifylistsynchronization.";
    expectOnly(authorize_ModifyListSynchronization, "operation",
               {{2, prefix + "abort"},
                {8, prefix + "dissolve"},
                {9, prefix + "dissolve"},
                {14, prefix + "resync"},
                {15, prefix + "restore"}});
    expectCases(
        static_cast<Check>(authorize_ModifyListSynchronization),
        {{"nothing", {}, {prefix + "resync"}},
         {"null", parameters({{"Operation", nullOf(CIMTYPE_UINT16)}}), {prefix + "resync"}}});
}

TEST_F(AuthorizationTest, ReturnedTargetsAreGroupsAndVolumes)
{
    const std::string group = "qbx_replicationservice.deletegroup";
    const std::string volume = "qbx_storageconfigurationservice.returntostoragepool";
    const auto in = [](const CIMValue& targetGroup, const CIMValue& synchronization) {
        return parameters({{"Operation", uint16(19)},
                           {"TARGETGROUP", targetGroup},
                           {"synchronization", synchronization}});
    };
    const CIMValue none = nullOf(CIMTYPE_REFERENCE);
    const CIMValue aGroup = ref("QBX_ReplicationGroup");
    const CIMValue aSync = sync("QBX_StorageVolume");
    expectCases(static_cast<Check>(authorize_ModifyListSynchronization),
                {
                    {"neither", in(none, none), {}},
                    {"group", in(aGroup, none), {group}},
                    {"volume", in(none, aSync), {volume}},
                    {"volumes", in(none, refs({aSync, aSync})), {volume, volume}},
                    {"both", in(aGroup, aSync), {group, volume}},
                    {"group without class", in(ref(""), none), {}},
                    {"group of another type", in(text("QBX_Group"), aSync), {}},
                    {"group and what is no synchronization", in(aGroup, text("x")), {}},
                    {"group and no volumes", in(aGroup, refs({})), {}},
                    {"target is no volume", in(none, sync("QBX_DynamicStoragePool")), {}},
                    {"no target", in(none, ref("QBX_StorageSynchronized")), {}},
                    {"malformed target", in(none, sync("no class")), {}},
                    {"one without target", in(aGroup, refs({aSync, ref("QBX_S")})), {}},
                });
}

// ---- Storage configuration service ----

TEST_F(AuthorizationTest, SynchronizationsAreToldByOperation)
{
    const std::string prefix = "qbx_storageconfigurationservice.modifysynchronization.";
    expectOnly(authorize_ModifySynchronization, "OPERATION",
               {{2, prefix + "detach"},
                {4, prefix + "resync"},
                {5, prefix + "restore"},
                {12, prefix + "startcopy"},
                {13, prefix + "stopcopy"}});
    expectCases(authorize_ModifySynchronization,
                {{"nothing", {}, {}},
                 {"19", parameters({{"Operation", uint16(19)}}), {}},
                 {"null", parameters({{"Operation", nullOf(CIMTYPE_UINT16)}}), {}},
                 {"null, then a value",
                  parameters({{"Operation", nullOf(CIMTYPE_UINT16)}, {"operation", uint16(4)}}),
                  {prefix + "resync"}}});
}

TEST_F(AuthorizationTest, PoolsAreCreatedOrSet)
{
    const std::string prefix = "qbx_storageconfigurationservice.createormodifystoragepool.";
    const Texts create = {prefix + "createcpg"};
    const Texts set = {prefix + "setcpg"};
    expectCases(
        authorize_CreateOrModifyStoragePool,
        {{"nothing", {}, create},
         {"null", parameters({{"Pool", nullOf(CIMTYPE_REFERENCE)}}), create},
         {"null of another type", parameters({{"Pool", nullOf(CIMTYPE_STRING)}}), create},
         {"without class", parameters({{"Pool", ref("")}}), create},
         {"other name", parameters({{"Pools", ref("QBX_DynamicStoragePool")}}), create},
         {"pool", parameters({{"pOOL", ref("QBX_DynamicStoragePool")}}), set},
         {"first without class", parameters({{"Pool", ref("")}, {"Pool", ref("A")}}), set},
         {"text", parameters({{"Pool", text("QBX_DynamicStoragePool.ID=\"1\"")}}), {}},
         {"text before the pool", parameters({{"Pool", text("x")}, {"Pool", ref("A")}}), {}},
         {"array", parameters({{"Pool", refs({ref("A")})}}), {}}});
}

TEST_F(AuthorizationTest, PoolsAreDeletedByTheirClass)
{
    const std::string prefix = "qbx_storageconfigurationservice.deletestoragepool.";
    expectCases(authorize_DeleteStoragePool,
                {{"dynamic",
                  parameters({{"pool", ref("QBX_DynamicStoragePool")}}),
                  {prefix + "deletedynamicstoragepool"}},
                 {"delta replica",
                  parameters({{"Pool", ref("qbx_DELTAReplicaStoragePool")}}),
                  {prefix + "deletedeltareplicastoragepool"}},
                 {"other pool", parameters({{"Pool", ref("QBX_StoragePool")}}), {}},
                 {"nothing", {}, {}},
                 {"null", parameters({{"Pool", nullOf(CIMTYPE_REFERENCE)}}), {}},
                 {"without class", parameters({{"Pool", ref("")}}), {}},
                 {"text", parameters({{"Pool", text("QBX_DynamicStoragePool")}}), {}},
                 {"array", parameters({{"Pool", refs({ref("QBX_DynamicStoragePool")})}}), {}}});
}

TEST_F(AuthorizationTest, VolumesAreCreatedGrownAndSet)
{
    const std::string prefix =
        "qbx_storageconfigurationservice.createormodifyelementfromstoragepool.";
    const std::string create = prefix + "createvolume";
    const std::string grow = prefix + "growvolume";
    const std::string set = prefix + "setvolume";
    const CIMValue size = CIMValue(Uint64(1));
    const CIMValue element = ref("QBX_StorageVolume");
    const int passes = 0;
    expectCases(
        authorize_CreateOrModifyElemFromStoragePool,
        {{"nothing", {}, {create}},
         {"new", parameters({{"Size", size}, {"ElementName", text("v")}}), {create}},
         {"null",
          parameters({{"TheElement", nullOf(CIMTYPE_REFERENCE)}, {"Size", size}}),
          {create}},
         {"without class", parameters({{"TheElement", ref("")}}), {create}},
         {"text", parameters({{"TheElement", text("QBX_StorageVolume")}, {"Size", size}}), {}},
         {"array", parameters({{"TheElement", refs({element})}, {"Size", size}}), {}},
         {"no change", parameters({{"TheElement", element}}), {}, passes},
         {"null change",
          parameters({{"TheElement", element},
                      {"Size", nullOf(CIMTYPE_UINT64)},
                      {"ElementName", nullOf(CIMTYPE_STRING)}}),
          {},
          passes},
         {"grow", parameters({{"SIZE", size}, {"THEELEMENT", element}}), {grow}},
         {"set", parameters({{"elementname", text("")}, {"theelement", element}}), {set}},
         {"both, by other types",
          parameters({{"ElementName", uint16(0)}, {"Size", text("")}, {"TheElement", element}}),
          {grow, set}}});
}

TEST_F(AuthorizationTest, EveryParameterOfAVolumeIsTracedWithoutNewline)
{
    authorize_CreateOrModifyElemFromStoragePool(
        "joe", parameters({{"TheElement", ref("QBX_StorageVolume")},
                           {"Size", CIMValue(Uint64(1))},
                           {"ElementName", text("v")},
                           {"100%s", nullOf(CIMTYPE_STRING)}}));
    EXPECT_EQ(api.events, (Texts{"4: Param TheElement", "4: Param Size", "4: Param ElementName",
                                 "4: Param 100%s",
                                 "api_authorizeCIMUser(joe, qbx_storageconfigurationservice."
                                 "createormodifyelementfromstoragepool.growvolume)",
                                 "api_authorizeCIMUser(joe, qbx_storageconfigurationservice."
                                 "createormodifyelementfromstoragepool.setvolume)"}));
}

TEST_F(AuthorizationTest, AllocationsAreSetByWhatIsAllocated)
{
    const std::string pool = "qbx_allocatedfromstoragepool.modifyinstance.setcpg";
    const std::string volume = "qbx_allocatedfromstoragepool.modifyinstance.setvv";
    const struct
    {
        const char* antecedent;
        const char* dependent;
        std::string key;
    } rows[] = {
        {"QBX_DynamicStoragePool.ID=\"1\"", "QBX_StorageVolume.ID=\"1\"", volume},
        {"QBX_DeltaReplicaStoragePool.ID=\"1\"", "//h/root/qbx:qbx_storageVOLUME.ID=\"1\"", volume},
        {"QBX_PrimordialStoragePool.ID=\"1\"", "QBX_DynamicStoragePool.ID=\"1\"", pool},
        {"//h/root/qbx:QBX_STORAGEPOOL.ID=\"1\"", "QBX_StoragePool.ID=\"1\"", pool},
        {"QBX_StorageVolume.ID=\"1\"", "QBX_StorageVolume.ID=\"1\"", ""},
        {"QBX_StorageVolume.ID=\"1\"", "QBX_DynamicStoragePool.ID=\"1\"", ""},
        {"QBX_DynamicStoragePool.ID=\"1\"", "QBX_DriveCage.ID=\"1\"", ""},
        {"QBX_DynamicStoragePool.ID=\"1\"", "QBX_StorageVolumeView.ID=\"1\"", ""},
        {"QBX_DynamicStoragePool.ID=\"1\"", "StorageVolume.ID=\"1\"", ""},
        {"XYZ_DynamicStoragePool.ID=\"1\"", "QBX_StorageVolume.ID=\"1\"", ""},
        {"QBX_DynamicStoragePool.ID=\"1\"", "no path", ""},
        {"no path", "QBX_StorageVolume.ID=\"1\"", ""},
        {"QBX_DynamicStoragePool.ID=\"1\"", "", ""},
        {nullptr, "QBX_StorageVolume.ID=\"1\"", ""},
        {"QBX_DynamicStoragePool.ID=\"1\"", nullptr, ""},
    };
    for (const auto& row : rows) {
        Keys keys;
        if (row.antecedent != nullptr) keys.push_back({"ANTECEDENT", row.antecedent});
        if (row.dependent != nullptr) keys.push_back({"dependent", row.dependent});
        const CIMObjectPath path = pathOf("QBX_AllocatedFromStoragePool", keys);
        const std::string what = str(path);
        const auto check = [&path](const String& user, const Parameters&) {
            return authorize_AllocatedFromStoragePoolModifyInstance(user, path);
        };
        expectCases(check, {{what.c_str(), {}, row.key.empty() ? Texts{} : Texts{row.key}}});
    }
}

// ---- Return of volumes ----

TEST_F(AuthorizationTest, VolumesOfUnknownKindNeedThePrivilegeForAnyKind)
{
    const std::string any = "qbx_storageconfigurationservice.returntostoragepool";
    const CIMValue volume = ref("QBX_StorageVolume");
    expectCases(
        static_cast<Check>(authorize_DeleteStorageVolume),
        {
            {"nothing", {}, {}},
            {"null",
             parameters({{"TheElement", nullOf(CIMTYPE_REFERENCE)},
                         {"TheElements", CIMValue(CIMTYPE_REFERENCE, true)}}),
             {}},
            {"volume", parameters({{"theELEMENT", volume}}), {any}},
            {"subclass", parameters({{"TheElement", ref("qbx_SomeStoragevolume")}}), {any}},
            {"pool", parameters({{"TheElement", ref("QBX_DynamicStoragePool")}}), {}},
            {"without class", parameters({{"TheElement", ref("")}}), {}},
            {"text", parameters({{"TheElement", text("QBX_StorageVolume")}}), {}},
            {"volumes", parameters({{"theELEMENTS", refs({volume, volume})}}), {any, any}},
            {"empty", parameters({{"TheElements", refs({})}}), {}},
            {"texts", parameters({{"TheElements", CIMValue(Array<String>(1, "x"))}}), {}},
            {"both",
             parameters({{"TheElements", refs({volume})}, {"TheElement", volume}}),
             {any, any}},
            {"volume and empty",
             parameters({{"TheElement", volume}, {"TheElements", refs({})}}),
             {}},
            {"text and volumes",
             parameters({{"TheElement", text("x")}, {"TheElements", refs({volume})}}),
             {}},
            {"last is a pool",
             parameters({{"TheElements", refs({volume, ref("QBX_StoragePool")})}}),
             {}},
            {"last has no class", parameters({{"TheElements", refs({volume, ref("")})}}), {}},
        });
}

TEST_F(AuthorizationTest, AModuleThatKnowsItsVolumesAsksByTheirKind)
{
    const std::string prefix = "qbx_storageconfigurationservice.returntostoragepool";
    const std::map<std::string, QBX_VolumeKind> kinds = {
        {"Base", QBX_VolumeKind::BaseVolume},
        {"Physical", QBX_VolumeKind::PhysicalCopy},
        {"Virtual", QBX_VolumeKind::VirtualCopy},
        {"Any", QBX_VolumeKind::Volume},
        {"QBX_StorageVolume", QBX_VolumeKind::NotAVolume},
    };
    const QBX_VolumeKindOf kindOf = [&](const CIMObjectPath& path) {
        return kinds.at(str(path.getClassName()));
    };
    const auto deleteVolume = [&](const String& user, const Parameters& in) {
        return authorize_DeleteStorageVolumeByKind(user, in, kindOf);
    };
    const std::vector<std::pair<std::string, Texts>> rows = {
        {"Base", {prefix + ".basevv"}},
        {"Physical", {prefix + ".physcopyvv"}},
        {"Virtual", {prefix + ".virtcopyvv"}},
        {"Any", {prefix}},
        {"QBX_StorageVolume", {}},
    };
    for (const auto& [className, keys] : rows) {
        expectCases(deleteVolume, {{"one", parameters({{"TheElement", ref(className)}}), keys}});
        const auto modifyList = [&](const String& user, const Parameters& in) {
            return authorize_ModifyListSynchronizationByKind(user, in, kindOf);
        };
        expectCases(modifyList,
                    {{"target",
                      parameters({{"Operation", uint16(19)}, {"Synchronization", sync(className)}}),
                      keys}});
    }
    expectCases(deleteVolume,
                {{"in their order",
                  parameters({{"TheElements", refs({ref("Physical"), ref("Base")})},
                              {"TheElement", ref("Virtual")}}),
                  {prefix + ".virtcopyvv", prefix + ".physcopyvv", prefix + ".basevv"}}});
}

TEST_F(AuthorizationTest, ARefusalInTheMiddleIsTheAnswerAndEndsTheQuestions)
{
    const std::string asks = "api_authorizeCIMUser(joe, qbx_storageconfigurationservice.";
    const std::string grow = asks + "createormodifyelementfromstoragepool.growvolume)";
    const std::string set = asks + "createormodifyelementfromstoragepool.setvolume)";
    api.status = {{set, 2}};
    EXPECT_EQ(authorize_CreateOrModifyElemFromStoragePool(
                  "joe", parameters({{"TheElement", ref("QBX_StorageVolume")},
                                     {"Size", CIMValue(Uint64(1))},
                                     {"ElementName", text("v")}})),
              2);
    EXPECT_EQ(api.calls(), (Texts{grow, set}));

    const std::string base = asks + "returntostoragepool.basevv)";
    const std::string copy = asks + "returntostoragepool.virtcopyvv)";
    api.events.clear();
    api.status = {{base, 1}};
    EXPECT_EQ(
        authorize_DeleteStorageVolume(
            "joe", parameters({{"TheElements", refs({ref("Copy"), ref("Base"), ref("Copy")})}}),
            [](const CIMObjectPath& path) {
                return path.getClassName() == CIMName("Base") ? QBX_VolumeKind::BaseVolume
                                                              : QBX_VolumeKind::VirtualCopy;
            }),
        1);
    EXPECT_EQ(api.calls(), (Texts{copy, base}));
}

}  // namespace
