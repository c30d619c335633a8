#include "ai/day_calendar.h"

#include <unicode/gregocal.h>
#include <unicode/timezone.h>

namespace kelo {

namespace {

// ICU dates are milliseconds since 1970.
UDate toUDate(Date date) { return date.sinceUnixEpoch() * 1000.0; }

}  // namespace

DayCalendar::DayCalendar() {
    UErrorCode status = U_ZERO_ERROR;
    calendar_.reset(new icu::GregorianCalendar(icu::TimeZone::detectHostTimeZone(), status));
    if (U_FAILURE(status)) calendar_.reset();
}

DayCalendar::DayCalendar(const std::string& timeZoneID) {
    UErrorCode status = U_ZERO_ERROR;
    calendar_.reset(
        new icu::GregorianCalendar(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(timeZoneID)), status));
    if (U_FAILURE(status)) calendar_.reset();
}

DayCalendar::DayCalendar(const DayCalendar& other)
    : calendar_(other.calendar_ ? other.calendar_->clone() : nullptr) {}

DayCalendar& DayCalendar::operator=(const DayCalendar& other) {
    if (this != &other) calendar_.reset(other.calendar_ ? other.calendar_->clone() : nullptr);
    return *this;
}

DayCalendar::~DayCalendar() = default;

std::string DayCalendar::dayKey(Date now) const {
    int parts[3] = {0, 0, 0};
    if (calendar_) {
        std::unique_ptr<icu::Calendar> cal(calendar_->clone());
        UErrorCode status = U_ZERO_ERROR;
        cal->setTime(toUDate(now), status);
        const UCalendarDateFields fields[3] = {UCAL_YEAR, UCAL_MONTH, UCAL_DATE};
        for (int i = 0; i < 3; ++i) {
            UErrorCode fieldStatus = status;
            const int value = cal->get(fields[i], fieldStatus);
            if (U_SUCCESS(fieldStatus)) parts[i] = value + (fields[i] == UCAL_MONTH ? 1 : 0);
        }
    }
    return std::to_string(parts[0]) + "-" + std::to_string(parts[1]) + "-" + std::to_string(parts[2]);
}

std::optional<Date> DayCalendar::nextMidnight(Date now) const {
    if (!calendar_) return std::nullopt;
    std::unique_ptr<icu::Calendar> cal(calendar_->clone());
    UErrorCode status = U_ZERO_ERROR;
    cal->setTime(toUDate(now), status);
    cal->set(UCAL_HOUR_OF_DAY, 0);
    cal->set(UCAL_MINUTE, 0);
    cal->set(UCAL_SECOND, 0);
    cal->set(UCAL_MILLISECOND, 0);
    cal->add(UCAL_DATE, 1, status);
    const UDate result = cal->getTime(status);
    if (U_FAILURE(status)) return std::nullopt;
    return Date::fromUnix(result / 1000.0);
}

}  // namespace kelo
