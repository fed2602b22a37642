// The node's network address, in a file of its own: it alone needs an operation that not every
// Storage-system API has.
#include "QBX_Common.h"

#include "QBX_Records.h"

#include <chrono>
#include <thread>

#pragma weak api_getNodeIPaddress

namespace Pegasus
{

String QBX_Common::getSystemAddress()
{
    constexpr int TRIES = 5;
    char address[256] = "";
    if (api_getNodeIPaddress == nullptr) return String();
    for (int attempt = 0; attempt < TRIES; ++attempt) {
        QBX_Records::underSemaphore([&] { return api_getNodeIPaddress(address, sizeof(address)); });
        if (address[0] != '\0') break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return QBX_Records::text(address);
}

}  // namespace Pegasus
