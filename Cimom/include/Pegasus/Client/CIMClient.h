// A client of the object manager in the same process.
#pragma once

#include <Pegasus/Common/CIMObjectPath.h>

namespace Pegasus
{

/// A CIM client. In the embedded library it reaches the object manager of its own process only, as
/// a user without name.
class CIMClient
{
public:
    CIMClient() = default;
    CIMClient(const CIMClient&) = delete;
    CIMClient& operator=(const CIMClient&) = delete;

    /// Throws AlreadyConnectedException, or CannotConnectException when the process has no object
    /// manager.
    void connectLocal();
    /// Does nothing when not connected.
    void disconnect() { connected_ = false; }

    /// Throws NotConnectedException, or CIMException for an error of the operation; its message
    /// starts with the name of the code, as in "CIM_ERR_NOT_FOUND: text".
    Array<CIMObjectPath> enumerateInstanceNames(const CIMNamespaceName& nameSpace,
                                                const CIMName& className);

private:
    Boolean connected_ = false;
};

}  // namespace Pegasus
