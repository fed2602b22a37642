// Loading of provider modules and the life of the provider objects in them.
#pragma once

#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace cimom
{

/// Takes lines for a log, from any thread.
using LogLine = std::function<void(const std::string& line)>;

/// When the file was written, in the file system's clock; the same for every file that is not
/// there.
std::int64_t timeWritten(const std::filesystem::path& file);

/// A shared library that creates provider objects.
///
/// A library with an entry point stays mapped once it has been loaded, also after its providers
/// were terminated: its threads, its thread-local objects and its static destructors may outlive
/// the last call, and leak checkers then still see what its static objects own.
class ProviderModule
{
public:
    using Factory = Pegasus::CIMProvider* (*)(const Pegasus::String& providerName);

    /// `location` is the library's bare name: lib<location>.so in one of the folders.
    ProviderModule(const Pegasus::String& name, const Pegasus::String& location,
                   const std::vector<std::filesystem::path>& folders, const LogLine& log);

    const Pegasus::String& name() const { return name_; }
    /// Uses this function instead of the library's.
    void setFactory(Factory factory) { factory_ = factory; }
    /// Loads the library if necessary and creates the provider; never null. Throws CIMException
    /// with CIM_ERR_FAILED and the reason; the next call tries again. Only one thread at a time may
    /// call it.
    Pegasus::CIMProvider* create(const Pegasus::String& providerName);
    /// Logs when the library's file has changed since it was loaded, or since the last time. Any
    /// thread may call it.
    void watch();

private:
    Factory load(const Pegasus::String& providerName);
    Pegasus::CIMException failure(const Pegasus::String& providerName,
                                  const std::string& text) const;

    const Pegasus::String name_;
    const std::vector<std::filesystem::path> folders_;
    std::filesystem::path file_;  // without its folder as long as it has not been found
    Factory factory_ = nullptr;
    const LogLine log_;
    std::atomic<std::int64_t> timeWritten_;  // of the library, as far as it is known
};

/// One registered provider: created and initialized at the first request for it.
class ProviderObject
{
public:
    /// Held while a provider is created and initialized. All providers share one lock: with a lock
    /// for each, threads that initialize several could wait for one another.
    using InitializationLock = std::recursive_timed_mutex;

    ProviderObject(ProviderModule& module, const Pegasus::String& name, InitializationLock& lock)
        : module_(module), name_(name), initializations_(lock)
    {
    }
    /// Terminates the provider, which deletes itself.
    ~ProviderObject();

    const ProviderModule& module() const { return module_; }
    const Pegasus::String& name() const { return name_; }

    /// The provider, initialized. One thread at a time initializes a provider; the others wait for
    /// at most 20 seconds. Throws CIMException with CIM_ERR_FAILED when the provider cannot be
    /// loaded, when its initialize() throws (the next call tries again) or makes a request that
    /// needs this provider, and when the wait is over.
    Pegasus::CIMProvider& acquire();

private:
    Pegasus::CIMProvider* createInitialized();

    ProviderModule& module_;
    const Pegasus::String name_;
    InitializationLock& initializations_;
    Pegasus::CIMOMHandle handle_;
    std::atomic<Pegasus::CIMProvider*> ready_{nullptr};
    bool initializing_ = false;  // guarded by the lock
};

}  // namespace cimom
