#include "core/settings_values.h"

#include "text/leading_number.h"

#include <vector>

namespace cvl {

namespace {

std::vector<std::string_view> fieldsOf(std::string_view text) {
    std::vector<std::string_view> fields;
    for (std::size_t start = 0;;) {
        const std::size_t colon = text.find(':', start);
        fields.push_back(text.substr(start, colon - start));
        if (colon == std::string_view::npos) {
            return fields;
        }
        start = colon + 1;
    }
}

} // namespace

ServiceSetting parseServiceSetting(std::string_view text) {
    const std::vector<std::string_view> fields = fieldsOf(text);
    ServiceSetting setting;
    if (fields.size() < 4) {
        return setting;
    }
    setting.wellFormed = true;
    setting.enabled = isYes(fields[0]);
    setting.tcp = isYes(fields[1]);
    setting.udp = isYes(fields[2]);
    setting.port = fields[3];
    return setting;
}

std::string formatServiceSetting(bool enabled, bool tcp, bool udp, std::string_view port) {
    return yesNo(enabled) + ':' + yesNo(tcp) + ':' + yesNo(udp) + ':' + std::string(port);
}

GeneralSetting parseGeneralSetting(std::string_view text) {
    const std::vector<std::string_view> fields = fieldsOf(text);
    const auto field = [&fields](std::size_t i) {
        return i < fields.size() ? std::string(fields[i]) : std::string();
    };
    GeneralSetting setting;
    setting.randomCheck = isYes(field(0));
    setting.syncEvery = field(1);
    setting.syncUnit = field(2);
    setting.regionCode = field(3);
    const std::string firstByte = field(4);
    if (!firstByte.empty()) {
        setting.ntpFirstByte =
            roundToInt16(leadingNumber(firstByte)).value_or(kDefaultNtpFirstByte);
    }
    return setting;
}

std::string formatGeneralSetting(const GeneralSetting& setting) {
    return yesNo(setting.randomCheck) + ':' + setting.syncEvery + ':' + setting.syncUnit + ':' +
           setting.regionCode + ':' + std::to_string(setting.ntpFirstByte);
}

} // namespace cvl
