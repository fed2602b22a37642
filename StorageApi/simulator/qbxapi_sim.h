/*
 * qbxapi_sim.h: what the simulated array offers to tests, beside the Storage-system API itself:
 * its result codes, faults on demand and an ordered record of the calls.
 *
 * For tests only: no program that is to run on an array includes this header.
 *
 * `operation` is the name of a function of qbxapi.h, e.g. "api_locateCage". Calls are counted per
 * operation from 1 since the library was loaded or qbxsim_reset was called. Every function may be
 * called from any thread.
 */
#ifndef QBXAPI_SIM_H
#define QBXAPI_SIM_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What the operations of the simulated array return, beside 0. */
enum
{
    QBXSIM_REFUSED = 1,           /* the user may not open the API */
    QBXSIM_NO_ARRAY = 10,         /* no usable array file has been read yet; see the log */
    QBXSIM_NOT_FOUND = 11,        /* no such cage, magazine, card or port */
    QBXSIM_BAD_ARGUMENT = 12,     /* null pointer, list not zeroed, text too long, unknown code */
    QBXSIM_NOT_SUPPORTED = 13,    /* this hardware cannot do that */
    QBXSIM_FIRMWARE_MISSING = 20, /* the firmware file does not exist */
    QBXSIM_FIRMWARE_UNREADABLE = 21, /* it cannot be read */
    QBXSIM_FIRMWARE_INVALID = 22,    /* it is not a firmware file */
    QBXSIM_FIRMWARE_MISMATCH = 23,   /* it is for other cage types */
    QBXSIM_STATE_NOT_KEPT = 30,      /* the state file cannot be written: nothing was changed */
    QBXSIM_INTERNAL = 99             /* out of memory, or a fault of the simulator */
};

/* Makes call number `call` (0: every other call) of `operation` return `code` instead of doing
 * anything. Returns 0, or QBXSIM_BAD_ARGUMENT for an operation that does not exist. */
int qbxsim_failCall(const char* operation, unsigned call, int code);

/* The same, but the call does its work before it returns `code`: a list query leaves a list. */
int qbxsim_failAfterCall(const char* operation, unsigned call, int code);

/* Starts (on not 0) or stops keeping a record of the calls, which is emptied. */
void qbxsim_recordCalls(int on);

/* Record number `index` (from 0, in the order in which the calls ended), as in
 *     cim_sem_wait() = 0
 *     api_locateCage("cage0", 30) = 0
 *     cim_sem_post()
 *     log_message(4, "<-- leaving\n")        with the newline itself
 * or null when there is no such record. Valid until the record is emptied. */
const char* qbxsim_callRecord(size_t index);

/* Serves the array file `path` from now on, in place of QBX_ARRAY_FILE. Returns 0 or
 * QBXSIM_NO_ARRAY; the reason is in the log. */
int qbxsim_loadFile(const char* path);

/* Sets the array's clock ahead: cached lists grow old, and locator lights go off, as if the time
 * had passed. */
void qbxsim_advanceClock(unsigned seconds);

/* Forgets faults, records and the array, and reads the environment and the array file anew
 * at the next call. */
void qbxsim_reset(void);

#ifdef __cplusplus
}
#endif

#endif
