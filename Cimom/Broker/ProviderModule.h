// Loading of provider modules and the life of the provider objects in them.
#pragma once

#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace cimom
{

/// A shared library that makes provider objects.
///
/// A library stays mapped once it has been loaded, also after its providers were terminated: its
/// threads, its thread-local objects and its static destructors may outlive the last call, and
/// leak checkers then still see what its static objects own.
class ProviderModule
{
public:
    using Factory = Pegasus::CIMProvider* (*)(const Pegasus::String& providerName);

    /// `location` is the library's bare name: lib<location>.so in one of the folders.
    ProviderModule(Pegasus::String name, const Pegasus::String& location,
                   const std::vector<std::filesystem::path>& folders);

    const Pegasus::String& name() const { return name_; }
    /// Uses this function instead of the library's.
    void setFactory(Factory factory);
    /// Loads the library if need be and asks it for the provider, which is never null. Throws
    /// CIMException with CIM_ERR_FAILED saying what is missing; the next call tries again.
    Pegasus::CIMProvider* create(const Pegasus::String& providerName);

private:
    Factory entryPoint(const Pegasus::String& providerName);
    std::filesystem::path find() const;
    Pegasus::CIMException failure(const Pegasus::String& providerName,
                                  const std::string& text) const;

    const Pegasus::String name_;
    const std::string fileName_;
    const std::vector<std::filesystem::path> folders_;
    std::mutex mutex_;
    Factory factory_ = nullptr;
    std::filesystem::path loadedFrom_;
};

class ProviderObject;

/// Shared by all provider objects of a broker: who initializes what, and who waits for whom.
struct InitializationGate
{
    explicit InitializationGate(std::chrono::milliseconds limit) : waitLimit(limit) {}

    const std::chrono::milliseconds waitLimit;
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::thread::id, const ProviderObject*> waiting;
};

/// One registered provider: created and initialized at the first request for it.
class ProviderObject
{
public:
    ProviderObject(ProviderModule& module, Pegasus::String name, InitializationGate& gate);
    /// Terminates the provider, which deletes itself.
    ~ProviderObject();
    ProviderObject(const ProviderObject&) = delete;
    ProviderObject& operator=(const ProviderObject&) = delete;

    const ProviderModule& module() const { return module_; }
    const Pegasus::String& name() const { return name_; }

    /// The initialized provider. Of several threads one initializes it while the others wait, for
    /// no longer than the gate's limit. Throws CIMException with CIM_ERR_FAILED when the provider
    /// cannot be loaded, when its initialize() throws (the next call then starts anew), and when
    /// the calling thread would wait for itself: a provider that, while being initialized, makes
    /// a request which needs its own initialization to end.
    Pegasus::CIMProvider& acquire();

private:
    bool becomeInitializer();
    void refuseToWaitForMyself() const;
    Pegasus::CIMProvider* createInitialized();
    void finish(Pegasus::CIMProvider* provider, const Pegasus::String& failure);

    ProviderModule& module_;
    const Pegasus::String name_;
    InitializationGate& gate_;
    Pegasus::CIMOMHandle handle_;
    std::atomic<Pegasus::CIMProvider*> ready_{nullptr};
    // Guarded by the gate's mutex.
    std::thread::id initializer_;
    unsigned attempts_ = 0;
    Pegasus::String failure_;
};

}  // namespace cimom
