// The module's one entry point.

#include "QBX_CageSensorProvider.h"
#include "QBX_DriveCageProvider.h"
#include "QBX_FCALCardInDriveCageProvider.h"
#include "QBX_FCALCardProvider.h"
#include "QBX_MagazineInDriveCageProvider.h"
#include "QBX_MagazineProvider.h"
#include "QBX_SensorInDriveCageProvider.h"
#include "QBX_SysCageContainerProvider.h"

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMProvider.h>

PEGASUS_USING_PEGASUS;

namespace
{

template <class Provider>
CIMProvider* create()
{
    return new Provider();
}

struct Entry
{
    const char* name;
    CIMProvider* (*create)();
};

constexpr Entry PROVIDERS[] = {
    {"QBX_DriveCageProvider", create<QBX_DriveCageProvider>},
    {"QBX_FCALCardProvider", create<QBX_FCALCardProvider>},
    {"QBX_FCALCardInDriveCageProvider", create<QBX_FCALCardInDriveCageProvider>},
    {"QBX_MagazineProvider", create<QBX_MagazineProvider>},
    {"QBX_MagazineInDriveCageProvider", create<QBX_MagazineInDriveCageProvider>},
    {"QBX_SysCageContainerProvider", create<QBX_SysCageContainerProvider>},
    {"QBX_CageSensorProvider", create<QBX_CageSensorProvider>},
    {"QBX_SensorInDriveCageProvider", create<QBX_SensorInDriveCageProvider>},
};

}  // namespace

/// Creates the provider of that name (case ignored); null for a name that is none of the module's.
/// The caller ends the provider through terminate().
extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& name)
{
    for (const Entry& entry : PROVIDERS) {
        if (String::equalNoCase(name, entry.name)) return entry.create();
    }
    return nullptr;
}
