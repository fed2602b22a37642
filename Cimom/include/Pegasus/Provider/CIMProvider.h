// The base of all provider interfaces.
#pragma once

#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Provider/ProviderException.h>

namespace Pegasus
{

/// A provider. The object manager calls one object from several threads at once, between
/// initialize() and terminate(). It gets the object from the library's entry point
/// `extern "C" CIMProvider* PegasusCreateProvider(const String& providerName)` and never deletes
/// it: terminate() is the last call.
class CIMProvider
{
public:
    virtual ~CIMProvider() = default;
    /// The handle reaches the object manager that loaded the provider; copy it to keep it.
    virtual void initialize(CIMOMHandle& cimom) = 0;
    virtual void terminate() = 0;
};

}  // namespace Pegasus
