// Date: an instant, held as seconds since 2001-01-01 00:00:00 UTC (the form every
// persisted document uses). Plain value; any thread may use it.
#pragma once

#include <compare>
#include <ctime>
#include <string>

namespace kelo {

struct Date {
    // Seconds between 1970-01-01 and 2001-01-01 UTC.
    static constexpr double kReferenceOffset = 978307200.0;

    double sinceReference = 0;

    static Date now();
    static Date fromUnix(double secondsSince1970) { return Date{secondsSince1970 - kReferenceOffset}; }
    // The one conversion from file-system times (stat, statx) used everywhere, so a
    // file's modification date compares equal however it was read.
    static Date fromTimespec(std::time_t seconds, long nanoseconds);

    double sinceUnixEpoch() const { return sinceReference + kReferenceOffset; }
    double secondsSince(Date earlier) const { return sinceReference - earlier.sinceReference; }
    Date adding(double seconds) const { return Date{sinceReference + seconds}; }

    friend auto operator<=>(const Date&, const Date&) = default;
};

// Shortest round-trip decimal text of a double in fixed notation, keeping ".0" on
// whole numbers: 1700000000.0, 1700000000.25.
std::string shortestDecimal(double value);

// Local time as "YYYY-MM-DDThh:mm:ss" (the freedesktop Trash's DeletionDate form).
std::string localTimestamp(Date date);

}  // namespace kelo
