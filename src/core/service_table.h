// The five services as one table: what each is called in the settings, its defaults, the
// names of its controls, its socket modes and where the display shows it. Everything that
// treats services alike reads this table instead of repeating itself five times.
#pragma once

#include "services/service_id.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cvl {

struct ServiceRow {
    ServiceId id;
    const char* registryValue;  // name of its settings value
    const char* defaultSetting; // written when the settings key is missing
    std::uint16_t defaultPort;
    const char* masterBox;
    const char* tcpBox;
    const char* udpBox;
    const char* portBox;
    const char* tcpArray;
    const char* udpSocket;
    int displayNumber;
    bool hasPortChangeHandler; // typing marks the port as not yet registered
    bool hasPortKeyHandler;    // Enter restarts the service on the typed port
    bool countsTcpAccepts;     // the NTP service counts its requests elsewhere
    bool acceptShowsPort;      // the client-protocol service shows address:port
    int remoteHostBox;         // which remote-host box shows its clients
    const char* title;         // node of the service tree
    const char* name;          // what the operator reads it as: "NTP / SNTP"
    const char* description;   // what it answers, in one sentence
};

[[nodiscard]] const std::array<ServiceRow, kServiceCount>& serviceTable();

[[nodiscard]] const ServiceRow& serviceRow(ServiceId id);

// The orders in which start-up and shutdown walk the services.
inline constexpr std::array<ServiceId, kServiceCount> kSettingsReadOrder{
    ServiceId::Time, ServiceId::Ntp, ServiceId::Unix, ServiceId::Client, ServiceId::Daytime};
inline constexpr std::array<ServiceId, kServiceCount> kSettingsWriteOrder{
    ServiceId::Time, ServiceId::Unix, ServiceId::Ntp, ServiceId::Client, ServiceId::Daytime};
inline constexpr std::array<ServiceId, kServiceCount> kTcpCloseOrder{
    ServiceId::Time, ServiceId::Daytime, ServiceId::Ntp, ServiceId::Unix, ServiceId::Client};
inline constexpr std::array<ServiceId, kServiceCount> kUdpCloseOrder{
    ServiceId::Client, ServiceId::Unix, ServiceId::Ntp, ServiceId::Daytime, ServiceId::Time};

} // namespace cvl
