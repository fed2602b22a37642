#include <Pegasus/Common/CIMDateTime.h>

#include <Pegasus/Common/Exception.h>

#include <ctime>
#include <string>

namespace Pegasus
{

namespace
{

constexpr const char* decimals = "0123456789";
constexpr size_t textSize = 25;
constexpr size_t pointAt = 14;
constexpr size_t signAt = 21;
constexpr size_t allDigits = 20;  // before the sign, without the point

/// The digits of a date and time, of which the last may be asterisks.
class Digits
{
public:
    /// Takes text of the right size. Throws InvalidDateTimeFormatException unless digits are there
    /// and the asterisks, microseconds apart, stand for whole fields.
    Digits(const std::string& text, bool isInterval)
        : digits_(text.substr(0, pointAt) + text.substr(pointAt + 1, signAt - pointAt - 1)),
          known_(digits_.find_last_not_of('*') + 1)
    {
        const size_t asterisks = allDigits - known_;
        const bool wholeFields = asterisks <= 6 || asterisks == 8 || asterisks == 10 ||
                                 asterisks == 12 || asterisks == allDigits ||
                                 (!isInterval && (asterisks == 14 || asterisks == 16));
        if (!wholeFields || digits_.find_first_not_of(decimals) < known_)
            throw InvalidDateTimeFormatException();
    }

    /// Throws DateTimeOutOfRangeException, as does checkTimeOfDay().
    void checkDate() const
    {
        const int month = field(4, 2, 1);
        if (month < 1 || month > 12) throw DateTimeOutOfRangeException("illegal month number");
        tm date{};
        date.tm_year = field(0, 4, 0) - 1900;
        date.tm_mon = month - 1;
        date.tm_mday = field(6, 2, 1);
        timegm(&date);  // makes a day that the month does not have one of the next month
        if (date.tm_mday != field(6, 2, 1)) throw DateTimeOutOfRangeException("illegal day number");
    }

    void checkTimeOfDay() const
    {
        if (field(8, 2, 0) > 23) throw DateTimeOutOfRangeException("illegal hours number ");
        if (field(10, 2, 0) > 59) throw DateTimeOutOfRangeException("illegal minutes number ");
        if (field(12, 2, 0) > 59) throw DateTimeOutOfRangeException("illegal seconds number ");
    }

private:
    int field(size_t at, size_t size, int ofAsterisks) const
    {
        return at < known_ ? std::stoi(digits_.substr(at, size)) : ofAsterisks;
    }

    const std::string digits_;
    const size_t known_;  // how many of them are no asterisks
};

}  // namespace

CIMDateTime::CIMDateTime(const String& str) : text_(str)
{
    const std::string text(str.getCString());
    const bool isLayout = str.size() == textSize && text.size() == textSize &&
                          text[pointAt] == '.' &&
                          text.find_first_not_of(decimals, signAt + 1) == std::string::npos;
    if (!isLayout) throw InvalidDateTimeFormatException();
    const char sign = text[signAt];
    const bool isZero = text.substr(signAt + 1) == "000";
    const bool isInterval = sign == ':' && isZero;
    if (!isInterval && sign != '+' && sign != '-') throw InvalidDateTimeFormatException();
    const Digits digits(text, isInterval);
    if (!isInterval) digits.checkDate();
    digits.checkTimeOfDay();
    if (sign == '-' && isZero) text_ = String((text.substr(0, signAt) + "+000").c_str());
}

}  // namespace Pegasus
