// Privilege checks for the methods of the storage configuration and replication services.
#ifndef QBX_Authorization_h
#define QBX_Authorization_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// @defgroup authorization Storage-method privileges
///
/// A provider module asks one of these functions before it carries out a method of the storage
/// configuration or the replication service. Each derives from the method's input parameters what
/// the call is going to do, and asks the array whether the user may do that.
///
/// All return what api_authorizeCIMUser() returned: 0 authorized, 1 unauthorized user, 2 user not
/// found, 3 unsupported method. A call that cannot be mapped to an action is answered with 3, and
/// the array is not asked.
///
/// Parameters are found by name (case ignored). A null value does not count, nor, for a parameter
/// that the method declares as a reference, a path without class name; of several values of one
/// name the first that counts is taken. A value of another type than the method declares maps to
/// no action: the answer is 3. (CIM servers convert what clients send untyped, but pass typed
/// values on unchecked.)
///
/// The functions may be called from any number of threads at once. They throw nothing on their own
/// account.
/// @{

/// Every method of the replication service's capabilities; no parameter is looked at.
int authorize_ReplicationServiceCapabilitiesMethod(const String& user,
                                                   const Array<CIMParamValue>& parameters);

/// CreateGroupReplica: by "SyncType" (uint16), 7 a group of snapshots, 8 a group of copies. Passes
/// (0, nobody is asked) when "SyncType" or "Mode" is missing: the method itself refuses such a
/// call. Of "Mode" neither value nor type is looked at.
int authorize_CreateGroupReplica(const String& user, const Array<CIMParamValue>& parameters);

/// CreateElementReplica: as authorize_CreateGroupReplica(), for one volume.
int authorize_CreateElementReplica(const String& user, const Array<CIMParamValue>& parameters);

/// ModifySynchronization: by "Operation" (uint16), 2 detach, 4 resync, 5 restore, 12 start of a
/// copy, 13 stop of a copy.
int authorize_ModifySynchronization(const String& user, const Array<CIMParamValue>& parameters);

/// CreateOrModifyStoragePool: modification of a pool when "Pool" (reference) is given, creation of
/// one when not.
int authorize_CreateOrModifyStoragePool(const String& user, const Array<CIMParamValue>& parameters);

/// CreateOrModifyElementFromStoragePool: creation of a volume unless "TheElement" (reference) is
/// given. With it, "Size" asks for growing the volume, and "ElementName", when that was granted,
/// for setting its properties; the values of both are not looked at. With neither the call changes
/// nothing and passes (0). Writes the name of every parameter at trace level.
int authorize_CreateOrModifyElemFromStoragePool(const String& user,
                                                const Array<CIMParamValue>& parameters);

/// DeleteStoragePool: by the class of "Pool" (reference), "QBX_DynamicStoragePool" or
/// "QBX_DeltaReplicaStoragePool".
int authorize_DeleteStoragePool(const String& user, const Array<CIMParamValue>& parameters);

/// Modification of an instance of "QBX_AllocatedFromStoragePool", the association of a pool
/// ("Antecedent") with what is allocated from it ("Dependent"). The limits that it holds belong to
/// the dependent element: a dependent pool asks for setting pools, a dependent volume for setting
/// volumes.
///
/// A pool is what has a class named "QBX_...StoragePool", a volume "QBX_...StorageVolume" (case
/// ignored). 3 when the antecedent is no pool, when the dependent is neither, and when a key is
/// missing or is no object path. Reads the keys with QBX_Common::getStringProperty(), which writes
/// its lines.
int authorize_AllocatedFromStoragePoolModifyInstance(const String& user,
                                                     const CIMObjectPath& association);

/// Return of volumes to their pool: ReturnToStoragePool with "TheElement" (reference),
/// ReturnElementsToStoragePool with "TheElements" (array of references), or both.
///
/// Each volume asks for a privilege, in the order given, `TheElement` first. All must be granted:
/// the first refusal is the answer, and nothing is asked after it. The array is asked for nothing
/// (3) unless every element is a volume; an empty array is 3.
///
/// A volume is what has a class named "QBX_...StorageVolume" (case ignored). A path does not tell
/// what kind of volume it denotes, so the privilege asked for is that to return volumes of any
/// kind. A module that can look its volumes up asks by kind, see QBX_VolumeAuthorization.h.
int authorize_DeleteStorageVolume(const String& user, const Array<CIMParamValue>& parameters);

/// ModifyListSynchronization: by "Operation" (uint16), 2 abort, 8 detach and 9 dissolve, 14 resync,
/// 15 restore; without it resync.
///
/// 19 returns the targets to their pool. "TargetGroup" (reference) asks for the deletion of the
/// group. "Synchronization" (one reference or an array) asks, for the volume in each
/// synchronization's key "SyncedElement", what authorize_DeleteStorageVolume() asks. When both are
/// given both must be granted, the group first; with neither the answer is 3.
int authorize_ModifyListSynchronization(const String& user, const Array<CIMParamValue>& parameters);

/// ModifyReplicaSynchronization: by "Operation" (uint16), 2 abort, 8 detach and 9 dissolve, 14
/// resync, 15 restore; without it the creation of a copy.
int authorize_ModifyReplicaSynchronization(const String& user,
                                           const Array<CIMParamValue>& parameters);

/// @}

}  // namespace Pegasus

#endif
