// The simulated array: what its file says, and what the actions have made of it since.
#pragma once

#include "ArrayFile.h"
#include "JsonFile.h"

#include <qbxapi.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace qbxsim
{

/// An operation that cannot be carried out: its result code, and why, for the log.
struct Refusal : std::runtime_error
{
    Refusal(int resultCode, const std::string& why) : std::runtime_error(why), code(resultCode) {}

    int code;
};

/// The firmware in a file of at most 64 KiB. Throws Refusal for a file that is none.
Firmware readFirmware(const std::string& fileName);

/// For one thread at a time. Every operation throws Refusal when no usable file has been read yet.
/// A changed file replaces everything that actions have changed, except locations: those hold until
/// the file gives the cage another location.
class Simulator
{
public:
    /// Takes the file from QBX_ARRAY_FILE, or else the sample array.
    Simulator() { reset(); }

    /// Serves another file from now on. Throws Refusal when it is not usable.
    void load(const std::string& path);
    /// Starts anew, as after construction.
    void reset();
    /// Sets the array's clock ahead.
    void advanceClock(std::chrono::seconds by) { ahead_ += by; }

    /// Begins an operation: looks whether the array file has changed, and tells what that wants to
    /// happen to this call.
    std::optional<Fault> begin(const std::string& operation);

    bool mayOpen(const std::string& user);
    api_cimuser_authorization_e authorize(const std::string& user, const std::string& key);
    api_StorageArray_t storageArray();
    std::string nodeIPaddress();

    /// One of the lists, up to the array's cache time old. Actions are seen at once.
    template <class Record>
    const std::vector<Record>& list(std::vector<Record> Records::*which)
    {
        return cached().*which;
    }

    // Each throws Refusal when there is no such element.

    api_Cage_t findCage(const std::string& name);
    api_MagazineIDs_t findMagazine(const std::string& tag);
    std::string findCageOfCard(const std::string& tag);
    void locateCage(const std::string& name, std::uint16_t seconds);
    void locateMagazine(const std::string& cage, unsigned number, std::uint16_t seconds);
    void locatePort(const std::string& cage, unsigned port, std::uint16_t seconds);
    void setMagazineLoop(const std::string& cage, unsigned number, bool onLoop, unsigned port);
    /// Throws Refusal also for firmware that is not for this cage.
    void upgradeCage(const std::string& name, bool isPortA, const Firmware& firmware);
    /// Throws Refusal also when the location cannot be kept; nothing has changed then.
    void setCageLocation(const std::string& name, const std::string& location);

private:
    using Clock = std::chrono::steady_clock;
    struct Light
    {
        Clock::time_point until;
        std::function<void(bool)> turn;
    };

    void use(const std::string& path);
    void reloadIfChanged();
    Clock::time_point now() const { return Clock::now() + ahead_; }
    Array& current();
    const Records& cached();
    api_Magazine_t& magazineNumbered(const std::string& cage, unsigned number);
    void turnOn(const std::string& light, std::uint16_t seconds, std::function<void(bool)> turn);
    void restoreLocations(Array& array) const;
    State readState() const;

    WatchedFile file_{""};
    bool isBad_ = false;  // what the file says cannot be served
    std::string statePath_;
    std::optional<Array> array_;
    std::map<std::string, Light> lights_;  // those that go off, or have gone
    std::optional<Records> snapshot_;
    Clock::time_point snapshotEnd_;
    Clock::duration ahead_{0};  // of the array's clock
};

}  // namespace qbxsim
