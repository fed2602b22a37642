// Time stamps and intervals.
#pragma once

#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// A time stamp "yyyymmddhhmmss.mmmmmmsutc" or an interval "ddddddddhhmmss.mmmmmm:000", whose
/// trailing digits may be asterisks; the zero interval by default. This library checks the text and
/// carries it from one side to the other: it neither compares points in time nor reckons with them.
class CIMDateTime
{
public:
    CIMDateTime() = default;
    /// Throws InvalidDateTimeFormatException for a bad layout, DateTimeOutOfRangeException for a
    /// number out of its range.
    CIMDateTime(const String& str);

    String toString() const { return text_; }

private:
    String text_{"00000000000000.000000:000"};
};

}  // namespace Pegasus
