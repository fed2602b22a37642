// Time stamps and intervals.
#pragma once

#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// A time stamp "yyyymmddhhmmss.mmmmmmsutc" or an interval "ddddddddhhmmss.mmmmmm:000", whose
/// trailing digits may be asterisks; the zero interval by default.
class CIMDateTime
{
public:
    CIMDateTime() = default;
    /// Throws InvalidDateTimeFormatException for a bad layout, DateTimeOutOfRangeException for a
    /// number out of its range.
    CIMDateTime(const String& str);
    /// Microseconds of an interval, or since the beginning of year 0 (UTC). Throws
    /// DateTimeOutOfRangeException.
    CIMDateTime(Uint64 usec, Boolean isInterval);
    /// The time of the host's clock, in its time zone.
    static CIMDateTime getCurrentDateTime();

    String toString() const;
    Boolean isInterval() const { return isInterval_; }
    /// Compares points in time, whatever the UTC offset; asterisks match any digit. An interval and
    /// a time stamp do not compare: that throws TypeMismatchException.
    Boolean equal(const CIMDateTime& x) const;
    /// Of an interval, or since the beginning of year 0 (UTC).
    Uint64 toMicroSeconds() const;

private:
    Uint64 usec_ = 0;       // of the interval, or since the beginning of year 0 in local time
    Sint32 utcOffset_ = 0;  // minutes
    Uint32 wildcards_ = 0;  // asterisks, all at the end
    Boolean isInterval_ = true;
};

inline Boolean operator==(const CIMDateTime& x, const CIMDateTime& y)
{
    return x.equal(y);
}

}  // namespace Pegasus
