#include "libs/plist/CivilTime.h"

#include <cmath>

namespace plist {

namespace {

constexpr double kClampSeconds = 1e14;

std::int64_t floor_div(std::int64_t a, std::int64_t b) {
    std::int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

}  // namespace

CivilTime civil_time_utc(Date date) {
    double seconds = date.seconds_since_2001;
    if (!std::isfinite(seconds)) seconds = 0;
    seconds = std::fmax(-kClampSeconds, std::fmin(kClampSeconds, seconds));
    const auto unix_seconds = static_cast<std::int64_t>(std::floor(seconds)) +
                              static_cast<std::int64_t>(Date::kUnixOffset);

    const std::int64_t days = floor_div(unix_seconds, 86400);
    const std::int64_t second_of_day = unix_seconds - days * 86400;

    // Days since 1970-01-01 to a Gregorian date, counted in 400-year eras from 0000-03-01.
    const std::int64_t shifted = days + 719468;
    const std::int64_t era = floor_div(shifted, 146097);
    const std::int64_t day_of_era = shifted - era * 146097;
    const std::int64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const std::int64_t day_of_year =
        day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const std::int64_t month_from_march = (5 * day_of_year + 2) / 153;
    const int day = static_cast<int>(day_of_year - (153 * month_from_march + 2) / 5 + 1);
    const int month =
        static_cast<int>(month_from_march < 10 ? month_from_march + 3 : month_from_march - 9);
    const std::int64_t year = year_of_era + era * 400 + (month <= 2 ? 1 : 0);

    return CivilTime{year,
                     month,
                     day,
                     static_cast<int>(second_of_day / 3600),
                     static_cast<int>(second_of_day / 60 % 60),
                     static_cast<int>(second_of_day % 60)};
}

}  // namespace plist
