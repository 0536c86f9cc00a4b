// One served request as the request log records it.
#pragma once

#include "net/transport.h"

#include <cstdint>
#include <string_view>

namespace cvl {

struct RequestRecord {
    // What was sent, in words ("Time 4 Bytes") or as the text itself (a Daytime line).
    std::string_view sent;
    std::string_view client;
    // The port the request came to, as the log writes it: 16 bits, signed.
    std::int16_t serverPort = 0;
    std::int32_t bytesSent = 0;
    // The service's name in the log ("NTPv4", "DayTime", ...).
    std::string_view service;
    Transport transport = Transport::Udp;
    // The byte count to write where it is not the sent text's length (0: take that).
    std::int32_t byteTotal = 0;
};

} // namespace cvl
