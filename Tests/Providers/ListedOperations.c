/* A libqbxapi with the operations that every array's library has, and no others. */
#define OPERATIONS(DEFINE)               \
    DEFINE(api_qbxOpenForCimserver)      \
    DEFINE(api_authorizeCIMUser)         \
    DEFINE(cim_sem_wait)                 \
    DEFINE(cim_sem_post)                 \
    DEFINE(log_message)                  \
    DEFINE(api_getStorageArray)          \
    DEFINE(api_getCages_Cached)          \
    DEFINE(api_getCagesNoMfg_Cached)     \
    DEFINE(api_getCagesPS_Cached)        \
    DEFINE(api_findCageName_Cached)      \
    DEFINE(api_locateCage)               \
    DEFINE(api_upgradeCage)              \
    DEFINE(api_setCageLocation)          \
    DEFINE(api_getMagazines_Cached)      \
    DEFINE(api_getMagazinesNoMfg_Cached) \
    DEFINE(api_findMagazineIDs)          \
    DEFINE(api_setMagazineLoop)          \
    DEFINE(api_locateMagazine)           \
    DEFINE(api_getFCALs_Cached)          \
    DEFINE(api_getFCALsNoMfg_Cached)     \
    DEFINE(api_findCageNameForFCAL)      \
    DEFINE(api_locateFCALPort)
#define DEFINE(name) \
    int name(void)   \
    {                \
        return 0;    \
    }
OPERATIONS(DEFINE)
