/*
 * qbxapi.h: the Storage-system API, the management library of the array (libqbxapi.so).
 *
 * Plain C, usable from C++. The records are exchanged in memory with a library that was built long
 * ago: their layout is fixed, and every offset and size is checked below.
 *
 * Text fields are fixed arrays, NUL-terminated unless the text fills the whole field: never read
 * past the field. Nothing promises that a text is valid UTF-8.
 *
 * Unless an operation says otherwise it returns 0 for success and any other value for failure.
 */
#ifndef QBXAPI_H
#define QBXAPI_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
/* A fixed underlying type: the library may send a number that has no enumerator. */
#define API_INT32 : int32_t
#else
#define API_INT32
#endif

/* ---- Enumerations (32 bits each) ------------------------------------------------------------ */

/* Hardware type of a drive cage; decides which arm of a record's union is valid. */
typedef enum jb_type_e API_INT32
{
    JB_UNKNOWN = 0, /* not recognised, or not yet known */
    JB_JBOD = 1,    /* DC1 family */
    JB_KBOD = 2,    /* DC1 family */
    JB_LBOD = 3,    /* DC2 family */
    JB_DC3 = 4,     /* DC3 family */
    JB_MBOD = 5     /* DC2 family */
} jb_type_e;

/* Hardware variant within a cage type. */
typedef enum jb_subtype_e API_INT32
{
    JB_SUBTYP_UNKNOWN = -1,
    JB_SUBTYP_FC = 0,        /* Fibre Channel drives */
    JB_SUBTYP_DC3SATA = 1,   /* DC3 with SATA drives */
    JB_SUBTYP_DC3ALPHAFC = 2 /* DC3, early Fibre Channel model */
} jb_subtype_e;

/* Operational state of an element; the numbers are those of CIM's OperationalStatus. */
typedef enum api_state_e API_INT32
{
    API_STATE_UNKNOWN = 0,
    API_STATE_OTHER = 1,
    API_STATE_OK = 2,
    API_STATE_DEGRADED = 3,
    API_STATE_STRESSED = 4,
    API_STATE_PREDICTIVE_FAILURE = 5,
    API_STATE_ERROR = 6,
    API_STATE_NON_RECOV_ERROR = 7,
    API_STATE_STARTING = 8,
    API_STATE_STOPPING = 9,
    API_STATE_STOP = 10,
    API_STATE_IN_SERVICE = 11,
    API_STATE_NO_CONTACT = 12,
    API_STATE_LOST_COMMUNICATION = 13,
    API_STATE_ABORTED = 14,
    API_STATE_DORMANT = 15,
    API_STATE_SUPPORTING_ENTITY_IN_ERROR = 16,
    API_STATE_COMPLETED = 17,
    API_STATE_POWER_MODE = 18
} api_state_e;

/* Summary of an element's health. */
typedef enum api_overall_state_e API_INT32
{
    ES_UNKNOWN = 0,
    ES_NORMAL = 1,
    ES_DEGRADED = 2,
    ES_FAILED = 3
} api_overall_state_e;

/* What an indicator light shows. */
typedef enum api_led_state_e API_INT32
{
    LED_STATE_UNKNOWN = 0,
    LED_STATE_OFF = 1,
    LED_STATE_GREEN = 2,
    LED_STATE_GREEN_BLINKING = 3,
    LED_STATE_AMBER = 4,
    LED_STATE_AMBER_BLINKING = 5,
    LED_STATE_BLUE = 6,
    LED_STATE_BLUE_BLINKING = 7
} api_led_state_e;

/* Speed of a port's link. */
typedef enum api_data_rate_e API_INT32
{
    PORT_DATA_RATE_NA = 0, /* no link */
    PORT_DATA_RATE_1G = 1,
    PORT_DATA_RATE_2G = 2,
    PORT_DATA_RATE_AUTO = 3, /* still negotiating */
    PORT_DATA_RATE_4G = 4,
    PORT_DATA_RATE_8G = 8,
    PORT_DATA_RATE_10G = 10,
    PORT_DATA_RATE_10M = 11,
    PORT_DATA_RATE_100M = 12
} api_data_rate_e;

/* Answers of api_authorizeCIMUser. */
typedef enum api_cimuser_authorization_e API_INT32
{
    API_CIMUSER_AUTHORIZATION_SUCCESS = 0,           /* the user holds the privilege */
    API_CIMUSER_AUTHORIZATION_UNAUTH_USER = 1,       /* the user lacks it */
    API_CIMUSER_AUTHORIZATION_USER_NOTFOUND = 2,     /* no such user */
    API_CIMUSER_AUTHORIZATION_UNSUPPORTED_METHOD = 3 /* no such privilege */
} api_cimuser_authorization_e;

/* ---- Pieces of the records ------------------------------------------------------------------ */

enum
{
    API_ID_SIZE = 65,               /* bytes of a device ID field */
    API_CAGE_SENSORS = 10,          /* sensor places in a cage record */
    API_CAGEPS_SENSORS = 5,         /* sensor places in a power-supply cage record */
    API_FCAL_PORTS = 4,             /* port places of one loop in a card record */
    API_MAGAZINE_IDS_NAME_SIZE = 42 /* bytes of the cage name in api_MagazineIDs_t */
};

/* A controller port: node in bits 7 to 9, slot in bits 3 to 6, port in bits 0 to 2.
 * 0 and 0xFFFC mean that no controller port is connected. */
typedef uint16_t lpid_t;

/* State of a component. */
typedef struct api_StatePair_t
{
    uint32_t actual;             /* raw state code of the component */
    api_overall_state_e overall; /* its summary */
} api_StatePair_t;

/* Manufacturing data, as read from the component's own store. */
typedef struct api_Mfg_t
{
    char vendor[32]; /* maker */
    char model[65];  /* product name or part number */
    char serial[32]; /* serial number */
} api_Mfg_t;

/* One environmental sensor of a cage. A place whose reading and limits are all 0 is empty. */
typedef struct api_sensor_t
{
    uint16_t position;   /* place in the cage */
    char name[32];       /* what is measured, e.g. "Inlet temperature" */
    uint8_t state;       /* raw state code */
    uint8_t type;        /* unit of the reading, one character, e.g. 'C'; 0: none */
    uint16_t reading;    /* present value, in that unit */
    uint16_t limit_low;  /* lowest value that is still normal */
    uint16_t limit_high; /* highest value that is still normal */
} api_sensor_t;

/* ---- Drive cages ---------------------------------------------------------------------------- */

/* Cage data of JB_UNKNOWN, JB_JBOD and JB_KBOD. */
typedef struct api_CageKbod_t
{
    uint8_t isLeft : 1;  /* mounted in the left half of the shelf */
    uint8_t isRight : 1; /* mounted in the right half of the shelf */
} api_CageKbod_t;

/* Cage data of JB_LBOD and JB_MBOD. */
typedef struct api_CageLbod_t
{
    char fwVersion[32];                     /* firmware of the cage processor */
    api_StatePair_t fwState;                /* state of that firmware */
    api_StatePair_t cpuState;               /* state of the cage processor */
    uint16_t sensValid;                     /* bit i set: sensors[i] has been read */
    uint8_t sensCount;                      /* places in use, empty ones included: at most as many
                                             * as there are, which callers do not check */
    api_sensor_t sensors[API_CAGE_SENSORS]; /* the cage's sensors */
} api_CageLbod_t;

/* Cage data of JB_DC3. */
typedef struct api_CageSbod_t
{
    api_StatePair_t tempState;     /* state of the temperature sensor */
    uint16_t tempValue;            /* temperature, degrees Celsius */
    api_StatePair_t tempThresh;    /* state against the thresholds */
    api_StatePair_t opPanelState;  /* state of the operator panel */
    api_StatePair_t audAlarmState; /* state of the audible alarm */
    uint8_t enclosureID;           /* number shown on the enclosure's display */
} api_CageSbod_t;

/* A drive cage. */
typedef struct api_Cage_t
{
    char deviceID[API_ID_SIZE];       /* name of the cage, its key */
    char elementName[32];             /* display name */
    uint16_t position;                /* cage number */
    api_Mfg_t mfg;                    /* manufacturing data; empty in NoMfg lists */
    uint64_t wwn;                     /* world-wide name */
    char location[257];               /* where it stands, free text of the administrator */
    jb_type_e type;                   /* hardware type: selects the arm of u */
    jb_subtype_e subType;             /* hardware variant */
    uint8_t loopSplit : 1;            /* its loops are split between the halves */
    uint16_t chainPosA;               /* place in the chain of loop A */
    uint16_t chainPosB;               /* place in the chain of loop B */
    uint8_t locateON : 1;             /* its locator light is on */
    api_state_e cimState;             /* operational state */
    api_overall_state_e overallState; /* health summary */
    union {
        api_CageKbod_t kbod; /* JB_UNKNOWN, JB_JBOD, JB_KBOD */
        api_CageLbod_t lbod; /* JB_LBOD, JB_MBOD */
        api_CageSbod_t sbod; /* JB_DC3 */
    } u;
} api_Cage_t;

/* A cage with power-supply sensors. Only the named fields are documented. */
typedef struct api_CagePS_t
{
    uint8_t reserved0;
    char name[API_ID_SIZE]; /* name of the cage, as api_Cage_t.deviceID */
    uint8_t reserved66[358];
    jb_type_e type; /* hardware type */
    uint8_t reserved428[62];
    uint8_t sensCount; /* places in use, as in api_CageLbod_t */
    uint8_t reserved491;
    api_sensor_t sensors[API_CAGEPS_SENSORS]; /* the power supplies' sensors */
    uint8_t reserved702[10];
} api_CagePS_t;

/* A found cage, to be handed on to the actions; what is inside is the library's. */
typedef struct api_CageHandle_t
{
    uint64_t opaque[125];
} api_CageHandle_t;

/* ---- Drive magazines ------------------------------------------------------------------------ */

/* Magazine data of every cage type but JB_DC3. */
typedef struct api_MagazineLbod_t
{
    api_led_state_e systemLED; /* system light */
    api_led_state_e hplLED;    /* hot-plug light */
    uint8_t isLeft : 1;        /* in the left half of the cage */
    uint8_t isRight : 1;       /* in the right half of the cage */
} api_MagazineLbod_t;

/* Magazine data of JB_DC3. */
typedef struct api_MagazineSbod_t
{
    api_led_state_e loopsState; /* light of the loops */
} api_MagazineSbod_t;

/* A drive magazine, or the empty bay of one. */
typedef struct api_Magazine_t
{
    uint8_t isAbsent : 1;             /* empty bay: no magazine is plugged in */
    char deviceID[API_ID_SIZE];       /* name of the magazine, its key */
    char parentDeviceID[API_ID_SIZE]; /* deviceID of its cage */
    jb_type_e cageType;               /* hardware type of its cage: selects the arm of u */
    uint16_t position;                /* bay number in the cage: the magazine's number */
    char cageElementName[32];         /* display name of its cage */
    uint16_t cagePosition;            /* cage number of its cage */
    char elemName[32];                /* display name */
    api_Mfg_t mfg;                    /* manufacturing data; empty in NoMfg lists */
    api_StatePair_t stateLoopA;       /* state on loop A */
    api_StatePair_t stateLoopB;       /* state on loop B */
    uint8_t locateON : 1;             /* its locate light is blinking */
    uint8_t diskCount;                /* drives on the magazine */
    union {
        api_MagazineLbod_t lbod; /* all cage types but JB_DC3 */
        api_MagazineSbod_t sbod; /* JB_DC3 */
    } u;
} api_Magazine_t;

/* What a magazine's actions need to know. */
typedef struct api_MagazineIDs_t
{
    uint16_t magazine;                         /* magazine number in its cage */
    char cageName[API_MAGAZINE_IDS_NAME_SIZE]; /* deviceID of that cage */
} api_MagazineIDs_t;

/* ---- Interface cards ------------------------------------------------------------------------ */

/* One loop of a card. JB_DC3 cards have 4 ports on it, all others 2. */
typedef struct api_FCALLoop_t
{
    uint64_t loopPortWWN[API_FCAL_PORTS];           /* world-wide names of the card's ports */
    uint64_t nodePortWWN[API_FCAL_PORTS];           /* and of the controller ports they reach */
    lpid_t nodePort[API_FCAL_PORTS];                /* controller ports, as node, slot and port */
    char nodeDeviceID[API_FCAL_PORTS][API_ID_SIZE]; /* device IDs of the controller ports */
    api_data_rate_e linkSpeed[API_FCAL_PORTS];      /* link speeds */
    uint8_t locateON[API_FCAL_PORTS];               /* not 0: the port's locate light is on */
} api_FCALLoop_t;

/* Indicator lights of a card. */
typedef struct api_FCALLeds_t
{
    api_led_state_e split;  /* split light */
    api_led_state_e system; /* system light */
    api_led_state_e hpl;    /* hot-plug light */
} api_FCALLeds_t;

/* Card data of JB_JBOD and JB_KBOD. */
typedef struct api_FCALKbod_t
{
    api_FCALLeds_t leds;             /* indicator lights */
    api_StatePair_t fwState;         /* state of the firmware */
    char fwVersion[32];              /* firmware version */
    api_StatePair_t cpuSelfState;    /* state of the card's processor */
    api_StatePair_t cpuPartnerState; /* and of its partner's, as this card sees it */
    api_led_state_e loopALinkLED[2]; /* link lights of loop A */
    api_led_state_e loopBLinkLED[2]; /* link lights of loop B */
} api_FCALKbod_t;

/* A small-form-factor transceiver; its layout is the library's. */
typedef struct api_Sfp_t
{
    uint64_t reserved[87];
} api_Sfp_t;

/* Links of one loop of a JB_LBOD or JB_MBOD card. */
typedef struct api_FCALLbodLoop_t
{
    api_led_state_e linkRX[2]; /* receive lights */
    api_led_state_e linkTX[2]; /* transmit lights */
    api_Sfp_t sfp[2];          /* transceivers */
} api_FCALLbodLoop_t;

/* Card data of JB_LBOD and JB_MBOD. */
typedef struct api_FCALLbod_t
{
    api_FCALLeds_t leds;      /* indicator lights */
    api_FCALLbodLoop_t loopA; /* links of loop A */
    api_FCALLbodLoop_t loopB; /* links of loop B */
} api_FCALLbod_t;

/* Card data of JB_DC3. */
typedef struct api_FCALSbod_t
{
    uint8_t master : 1;           /* this card leads the pair */
    api_StatePair_t loopState[4]; /* states of its loops */
    api_StatePair_t fwState;      /* state of the firmware */
    char fwVersion[32];           /* firmware version */
    api_StatePair_t ifcState;     /* state of the interface */
    api_StatePair_t eshState;     /* state of the enclosure services */
    api_StatePair_t extEshState;  /* state of the extended enclosure services */
} api_FCALSbod_t;

/* An interface (FCAL) card of a cage. */
typedef struct api_FCAL_t
{
    char deviceID[API_ID_SIZE];       /* name of the card, its key */
    char parentDeviceID[API_ID_SIZE]; /* deviceID of its cage */
    jb_type_e cageType;               /* hardware type of its cage: selects the arm of u */
    char cageElementName[32];         /* display name of its cage */
    uint16_t cagePosition;            /* cage number of its cage */
    uint16_t position;                /* slot number in the cage */
    char elementName[32];             /* display name */
    api_Mfg_t mfg;                    /* manufacturing data; empty in NoMfg lists */
    uint8_t isLoopA : 1;              /* the card serves loop A (port A of the cage) */
    uint8_t isLoopB : 1;              /* the card serves loop B (port B of the cage) */
    api_FCALLoop_t loopA;             /* its ports on loop A */
    api_FCALLoop_t loopB;             /* its ports on loop B */
    union {
        api_FCALKbod_t kbod; /* JB_JBOD, JB_KBOD */
        api_FCALLbod_t lbod; /* JB_LBOD, JB_MBOD */
        api_FCALSbod_t sbod; /* JB_DC3 */
    } u;
} api_FCAL_t;

/* ---- The array ------------------------------------------------------------------------------ */

/* The storage array as a whole. */
typedef struct api_StorageArray_t
{
    char elementName[256];           /* host name */
    uint16_t operationalStatus[3];   /* CIM OperationalStatus codes */
    char statusDescriptions[2][256]; /* texts that go with them */
    char name[256];                  /* name of the system */
    char model[32];                  /* product name */
    char serial[32];                 /* serial number */
    char ownerContact[256];          /* how to reach the owner */
    char ownerName[256];             /* who owns it */
    char description[256];           /* free text */
    char nameFormat[256];            /* how `name` was formed */
    uint32_t systemID;               /* number of the system */
    uint32_t systemType;             /* controller model, the library's enumeration */
    uint8_t isQuadPort;              /* not 0: controllers with four-port cards */
} api_StorageArray_t;

/* ---- Lists ---------------------------------------------------------------------------------- */

/*
 * The caller zeroes a list before the query, and releases its records with free() afterwards when
 * the pointer is not null, also when the query failed. A list of no records may hold a null
 * pointer.
 */
typedef struct api_CageList_t
{
    uint32_t count;
    api_Cage_t* cages;
} api_CageList_t;

typedef struct api_CagePSList_t
{
    uint32_t count;
    api_CagePS_t* cages;
} api_CagePSList_t;

typedef struct api_MagazineList_t
{
    uint32_t count;
    api_Magazine_t* mags;
} api_MagazineList_t;

typedef struct api_FCALList_t
{
    uint32_t count;
    api_FCAL_t* fcals;
} api_FCALList_t;

/* ---- Access, semaphore, log ----------------------------------------------------------------- */

/* Opens the API for a user of the CIM server. Not 0: the user is refused. */
int api_qbxOpenForCimserver(const char* user);

/* Tells whether the user holds a privilege ("class.method" in lower case): one of
 * api_cimuser_authorization_e. */
int api_authorizeCIMUser(const char* user, const char* privilegeKey);

/* Takes the process-wide semaphore of the API, waiting for it. 0: held. */
int cim_sem_wait(void);

/* Releases the semaphore; only after a cim_sem_wait that returned 0. */
void cim_sem_post(void);

/* Writes one message to the log, formatted as printf does. Level 2: failures, 3: rejected input,
 * 4: traces. */
void log_message(int level, const char* format, ...)
#ifdef __GNUC__
    __attribute__((format(printf, 2, 3)))
#endif
    ;

/* ---- Operations on the array ---------------------------------------------------------------- */

/* Fills the record of the array as a whole. */
int api_getStorageArray(api_StorageArray_t* array);

/* Writes the management address of this controller node, NUL-terminated, into `buffer`. */
int api_getNodeIPaddress(char* buffer, size_t size);

/* Lists all drive cages, without manufacturing data in the NoMfg form. `zero` is 0. */
int api_getCages_Cached(int zero, api_CageList_t* list);
int api_getCagesNoMfg_Cached(int zero, api_CageList_t* list);

/* Lists the cages that have power-supply sensors. `zero` is 0. */
int api_getCagesPS_Cached(int zero, api_CagePSList_t* list);

/* Finds a cage by its deviceID. Not 0: there is none. */
int api_findCageName_Cached(const char* name, api_CageHandle_t* cage);

/* Turns the cage's locator light on for `seconds`; 0 turns it off. */
int api_locateCage(const api_CageHandle_t* cage, uint16_t seconds);

/* Loads firmware from a file on the array, through port A (isPortA not 0) or port B. */
int api_upgradeCage(const api_CageHandle_t* cage, uint8_t isPortA, const char* fileName);

/* Sets the cage's location text. */
int api_setCageLocation(const api_CageHandle_t* cage, const char* location);

/* Lists all magazine bays, without manufacturing data in the NoMfg form. `zero` is 0. */
int api_getMagazines_Cached(int zero, api_MagazineList_t* list);
int api_getMagazinesNoMfg_Cached(int zero, api_MagazineList_t* list);

/* Finds the number and cage of a magazine by its deviceID. Not 0: there is none. */
int api_findMagazineIDs(const char* tag, api_MagazineIDs_t* ids);

/* Puts a magazine on (onLoop not 0) or off loop A (port 0) or loop B (port 1). Port 2 names no
 * loop: what that does is the array's to decide. */
int api_setMagazineLoop(const char* cageName, uint16_t magazine, uint8_t onLoop, uint8_t port);

/* Blinks the magazine's locate light for `seconds`; 0 turns it off. */
int api_locateMagazine(const char* cageName, uint16_t magazine, uint16_t seconds);

/* Lists all interface cards, without manufacturing data in the NoMfg form. `zero` is 0. */
int api_getFCALs_Cached(int zero, api_FCALList_t* list);
int api_getFCALsNoMfg_Cached(int zero, api_FCALList_t* list);

/* Writes the deviceID of a card's cage, NUL-terminated, into `cageName`, a buffer of API_ID_SIZE
 * bytes. Not 0: there is no such card. */
int api_findCageNameForFCAL(const char* tag, char* cageName);

/* Turns the locate light of a port of the cage's cards on for `seconds`; 0 turns it off. */
int api_locateFCALPort(const char* cageName, uint16_t port, uint16_t seconds);

/* ---- Layout --------------------------------------------------------------------------------- */

#ifdef __cplusplus
#define API_CHECK(condition) static_assert(condition, #condition)
#else
#define API_CHECK(condition) _Static_assert(condition, #condition)
#endif
#define API_AT(type, field, offset) API_CHECK(offsetof(type, field) == (offset))
#define API_SIZE(type, size) API_CHECK(sizeof(type) == (size))

API_SIZE(jb_type_e, 4);
API_SIZE(jb_subtype_e, 4);
API_SIZE(api_state_e, 4);
API_SIZE(api_overall_state_e, 4);
API_SIZE(api_led_state_e, 4);
API_SIZE(api_data_rate_e, 4);

API_AT(api_StatePair_t, actual, 0);
API_AT(api_StatePair_t, overall, 4);
API_SIZE(api_StatePair_t, 8);

API_AT(api_sensor_t, position, 0);
API_AT(api_sensor_t, name, 2);
API_AT(api_sensor_t, state, 34);
API_AT(api_sensor_t, type, 35);
API_AT(api_sensor_t, reading, 36);
API_AT(api_sensor_t, limit_low, 38);
API_AT(api_sensor_t, limit_high, 40);
API_SIZE(api_sensor_t, 42);

/* One-bit fields have no offset to ask for: their neighbours pin them. */
API_AT(api_Cage_t, deviceID, 0);
API_AT(api_Cage_t, elementName, 65);
API_AT(api_Cage_t, position, 98);
API_AT(api_Cage_t, mfg.vendor, 100);
API_AT(api_Cage_t, mfg.model, 132);
API_AT(api_Cage_t, mfg.serial, 197);
API_AT(api_Cage_t, wwn, 232);
API_AT(api_Cage_t, location, 240);
API_AT(api_Cage_t, type, 500);
API_AT(api_Cage_t, subType, 504);
API_AT(api_Cage_t, chainPosA, 510);
API_AT(api_Cage_t, chainPosB, 512);
API_AT(api_Cage_t, cimState, 516);
API_AT(api_Cage_t, overallState, 520);
API_AT(api_Cage_t, u, 524);
API_AT(api_Cage_t, u.lbod.fwVersion, 524);
API_AT(api_Cage_t, u.lbod.fwState, 556);
API_AT(api_Cage_t, u.lbod.cpuState, 564);
API_AT(api_Cage_t, u.lbod.sensValid, 572);
API_AT(api_Cage_t, u.lbod.sensCount, 574);
API_AT(api_Cage_t, u.lbod.sensors, 576);
API_AT(api_Cage_t, u.sbod.tempState, 524);
API_AT(api_Cage_t, u.sbod.tempValue, 532);
API_AT(api_Cage_t, u.sbod.tempThresh, 536);
API_AT(api_Cage_t, u.sbod.opPanelState, 544);
API_AT(api_Cage_t, u.sbod.audAlarmState, 552);
API_AT(api_Cage_t, u.sbod.enclosureID, 560);
#ifdef __cplusplus
API_SIZE(api_Cage_t::u, 472);
#else
API_SIZE(((api_Cage_t*)0)->u, 472);
#endif
API_SIZE(api_Cage_t, 1000);

API_AT(api_CagePS_t, name, 1);
API_AT(api_CagePS_t, type, 424);
API_AT(api_CagePS_t, sensCount, 490);
API_AT(api_CagePS_t, sensors, 492);
API_SIZE(api_CagePS_t, 712);

API_SIZE(api_CageHandle_t, 1000);

API_AT(api_Magazine_t, deviceID, 1);
API_AT(api_Magazine_t, parentDeviceID, 66);
API_AT(api_Magazine_t, cageType, 132);
API_AT(api_Magazine_t, position, 136);
API_AT(api_Magazine_t, cageElementName, 138);
API_AT(api_Magazine_t, cagePosition, 170);
API_AT(api_Magazine_t, elemName, 172);
API_AT(api_Magazine_t, mfg.vendor, 204);
API_AT(api_Magazine_t, mfg.model, 236);
API_AT(api_Magazine_t, mfg.serial, 301);
API_AT(api_Magazine_t, stateLoopA, 336);
API_AT(api_Magazine_t, stateLoopB, 344);
API_AT(api_Magazine_t, diskCount, 353);
API_AT(api_Magazine_t, u.lbod.systemLED, 356);
API_AT(api_Magazine_t, u.lbod.hplLED, 360);
API_AT(api_Magazine_t, u.sbod.loopsState, 356);
API_SIZE(api_Magazine_t, 368);

API_AT(api_MagazineIDs_t, magazine, 0);
API_AT(api_MagazineIDs_t, cageName, 2);
API_SIZE(api_MagazineIDs_t, 44);

API_AT(api_FCALLoop_t, loopPortWWN, 0);
API_AT(api_FCALLoop_t, nodePortWWN, 32);
API_AT(api_FCALLoop_t, nodePort, 64);
API_AT(api_FCALLoop_t, nodeDeviceID, 72);
API_AT(api_FCALLoop_t, linkSpeed, 332);
API_AT(api_FCALLoop_t, locateON, 348);
API_SIZE(api_FCALLoop_t, 352);

API_AT(api_FCAL_t, deviceID, 0);
API_AT(api_FCAL_t, parentDeviceID, 65);
API_AT(api_FCAL_t, cageType, 132);
API_AT(api_FCAL_t, cageElementName, 136);
API_AT(api_FCAL_t, cagePosition, 168);
API_AT(api_FCAL_t, position, 170);
API_AT(api_FCAL_t, elementName, 172);
API_AT(api_FCAL_t, mfg.vendor, 204);
API_AT(api_FCAL_t, mfg.model, 236);
API_AT(api_FCAL_t, mfg.serial, 301);
API_AT(api_FCAL_t, loopA, 336);
API_AT(api_FCAL_t, loopB, 688);
API_AT(api_FCAL_t, u, 1040);
API_AT(api_FCAL_t, u.kbod.leds.split, 1040);
API_AT(api_FCAL_t, u.kbod.leds.system, 1044);
API_AT(api_FCAL_t, u.kbod.leds.hpl, 1048);
API_AT(api_FCAL_t, u.kbod.fwState, 1052);
API_AT(api_FCAL_t, u.kbod.fwVersion, 1060);
API_AT(api_FCAL_t, u.kbod.cpuSelfState, 1092);
API_AT(api_FCAL_t, u.kbod.cpuPartnerState, 1100);
API_AT(api_FCAL_t, u.kbod.loopALinkLED, 1108);
API_AT(api_FCAL_t, u.kbod.loopBLinkLED, 1116);
API_AT(api_FCAL_t, u.lbod.leds, 1040);
API_AT(api_FCAL_t, u.lbod.loopA.linkRX, 1056);
API_AT(api_FCAL_t, u.lbod.loopA.linkTX, 1064);
API_AT(api_FCAL_t, u.lbod.loopA.sfp, 1072);
API_AT(api_FCAL_t, u.lbod.loopB.linkRX, 2464);
API_AT(api_FCAL_t, u.lbod.loopB.linkTX, 2472);
API_AT(api_FCAL_t, u.lbod.loopB.sfp, 2480);
API_AT(api_FCAL_t, u.sbod.loopState, 1044);
API_AT(api_FCAL_t, u.sbod.fwState, 1076);
API_AT(api_FCAL_t, u.sbod.fwVersion, 1084);
API_AT(api_FCAL_t, u.sbod.ifcState, 1116);
API_AT(api_FCAL_t, u.sbod.eshState, 1124);
API_AT(api_FCAL_t, u.sbod.extEshState, 1132);
API_SIZE(api_FCAL_t, 3872);

API_AT(api_StorageArray_t, elementName, 0);
API_AT(api_StorageArray_t, operationalStatus, 256);
API_AT(api_StorageArray_t, statusDescriptions, 262);
API_AT(api_StorageArray_t, name, 774);
API_AT(api_StorageArray_t, model, 1030);
API_AT(api_StorageArray_t, serial, 1062);
API_AT(api_StorageArray_t, ownerContact, 1094);
API_AT(api_StorageArray_t, ownerName, 1350);
API_AT(api_StorageArray_t, description, 1606);
API_AT(api_StorageArray_t, nameFormat, 1862);
API_AT(api_StorageArray_t, systemID, 2120);
API_AT(api_StorageArray_t, systemType, 2124);
API_AT(api_StorageArray_t, isQuadPort, 2128);
API_SIZE(api_StorageArray_t, 2132);

API_AT(api_CageList_t, cages, 8);
API_AT(api_CagePSList_t, cages, 8);
API_AT(api_MagazineList_t, mags, 8);
API_AT(api_FCALList_t, fcals, 8);

#undef API_SIZE
#undef API_AT
#undef API_CHECK
#undef API_INT32

#ifdef __cplusplus
}
#endif

#endif
