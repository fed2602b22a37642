// A provider for the broker's tests: it notes every call and does what the test's script says.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace scripted
{

/// What all scripted providers of the process do, and what they were asked. A script is a word of
/// steps: p processing, d deliver, D deliver an array, u deliver something uninitialized, o deliver
/// an output parameter, c complete, t call `fault`; a step after ? may throw, which is noted.
struct Stage
{
    /// By operation and class ("EI T_Leaf"), or by operation alone; "pdc" when there is none.
    std::map<std::string, std::string> scripts;
    /// What step d delivers for a class, all of it; CLASS.Id="1" when there is nothing.
    std::map<std::string, std::vector<Pegasus::CIMInstance>> instances;
    /// Throws whatever the test wants thrown.
    std::function<void()> fault;
    /// Called at every operation with its name, before the script is played.
    std::function<void(const std::string& operation, const Pegasus::OperationContext&)> onCall;
    std::function<void(const std::string& provider, Pegasus::CIMOMHandle&)> onInitialize;

    void note(const std::string& line);
    /// The notes so far, which are forgotten.
    std::vector<std::string> notes();

private:
    std::mutex mutex_;
    std::vector<std::string> notes_;
};

/// The stage; `resetStage` begins a new one.
Stage& stage();
void resetStage();

/// The factory: names beginning with "Bare" give a provider without any operations, "Missing" and
/// what follows gives none.
Pegasus::CIMProvider* create(const Pegasus::String& providerName);

}  // namespace scripted
