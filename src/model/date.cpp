#include "model/date.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <system_error>

namespace kelo {

Date Date::now() {
    timespec ts{};
    clock_gettime(CLOCK_REALTIME, &ts);
    return fromTimespec(ts.tv_sec, ts.tv_nsec);
}

Date Date::fromTimespec(std::time_t seconds, long nanoseconds) {
    // Subtract in integers first so the whole seconds lose no precision.
    const double whole = static_cast<double>(static_cast<long long>(seconds) - 978307200LL);
    return Date{whole + static_cast<double>(nanoseconds) / 1e9};
}

std::string shortestDecimal(double value) {
    char buffer[400];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    if (ec != std::errc()) return std::to_string(value);
    std::string text(buffer, end);
    if (std::isfinite(value) && text.find('.') == std::string::npos) text += ".0";
    return text;
}

std::string localTimestamp(Date date) {
    const auto seconds = static_cast<std::time_t>(std::floor(date.sinceUnixEpoch()));
    std::tm local{};
    localtime_r(&seconds, &local);
    char buffer[32];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S", &local);
    return buffer;
}

}  // namespace kelo
