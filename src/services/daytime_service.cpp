#include "services/daytime_service.h"

#include "platform/local_format.h"
#include "services/daytime_text.h"
#include "text/utf8.h"
#include "timebase/clock.h"

namespace cvl {

namespace {

constexpr std::string_view kName = "DayTime";

} // namespace

DaytimeService::DaytimeService(ServiceHost& host, ServiceActivity& activity, const Clock& clock)
    : host_(host)
    , activity_(activity)
    , clock_(clock) {}

std::string DaytimeService::replyText() const {
    TimeBase& timeBase = host_.timeBase();
    if (host_.useJulian()) {
        return GrabMJulian(timeBase.utcSecondsSince1900().value_or(0), timeBase.daylightInEffect());
    }
    const LocalDateTime now = clock_.localNow();
    // The names change once a day at most: they are looked up again only then.
    if (now.year != namesYear_ || now.month != namesMonth_ || now.day != namesDay_) {
        dayName_ = dayName(now.year, now.month, now.day);
        monthName_ = monthName(now.month);
        namesYear_ = now.year;
        namesMonth_ = now.month;
        namesDay_ = now.day;
    }
    return daytimeText(now, dayName_, monthName_, timeBase.zoneName());
}

void DaytimeService::answerAtOnce(ImmediateConnection& connection) {
    activity_.light(Lamp::DataOut);
    const std::string text = replyText();
    // A refused send still logs; the connection closes either way.
    connection.send(text);
    host_.logRequest({"DayTime Request", connection.peerText(), loggedPort(connection.localPort()),
                      static_cast<std::int32_t>(utf8::characterCount(text)), kName,
                      Transport::Tcp});
    activity_.showClient(1, connection.peerText());
}

void DaytimeService::datagramArrived(DatagramSocket& socket, const Datagram& request) {
    // Counted first: before the clock is set a datagram is counted and shown, not answered.
    if (!activity_.countRequest(ServiceId::Daytime, Transport::Udp)) {
        return;
    }
    activity_.light(Lamp::UdpIn);
    activity_.light(Lamp::DataIn);
    activity_.showClient(1, request.senderText);
    const std::string text = replyText();
    if (!host_.timeSynced()) {
        return;
    }
    if (!socket.send(text, request.sender)) {
        return;
    }
    activity_.light(Lamp::DataOut);
    host_.logRequest({text, request.senderText, loggedPort(socket.localPort()),
                      static_cast<std::int32_t>(utf8::characterCount(text)), kName,
                      Transport::Udp});
}

} // namespace cvl
