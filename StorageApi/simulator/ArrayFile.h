// The file that describes an array, as records of the Storage-system API.
#pragma once

#include "CallMonitor.h"

#include <qbxapi.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace qbxsim
{

/// False for a place without a magazine.
inline bool isThere(const api_Magazine_t& magazine)
{
    return !magazine.isAbsent;
}

template <class Element>
bool isThere(const Element&)
{
    return true;
}

/// The records that the list queries hand out.
struct Records
{
    std::vector<api_Cage_t> cages;
    std::vector<api_CagePS_t> cagesPS;
    std::vector<api_Magazine_t> magazines;
    std::vector<api_FCAL_t> fcals;
};

struct User
{
    std::string name;
    bool mayOpen = true;
    /// Keys, exact or with a trailing '*'. Absent: the privilege store does not know the user.
    std::optional<std::vector<std::string>> privileges;
};

/// An array as its file describes it.
struct Array
{
    std::chrono::milliseconds cacheTime{0};
    std::string nodeIPaddress;
    api_StorageArray_t storageArray = {};
    Records records;
    std::vector<std::string> locations;  // of the cages, which the records may change
    std::vector<User> users;
    /// Every key that a user can hold. Absent: any key is one.
    std::optional<std::vector<std::string>> privilegeKeys;
    FaultPlan faults;
    std::vector<std::string> warnings;  // of what is likely a mistake, each with its place
};

/// A firmware file: a version, and the cage types that it is for.
struct Firmware
{
    std::string file;
    char version[32] = {};
    std::vector<jb_type_e> cageTypes;
};

/// A location that was set through the API. It holds for as long as the array file says `from`.
struct KeptLocation
{
    std::string cage;
    std::string from;
    std::string to;
};

/// What outlives a restart.
struct State
{
    std::vector<KeptLocation> locations;
};

/// The Array, Firmware or State that `text`, the contents of `file`, describes. Throws FileError
/// for a fault in it.
template <class Content>
Content parse(const std::string& file, const std::string& text);
template <>
Array parse(const std::string& file, const std::string& text);

/// The text of a state file, for parse<State>.
std::string formatState(const State& state);

/// The text of a field, which may lack its terminator.
template <std::size_t N>
std::string fieldText(const char (&field)[N])
{
    const std::string all(field, N);
    return all.substr(0, all.find('\0'));
}

}  // namespace qbxsim
