#include "CallMonitor.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qbxsim
{
namespace
{

void merge(Fault& into, const Fault& from)
{
    if (from.instead) into.instead = from.instead;
    if (from.afterwards) into.afterwards = from.afterwards;
    into.delay = std::max(into.delay, from.delay);
}

}  // namespace

bool isOperation(const std::string& name)
{
    static const char* const operations[] = {"api_qbxOpenForCimserver",
                                             "api_authorizeCIMUser",
                                             "cim_sem_wait",
                                             "cim_sem_post",
                                             "log_message",
                                             "api_getStorageArray",
                                             "api_getNodeIPaddress",
                                             "api_getCages_Cached",
                                             "api_getCagesNoMfg_Cached",
                                             "api_getCagesPS_Cached",
                                             "api_findCageName_Cached",
                                             "api_locateCage",
                                             "api_upgradeCage",
                                             "api_setCageLocation",
                                             "api_getMagazines_Cached",
                                             "api_getMagazinesNoMfg_Cached",
                                             "api_findMagazineIDs",
                                             "api_setMagazineLoop",
                                             "api_locateMagazine",
                                             "api_getFCALs_Cached",
                                             "api_getFCALsNoMfg_Cached",
                                             "api_findCageNameForFCAL",
                                             "api_locateFCALPort"};
    return std::find(std::begin(operations), std::end(operations), name) != std::end(operations);
}

Fault CallMonitor::begin(const std::string& operation)
{
    const std::lock_guard lock(mutex_);
    const unsigned call = ++counts_[operation];
    Fault fault;
    for (const unsigned number : {0u, call}) {
        const auto found = faults_.find({operation, number});
        if (found != faults_.end()) merge(fault, found->second);
    }
    return fault;
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

bool CallMonitor::isRefused(const std::string& user) const
{
    const std::lock_guard lock(mutex_);
    return refused_.count(user) > 0;
}

void CallMonitor::setFault(const std::string& operation, unsigned call, const Fault& fault)
{
    const std::lock_guard lock(mutex_);
    merge(faults_[{operation, call}], fault);
}

void CallMonitor::refuse(const std::string& user)
{
    const std::lock_guard lock(mutex_);
    refused_.insert(user);
}

unsigned CallMonitor::count(const std::string& operation) const
{
    const std::lock_guard lock(mutex_);
    const auto found = counts_.find(operation);
    return found == counts_.end() ? 0 : found->second;
}

void CallMonitor::record(bool on)
{
    const std::lock_guard lock(mutex_);
    recording_ = on;
    records_.clear();
}

std::size_t CallMonitor::recordSize() const
{
    const std::lock_guard lock(mutex_);
    return records_.size();
}

std::string CallMonitor::recordAt(std::size_t index) const
{
    const std::lock_guard lock(mutex_);
    return index < records_.size() ? records_[index] : std::string();
}

void CallMonitor::reset()
{
    const std::lock_guard lock(mutex_);
    counts_.clear();
    faults_.clear();
    refused_.clear();
    recording_ = false;
    records_.clear();
}

}  // namespace qbxsim
