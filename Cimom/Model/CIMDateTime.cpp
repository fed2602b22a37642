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

constexpr const char* decimals = "0123456789";
constexpr size_t textSize = 25;
constexpr size_t pointAt = 14;
constexpr size_t signAt = 21;
constexpr Uint32 allDigits = 20;  // before the sign, without the point

struct Date
{
    Uint64 year;
    Uint64 month;
    Uint64 day;
};

bool isLeapYear(Uint64 year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

Uint64 daysOfMonth(Uint64 year, Uint64 month)
{
    constexpr std::array<Uint64, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : days.at(month - 1);
}

/// Days from the beginning of year 0 (which is a leap year) to that of the year.
Uint64 daysBeforeYear(Uint64 year)
{
    if (year == 0) return 0;
    const Uint64 past = year - 1;
    return 365 * year + past / 4 - past / 100 + past / 400 + 1;
}

Uint64 daysBefore(const Date& date)
{
    Uint64 days = daysBeforeYear(date.year) + date.day - 1;
    for (Uint64 month = 1; month < date.month; ++month)
        days += daysOfMonth(date.year, month);
    return days;
}

Date dateOf(Uint64 days)
{
    Uint64 year = days / 366;  // never too late
    while (daysBeforeYear(year + 1) <= days)
        ++year;
    days -= daysBeforeYear(year);
    Uint64 month = 1;
    for (; days >= daysOfMonth(year, month); ++month)
        days -= daysOfMonth(year, month);
    return {year, month, days + 1};
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
        : _digits(text.substr(0, pointAt) + text.substr(pointAt + 1, signAt - pointAt - 1))
    {
        const size_t lastDigit = _digits.find_last_not_of('*');
        _wildcards = allDigits - Uint32(lastDigit + 1);
        std::fill_n(_digits.rbegin(), _wildcards, '0');
        const bool wholeFields = _wildcards <= 6 || _wildcards == 8 || _wildcards == 10 ||
                                 _wildcards == 12 || _wildcards == allDigits ||
                                 (!isInterval && (_wildcards == 14 || _wildcards == 16));
        if (!wholeFields || _digits.find_first_not_of(decimals) != std::string::npos) {
            throw InvalidDateTimeFormatException();
        }
    }

    Uint32 wildcards() const { return _wildcards; }

    /// Throws DateTimeOutOfRangeException, as does timeStamp().
    Uint64 interval() const
    {
        const Uint64 days = _wildcards == allDigits ? 1 : field(0, 8);
        return days * day + timeOfDay();
    }

    Uint64 timeStamp() const
    {
        const Date date{field(0, 4), _wildcards >= 16 ? 1 : field(4, 2),
                        _wildcards >= 14 ? 1 : field(6, 2)};
        if (date.month < 1 || date.month > 12) {
            throw DateTimeOutOfRangeException(String("illegal month number"));
        }
        if (date.day < 1 || date.day > daysOfMonth(date.year, date.month)) {
            throw DateTimeOutOfRangeException(String("illegal day number"));
        }
        return daysBefore(date) * day + timeOfDay();
    }

private:
    Uint64 field(size_t at, size_t size) const { return std::stoull(_digits.substr(at, size)); }

    Uint64 timeOfDay() const
    {
        return checked(field(8, 2), 24, "hours") * hour +
               checked(field(10, 2), 60, "minutes") * minute +
               checked(field(12, 2), 60, "seconds") * second + field(14, 6);
    }

    std::string _digits;
    Uint32 _wildcards;
};

/// What of the time is known when so many digits are not, as a number that grows with time.
Uint64 knownPart(Uint64 usec, Uint32 wildcards)
{
    constexpr std::array<Uint64, 7> units{1, 10, 100, 1000, 10000, 100000, second};
    if (wildcards < units.size()) return usec / units.at(wildcards);
    if (wildcards == 8) return usec / minute;
    if (wildcards == 10) return usec / hour;
    if (wildcards == 12) return usec / day;
    if (wildcards == allDigits) return 0;
    const Date date = dateOf(usec / day);
    return wildcards == 14 ? 12 * date.year + date.month : date.year;
}

Uint64 plusMinutes(Uint64 usec, Sint32 minutes)
{
    return usec + Uint64(minutes) * minute;  // modulo 2^64: a negative number subtracts
}

}  // namespace

CIMDateTime::CIMDateTime(const String& str)
{
    set(str);
}

CIMDateTime::CIMDateTime(Uint64 usec, Boolean isInterval) : _usec(usec), _isInterval(isInterval)
{
    if (isInterval && usec >= endOfIntervals) {
        throw DateTimeOutOfRangeException(
            String("Cannot create a CIMDateTime interval greater than 100 million days"));
    }
    if (!isInterval && usec >= endOfTimeStamps) {
        throw DateTimeOutOfRangeException(
            String("Cannot create a CIMDateTime time stamp beyond the year 10,000"));
    }
}

String CIMDateTime::toString() const
{
    std::array<char, 64> text{};
    const auto days = _usec / day;
    const Date date = _isInterval ? Date{} : dateOf(days);
    const unsigned hours = unsigned(_usec % day / hour);
    const unsigned minutes = unsigned(_usec % hour / minute);
    const unsigned seconds = unsigned(_usec % minute / second);
    const unsigned micros = unsigned(_usec % second);
    std::snprintf(text.data(), text.size(), "%08llu%02u%02u%02u.%06u%c%03d",
                  _isInterval ? days : 10000 * date.year + 100 * date.month + date.day, hours,
                  minutes, seconds, micros,
                  _isInterval      ? ':'
                  : _utcOffset < 0 ? '-'
                                   : '+',
                  std::abs(_utcOffset));
    Uint32 wild = _wildcards;
    for (size_t i = signAt; wild > 0; --wild) {
        if (--i == pointAt) --i;
        text.at(i) = '*';
    }
    return String(text.data());
}

void CIMDateTime::set(const String& str)
{
    clear();
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
    _usec = isInterval ? digits.interval() : digits.timeStamp();
    _isInterval = isInterval;
    _utcOffset = sign == '-' ? -offset : offset;
    _wildcards = digits.wildcards();
}

void CIMDateTime::clear()
{
    *this = CIMDateTime();
}

CIMDateTime CIMDateTime::getCurrentDateTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    const Uint64 days = daysBefore({1970, 1, 1}) * day;
    CIMDateTime result;
    result._isInterval = false;
    result._utcOffset = Sint32(local.tm_gmtoff / 60);
    result._usec = plusMinutes(days + Uint64(now.tv_sec) * second + Uint64(now.tv_nsec) / 1000,
                               result._utcOffset);
    return result;
}

Sint64 CIMDateTime::getDifference(CIMDateTime startTime, CIMDateTime finishTime)
{
    if (startTime._isInterval != finishTime._isInterval) throw InvalidDateTimeFormatException();
    return Sint64(finishTime.toMicroSeconds() - startTime.toMicroSeconds());
}

Boolean CIMDateTime::isInterval() const
{
    return _isInterval;
}

Boolean CIMDateTime::isInterval()
{
    return _isInterval;
}

Boolean CIMDateTime::equal(const CIMDateTime& x) const
{
    return compare(x) == 0;
}

Uint64 CIMDateTime::toMicroSeconds() const
{
    // As much of the offset as the known fields can tell.
    const Sint32 known = _wildcards < 10 ? _utcOffset : _wildcards == 10 ? _utcOffset / 60 * 60 : 0;
    return plusMinutes(_usec, -known);
}

/// Negative, zero or positive as this is before, the same as, or after x, as far as can be known.
int CIMDateTime::compare(const CIMDateTime& x) const
{
    if (_isInterval != x._isInterval) {
        throw TypeMismatchException(
            String("Trying to compare CIMDateTime objects of differing types"));
    }
    const Uint32 unknown = std::max(_wildcards, x._wildcards);
    const Uint64 a = knownPart(toMicroSeconds(), unknown);
    const Uint64 b = knownPart(x.toMicroSeconds(), unknown);
    return a < b ? -1 : a > b ? 1 : 0;
}

/// Keeps offset and asterisks.
CIMDateTime CIMDateTime::movedBy(const CIMDateTime& interval, Boolean forward) const
{
    if (!interval._isInterval) throw TypeMismatchException();
    if (!forward && interval._usec > _usec) {
        throw DateTimeOutOfRangeException(
            String("Result of subtracting two CIMDateTimes would be negative."));
    }
    CIMDateTime result(forward ? _usec + interval._usec : _usec - interval._usec, _isInterval);
    result._utcOffset = _utcOffset;
    result._wildcards = _wildcards;
    return result;
}

CIMDateTime CIMDateTime::operator+(const CIMDateTime& x) const
{
    return movedBy(x, true);
}

CIMDateTime& CIMDateTime::operator+=(const CIMDateTime& x)
{
    return *this = movedBy(x, true);
}

CIMDateTime CIMDateTime::operator-(const CIMDateTime& x) const
{
    if (_isInterval != x._isInterval) {
        // Starts from the UTC time, yet keeps the offset; operator-= does not.
        CIMDateTime start(*this);
        start._usec = toMicroSeconds();
        return start.movedBy(x, false);
    }
    // Of two of a kind, the exact time between.
    return CIMDateTime(toMicroSeconds(), true)
        .movedBy(CIMDateTime(x.toMicroSeconds(), true), false);
}

CIMDateTime& CIMDateTime::operator-=(const CIMDateTime& x)
{
    return *this = movedBy(x, false);
}

/// An interval of that length with the asterisks of this one.
CIMDateTime CIMDateTime::asInterval(Uint64 usec) const
{
    CIMDateTime result(usec, true);
    result._wildcards = _wildcards;
    return result;
}

CIMDateTime CIMDateTime::operator*(Uint64 x) const
{
    if (!_isInterval) throw TypeMismatchException();
    Uint64 product = 0;
    if (__builtin_mul_overflow(_usec, x, &product)) product = endOfIntervals;
    return asInterval(product);
}

CIMDateTime& CIMDateTime::operator*=(Uint64 x)
{
    return *this = *this * x;
}

CIMDateTime CIMDateTime::operator/(Uint64 num) const
{
    if (!_isInterval) {
        throw TypeMismatchException(String("Can not divide a TimeStamp by an integer"));
    }
    if (num == 0) throw Exception(String("Can not divide CIMDateTime by zero"));
    return asInterval(_usec / num);
}

CIMDateTime& CIMDateTime::operator/=(Uint64 num)
{
    return *this = *this / num;
}

Uint64 CIMDateTime::operator/(const CIMDateTime& cdt) const
{
    if (!_isInterval || !cdt._isInterval) {
        throw TypeMismatchException(
            String("Can not divide two CIMDateTime objects if one of them is a TimeStamp"));
    }
    if (cdt._usec == 0) throw Exception(String("Can not divide CIMDateTime by zero"));
    return _usec / cdt._usec;
}

Boolean CIMDateTime::operator<(const CIMDateTime& x) const
{
    return compare(x) < 0;
}

Boolean CIMDateTime::operator<=(const CIMDateTime& x) const
{
    return compare(x) <= 0;
}

Boolean CIMDateTime::operator>(const CIMDateTime& x) const
{
    return compare(x) > 0;
}

Boolean CIMDateTime::operator>=(const CIMDateTime& x) const
{
    return compare(x) >= 0;
}

Boolean CIMDateTime::operator!=(const CIMDateTime& x) const
{
    return compare(x) != 0;
}

Boolean operator==(const CIMDateTime& x, const CIMDateTime& y)
{
    return x.equal(y);
}

}  // namespace Pegasus
