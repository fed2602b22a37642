// The privilege checks of storage methods: which key is asked for, in which order, and when nobody
// is asked.
#include "ProviderTest.h"

#include "QBX_Common.h"

#include <map>

using namespace Pegasus;

namespace
{

using Parameters = Array<CIMParamValue>;
using Check = std::function<int(const String&, const Parameters&)>;

/// What a call asks, and what it answers when nobody is asked.
struct Case
{
    std::string in;   ///< as parameters() reads it, and "Synchronization=sync:CLASS,CLASS"
    Texts keys = {};  ///< asked for, in order, after the prefix
    int unasked = 3;
};

const int PASSES = 0;

/// The parameters of a row. A synchronization refers to a target volume of the class, or to none.
Parameters parametersOf(const std::string& in)
{
    const std::size_t sync = in.find("Synchronization=sync:");
    Parameters result = parameters(in.substr(0, sync));
    if (sync == std::string::npos) return result;
    const std::string value = in.substr(in.find(':', sync) + 1);
    const auto target = [](const std::string& className) {
        Keys keys = {{"SystemElement", "QBX_StorageVolume.ID=\"source\""}};
        if (!className.empty()) keys.push_back({"SyncedElement", className + ".ID=\"target\""});
        return pathOf("QBX_StorageSynchronized", keys);
    };
    const std::size_t comma = value.find(',');
    if (comma == std::string::npos) {
        result.append(CIMParamValue("synchronization", CIMValue(target(value))));
        return result;
    }
    Array<CIMObjectPath> paths;
    paths.append(target(value.substr(0, comma)));
    paths.append(target(value.substr(comma + 1)));
    result.append(CIMParamValue("synchronization", CIMValue(paths)));
    return result;
}

class AuthorizationTest : public ProviderTest
{
protected:
    /// Checks every row with all granted, and with each question in turn refused.
    void expectCases(const Check& check, const std::string& prefix, const std::vector<Case>& cases)
    {
        for (const Case& row : cases) {
            SCOPED_TRACE(row.in);
            expectDecision(check, prefix, row, 0, 0);
            for (unsigned refused = 1; refused <= row.keys.size(); ++refused) {
                for (const int decision : {1, 2, 3})
                    expectDecision(check, prefix, row, refused, decision);
            }
        }
    }

    /// For a uint16 parameter: every number but these selects nothing, and no other type does.
    void expectOnly(const Check& check, const std::string& name, const std::string& prefix,
                    const std::map<unsigned, std::string>& keys, const std::string& others = "")
    {
        std::vector<Case> cases;
        for (const unsigned number :
             {0u,  1u,  2u,  3u,  4u,  5u,  6u,  7u,  8u,   9u,   10u,   11u,
              12u, 13u, 14u, 15u, 16u, 17u, 18u, 20u, 255u, 258u, 65535u}) {
            cases.push_back({others + name + "=u16:" + std::to_string(number)});
            const auto found = keys.find(number);
            if (found != keys.end()) cases.back().keys = {found->second};
        }
        for (const char* type : {"str", "u8", "u32", "s16", "u16[]"})
            cases.push_back(
                {others + name + "=" + type + ":" + std::to_string(keys.begin()->first)});
        expectCases(check, prefix, cases);
    }

private:
    void expectDecision(const Check& check, const std::string& prefix, const Case& row,
                        unsigned refused, int decision)
    {
        array.mend();
        if (refused != 0) array.fail("api_authorizeCIMUser", decision, refused);
        const int answer = check("joe", parametersOf(row.in));
        EXPECT_EQ(answer, row.keys.empty() ? row.unasked : decision);
        Texts asked;
        for (const std::string& key : row.keys) {
            const bool isLast = asked.size() + 1 == refused;
            asked.push_back("api_authorizeCIMUser(\"joe\", \"" + prefix + key +
                            "\") = " + std::to_string(isLast ? decision : 0));
            if (isLast) break;
        }
        EXPECT_EQ(array.calls(), asked) << "question " << refused << " is answered " << decision;
    }
};

const std::string REPLICATION = "qbx_replicationservice.";
const std::string CONFIGURATION = "qbx_storageconfigurationservice.";

// ---- Replication service ----

TEST_F(AuthorizationTest, CapabilitiesMethodsShareOneKey)
{
    const Texts key = {"qbx_replicationservicecapabilities"};
    expectCases(authorize_ReplicationServiceCapabilitiesMethod, "",
                {{"", key}, {"Operation=str:x", key}});
}

TEST_F(AuthorizationTest, ReplicasAreToldBySyncType)
{
    const struct
    {
        Check check;
        const char* snapshot;
        const char* copy;
    } replicas[] = {
        {authorize_CreateGroupReplica, "creategroupreplica.creategroupsv",
         "creategroupreplica.creategroupvvcopy"},
        {authorize_CreateElementReplica, "createelementreplica.createsv",
         "createelementreplica.createvvcopy"},
    };
    for (const auto& replica : replicas) {
        expectOnly(replica.check, "SYNCTYPE", REPLICATION,
                   {{7, replica.snapshot}, {8, replica.copy}}, "mode=u16:65535 ");
        expectCases(
            replica.check, REPLICATION,
            {
                {"", {}, PASSES},
                {"SyncType=u16:7", {}, PASSES},
                {"SyncType=u16:3", {}, PASSES},
                {"SyncType=str:7", {}, PASSES},
                {"Mode=u16:2", {}, PASSES},
                {"SyncType=u16:7 Mode=u16:null", {}, PASSES},
                {"SyncType=u16:null Mode=u16:2", {}, PASSES},
                {"SyncType=u16:7 Mode=str:2", {replica.snapshot}},
                {"SyncType=u16:null SyncType=u16:8 SyncType=u16:7 Mode=u16[]:2", {replica.copy}},
            });
    }
}

TEST_F(AuthorizationTest, SynchronizationsAreToldByOperation)
{
    expectOnly(authorize_ModifyReplicaSynchronization, "operation",
               REPLICATION + "modifyreplicasynchronization.",
               {{2, "abort "},  // the blank belongs to the key
                {8, "dissolve"},
                {9, "dissolve"},
                {14, "resync"},
                {15, "restore"}});
    const Texts byDefault = {"createelementreplica.createvvcopy"};
    expectCases(authorize_ModifyReplicaSynchronization, REPLICATION,
                {{"", byDefault},
                 {"Operation=u16:null", byDefault},
                 {"Operation=u16:19 Synchronization=sync:QBX_StorageVolume"}});

    const std::string list = REPLICATION + "modifylistsynchronization.";
    expectOnly(authorize_ModifyListSynchronization, "operation", list,
               {{2, "abort"}, {8, "dissolve"}, {9, "dissolve"}, {14, "resync"}, {15, "restore"}});
    expectCases(authorize_ModifyListSynchronization, list,
                {{"", {"resync"}}, {"Operation=u16:null", {"resync"}}});

    const std::string plain = CONFIGURATION + "modifysynchronization.";
    expectOnly(authorize_ModifySynchronization, "OPERATION", plain,
               {{2, "detach"}, {4, "resync"}, {5, "restore"}, {12, "startcopy"}, {13, "stopcopy"}});
    expectCases(authorize_ModifySynchronization, plain,
                {{""},
                 {"Operation=u16:19"},
                 {"Operation=u16:null"},
                 {"Operation=u16:null operation=u16:4", {"resync"}}});
}

TEST_F(AuthorizationTest, ReturnedTargetsAreGroupsAndVolumes)
{
    const Texts group = {REPLICATION + "deletegroup"};
    const Texts volume = {CONFIGURATION + "returntostoragepool"};
    const std::string in = "Operation=u16:19 ";
    const std::string both = in + "TARGETGROUP=ref:QBX_ReplicationGroup ";
    expectCases(
        authorize_ModifyListSynchronization, "",
        {
            {in},
            {both, group},
            {in + "Synchronization=sync:QBX_StorageVolume", volume},
            {in + "Synchronization=sync:QBX_StorageVolume,QBX_StorageVolume", volume + volume},
            {both + "Synchronization=sync:QBX_StorageVolume", group + volume},
            {in + "TargetGroup=ref:"},
            {in + "TargetGroup=str:x Synchronization=sync:QBX_StorageVolume"},
            {both + "Synchronization=str:x"},
            {both + "Synchronization=ref[]:"},
            {in + "Synchronization=sync:QBX_DynamicStoragePool"},
            {in + "Synchronization=sync:"},
            {in + "Synchronization=sync:no class"},
            {both + "Synchronization=sync:QBX_StorageVolume,"},
        });
}

// ---- Storage configuration service ----

TEST_F(AuthorizationTest, PoolsAreCreatedSetAndDeleted)
{
    expectCases(authorize_CreateOrModifyStoragePool, CONFIGURATION + "createormodifystoragepool.",
                {{"", {"createcpg"}},
                 {"Pool=ref:null", {"createcpg"}},
                 {"Pool=str:null", {"createcpg"}},
                 {"Pool=ref:", {"createcpg"}},
                 {"Pools=ref:QBX_DynamicStoragePool", {"createcpg"}},
                 {"pOOL=ref:QBX_DynamicStoragePool", {"setcpg"}},
                 {"Pool=ref: Pool=ref:A", {"setcpg"}},
                 {"Pool=str:A"},
                 {"Pool=str:A Pool=ref:A"},
                 {"Pool=ref[]:A"}});
    expectCases(authorize_DeleteStoragePool, CONFIGURATION + "deletestoragepool.",
                {{"pool=ref:QBX_DynamicStoragePool", {"deletedynamicstoragepool"}},
                 {"Pool=ref:qbx_DELTAReplicaStoragePool", {"deletedeltareplicastoragepool"}},
                 {"Pool=ref:QBX_StoragePool"},
                 {""},
                 {"Pool=ref:null"},
                 {"Pool=ref:"},
                 {"Pool=str:QBX_DynamicStoragePool"},
                 {"Pool=ref[]:QBX_DynamicStoragePool"}});
}

TEST_F(AuthorizationTest, VolumesAreCreatedGrownAndSet)
{
    const std::string prefix = CONFIGURATION + "createormodifyelementfromstoragepool.";
    const std::string volume = "THEELEMENT=ref:QBX_StorageVolume ";
    expectCases(authorize_CreateOrModifyElemFromStoragePool, prefix,
                {{"", {"createvolume"}},
                 {"Size=u64:1 ElementName=str:v", {"createvolume"}},
                 {"TheElement=ref:null Size=u64:1", {"createvolume"}},
                 {"TheElement=ref:", {"createvolume"}},
                 {"TheElement=str:QBX_StorageVolume Size=u64:1"},
                 {"TheElement=ref[]:QBX_StorageVolume Size=u64:1"},
                 {volume, {}, PASSES},
                 {volume + "Size=u64:null ElementName=str:null", {}, PASSES},
                 {"SIZE=u64:1 " + volume, {"growvolume"}},
                 {"elementname=str: " + volume, {"setvolume"}},
                 {"ElementName=u16:0 Size=str: " + volume, {"growvolume", "setvolume"}}});

    // Every parameter is traced, without a newline.
    array.forget();
    authorize_CreateOrModifyElemFromStoragePool("joe", parameters("Size=u64:1 100%s=str:null"));
    EXPECT_EQ(array.events(),
              (Texts{"4: Param Size", "4: Param 100%s",
                     "api_authorizeCIMUser(\"joe\", \"" + prefix + "createvolume\") = 0"}));
}

TEST_F(AuthorizationTest, AllocationsAreSetByWhatIsAllocated)
{
    const Texts pool = {"setcpg"};
    const Texts volume = {"setvv"};
    const struct
    {
        const char* antecedent;
        const char* dependent;
        Texts keys;
    } rows[] = {
        {"QBX_DynamicStoragePool.ID=\"1\"", "QBX_StorageVolume.ID=\"1\"", volume},
        {"QBX_DeltaReplicaStoragePool.ID=\"1\"", "//h/root/qbx:qbx_storageVOLUME.ID=\"1\"", volume},
        {"QBX_PrimordialStoragePool.ID=\"1\"", "QBX_DynamicStoragePool.ID=\"1\"", pool},
        {"//h/root/qbx:QBX_STORAGEPOOL.ID=\"1\"", "QBX_StoragePool.ID=\"1\"", pool},
        {"QBX_StorageVolume.ID=\"1\"", "QBX_StorageVolume.ID=\"1\"", {}},
        {"QBX_StorageVolume.ID=\"1\"", "QBX_DynamicStoragePool.ID=\"1\"", {}},
        {"QBX_DynamicStoragePool.ID=\"1\"", "QBX_StorageVolumeView.ID=\"1\"", {}},
        {"QBX_DynamicStoragePool.ID=\"1\"", "StorageVolume.ID=\"1\"", {}},
        {"XYZ_DynamicStoragePool.ID=\"1\"", "QBX_StorageVolume.ID=\"1\"", {}},
        {"QBX_DynamicStoragePool.ID=\"1\"", "no path", {}},
        {"no path", "QBX_StorageVolume.ID=\"1\"", {}},
        {nullptr, "QBX_StorageVolume.ID=\"1\"", {}},
        {"QBX_DynamicStoragePool.ID=\"1\"", nullptr, {}},
    };
    for (const auto& row : rows) {
        Keys keys;
        if (row.antecedent != nullptr) keys.push_back({"ANTECEDENT", row.antecedent});
        if (row.dependent != nullptr) keys.push_back({"dependent", row.dependent});
        const CIMObjectPath path = pathOf("QBX_AllocatedFromStoragePool", keys);
        SCOPED_TRACE(str(path));
        expectCases(
            [&path](const String& user, const Parameters&) {
                return authorize_AllocatedFromStoragePoolModifyInstance(user, path);
            },
            "qbx_allocatedfromstoragepool.modifyinstance.", {{"", row.keys}});
    }
}

// ---- Return of volumes ----

TEST_F(AuthorizationTest, VolumesOfUnknownKindNeedThePrivilegeForAnyKind)
{
    const Texts any = {"returntostoragepool"};
    expectCases(
        authorize_DeleteStorageVolume, CONFIGURATION,
        {
            {""},
            {"TheElement=ref:null TheElements=ref[]:null"},
            {"theELEMENT=ref:QBX_StorageVolume", any},
            {"TheElement=ref:qbx_SomeStoragevolume", any},
            {"TheElement=ref:QBX_DynamicStoragePool"},
            {"TheElement=ref:"},
            {"TheElement=str:QBX_StorageVolume"},
            {"theELEMENTS=ref[]:QBX_StorageVolume,QBX_StorageVolume", any + any},
            {"TheElements=ref[]:"},
            {"TheElements=str[]:x"},
            {"TheElements=ref[]:QBX_StorageVolume TheElement=ref:QBX_StorageVolume", any + any},
            {"TheElement=ref:QBX_StorageVolume TheElements=ref[]:"},
            {"TheElement=str:x TheElements=ref[]:QBX_StorageVolume"},
            {"TheElements=ref[]:QBX_StorageVolume,QBX_StoragePool"},
            {"TheElements=ref[]:QBX_StorageVolume,,QBX_StorageVolume"},
        });
}

TEST_F(AuthorizationTest, AModuleThatKnowsItsVolumesAsksByTheirKind)
{
    using namespace std::placeholders;
    const struct
    {
        std::string className;
        QBX_VolumeKind kind;
        Texts keys;
    } kinds[] = {
        {"Base", QBX_VolumeKind::BaseVolume, {".basevv"}},
        {"Physical", QBX_VolumeKind::PhysicalCopy, {".physcopyvv"}},
        {"Virtual", QBX_VolumeKind::VirtualCopy, {".virtcopyvv"}},
        {"Any", QBX_VolumeKind::Volume, {""}},
        {"QBX_StorageVolume", QBX_VolumeKind::NotAVolume, {}},
    };
    const QBX_VolumeKindOf kindOf = [&](const CIMObjectPath& path) {
        const auto* row = std::begin(kinds);
        while (row->className != str(path.getClassName()))
            ++row;
        return row->kind;
    };
    const Check deletion = std::bind(authorize_DeleteStorageVolumeByKind, _1, _2, kindOf);
    const Check list = std::bind(authorize_ModifyListSynchronizationByKind, _1, _2, kindOf);
    const std::string prefix = CONFIGURATION + "returntostoragepool";
    for (const auto& row : kinds) {
        expectCases(deletion, prefix, {{"TheElement=ref:" + row.className, row.keys}});
        expectCases(list, prefix,
                    {{"Operation=u16:19 Synchronization=sync:" + row.className, row.keys}});
    }
    expectCases(deletion, prefix,
                {{"TheElements=ref[]:Physical,Base TheElement=ref:Virtual",
                  {".virtcopyvv", ".physcopyvv", ".basevv"}}});
}

}  // namespace
