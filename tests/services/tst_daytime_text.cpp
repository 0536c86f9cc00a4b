#include "services/daytime_text.h"

#include <QTest>

using namespace cvl;

class TstDaytimeText : public QObject {
    Q_OBJECT

private slots:
    void daytimeTextIsLongDateAnd24HourTime() {
        const QLocale english(QLocale::English, QLocale::UnitedStates);
        const QString zone = QStringLiteral("Eastern Standard Time");
        QCOMPARE(daytimeText({2026, 11, 16, 2, 8, 4}, zone, english),
                 "Monday, November 16, 2026 02:08:04-Eastern Standard Time");
        QCOMPARE(daytimeText({2004, 1, 1, 9, 5, 7}, zone, english),
                 "Thursday, January 01, 2004 09:05:07-Eastern Standard Time");
        QCOMPARE(daytimeText({2004, 2, 29, 21, 5, 7}, zone, QLocale::c()),
                 "Sunday, February 29, 2004 21:05:07-Eastern Standard Time");
    }

    void modifiedJulianLine() {
        const std::int64_t secondsTo2004 = 3281904000; // 2004-01-01 00:00:00 UTC
        QCOMPARE(GrabMJulian(secondsTo2004 + 45296, false),
                 "\n53005 04-01-01 12:34:56 00 0 0 50.0 UTC(CVLS) *");
        QCOMPARE(GrabMJulian(secondsTo2004 - 1, true),
                 "\n53004 03-12-31 23:59:59 50 0 0 50.0 UTC(CVLS) *");
    }
};

QTEST_GUILESS_MAIN(TstDaytimeText)
#include "tst_daytime_text.moc"
