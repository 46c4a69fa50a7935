#include "base/date.h"

#include <chrono>

namespace {

std::string two_digits(long number) {
    return {static_cast<char>('0' + number / 10 % 10), static_cast<char>('0' + number % 10)};
}

}  // namespace

std::string date_text(long seconds) {
    using std::chrono::days;
    const std::chrono::sys_seconds moment{std::chrono::seconds(seconds)};
    const auto day = std::chrono::floor<days>(moment);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss time(moment - day);
    return std::to_string(int{date.year()}) + "-" + two_digits(unsigned{date.month()}) + "-" +
           two_digits(unsigned{date.day()}) + " " + two_digits(time.hours().count()) + ":" +
           two_digits(time.minutes().count()) + ":" + two_digits(time.seconds().count()) + " UTC";
}
