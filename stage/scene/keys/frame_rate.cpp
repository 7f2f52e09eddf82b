#include "stage/scene/keys/frame_rate.h"

#include "stage/base/text.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace cadencora::stage {

namespace {

// A decimal number as an exact fraction digits / 10^places.
struct Decimal {
    std::int64_t digits = 0;
    int places = 0;
};

std::optional<Decimal> parseDecimal(std::string_view text) {
    Decimal decimal;
    bool point = false, any = false;
    for (const char c : text) {
        if (c == '.' && !point) {
            point = true;
        } else if (c >= '0' && c <= '9') {
            any = true;
            if (decimal.digits > 99'999'999'999'999) { // further digits are below any use
                if (point) continue;
                return std::nullopt;
            }
            decimal.digits = decimal.digits * 10 + (c - '0');
            if (point && ++decimal.places > 18) return std::nullopt; // 10^18 is the last power
        } else {
            return std::nullopt;
        }
    }
    if (!any) return std::nullopt;
    return decimal;
}

std::int64_t powerOfTen(int exponent) {
    std::int64_t power = 1;
    while (exponent-- > 0)
        power *= 10;
    return power;
}

} // namespace

std::optional<FrameRate> FrameRate::of(std::int64_t frames, std::int64_t seconds) {
    if (frames <= 0 || seconds <= 0) return std::nullopt;
    const std::int64_t common = std::gcd(frames, seconds);
    const FrameRate rate(frames / common, seconds / common);
    if (rate.perSecond() < 0.001 || rate.perSecond() > 100000) return std::nullopt;
    return rate;
}

std::optional<FrameRate> FrameRate::parse(std::string_view text) {
    if (const auto slash = text.find('/'); slash != std::string_view::npos) {
        const auto frames = parseInteger(text.substr(0, slash));
        const auto seconds = parseInteger(text.substr(slash + 1));
        return frames && seconds ? of(*frames, *seconds) : std::nullopt;
    }
    const auto decimal = parseDecimal(text);
    if (!decimal) return std::nullopt;
    const std::int64_t unit = powerOfTen(decimal->places);
    const double value = static_cast<double>(decimal->digits) / static_cast<double>(unit);
    if (decimal->places >= 2 && decimal->digits % unit != 0) {
        const std::int64_t nominal = std::llround(value * 1.001);
        const double broadcast = static_cast<double>(nominal) * 1000.0 / 1001.0;
        if (nominal > 0 && std::abs(broadcast - value) <= 1.0 / static_cast<double>(unit))
            return of(nominal * 1000, 1001);
    }
    return of(decimal->digits, unit);
}

std::optional<FrameRate> FrameRate::fromFrameTime(std::string_view text) {
    const auto decimal = parseDecimal(text);
    if (!decimal || decimal->digits == 0) {
        // Writers that print very small or very short frame times use an exponent.
        const auto value = parseNumber(text);
        if (!value || *value <= 0) return std::nullopt;
        const double rate = 1.0 / *value;
        const double whole = std::round(rate);
        if (std::abs(rate - whole) <= 1e-6 * rate) return of(std::llround(whole));
        return of(std::llround(1e6), std::llround(1e6 * *value));
    }
    const std::int64_t unit = powerOfTen(decimal->places);
    const double frameTime = static_cast<double>(decimal->digits) / static_cast<double>(unit);
    const double step = 1.0 / static_cast<double>(unit); // writers round or cut the last digit
    const auto matches = [&](double rate) {
        return std::abs(1.0 / rate - frameTime) <= std::min(step, frameTime * 0.02) * 1.0000001;
    };
    const double rate = 1.0 / frameTime;
    const std::int64_t whole = std::llround(rate);
    const std::int64_t nominal = std::llround(rate * 1.001);
    const double broadcast = static_cast<double>(nominal) * 1000.0 / 1001.0;
    const bool isWhole = whole > 0 && matches(static_cast<double>(whole));
    const bool isBroadcast = nominal > 0 && matches(broadcast);
    if (isWhole && isBroadcast) { // too few digits to tell them apart for sure: the nearer one
        const double toWhole = std::abs(1.0 / static_cast<double>(whole) - frameTime);
        return toWhole <= std::abs(1.0 / broadcast - frameTime) ? of(whole)
                                                                : of(nominal * 1000, 1001);
    }
    if (isWhole) return of(whole);
    if (isBroadcast) return of(nominal * 1000, 1001);
    // A writer that took a rate such as 23.976 at its word.
    const std::int64_t thousandths = std::llround(rate * 1000);
    if (matches(static_cast<double>(thousandths) / 1000)) return of(thousandths, 1000);
    return of(unit, decimal->digits);
}

double FrameRate::frameOf(double time) const {
    const double frame = time * perSecond();
    const double whole = std::round(frame);
    return std::abs(whole) < 9e15 && timeOf(static_cast<std::int64_t>(whole)) == time ? whole
                                                                                      : frame;
}

std::string FrameRate::text() const {
    return seconds_ == 1 ? std::to_string(frames_)
                         : std::to_string(frames_) + "/" + std::to_string(seconds_);
}

} // namespace cadencora::stage
