// The listeners over real loopback sockets: opening and closing by the operator's boxes, the
// Enter key, port conflicts, the gate before the clock is set, and reuse of closed sockets.
#include "core/service_listeners.h"
#include "test_ports.h"

#include <QSignalSpy>
#include <QTest>
#include <memory>
#include <vector>

using namespace cvl;
using test::freePort;

namespace {

QString setting(const char* flags, quint16 port) {
    return QString::fromLatin1(flags) + QLatin1Char(':') + QString::number(port);
}

std::unique_ptr<QTcpSocket> connectTo(quint16 port) {
    auto client = std::make_unique<QTcpSocket>();
    client->connectToHost(QHostAddress::LocalHost, port);
    return client;
}

} // namespace

class TestServiceListeners : public QObject {
    Q_OBJECT
private slots:
    void settingOpensTcpAndUdp() {
        ServiceListeners listeners;
        const quint16 port = freePort();
        listeners.applySetting(ServiceId::Unix, setting("YES:YES:NO", port));
        QVERIFY(listeners.tcpListening(ServiceId::Unix));
        QVERIFY(!listeners.udpBound(ServiceId::Unix));
        QCOMPARE(listeners.controls(ServiceId::Unix).portText, QString::number(port));
        QCOMPARE(listeners.settingText(ServiceId::Unix), setting("YES:YES:NO", port));

        // A disabled service keeps its usual port in the box and opens nothing.
        listeners.applySetting(ServiceId::Daytime, setting("NO:YES:YES", port));
        QVERIFY(!listeners.tcpListening(ServiceId::Daytime));
        QCOMPARE(listeners.controls(ServiceId::Daytime).portText, QStringLiteral("13"));
        QCOMPARE(listeners.settingText(ServiceId::Daytime), QStringLiteral("NO:NO:NO:13"));
    }

    void boxesFollowTheirRules() {
        ServiceListeners listeners;
        const quint16 port = freePort();
        listeners.applySetting(ServiceId::Time, setting("YES:YES:YES", port));

        listeners.tcpBoxClicked(ServiceId::Time, false);
        QVERIFY2(listeners.tcpListening(ServiceId::Time), "unticking TCP keeps the listener");

        listeners.masterClicked(ServiceId::Time, false);
        QVERIFY(!listeners.tcpListening(ServiceId::Time));
        QVERIFY2(listeners.udpBound(ServiceId::Time), "the master box stops TCP only");
        QVERIFY(!listeners.controls(ServiceId::Time).transportBoxesEnabled());
        listeners.udpBoxClicked(ServiceId::Time, false); // disabled box: ignored
        QVERIFY(listeners.controls(ServiceId::Time).udp);

        listeners.masterClicked(ServiceId::Time, true);
        QVERIFY(listeners.udpBound(ServiceId::Time));
        QVERIFY2(!listeners.tcpListening(ServiceId::Time), "TCP box was left unticked");
        listeners.tcpBoxClicked(ServiceId::Time, true);
        QVERIFY(listeners.tcpListening(ServiceId::Time));
        listeners.udpBoxClicked(ServiceId::Time, false);
        QVERIFY(!listeners.udpBound(ServiceId::Time));
    }

    void enterRegistersTypedPort() {
        ServiceListeners listeners;
        const quint16 oldPort = freePort();
        listeners.applySetting(ServiceId::Time, setting("YES:YES:NO", oldPort));
        const quint16 newPort = freePort();

        listeners.portTextChanged(ServiceId::Time, QString::number(newPort));
        QCOMPARE(listeners.controls(ServiceId::Time).portToolTip, kPortChangedTip);
        QCOMPARE(listeners.tcpArray(ServiceId::Time).listener().serverPort(), oldPort);

        listeners.portKeyPressed(ServiceId::Time, QLatin1Char('x'));
        QCOMPARE(listeners.tcpArray(ServiceId::Time).listener().serverPort(), oldPort);

        listeners.portKeyPressed(ServiceId::Time, QChar(13));
        QCOMPARE(listeners.tcpArray(ServiceId::Time).listener().serverPort(), newPort);
        QVERIFY2(listeners.udpBound(ServiceId::Time), "Enter opens UDP even with its box unticked");
        QCOMPARE(listeners.udpSocket(ServiceId::Time).localPort(), newPort);
        QCOMPARE(listeners.controls(ServiceId::Time).portToolTip, kPortRegisteredTip);

        // A disabled service only gets the tool tip; the client-protocol box has no handlers.
        listeners.portKeyPressed(ServiceId::Daytime, QChar(13));
        QVERIFY(!listeners.tcpListening(ServiceId::Daytime));
        QCOMPARE(listeners.controls(ServiceId::Daytime).portToolTip, kPortRegisteredTip);
        listeners.portTextChanged(ServiceId::Client, QStringLiteral("1"));
        listeners.portKeyPressed(ServiceId::Client, QChar(13));
        QVERIFY(listeners.controls(ServiceId::Client).portToolTip.isEmpty());
    }

    void portConflictsAndBadPorts() {
        const quint16 taken = freePort();
        QTcpServer otherTcp;
        QUdpSocket otherUdp;
        QVERIFY(otherTcp.listen(QHostAddress::Any, taken));
        QVERIFY(otherUdp.bind(QHostAddress::Any, taken, QAbstractSocket::DontShareAddress));

        ServiceListeners listeners;
        QSignalSpy status(&listeners, &ServiceListeners::statusText);
        listeners.masterClicked(ServiceId::Daytime, true);
        listeners.portTextChanged(ServiceId::Daytime, QString::number(taken));
        listeners.portKeyPressed(ServiceId::Daytime, QChar(13));
        QVERIFY(!listeners.tcpListening(ServiceId::Daytime));
        QVERIFY(!listeners.udpBound(ServiceId::Daytime));
        QVERIFY(status.count() >= 1);
        const QString port = QString::number(taken);
        QCOMPARE(status.last().first().toString(),
                 "That address is already in use.  Please select a different port than " + port +
                     ".\rDAYTIME SERVICE SERVER ERROR - PORT: " + port + " invalid.");

        status.clear();
        listeners.applySetting(ServiceId::Time, setting("YES:YES:YES", taken));
        QVERIFY(!listeners.tcpListening(ServiceId::Time));
        QVERIFY(!listeners.udpBound(ServiceId::Time));
        QCOMPARE(status.count(), 0);

        listeners.applySetting(ServiceId::Unix, QStringLiteral("YES:YES:YES:40000"));
        QVERIFY(!listeners.tcpListening(ServiceId::Unix));
        QVERIFY(!listeners.udpBound(ServiceId::Unix));
        QCOMPARE(status.count(), 0);

        // Letters give port 0: the system picks a free port.
        listeners.applySetting(ServiceId::Client, QStringLiteral("YES:YES:NO:abc"));
        QVERIFY(listeners.tcpListening(ServiceId::Client));
        QVERIFY(listeners.tcpArray(ServiceId::Client).listener().serverPort() != 0);
    }

    void noClientAcceptedBeforeClockIsSet() {
        ServiceListeners listeners;
        const quint16 port = freePort();
        listeners.applySetting(ServiceId::Time, setting("YES:YES:NO", port));
        auto client = connectTo(port);
        QVERIFY(client->waitForConnected(2000)); // the kernel's backlog holds it
        QTest::qWait(200);
        QCOMPARE(listeners.tcpArray(ServiceId::Time).upperBound(), 0);
        QCOMPARE(listeners.tcpRequests(ServiceId::Time).value(), 0);

        // Once the clock is set, that early client is let go unanswered; new ones are taken.
        listeners.setTimeSynced();
        QTRY_COMPARE(client->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(listeners.tcpArray(ServiceId::Time).upperBound(), 0);
        auto later = connectTo(port);
        QTRY_COMPARE(listeners.tcpArray(ServiceId::Time).upperBound(), 1);
        QCOMPARE(listeners.tcpRequests(ServiceId::Time).value(), 1);
    }

    void quietClientsAreClosed() {
        ServiceListeners listeners(nullptr, std::chrono::milliseconds(300));
        listeners.setTimeSynced();
        const quint16 port = freePort();
        listeners.applySetting(ServiceId::Client, setting("YES:YES:NO", port));
        auto quiet = connectTo(port);
        auto talking = connectTo(port);
        QTRY_COMPARE(listeners.tcpArray(ServiceId::Client).upperBound(), 2);
        for (int i = 0; i < 5; ++i) { // keeps talking across the limit
            QTest::qWait(100);
            talking->write("x");
        }
        QTRY_COMPARE(quiet->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(talking->state(), QAbstractSocket::ConnectedState);
    }

    void closedSocketsAreReused() {
        ServiceListeners listeners;
        listeners.setTimeSynced();
        const quint16 port = freePort();
        listeners.applySetting(ServiceId::Client, setting("YES:YES:NO", port));
        QSignalSpy shown(&listeners, &ServiceListeners::clientShown);
        TcpSocketArray& array = listeners.tcpArray(ServiceId::Client);

        std::vector<std::unique_ptr<QTcpSocket>> clients;
        for (int i = 0; i < 3; ++i) {
            clients.push_back(connectTo(port));
        }
        QTRY_COMPARE(array.upperBound(), 3);
        QCOMPARE(listeners.tcpRequests(ServiceId::Client).value(), 3);
        QVERIFY(shown.last().at(1).toString().startsWith(QLatin1String("127.0.0.1:")));

        clients.clear();
        QTRY_VERIFY(array.at(1).state() == QAbstractSocket::UnconnectedState &&
                    array.at(2).state() == QAbstractSocket::UnconnectedState &&
                    array.at(3).state() == QAbstractSocket::UnconnectedState);
        QCOMPARE(array.freeIndex(), 1);

        auto next = connectTo(port);
        QTRY_COMPARE(array.at(1).state(), QAbstractSocket::ConnectedState);
        QCOMPARE(array.upperBound(), 3);
    }
};

QTEST_GUILESS_MAIN(TestServiceListeners)
#include "tst_service_listeners.moc"
