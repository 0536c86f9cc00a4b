// The machine's clock as the server sees it: local calendar time to the second, a separate
// millisecond reading, a monotonic tick count, and the one way to step the clock.
#pragma once

#include <cstdint>
#include <string>

namespace cvl {

// A local calendar date and time of day, whole seconds.
struct LocalDateTime {
    int year = 1900;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;

    friend bool operator==(const LocalDateTime&, const LocalDateTime&) = default;
};

// A UTC moment laid out field by field, as the clock setter takes it. Fields are not
// normalised: a setter refuses values out of range (milliseconds above 999, say).
struct SystemTime {
    std::uint16_t year = 0;
    std::uint16_t month = 0;
    std::uint16_t dayOfWeek = 0;
    std::uint16_t day = 0;
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t milliseconds = 0;

    friend bool operator==(const SystemTime&, const SystemTime&) = default;
};

// How a step of the system clock went. The server counts as synchronised either way; the
// outcome only tells the operator whether this machine's clock followed.
struct ClockStep {
    enum class Outcome {
        Stepped,
        NotAllowed, // this run may not step the clock (--no-set-clock, CHRONVALE_NO_SET_CLOCK)
        OutOfRange, // a field out of the clock's range (milliseconds above 999, say)
        Refused,    // the system said no
    };
    Outcome outcome = Outcome::Stepped;
    // Why not, in the system's words and with what to do about it; empty when stepped.
    std::string reason;
};

class Clock {
public:
    virtual ~Clock() = default;

    // The present local date-time, whole seconds.
    [[nodiscard]] virtual LocalDateTime localNow() const = 0;
    // The milliseconds field (0..999) of a fresh, separate reading of the local clock.
    [[nodiscard]] virtual int localMilliseconds() const = 0;
    // Milliseconds since an arbitrary start, monotonic, wrapping at 32 bits.
    [[nodiscard]] virtual std::uint32_t tickCountMs() const = 0;
    // Steps the system clock to a UTC moment, or says why not.
    virtual ClockStep setSystemTimeUtc(const SystemTime& utc) = 0;
};

} // namespace cvl
