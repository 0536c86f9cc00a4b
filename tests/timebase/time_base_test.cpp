#include "clock_fakes.h"
#include "timebase/arithmetic.h"
#include "timebase/time_base.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

using namespace cvl;
using cvl::test::FakeClock;
using cvl::test::FakeTimeZone;

namespace {

template <std::size_t N> std::string hex(const std::optional<std::array<std::uint8_t, N>>& bytes) {
    if (!bytes) {
        return "none";
    }
    std::string text;
    for (const std::uint8_t byte : *bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

template <typename T> int orMinusOne(const std::optional<T>& value) {
    return value ? int(*value) : -1;
}

} // namespace

TEST(TimeBase, RoundToByteHalvesToEven) {
    EXPECT_EQ(orMinusOne(roundToByte(2.5)), 2);
    EXPECT_EQ(orMinusOne(roundToByte(3.5)), 4);
    EXPECT_EQ(orMinusOne(roundToByte(255.5)), -1);
}

TEST(TimeBase, GrabBiasAddsOnlyTheDaylightBias) {
    const FakeClock clock;
    FakeTimeZone zone;
    zone.reading = {TimeZoneIdDaylight, {300, {}, 30, {}, -60}};
    EXPECT_EQ(orMinusOne(TimeBase(clock, zone).GrabBias()), 14400);
    zone.reading.result = TimeZoneIdStandard;
    EXPECT_EQ(orMinusOne(TimeBase(clock, zone).GrabBias()), 18000);
    zone.reading.info.Bias = 35791395; // fits in minutes, not in seconds
    EXPECT_EQ(orMinusOne(TimeBase(clock, zone).GrabBias()), -1);
}

// The Time protocol's bytes and the Unix seconds: the 1900 count stops at 2^32 seconds, the
// Unix count at 2^31 - 1, two years apart.
TEST(TimeBase, WholeSeconds) {
    const auto seconds = [](const LocalDateTime& local, bool easternDaylight) {
        FakeClock clock;
        clock.set(local);
        const FakeTimeZone zone =
            easternDaylight ? FakeTimeZone::easternDaylight() : FakeTimeZone();
        const TimeBase base(clock, zone);
        return hex(base.timeProtocolBytes()) + ' ' + std::to_string(orMinusOne(base.unixSeconds()));
    };
    EXPECT_EQ(seconds({2004, 1, 1, 0, 0, 0}, false), "c39de180 1072915200");
    EXPECT_EQ(seconds({2003, 12, 31, 20, 0, 0}, true), "c39de180 1072915200");
    EXPECT_EQ(seconds({2003, 12, 31, 19, 0, 0}, true), "c39dd370 1072911600"); // 23:00 UTC
    EXPECT_EQ(seconds({2036, 2, 7, 6, 28, 16}, false), "none 2085978496");
    EXPECT_EQ(seconds({2038, 1, 19, 3, 14, 7}, false), "none 2147483647");
    EXPECT_EQ(seconds({2038, 1, 19, 3, 14, 8}, false), "none -1");
}

// The NTP timestamp from the millisecond reading; the expected bytes were worked out
// independently from the same steps in double arithmetic.
TEST(TimeBase, ntpNow) {
    const auto stamp = [](int milliseconds) {
        FakeClock clock;
        clock.set({2004, 1, 1, 0, 0, 0}, milliseconds);
        const FakeTimeZone utc;
        TimeBase base(clock, utc);
        const std::string bytes = hex(base.ntpNow());
        return base.lastMilliseconds() == milliseconds ? bytes : "not kept";
    };
    EXPECT_EQ(stamp(0), "c39de1800fe112cb");   // a substitute, not zero
    EXPECT_EQ(stamp(1), "c39de18000428937");   // the top byte rounds to 0
    EXPECT_EQ(stamp(500), "c39de180803a3a3a"); // zero remainders
    // The only reading that overflows: 999 ms puts the top fraction byte at 255.74.
    EXPECT_EQ(stamp(999), "none");
}

TEST(TimeBase, ZoneNameFollowsDaylightAndIsCut) {
    const FakeClock clock;
    FakeTimeZone zone = FakeTimeZone::easternDaylight();
    EXPECT_EQ(TimeBase(clock, zone).readZone(), "Eastern Daylight Time");
    zone.reading.result = TimeZoneIdStandard;
    zone.reading.info.StandardName = std::string("AB\0CD", 5);
    TimeBase base(clock, zone);
    EXPECT_EQ(base.readZone(), "AB");
    EXPECT_EQ(base.zoneName(), "AB");
    zone.reading.info.StandardName = std::string(40, 'x');
    EXPECT_EQ(base.readZone(), std::string(32, 'x'));
    // 33 two-byte characters: 32 of them, none split.
    std::string accented;
    for (int i = 0; i < 33; ++i) {
        accented += "\xC3\xA9";
    }
    zone.reading.info.StandardName = accented;
    EXPECT_EQ(base.readZone(), accented.substr(0, 64));
}
