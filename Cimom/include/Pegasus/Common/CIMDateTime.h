// Time stamps and intervals.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// A time stamp "yyyymmddhhmmss.mmmmmmsutc" or an interval "ddddddddhhmmss.mmmmmm:000", whose
/// trailing digits may be asterisks; the zero interval by default. An interval and a time stamp
/// never compare: that throws TypeMismatchException.
class PEGASUS_COMMON_LINKAGE CIMDateTime
{
public:
    CIMDateTime() = default;
    CIMDateTime(const CIMDateTime& x) = default;
    /// Throws InvalidDateTimeFormatException for a bad layout, DateTimeOutOfRangeException for a
    /// number out of its range.
    CIMDateTime(const String& str);
    /// Microseconds of an interval, or since the beginning of year 0 (UTC). Throws
    /// DateTimeOutOfRangeException.
    CIMDateTime(Uint64 usec, Boolean isInterval);
    CIMDateTime& operator=(const CIMDateTime& x) = default;

    String toString() const;
    /// As the constructor; leaves the zero interval when it throws.
    void set(const String& str);
    void clear();

    static CIMDateTime getCurrentDateTime();
    /// finishTime - startTime in microseconds. Throws InvalidDateTimeFormatException unless both
    /// are of one kind.
    static Sint64 getDifference(CIMDateTime startTime, CIMDateTime finishTime);

    Boolean isInterval() const;
    Boolean isInterval();
    /// Compares points in time, whatever the UTC offset; asterisks match any digit.
    Boolean equal(const CIMDateTime& x) const;
    Uint64 toMicroSeconds() const;

    // Arithmetic throws TypeMismatchException for kinds that do not combine and
    // DateTimeOutOfRangeException for results that cannot be written.
    CIMDateTime operator+(const CIMDateTime& x) const;
    CIMDateTime& operator+=(const CIMDateTime& x);
    CIMDateTime operator-(const CIMDateTime& x) const;
    CIMDateTime& operator-=(const CIMDateTime& x);
    CIMDateTime operator*(Uint64 x) const;
    CIMDateTime& operator*=(Uint64 x);
    CIMDateTime operator/(Uint64 num) const;
    CIMDateTime& operator/=(Uint64 num);
    Uint64 operator/(const CIMDateTime& cdt) const;

    Boolean operator<(const CIMDateTime& x) const;
    Boolean operator<=(const CIMDateTime& x) const;
    Boolean operator>(const CIMDateTime& x) const;
    Boolean operator>=(const CIMDateTime& x) const;
    Boolean operator!=(const CIMDateTime& x) const;

private:
    CIMDateTime movedBy(const CIMDateTime& interval, Boolean forward) const;
    CIMDateTime asInterval(Uint64 usec) const;
    int compare(const CIMDateTime& x) const;

    Uint64 _usec = 0;       // of the interval, or since the beginning of year 0 in local time
    Sint32 _utcOffset = 0;  // minutes
    Uint32 _wildcards = 0;  // asterisks, all at the end
    Boolean _isInterval = true;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMDateTime& x, const CIMDateTime& y);

}  // namespace Pegasus
