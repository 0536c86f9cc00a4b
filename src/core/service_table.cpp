#include "core/service_table.h"

namespace cvl {

namespace {

// clang-format off
constexpr std::array<ServiceRow, kServiceCount> kTable{{
    {ServiceId::Daytime, "DTS13",   "NO:YES:YES:13",    13,   "eDTS",  "eTCP13",   "eUDP13",   "DS_Ptxt",
     "TCP13",   "UDP13",   3, true,  true,  true,  false, 1, "Daytime Service Server",
     "Daytime", "Answers with one line of local date and time and the zone's name."},
    {ServiceId::Time,    "NTP37",   "YES:YES:YES:37",   37,   "eNTP",  "eTCP37",   "eUDP37",   "NTP_Ptxt",
     "TCP37",   "UDP37",   2, true,  true,  true,  false, 0, "Time Service Server",
     "Time", "Answers with four bytes: UTC seconds since 1900."},
    {ServiceId::Ntp,     "SNTP123", "YES:YES:YES:123",  123,  "eSNTP", "eTCP123",  "eUDP123",  "SNTP_Ptxt",
     "TCP123",  "UDP123",  4, true,  true,  false, false, 2, "SNTP v4 Service Server",
     "NTP / SNTP", "Answers 48-byte NTP and SNTP requests; its UDP socket also carries this "
                   "server's own queries to its reference server."},
    {ServiceId::Unix,    "UNIX519", "YES:YES:NO:519",   519,  "eUnix", "eTCP519",  "eUDP519",  "Unix_Ptxt",
     "TCP519",  "UDP519",  5, false, true,  true,  false, 0, "UnixTime Service Server",
     "Unix time", "Answers with four bytes: UTC seconds since 1970."},
    {ServiceId::Client,  "CVL3777", "YES:YES:NO:3777",  3777, "eCVLS", "eTCP3777", "eUDP3777", "CVLS_Ptxt",
     "TCP3777", "UDP3777", 6, false, false, true,  true,  0, "CVL Server Client Server",
     "Client protocol", "Accepts connections of the Chronvale client protocol."},
}};
// clang-format on

} // namespace

const std::array<ServiceRow, kServiceCount>& serviceTable() {
    return kTable;
}

const ServiceRow& serviceRow(ServiceId id) {
    return kTable[indexOf(id)];
}

} // namespace cvl
