#include "Broker/ProviderModule.h"

#include "Model/Errors.h"
#include "Model/Text.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

constexpr std::chrono::seconds longestWait{20};

CIMException failed(const std::string& text)
{
    return CIMException(CIM_ERR_FAILED, printable(text));
}

void terminateQuietly(CIMProvider& provider) noexcept
{
    try {
        provider.terminate();
    } catch (...) {
        // Nobody is left who could handle it.
    }
}

}  // namespace

std::int64_t timeWritten(const std::filesystem::path& file)
{
    std::error_code ignored;
    return std::filesystem::last_write_time(file, ignored).time_since_epoch().count();
}

ProviderModule::ProviderModule(const String& name, const String& location,
                               const std::vector<std::filesystem::path>& folders,
                               const LogLine& log)
    : name_(name),
      folders_(folders),
      file_("lib" + toUtf8(location) + ".so"),
      log_(log),
      timeWritten_(timeWritten(file_))
{
}

CIMProvider* ProviderModule::create(const String& providerName)
{
    if (factory_ == nullptr) factory_ = load(providerName);
    CIMProvider* provider = nullptr;
    try {
        provider = factory_(providerName);
    } catch (...) {
        throw failure(providerName, toUtf8(currentError().getMessage()));
    }
    if (provider == nullptr) throw failure(providerName, "provider is not a CIMProvider.");
    return provider;
}

ProviderModule::Factory ProviderModule::load(const String& providerName)
{
    const std::filesystem::path file = file_.filename();
    const auto hasFile = [&](const std::filesystem::path& folder) {
        std::error_code ignored;
        return std::filesystem::exists(folder / file, ignored);
    };
    const auto folder = std::find_if(folders_.begin(), folders_.end(), hasFile);
    if (folder == folders_.end()) {
        throw failed("File \"" + file.string() + "\" was not found for provider module \"" +
                     toUtf8(name_) + "\".");
    }
    file_ = *folder / file;
    void* const library = ::dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw failure(providerName, std::string("Cannot load library, error: ") + ::dlerror());
    }
    void* const symbol = ::dlsym(library, "PegasusCreateProvider");
    if (symbol == nullptr) {
        ::dlclose(library);  // while it is loaded, no other file can be loaded by its name
        throw failure(providerName, "entry point not found.");
    }
    timeWritten_ = timeWritten(file_);
    return reinterpret_cast<Factory>(symbol);
}

void ProviderModule::watch()
{
    const std::int64_t now = timeWritten(file_);
    if (timeWritten_.exchange(now) == now) return;
    log_("warning: " + file_.string() +
         " has changed since it was loaded: restart the server to use it. Unless the new file was "
         "moved over the old one, the server may crash until then.");
}

CIMException ProviderModule::failure(const String& providerName, const std::string& text) const
{
    return failed("ProviderLoadFailure (" + file_.string() + ":" + toUtf8(providerName) +
                  "):" + text);
}

ProviderObject::~ProviderObject()
{
    if (CIMProvider* const provider = ready_.load()) terminateQuietly(*provider);
}

CIMProvider& ProviderObject::acquire()
{
    if (CIMProvider* const provider = ready_.load()) {
        module_.watch();
        return *provider;
    }
    // By the system's clock: the thread sanitizer does not know a lock taken by the steady one.
    const std::unique_lock<InitializationLock> lock(initializations_,
                                                    std::chrono::system_clock::now() + longestWait);
    if (!lock) {
        throw failed("The provider \"" + toUtf8(name_) +
                     "\" was not reached, as another request is still initializing a provider. "
                     "Try again later.");
    }
    if (CIMProvider* const provider = ready_.load()) return *provider;
    if (initializing_) {
        throw failed("The provider \"" + toUtf8(name_) +
                     "\" is being initialized and made a request that needs itself. Make that "
                     "request after initialize().");
    }
    initializing_ = true;
    try {
        ready_ = createInitialized();
    } catch (...) {
        initializing_ = false;
        throw;
    }
    return *ready_.load();
}

CIMProvider* ProviderObject::createInitialized()
{
    CIMProvider* const provider = module_.create(name_);
    try {
        provider->initialize(handle_);
    } catch (...) {
        terminateQuietly(*provider);
        throw failed("provider initialization failed");
    }
    return provider;
}

}  // namespace cimom
