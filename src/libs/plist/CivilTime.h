// Calendar fields of a property-list date, for the two text forms that print one (XML and the
// description text).
#pragma once

#include <cstdint>

#include "libs/plist/Value.h"

namespace plist {

struct CivilTime {
    std::int64_t year;
    int month, day, hour, minute, second;
};

// UTC fields in the proleptic Gregorian calendar, rounded down to the whole second as Apple's
// XML writer does (so -0.5 s after the reference date is 2000-12-31 23:59:59). A date that is not
// finite counts as the reference date; one beyond about 3 million years is clamped there.
CivilTime civil_time_utc(Date date);

}  // namespace plist
