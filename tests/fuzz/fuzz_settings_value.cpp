// A saved settings value, which anybody who can edit the settings file may write: read as each
// kind of value is read (a service's, the general one, the numbers inside them), written back
// and read again, stored in the settings file and read back from it by another store, and
// applied to a service's listeners as start-up applies it. A port that would open a socket is
// replaced by 0 first, so that the kernel picks a free one.
#include "core/service_listeners.h"
#include "core/settings_values.h"
#include "fuzz_support.h"
#include "platform/linux/ini_settings_store.h"
#include "sync/sync_schedule.h"
#include "temp_folder.h"
#include "text/leading_number.h"
#include "text/utf8.h"

using namespace cvl;

namespace {

struct State {
    std::unique_ptr<EventLoop> loop = makeEventLoop();
    ServiceListeners listeners{*loop};
    test::TempFolder folder;
};

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);

    const ServiceSetting service = parseServiceSetting(text);
    if (service.wellFormed) {
        const ServiceSetting again = parseServiceSetting(
            formatServiceSetting(service.enabled, service.tcp, service.udp, service.port));
        fuzz::require(again.wellFormed && again.enabled == service.enabled &&
                      again.tcp == service.tcp && again.udp == service.udp &&
                      again.port == service.port);
    }

    const GeneralSetting general = parseGeneralSetting(text);
    const GeneralSetting again = parseGeneralSetting(formatGeneralSetting(general));
    fuzz::require(again.randomCheck == general.randomCheck &&
                  again.syncEvery == general.syncEvery && again.syncUnit == general.syncUnit &&
                  again.regionCode == general.regionCode &&
                  again.ntpFirstByte == general.ntpFirstByte);
    SyncSchedule schedule;
    schedule.setInterval(general.syncEvery, general.syncUnit);
    [[maybe_unused]] const bool due = schedule.tick();
    [[maybe_unused]] const std::string kept = SyncSchedule::keepNumeric(general.syncEvery);

    const double number = leadingNumber(text);
    const std::optional<std::int16_t> small = roundToInt16(number);
    const std::optional<std::int32_t> large = roundToInt32(number);
    fuzz::require(!small || (large && *large == *small));
    [[maybe_unused]] const bool numeric = isNumericText(text);

    const auto id = static_cast<ServiceId>(size % kServiceCount);
    // The store takes UTF-8 text; other bytes are read as Latin-1, as the server file's are.
    const std::string stored = utf8::isValid(text) ? text : utf8::fromLatin1(text);
    const std::string path = state->folder.filePath("chronvale-server.conf");
    const std::string name = serviceRow(id).registryValue;
    if (IniSettingsStore(path).write(name, stored).ok()) {
        std::string back;
        fuzz::require(IniSettingsStore(path).read(name, back).ok() && back == stored);
    }

    // The listeners read the port as the check below does; only a port that would open a
    // socket is replaced.
    std::string value = text;
    const std::optional<std::int16_t> port = roundToInt16(leadingNumber(service.port));
    if (service.wellFormed && port && *port >= 0) {
        // The fourth field, between the third and the fourth colon (or the end), becomes 0.
        std::size_t start = 0;
        for (int colon = 0; colon < 3; ++colon) {
            start = value.find(':', start) + 1;
        }
        const std::size_t end = value.find(':', start);
        value.replace(start, end == std::string::npos ? std::string::npos : end - start, "0");
    }
    state->listeners.applySetting(id, value);
    if (service.wellFormed && service.enabled) {
        fuzz::require(state->listeners.settingText(id).starts_with("YES:"));
    }
    state->listeners.closeTcpListener(id);
    state->listeners.closeUdpSocket(id);
    return 0;
}
