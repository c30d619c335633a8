// DayCalendar: where the user's local days begin and end, for the AI daily counter
// and the quota pause. Owns an ICU Gregorian calendar in one time zone (the
// system's by default, a named one for tests). Plain value; one thread at a time.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include <unicode/uversion.h>

#include "model/date.h"

U_NAMESPACE_BEGIN
class Calendar;
U_NAMESPACE_END

namespace kelo {

class DayCalendar {
public:
    // The system's current time zone.
    DayCalendar();
    // A named IANA time zone such as "Asia/Ho_Chi_Minh".
    explicit DayCalendar(const std::string& timeZoneID);
    DayCalendar(const DayCalendar& other);
    DayCalendar& operator=(const DayCalendar& other);
    ~DayCalendar();

    // "year-month-day" with no zero padding (2026-3-7); a component the calendar
    // cannot supply counts as 0.
    std::string dayKey(Date now) const;
    // The next local midnight after `now`; nothing when the calendar cannot compute it.
    std::optional<Date> nextMidnight(Date now) const;

private:
    std::unique_ptr<icu::Calendar> calendar_;
};

}  // namespace kelo
