/* qbxapi.h is a C header: a C compiler checks its layout here. */
#include <qbxapi.h>
#include <qbxapi_sim.h>

/* The size of a cage record, as C sees it. */
size_t sizeOfCageInC(void);
size_t sizeOfCageInC(void)
{
    return sizeof(api_Cage_t);
}
