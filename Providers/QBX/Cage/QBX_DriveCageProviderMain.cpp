// The module's one entry point.

#include "QBX_CageSensorProvider.h"
#include "QBX_DriveCageProvider.h"
#include "QBX_FCALCardProvider.h"
#include "QBX_MagazineProvider.h"

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMProvider.h>

PEGASUS_USING_PEGASUS;

/// Creates the provider of that name (case ignored); null for a name that is none of the module's.
/// The caller ends the provider through terminate().
extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& name)
{
    if (String::equalNoCase(name, "QBX_DriveCageProvider")) return new QBX_DriveCageProvider();
    if (String::equalNoCase(name, "QBX_FCALCardProvider")) return new QBX_FCALCardProvider();
    if (String::equalNoCase(name, "QBX_MagazineProvider")) return new QBX_MagazineProvider();
    if (String::equalNoCase(name, "QBX_CageSensorProvider")) return new QBX_CageSensorProvider();
    return nullptr;
}
