#include <Pegasus/Common/CIMDateTime.h>

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <string>

namespace Pegasus
{

namespace
{

constexpr Uint64 second = 1000000;
constexpr Uint64 minute = 60 * second;
constexpr Uint64 hour = 60 * minute;
constexpr Uint64 day = 24 * hour;
constexpr Uint64 endOfIntervals = 100000000 * day;
constexpr Uint64 endOfTimeStamps = 3652425 * day;  // year 10000
constexpr Sint64 secondsTo1970 = 62167219200;      // from the beginning of year 0

constexpr const char* decimals = "0123456789";
constexpr size_t textSize = 25;
constexpr size_t pointAt = 14;
constexpr size_t signAt = 21;
constexpr Uint32 allDigits = 20;  // before the sign, without the point

/// Microseconds since the beginning of year 0.
Uint64 sinceYear0(time_t seconds)
{
    return Uint64(seconds + secondsTo1970) * second;
}

tm dateOf(Uint64 usec)
{
    const time_t seconds = time_t(usec / second) - secondsTo1970;
    tm date{};
    gmtime_r(&seconds, &date);
    return date;
}

Uint64 checked(Uint64 number, Uint64 end, const char* what)
{
    if (number >= end) {
        throw DateTimeOutOfRangeException(String("illegal ") + String(what) + String(" number "));
    }
    return number;
}

/// The 20 digits of a date and time, of which the last may be asterisks: read as zero, or as one in
/// a day or month.
class Digits
{
public:
    /// Takes text of the right size. Throws InvalidDateTimeFormatException unless digits are there
    /// and the asterisks, microseconds apart, stand for whole fields.
    Digits(const std::string& text, bool isInterval)
        : digits_(text.substr(0, pointAt) + text.substr(pointAt + 1, signAt - pointAt - 1))
    {
        const size_t lastDigit = digits_.find_last_not_of('*');
        wildcards_ = allDigits - Uint32(lastDigit + 1);
        std::fill_n(digits_.rbegin(), wildcards_, '0');
        const bool wholeFields = wildcards_ <= 6 || wildcards_ == 8 || wildcards_ == 10 ||
                                 wildcards_ == 12 || wildcards_ == allDigits ||
                                 (!isInterval && (wildcards_ == 14 || wildcards_ == 16));
        if (!wholeFields || digits_.find_first_not_of(decimals) != std::string::npos) {
            throw InvalidDateTimeFormatException();
        }
    }

    Uint32 wildcards() const { return wildcards_; }

    /// Throws DateTimeOutOfRangeException, as does timeStamp().
    Uint64 interval() const
    {
        const Uint64 days = wildcards_ == allDigits ? 1 : field(0, 8);
        return days * day + timeOfDay();
    }

    Uint64 timeStamp() const
    {
        const int month = wildcards_ >= 16 ? 1 : int(field(4, 2));
        const int dayOfMonth = wildcards_ >= 14 ? 1 : int(field(6, 2));
        if (month < 1 || month > 12) {
            throw DateTimeOutOfRangeException(String("illegal month number"));
        }
        tm date{};
        date.tm_year = int(field(0, 4)) - 1900;
        date.tm_mon = month - 1;
        date.tm_mday = dayOfMonth;
        // Makes a day that the month does not have one of the next month.
        const time_t seconds = timegm(&date);
        if (date.tm_mday != dayOfMonth) {
            throw DateTimeOutOfRangeException(String("illegal day number"));
        }
        return sinceYear0(seconds) + timeOfDay();
    }

private:
    Uint64 field(size_t at, size_t size) const { return std::stoull(digits_.substr(at, size)); }

    Uint64 timeOfDay() const
    {
        return checked(field(8, 2), 24, "hours") * hour +
               checked(field(10, 2), 60, "minutes") * minute +
               checked(field(12, 2), 60, "seconds") * second + field(14, 6);
    }

    std::string digits_;
    Uint32 wildcards_;
};

/// A number for the fields of the time that are known when so many digits at the end are asterisks.
Uint64 knownPart(Uint64 usec, Uint32 wildcards)
{
    constexpr std::array<Uint64, 7> units{1, 10, 100, 1000, 10000, 100000, second};
    if (wildcards < units.size()) return usec / units.at(wildcards);
    if (wildcards == 8) return usec / minute;
    if (wildcards == 10) return usec / hour;
    if (wildcards == 12) return usec / day;
    if (wildcards == allDigits) return 0;
    const tm date = dateOf(usec);
    return Uint64(wildcards == 14 ? 12 * date.tm_year + date.tm_mon : date.tm_year);
}

Uint64 plusMinutes(Uint64 usec, Sint32 minutes)
{
    return usec + Uint64(minutes) * minute;  // modulo 2^64: a negative number subtracts
}

}  // namespace

CIMDateTime::CIMDateTime(Uint64 usec, Boolean isInterval) : usec_(usec), isInterval_(isInterval)
{
    if (usec < (isInterval ? endOfIntervals : endOfTimeStamps)) return;
    throw DateTimeOutOfRangeException(
        isInterval ? "Cannot create a CIMDateTime interval greater than 100 million days"
                   : "Cannot create a CIMDateTime time stamp beyond the year 10,000");
}

String CIMDateTime::toString() const
{
    std::array<char, 64> text{};
    Uint64 days = usec_ / day;
    if (!isInterval_) {
        const tm date = dateOf(usec_);
        days = Uint64(10000 * (date.tm_year + 1900) + 100 * (date.tm_mon + 1) + date.tm_mday);
    }
    const auto part = [this](Uint64 whole, Uint64 unit) { return unsigned(usec_ % whole / unit); };
    const char sign = isInterval_ ? ':' : utcOffset_ < 0 ? '-' : '+';
    std::snprintf(text.data(), text.size(), "%08llu%02u%02u%02u.%06u%c%03d", days, part(day, hour),
                  part(hour, minute), part(minute, second), part(second, 1), sign,
                  std::abs(utcOffset_));
    Uint32 wild = wildcards_;
    for (size_t i = signAt; wild > 0; --wild) {
        if (--i == pointAt) --i;
        text.at(i) = '*';
    }
    return String(text.data());
}

CIMDateTime::CIMDateTime(const String& str)
{
    const std::string text(str.getCString());
    const bool isLayout = str.size() == textSize && text.size() == textSize &&
                          text[pointAt] == '.' &&
                          text.find_first_not_of(decimals, signAt + 1) == std::string::npos;
    if (!isLayout) throw InvalidDateTimeFormatException();
    const char sign = text[signAt];
    const Sint32 offset = std::stoi(text.substr(signAt + 1));
    const bool isInterval = sign == ':' && offset == 0;
    if (!isInterval && sign != '+' && sign != '-') throw InvalidDateTimeFormatException();
    const Digits digits(text, isInterval);
    usec_ = isInterval ? digits.interval() : digits.timeStamp();
    isInterval_ = isInterval;
    utcOffset_ = sign == '-' ? -offset : offset;
    wildcards_ = digits.wildcards();
}

CIMDateTime CIMDateTime::getCurrentDateTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    CIMDateTime result;
    result.isInterval_ = false;
    result.utcOffset_ = Sint32(local.tm_gmtoff / 60);
    result.usec_ =
        plusMinutes(sinceYear0(now.tv_sec) + Uint64(now.tv_nsec) / 1000, result.utcOffset_);
    return result;
}

Boolean CIMDateTime::equal(const CIMDateTime& x) const
{
    if (isInterval_ != x.isInterval_) {
        throw TypeMismatchException("Trying to compare CIMDateTime objects of differing types");
    }
    const Uint32 unknown = std::max(wildcards_, x.wildcards_);
    return knownPart(toMicroSeconds(), unknown) == knownPart(x.toMicroSeconds(), unknown);
}

Uint64 CIMDateTime::toMicroSeconds() const
{
    // Only as much of the offset as the fields without asterisks can express.
    const Sint32 known = wildcards_ < 10 ? utcOffset_ : wildcards_ == 10 ? utcOffset_ / 60 * 60 : 0;
    return plusMinutes(usec_, -known);
}

}  // namespace Pegasus
