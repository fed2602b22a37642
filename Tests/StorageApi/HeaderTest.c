/* Both headers are C: a C compiler checks the layout of the records here. */
#include <qbxapi.h>
#include <qbxapi_sim.h>
