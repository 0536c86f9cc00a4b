#include "platform_fakes.h"
#include "timebase/arithmetic.h"
#include "timebase/time_base.h"

#include <QTest>

using namespace cvl;
using cvl::test::FakeClock;
using cvl::test::FakeTimeZone;

namespace {

template <std::size_t N> QString hex(const std::optional<std::array<std::uint8_t, N>>& bytes) {
    return bytes ? QString::fromLatin1(
                       QByteArray(reinterpret_cast<const char*>(bytes->data()), N).toHex())
                 : QStringLiteral("none");
}

template <typename T> int orMinusOne(const std::optional<T>& value) {
    return value ? int(*value) : -1;
}

} // namespace

class TstTimeBase : public QObject {
    Q_OBJECT

private slots:
    void roundToByteHalvesToEven() {
        QCOMPARE(orMinusOne(roundToByte(2.5)), 2);
        QCOMPARE(orMinusOne(roundToByte(3.5)), 4);
        QCOMPARE(orMinusOne(roundToByte(255.5)), -1);
    }

    void grabBiasAddsOnlyTheDaylightBias() {
        const FakeClock clock;
        FakeTimeZone zone;
        zone.reading = {TimeZoneIdDaylight, {300, {}, 30, {}, -60}};
        QCOMPARE(orMinusOne(TimeBase(clock, zone).GrabBias()), 14400);
        zone.reading.result = TimeZoneIdStandard;
        QCOMPARE(orMinusOne(TimeBase(clock, zone).GrabBias()), 18000);
        zone.reading.info.Bias = 35791395; // fits in minutes, not in seconds
        QCOMPARE(orMinusOne(TimeBase(clock, zone).GrabBias()), -1);
    }

    // The Time protocol's bytes and the Unix seconds: the 1900 count stops at 2^32 seconds,
    // the Unix count at 2^31 - 1, two years apart.
    void wholeSeconds() {
        const auto seconds = [](const LocalDateTime& local, bool easternDaylight) {
            FakeClock clock;
            clock.set(local);
            const FakeTimeZone zone =
                easternDaylight ? FakeTimeZone::easternDaylight() : FakeTimeZone();
            const TimeBase base(clock, zone);
            return hex(base.timeProtocolBytes()) + u' ' +
                   QString::number(orMinusOne(base.unixSeconds()));
        };
        QCOMPARE(seconds({2004, 1, 1, 0, 0, 0}, false), "c39de180 1072915200");
        QCOMPARE(seconds({2003, 12, 31, 20, 0, 0}, true), "c39de180 1072915200");
        QCOMPARE(seconds({2003, 12, 31, 19, 0, 0}, true), "c39dd370 1072911600"); // 23:00 UTC
        QCOMPARE(seconds({2036, 2, 7, 6, 28, 16}, false), "none 2085978496");
        QCOMPARE(seconds({2038, 1, 19, 3, 14, 7}, false), "none 2147483647");
        QCOMPARE(seconds({2038, 1, 19, 3, 14, 8}, false), "none -1");
    }

    // The NTP timestamp from the millisecond reading; the expected bytes were worked out
    // independently from the same steps in double arithmetic.
    void grabTime() {
        const auto stamp = [](int milliseconds) {
            FakeClock clock;
            clock.set({2004, 1, 1, 0, 0, 0}, milliseconds);
            const FakeTimeZone utc;
            TimeBase base(clock, utc);
            const QString bytes = hex(base.GrabTime());
            return base.LastMilliseconds() == milliseconds ? bytes : QStringLiteral("not kept");
        };
        QCOMPARE(stamp(0), "c39de1800fe112cb");   // a substitute, not zero
        QCOMPARE(stamp(1), "c39de18000428937");   // the top byte rounds to 0
        QCOMPARE(stamp(500), "c39de180803a3a3a"); // zero remainders
        // The only reading that overflows: 999 ms puts the top fraction byte at 255.74.
        QCOMPARE(stamp(999), "none");
    }

    void zoneNameFollowsDaylightAndIsCut() {
        const FakeClock clock;
        FakeTimeZone zone = FakeTimeZone::easternDaylight();
        QCOMPARE(TimeBase(clock, zone).svrBIAS(), "Eastern Daylight Time");
        zone.reading.result = TimeZoneIdStandard;
        zone.reading.info.StandardName = QString::fromUtf16(u"AB\0CD", 5);
        TimeBase base(clock, zone);
        QCOMPARE(base.svrBIAS(), "AB");
        QCOMPARE(base.ZoneName(), "AB");
        zone.reading.info.StandardName = QString(40, u'x');
        QCOMPARE(base.svrBIAS(), QString(32, u'x'));
    }
};

QTEST_GUILESS_MAIN(TstTimeBase)
#include "tst_time_base.moc"
