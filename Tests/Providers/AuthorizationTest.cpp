// The privilege checks of storage methods: which keys are checked, in which order, and when none
// is.
#include "ProviderTest.h"
#include "QBX_VolumeAuthorization.h"

#include "QBX_Common.h"

namespace
{

using Check = int (*)(const String&, const Array<CIMParamValue>&);

/// A call of a privilege check and the keys that it asks for, in order. Without any it returns 3
/// (unsupported method), or 0 for PASSES.
struct AuthorizationRow : Row
{
    Check check;
    Parameters in;
    Texts keys;
};

const Texts PASSES = {"(passes)"};

class AuthorizationTest : public RowTest<AuthorizationRow, ProviderTest>
{
protected:
    /// The keys must be checked up to that one (from 1; 0: none), which it refuses with
    /// that decision.
    void expectKeys(const Texts& keys, std::size_t refused, int decision, int result)
    {
        array.mend();
        if (refused != 0)
            array.fail("api_authorizeCIMUser", decision, static_cast<unsigned>(refused));
        EXPECT_EQ(row.check("joe", row.in), result);
        Texts calls;
        for (std::size_t i = 1; i <= (refused == 0 ? keys.size() : refused); ++i)
            calls.push_back("api_authorizeCIMUser(\"joe\", \"" + keys[i - 1] +
                            "\") = " + std::to_string(i == refused ? decision : 0));
        EXPECT_LIST(array.calls(), calls);
    }
};

TEST_P(AuthorizationTest, ChecksKeysUpToTheFirstRefusal)
{
    const Texts keys = row.keys == PASSES ? Texts() : row.keys;
    expectKeys(keys, 0, 0, row.keys.empty() ? 3 : 0);
    for (std::size_t refused = 1; refused <= keys.size(); ++refused)
        expectKeys(keys, refused, 2, 2);
}

// ---- The ways to write parameters ----

/// The path of an object of a class, or none for "".
CIMObjectPath objectOf(const std::string& className)
{
    return className.empty() ? CIMObjectPath() : pathOf(className, {{"ID", "1"}});
}

/// The path of a synchronization by the class of its target.
CIMObjectPath synchronizationOf(const std::string& target)
{
    const std::string key = target.empty() ? "SystemElement" : "SyncedElement";
    return pathOf("QBX_StorageSynchronized", {{key, target + ".ID=\"1\""}});
}

CIMParamValue reference(const char* name, const std::string& className)
{
    return parameter(name, objectOf(className));
}

CIMParamValue synchronization(const std::string& target)
{
    return parameter("Synchronization", synchronizationOf(target));
}

/// References to what `to` makes of each text.
CIMParamValue references(const char* name, const Texts& texts,
                         CIMObjectPath (*to)(const std::string&) = objectOf)
{
    Array<CIMObjectPath> paths;
    for (const std::string& text : texts)
        paths.append(to(text));
    return parameter(name, paths);
}

CIMParamValue synchronizations(const Texts& targets)
{
    return references("synchronization", targets, synchronizationOf);
}

CIMParamValue operation(Uint16 number)
{
    return uint16("OPERATION", number);
}

/// The keys of the association are written as parameters.
int allocatedFromStoragePool(const String& user, const Array<CIMParamValue>& keys)
{
    Keys texts;
    for (Uint32 i = 0; i < keys.size(); ++i)
        texts.push_back({str(keys[i].getParameterName()), str(keys[i].getValue())});
    return authorize_AllocatedFromStoragePoolModifyInstance(
        user, pathOf("QBX_AllocatedFromStoragePool", texts));
}

template <QBX_VolumeKind kind>
int deleteOf(const String& user, const Array<CIMParamValue>& parameters)
{
    const auto kindOf = [](const CIMObjectPath&) { return kind; };
    return authorize_DeleteStorageVolumeByKind(user, parameters, kindOf);
}

const char VOLUME[] = "QBX_StorageVolume";
const char POOL[] = "QBX_DynamicStoragePool";
const CIMParamValue MODE = uint16("mode", 65535);
const CIMParamValue SIZE = parameter("SIZE", Uint64(1));
const CIMParamValue ELEMENT_NAME = string("elementname", "");
const CIMParamValue GROUP_REFERENCE = reference("TARGETGROUP", "QBX_ReplicationGroup");

// ---- Replication service ----

const Check CAPABILITIES = authorize_ReplicationServiceCapabilitiesMethod;
const Check GROUP_REPLICA = authorize_CreateGroupReplica;
const Check ELEMENT_REPLICA = authorize_CreateElementReplica;
const Check REPLICA_SYNC = authorize_ModifyReplicaSynchronization;
const Check LIST_SYNC = authorize_ModifyListSynchronization;
const std::string LIST = "qbx_replicationservice.modifylistsynchronization.";
const std::string REPLICA = "qbx_replicationservice.modifyreplicasynchronization.";
const std::string CREATE_GROUP = "qbx_replicationservice.creategroupreplica.";
const std::string CREATE_ELEMENT = "qbx_replicationservice.createelementreplica.";
const std::string DELETE_GROUP = "qbx_replicationservice.deletegroup";
const std::string RETURN = "qbx_storageconfigurationservice.returntostoragepool";

// clang-format off
const std::vector<AuthorizationRow> REPLICATION = {
    {"Capabilities", CAPABILITIES, {}, {"qbx_replicationservicecapabilities"}},

    {"GroupSnapshot", GROUP_REPLICA, {MODE, uint16("SYNCTYPE", 7)},
     {CREATE_GROUP + "creategroupsv"}},
    {"GroupModeWithoutClass", GROUP_REPLICA, {reference("Mode", ""), uint16("SyncType", 7)},
     {CREATE_GROUP + "creategroupsv"}},
    {"GroupCopy", GROUP_REPLICA, {uint16("SyncType", 8), MODE},
     {CREATE_GROUP + "creategroupvvcopy"}},
    {"ElementSnapshot", ELEMENT_REPLICA, {MODE, uint16("SYNCTYPE", 7)},
     {CREATE_ELEMENT + "createsv"}},
    {"ElementCopy", ELEMENT_REPLICA, {MODE, uint16("SyncType", 8)},
     {CREATE_ELEMENT + "createvvcopy"}},
    {"ElementWithoutSyncType", ELEMENT_REPLICA, {MODE}, PASSES},
    {"ElementTypeOfAnotherType", ELEMENT_REPLICA, {MODE, string("SyncType", "7")}, {}},
    {"ElementOther", ELEMENT_REPLICA, {MODE, uint16("SyncType", 256 + 7)}, {}},
    {"ElementNullMode", ELEMENT_REPLICA, {null("Mode", CIMTYPE_UINT16), uint16("SyncType", 7)},
     PASSES},
    {"ElementFirstThatIsNotNull", ELEMENT_REPLICA,
     {null("SyncType", CIMTYPE_UINT16), uint16("SyncType", 8), uint16("SyncType", 7), MODE},
     {CREATE_ELEMENT + "createvvcopy"}},

    {"ReplicaAbort", REPLICA_SYNC, {operation(2)}, {REPLICA + "abort "}},
    {"ReplicaDetach", REPLICA_SYNC, {operation(8)}, {REPLICA + "dissolve"}},
    {"ReplicaDissolve", REPLICA_SYNC, {operation(9)}, {REPLICA + "dissolve"}},
    {"ReplicaResync", REPLICA_SYNC, {operation(14)}, {REPLICA + "resync"}},
    {"ReplicaRestore", REPLICA_SYNC, {operation(15)}, {REPLICA + "restore"}},
    {"ReplicaWithoutOperation", REPLICA_SYNC, {}, {CREATE_ELEMENT + "createvvcopy"}},

    {"ListAbort", LIST_SYNC, {operation(2)}, {LIST + "abort"}},
    {"ListDetach", LIST_SYNC, {operation(8)}, {LIST + "dissolve"}},
    {"ListDissolve", LIST_SYNC, {operation(9)}, {LIST + "dissolve"}},
    {"ListResync", LIST_SYNC, {operation(14)}, {LIST + "resync"}},
    {"ListRestore", LIST_SYNC, {operation(15)}, {LIST + "restore"}},
    {"ListWithoutOperation", LIST_SYNC, {}, {LIST + "resync"}},
    {"ListOther", LIST_SYNC, {operation(256 + 2)}, {}},
    {"ListOfAnotherType", LIST_SYNC, {parameter("Operation", Array<Uint16>(1, Uint16(2)))}, {}},
    {"ListReturnOfNothing", LIST_SYNC, {operation(19)}, {}},
    {"ListReturnOfGroup", LIST_SYNC, {operation(19), GROUP_REFERENCE}, {DELETE_GROUP}},
    {"ListReturnOfTwo", LIST_SYNC, {operation(19), synchronizations({VOLUME, VOLUME})},
     {RETURN, RETURN}},
    {"ListReturnOfBoth", LIST_SYNC, {operation(19), synchronization(VOLUME), GROUP_REFERENCE},
     {DELETE_GROUP, RETURN}},
    {"ListGroupWithoutClass", LIST_SYNC, {operation(19), reference("TargetGroup", "")}, {}},
    {"ListSynchronizationOfAnotherType", LIST_SYNC,
     {operation(19), GROUP_REFERENCE, string("Synchronization", "x")}, {}},
    {"ListGroupOfAnotherType", LIST_SYNC, {operation(19), string("TargetGroup", "x")}, {}},
    {"ListEmptySynchronizations", LIST_SYNC, {operation(19), GROUP_REFERENCE, synchronizations({})},
     {}},
    {"ListReturnOfNoPath", LIST_SYNC, {operation(19), synchronization("no!class")}, {}},
    {"ListReturnOfOneWithoutTarget", LIST_SYNC,
     {operation(19), GROUP_REFERENCE, synchronizations({VOLUME, "", VOLUME})}, {}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Replication, AuthorizationTest, testing::ValuesIn(REPLICATION),
                         NameOfRow());

// ---- Storage configuration service ----

const Check SYNC = authorize_ModifySynchronization;
const Check SET_POOL = authorize_CreateOrModifyStoragePool;
const Check DELETE_POOL = authorize_DeleteStoragePool;
const Check SET_VOLUME = authorize_CreateOrModifyElemFromStoragePool;
const Check DELETE_VOLUME = authorize_DeleteStorageVolume;
const Check ALLOCATED = allocatedFromStoragePool;
const std::string MODIFY_SYNC = "qbx_storageconfigurationservice.modifysynchronization.";
const std::string STORAGE_POOL = "qbx_storageconfigurationservice.createormodifystoragepool.";
const std::string DELETE = "qbx_storageconfigurationservice.deletestoragepool.";
const std::string ELEMENT = "qbx_storageconfigurationservice.createormodifyelementfromstoragepool.";
const std::string LIMITS = "qbx_allocatedfromstoragepool.modifyinstance.";
const CIMParamValue OF_POOL = string("ANTECEDENT", "QBX_DynamicStoragePool.ID=\"1\"");
const CIMParamValue TO_VOLUME = string("dependent", "//h/root/qbx:qbx_storageVOLUME.ID=\"1\"");

// clang-format off
const std::vector<AuthorizationRow> CONFIGURATION = {
    {"Detach", SYNC, {operation(2)}, {MODIFY_SYNC + "detach"}},
    {"Resync", SYNC, {operation(4)}, {MODIFY_SYNC + "resync"}},
    {"Restore", SYNC, {operation(5)}, {MODIFY_SYNC + "restore"}},
    {"StartCopy", SYNC, {operation(12)}, {MODIFY_SYNC + "startcopy"}},
    {"StopCopy", SYNC, {operation(13)}, {MODIFY_SYNC + "stopcopy"}},
    {"SynchronizationOther", SYNC, {operation(3)}, {}},
    {"SynchronizationWithoutOperation", SYNC, {}, {}},

    {"NewPool", SET_POOL, {}, {STORAGE_POOL + "createcpg"}},
    {"PoolWithoutClass", SET_POOL, {reference("Pool", "")}, {STORAGE_POOL + "createcpg"}},
    {"ExistingPool", SET_POOL, {reference("pOOL", POOL)}, {STORAGE_POOL + "setcpg"}},
    {"PoolOfAnotherType", SET_POOL, {string("Pool", POOL), reference("Pool", POOL)}, {}},
    {"ArrayOfPools", SET_POOL, {references("Pool", {POOL})}, {}},

    {"DeleteDynamicPool", DELETE_POOL, {reference("pool", POOL)},
     {DELETE + "deletedynamicstoragepool"}},
    {"DeleteDeltaPool", DELETE_POOL, {reference("Pool", "qbx_DELTAReplicaStoragePool")},
     {DELETE + "deletedeltareplicastoragepool"}},
    {"DeleteWithoutPool", DELETE_POOL, {}, {}},
    {"DeletePoolOfAnotherType", DELETE_POOL, {string("Pool", POOL)}, {}},
    {"DeleteOtherPool", DELETE_POOL, {reference("Pool", "QBX_StoragePool")}, {}},

    {"NewVolume", SET_VOLUME, {SIZE, ELEMENT_NAME}, {ELEMENT + "createvolume"}},
    {"VolumeWithoutClass", SET_VOLUME, {reference("TheElement", "")}, {ELEMENT + "createvolume"}},
    {"VolumeOfAnotherType", SET_VOLUME, {string("TheElement", VOLUME), SIZE}, {}},
    {"VolumeUnchanged", SET_VOLUME, {reference("THEELEMENT", VOLUME)}, PASSES},
    {"SizeWithoutClass", SET_VOLUME, {reference("Size", ""), reference("TheElement", VOLUME)},
     {ELEMENT + "growvolume"}},
    {"SetVolume", SET_VOLUME, {ELEMENT_NAME, reference("TheElement", VOLUME)},
     {ELEMENT + "setvolume"}},
    {"GrowAndSetVolume", SET_VOLUME,
     {reference("ElementName", ""), reference("TheElement", VOLUME), string("Size", "")},
     {ELEMENT + "growvolume", ELEMENT + "setvolume"}},

    {"DeleteNullElements", DELETE_VOLUME,
     {null("TheElements", CIMTYPE_REFERENCE, true), reference("TheElement", VOLUME)}, {RETURN}},
    {"DeleteVolume", DELETE_VOLUME, {reference("theELEMENT", "qbx_SomeStoragevolume")}, {RETURN}},
    {"DeleteOfAnotherPrefix", DELETE_VOLUME, {reference("TheElement", "XYZ_StorageVolume")}, {}},
    {"DeleteOneAndOthers", DELETE_VOLUME,
     {references("TheElements", {VOLUME}), reference("TheElement", VOLUME)}, {RETURN, RETURN}},
    {"DeleteEmptyArray", DELETE_VOLUME,
     {reference("TheElement", VOLUME), references("TheElements", {})}, {}},
    {"DeleteVolumeAndPool", DELETE_VOLUME, {references("TheElements", {VOLUME, POOL})}, {}},
    {"DeleteBaseVolume", deleteOf<QBX_VolumeKind::BaseVolume>, {reference("TheElement", VOLUME)},
     {RETURN + ".basevv"}},
    {"DeletePhysicalCopy", deleteOf<QBX_VolumeKind::PhysicalCopy>,
     {reference("TheElement", VOLUME)}, {RETURN + ".physcopyvv"}},
    {"DeleteVirtualCopy", deleteOf<QBX_VolumeKind::VirtualCopy>, {reference("TheElement", VOLUME)},
     {RETURN + ".virtcopyvv"}},

    {"LimitsOfVolume", ALLOCATED, {OF_POOL, TO_VOLUME}, {LIMITS + "setvv"}},
    {"LimitsOfPool", ALLOCATED, {OF_POOL, string("Dependent", "QBX_STORAGEPOOL.ID=\"1\"")},
     {LIMITS + "setcpg"}},
    {"LimitsOfCage", ALLOCATED, {OF_POOL, string("Dependent", "QBX_DriveCage.ID=\"1\"")}, {}},
    {"LimitsWithoutPool", ALLOCATED, {TO_VOLUME}, {}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Configuration, AuthorizationTest, testing::ValuesIn(CONFIGURATION),
                         NameOfRow());

using StorageMethodTest = ProviderTest;

TEST_F(StorageMethodTest, TracesParametersOfVolumesWithoutNewline)
{
    SET_VOLUME("joe", Parameters{SIZE, null("100%s", CIMTYPE_STRING)});
    EXPECT_LIST(array.events().startingWith("4:"), {"4: Param SIZE", "4: Param 100%s"});
}

}  // namespace
