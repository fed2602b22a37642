// Reading the records of the Storage-system API: the semaphore, the record lists, the text fields.
#ifndef QBX_Records_h
#define QBX_Records_h

#include <Pegasus/Common/String.h>

#include <qbxapi.h>

#include <cstddef>
#include <cstdlib>

namespace Pegasus
{
/// Reading what the Storage-system API delivers.
namespace QBX_Records
{

/// Makes one API call under the API's process-wide semaphore and returns its status. When the
/// semaphore cannot be had the call is not made and the wait's own code is returned. The semaphore
/// is released on every way out of the call.
template <class Call>
int underSemaphore(Call&& call)
{
    const int waited = cim_sem_wait();
    if (waited != 0) return waited;
    struct Release
    {
        ~Release() { cim_sem_post(); }
    } release;
    return call();
}

/// The records that one list query of the API delivered: queried under the semaphore on
/// construction, freed on destruction. A failed query reads as an empty list.
///   `Records` is the member of `List` that points to the records.
template <class List, class Record, Record* List::*Records>
class RecordList
{
public:
    /// A list query of the API.
    using Query = int (*)(int, List*);

    /// Makes the query.
    explicit RecordList(Query query) : _status(underSemaphore([&] { return query(0, &_list); })) {}
    ~RecordList() { std::free(_list.*Records); }
    RecordList(const RecordList&) = delete;
    RecordList& operator=(const RecordList&) = delete;

    /// The first record.
    const Record* begin() const { return _list.*Records; }
    /// The end of the records.
    const Record* end() const { return begin() + size(); }

private:
    std::size_t size() const { return _status == 0 && begin() != nullptr ? _list.count : 0; }

    List _list = {};
    int _status;
};

///@{
/// A list of that query's records.
using CageList = RecordList<api_CageList_t, api_Cage_t, &api_CageList_t::cages>;
using CagePSList = RecordList<api_CagePSList_t, api_CagePS_t, &api_CagePSList_t::cages>;
using MagazineList = RecordList<api_MagazineList_t, api_Magazine_t, &api_MagazineList_t::mags>;
using FCALList = RecordList<api_FCALList_t, api_FCAL_t, &api_FCALList_t::fcals>;
///@}

/// True for a control character that XML cannot carry: all but tab, line feed and carriage return.
bool isForbidden(unsigned char code);

/// The text of at most `size` bytes up to the first NUL. A byte that is not part of valid UTF-8 or
/// that no reply could carry reads as U+FFFD, because one bad record must not hide the rest of the
/// array.
String text(const char* bytes, std::size_t size);

/// The text of a record's fixed field; a full field may lack its terminator.
template <std::size_t N>
String text(const char (&field)[N])
{
    return text(field, N);
}

/// The cage type that clients see: JB_JBOD is published under the number of JB_KBOD.
inline Uint16 publishedCageType(jb_type_e type)
{
    return static_cast<Uint16>(type == JB_JBOD ? JB_KBOD : type);
}

///@{
/// The type of the cage that the record belongs to.
inline jb_type_e cageType(const api_Cage_t& cage)
{
    return cage.type;
}
inline jb_type_e cageType(const api_CagePS_t& cage)
{
    return cage.type;
}
inline jb_type_e cageType(const api_Magazine_t& magazine)
{
    return magazine.cageType;
}
inline jb_type_e cageType(const api_FCAL_t& card)
{
    return card.cageType;
}
///@}

///@{
/// False for a magazine slot that holds no magazine; its record counts nowhere.
template <class Record>
bool isPresent(const Record&)
{
    return true;
}
inline bool isPresent(const api_Magazine_t& magazine)
{
    return !magazine.isAbsent;
}
///@}

///@{
/// The name of a cage, by either list.
inline String cageName(const api_Cage_t& cage)
{
    return text(cage.deviceID);
}
inline String cageName(const api_CagePS_t& cage)
{
    return text(cage.name);
}
///@}

/// True for the cage types that carry sensors.
inline bool carriesSensors(jb_type_e type)
{
    return type == JB_LBOD || type == JB_MBOD;
}

///@{
/// Calls `visit(sensor, index)` for each sensor of a cage that is not empty, in order, until it
/// returns false; the index counts the empty places too. The count is the array's word and is not
/// clamped: the array's contract is that a record never counts more sensors than it has places. One
/// that did would be read on into what follows it. Returns false when `visit` ended the walk.
template <class Visit>
bool forEachSensor(const api_sensor_t* sensors, unsigned int count, Visit&& visit)
{
    for (unsigned int i = 0; i < count; ++i) {
        const api_sensor_t& sensor = sensors[i];
        if (sensor.reading == 0 && sensor.limit_low == 0 && sensor.limit_high == 0) continue;
        if (!visit(sensor, i)) return false;
    }
    return true;
}

template <class Visit>
bool forEachSensor(const api_Cage_t& cage, Visit&& visit)
{
    return forEachSensor(cage.u.lbod.sensors, cage.u.lbod.sensCount, visit);
}

template <class Visit>
bool forEachSensor(const api_CagePS_t& cage, Visit&& visit)
{
    return forEachSensor(cage.sensors, cage.sensCount, visit);
}
///@}

}  // namespace QBX_Records
}  // namespace Pegasus

#endif
