// Privilege checks for the return of volumes, for a module that knows the kind of each volume.
#ifndef QBX_VolumeAuthorization_h
#define QBX_VolumeAuthorization_h

#include "QBX_Authorization.h"

#include <functional>

namespace Pegasus
{

/// @addtogroup authorization
/// @{

/// What a volume is to the one who wants to return it to its pool.
enum class QBX_VolumeKind
{
    NotAVolume,    ///< nothing that can be returned
    Volume,        ///< a volume of whatever kind
    BaseVolume,    ///< a volume that is no copy
    PhysicalCopy,  ///< a full copy, with blocks of its own
    VirtualCopy    ///< a snapshot, which keeps differences only
};

/// Tells the kind of the volume of a path that has a class. What it throws passes through. Look the
/// volumes up by the whole path, class included, since the client chose it.
using QBX_VolumeKindOf = std::function<QBX_VolumeKind(const CIMObjectPath&)>;

/// authorize_DeleteStorageVolume() that asks for the privilege of each volume's kind: a user who
/// may, say, delete snapshots only gets a decision for each volume.
int authorize_DeleteStorageVolumeByKind(const String& user, const Array<CIMParamValue>& parameters,
                                        const QBX_VolumeKindOf& kindOf);

/// authorize_ModifyListSynchronization(), likewise.
int authorize_ModifyListSynchronizationByKind(const String& user,
                                              const Array<CIMParamValue>& parameters,
                                              const QBX_VolumeKindOf& kindOf);

/// @}

}  // namespace Pegasus

#endif
