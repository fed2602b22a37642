#include "CallMonitor.h"

#include <dlfcn.h>

namespace qbxsim
{

std::optional<Fault> FaultPlan::next(const std::string& operation)
{
    auto fault = faults_.find({operation, ++counts_[operation]});
    if (fault == faults_.end()) fault = faults_.find({operation, 0});
    if (fault == faults_.end()) return std::nullopt;
    return fault->second;
}

bool canFail(const std::string& operation)
{
    static void* const api = dlopen("libqbxapi.so", RTLD_NOW | RTLD_NOLOAD);
    const bool hasResult = operation == "cim_sem_wait" || operation.rfind("api_", 0) == 0;
    return hasResult && dlsym(api, operation.c_str()) != nullptr;
}

std::optional<Fault> CallMonitor::begin(const std::string& operation)
{
    const std::lock_guard lock(mutex_);
    return plan_.next(operation);
}

void CallMonitor::end(const std::string& text)
{
    const std::lock_guard lock(mutex_);
    if (recording_) records_.push_back(text);
}

bool CallMonitor::isRecording() const
{
    const std::lock_guard lock(mutex_);
    return recording_;
}

void CallMonitor::setFault(const std::string& operation, unsigned call, const Fault& fault)
{
    const std::lock_guard lock(mutex_);
    plan_.set(operation, call, fault);
}

void CallMonitor::record(bool on)
{
    const std::lock_guard lock(mutex_);
    recording_ = on;
    records_.clear();
}

const char* CallMonitor::recordAt(std::size_t index) const
{
    const std::lock_guard lock(mutex_);
    return index < records_.size() ? records_[index].c_str() : nullptr;
}

void CallMonitor::reset()
{
    record(false);
    const std::lock_guard lock(mutex_);
    plan_ = {};
}

}  // namespace qbxsim
