#include "fake_clock.h"
#include "fake_time_zone.h"
#include "timebase/arithmetic.h"
#include "timebase/time_base.h"

#include <QTest>

using namespace cvl;
using cvl::test::FakeClock;
using cvl::test::FakeTimeZone;

Q_DECLARE_METATYPE(cvl::LocalDateTime)

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

    // The 1900 count stops at 2^32 seconds, the Unix count at 2^31 - 1, two years apart.
    void wholeSeconds_data() {
        QTest::addColumn<LocalDateTime>("local");
        QTest::addColumn<bool>("easternDaylight");
        QTest::addColumn<QString>("timeBytes");
        QTest::addColumn<int>("unix"); // -1: no answer
        QTest::newRow("2004 UTC") << LocalDateTime{2004, 1, 1, 0, 0, 0} << false << "c39de180"
                                  << 0x3FF36300;
        QTest::newRow("2004 from Eastern daylight")
            << LocalDateTime{2003, 12, 31, 20, 0, 0} << true << "c39de180" << 0x3FF36300;
        QTest::newRow("19:00 Eastern daylight is 23:00 UTC")
            << LocalDateTime{2003, 12, 31, 19, 0, 0} << true << "c39dd370" << 1072911600;
        QTest::newRow("past 32 bits")
            << LocalDateTime{2036, 2, 7, 6, 28, 16} << false << "none" << 2085978496;
        QTest::newRow("last Unix second")
            << LocalDateTime{2038, 1, 19, 3, 14, 7} << false << "none" << 0x7FFFFFFF;
        QTest::newRow("past Unix range")
            << LocalDateTime{2038, 1, 19, 3, 14, 8} << false << "none" << -1;
    }
    void wholeSeconds() {
        QFETCH(LocalDateTime, local);
        QFETCH(bool, easternDaylight);
        FakeClock clock;
        clock.set(local);
        const FakeTimeZone zone =
            easternDaylight ? FakeTimeZone::easternDaylight() : FakeTimeZone();
        const TimeBase base(clock, zone);
        QTEST(hex(base.timeProtocolBytes()), "timeBytes");
        QTEST(orMinusOne(base.unixSeconds()), "unix");
    }

    // Expected bytes worked out independently from the same steps in double arithmetic.
    void grabTime_data() {
        QTest::addColumn<int>("milliseconds");
        QTest::addColumn<QString>("expected");
        QTest::newRow("0 ms: substitute, not zero") << 0 << "c39de1800fe112cb";
        QTest::newRow("1 ms: top byte rounds to 0") << 1 << "c39de18000428937";
        QTest::newRow("500 ms: zero remainders") << 500 << "c39de180803a3a3a";
        // The only reading that overflows: 999 ms puts the top fraction byte at 255.74.
        QTest::newRow("999 ms overflows") << 999 << "none";
    }
    void grabTime() {
        QFETCH(int, milliseconds);
        FakeClock clock;
        clock.set({2004, 1, 1, 0, 0, 0}, milliseconds);
        const FakeTimeZone utc;
        TimeBase base(clock, utc);
        QTEST(hex(base.GrabTime()), "expected");
        QCOMPARE(base.LastMilliseconds(), milliseconds);
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
