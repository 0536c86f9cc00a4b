#include "services/daytime_service.h"

#include "platform/clock.h"
#include "services/daytime_text.h"

#include <QLocale>

namespace cvl {

namespace {

const QString kName = QStringLiteral("DayTime");

} // namespace

DaytimeService::DaytimeService(ServiceHost& host, const Clock& clock)
    : host_(host)
    , clock_(clock) {}

QString DaytimeService::replyText() const {
    TimeBase& timeBase = host_.timeBase();
    if (host_.UseJulian()) {
        return GrabMJulian(timeBase.utcSecondsSince1900().value_or(0), timeBase.daylightInEffect());
    }
    return daytimeText(clock_.localNow(), QString::fromStdString(timeBase.ZoneName()),
                       QLocale::system());
}

void DaytimeService::answerAtOnce(ImmediateConnection& connection) {
    host_.light(Lamp::DataOut);
    const QString text = replyText();
    // A refused send still logs; the connection closes either way.
    connection.send(text.toLocal8Bit());
    host_.CVLWLOG(QStringLiteral("DayTime Request"), connection.peerText(),
                  loggedPort(connection.localPort()), static_cast<std::int32_t>(text.size()), kName,
                  QStringLiteral("TCP"));
    host_.showClient(1, connection.peerText());
    host_.StatusUp();
}

void DaytimeService::datagramArrived(DatagramSocket& socket, const Datagram& request) {
    // Counted first: before the clock is set a datagram is counted and shown, not answered.
    if (!host_.countRequest(ServiceId::Daytime, Transport::Udp)) {
        return;
    }
    host_.light(Lamp::UdpIn);
    host_.light(Lamp::DataIn);
    host_.showClient(1, request.senderText);
    const QString text = replyText();
    if (!host_.TimeSynced()) {
        return;
    }
    const QByteArray bytes = text.toLocal8Bit();
    if (!socket.send(bytes, request.sender)) {
        return;
    }
    host_.light(Lamp::DataOut);
    host_.CVLWLOG(text, request.senderText, loggedPort(socket.localPort()),
                  static_cast<std::int32_t>(text.size()), kName, QStringLiteral("UDP"));
    host_.StatusUp();
}

} // namespace cvl
