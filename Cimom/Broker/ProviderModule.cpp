#include "Broker/ProviderModule.h"

#include "Broker/ProviderErrors.h"
#include "Broker/Text.h"

#include <dlfcn.h>

#include <iterator>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{

ProviderModule::ProviderModule(String name, const String& location,
                               const std::vector<std::filesystem::path>& folders)
    : name_(std::move(name)), fileName_("lib" + toUtf8(location) + ".so"), folders_(folders)
{
}

void ProviderModule::setFactory(Factory factory)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    factory_ = factory;
}

CIMProvider* ProviderModule::create(const String& providerName)
{
    const Factory factory = entryPoint(providerName);
    CIMProvider* provider = nullptr;
    try {
        provider = factory(providerName);
    } catch (...) {
        throw failure(providerName, toUtf8(currentProviderError().getMessage()));
    }
    if (provider == nullptr) throw failure(providerName, "provider is not a CIMProvider.");
    return provider;
}

ProviderModule::Factory ProviderModule::entryPoint(const String& providerName)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (factory_ != nullptr) return factory_;

    const std::filesystem::path file = find();
    if (file.empty()) {
        throw CIMException(CIM_ERR_FAILED, printable("File \"" + fileName_ +
                                                     "\" was not found for provider module \"" +
                                                     toUtf8(name_) + "\"."));
    }
    loadedFrom_ = file;
    void* const library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw failure(providerName, std::string("Cannot load library, error: ") + ::dlerror());
    }
    void* const symbol = ::dlsym(library, "PegasusCreateProvider");
    if (symbol == nullptr) {
        ::dlclose(library);
        throw failure(providerName, "entry point not found.");
    }
    factory_ = reinterpret_cast<Factory>(symbol);
    return factory_;
}

std::filesystem::path ProviderModule::find() const
{
    for (const std::filesystem::path& folder : folders_) {
        std::error_code ignored;
        if (std::filesystem::exists(folder / fileName_, ignored)) return folder / fileName_;
    }
    return {};
}

CIMException ProviderModule::failure(const String& providerName, const std::string& text) const
{
    const std::string file = loadedFrom_.empty() ? fileName_ : loadedFrom_.string();
    return CIMException(CIM_ERR_FAILED, printable("ProviderLoadFailure (" + file + ":" +
                                                  toUtf8(providerName) + "):" + text));
}

ProviderObject::ProviderObject(ProviderModule& module, String name, InitializationGate& gate)
    : module_(module), name_(std::move(name)), gate_(gate)
{
}

ProviderObject::~ProviderObject()
{
    if (CIMProvider* const provider = ready_.load()) terminateQuietly(*provider);
}

CIMProvider& ProviderObject::acquire()
{
    if (CIMProvider* const provider = ready_.load(std::memory_order_acquire)) return *provider;
    if (!becomeInitializer()) return *ready_.load(std::memory_order_acquire);
    try {
        CIMProvider* const provider = createInitialized();
        finish(provider, String());
        return *provider;
    } catch (const CIMException& error) {
        finish(nullptr, error.getMessage());
        throw;
    } catch (...) {
        finish(nullptr, "provider initialization failed");
        throw;
    }
}

// True: the calling thread has to initialize the provider. False: it is ready.
bool ProviderObject::becomeInitializer()
{
    std::unique_lock<std::mutex> lock(gate_.mutex);
    if (ready_.load() != nullptr) return false;
    const std::thread::id me = std::this_thread::get_id();
    if (initializer_ == std::thread::id()) {
        initializer_ = me;
        return true;
    }

    refuseToWaitForMyself();
    gate_.waiting[me] = this;
    const unsigned attempt = attempts_;
    const bool ended =
        gate_.changed.wait_for(lock, gate_.waitLimit, [&] { return attempts_ != attempt; });
    gate_.waiting.erase(me);
    if (ready_.load() != nullptr) return false;
    if (ended) throw CIMException(CIM_ERR_FAILED, failure_);
    throw CIMException(CIM_ERR_FAILED,
                       String("The provider \"") + name_ +
                           "\" is still being initialized by another request. Try again later.");
}

// Follows the chain "initialized by a thread that waits for a provider initialized by ...".
void ProviderObject::refuseToWaitForMyself() const
{
    const ProviderObject* provider = this;
    while (provider->initializer_ != std::this_thread::get_id()) {
        const auto next = gate_.waiting.find(provider->initializer_);
        if (next == gate_.waiting.end()) return;
        provider = next->second;
    }
    throw CIMException(CIM_ERR_FAILED, String("The provider \"") + name_ +
                                           "\" is being initialized and made a request that needs "
                                           "itself. Make that request after initialize().");
}

CIMProvider* ProviderObject::createInitialized()
{
    CIMProvider* const provider = module_.create(name_);
    try {
        provider->initialize(handle_);
    } catch (...) {
        terminateQuietly(*provider);
        throw CIMException(CIM_ERR_FAILED, "provider initialization failed");
    }
    return provider;
}

void ProviderObject::finish(CIMProvider* provider, const String& failure)
{
    const std::lock_guard<std::mutex> lock(gate_.mutex);
    ready_.store(provider, std::memory_order_release);
    failure_ = failure;
    initializer_ = std::thread::id();
    ++attempts_;
    for (auto waiter = gate_.waiting.begin(); waiter != gate_.waiting.end();) {
        waiter = waiter->second == this ? gate_.waiting.erase(waiter) : std::next(waiter);
    }
    gate_.changed.notify_all();
}

}  // namespace cimom
