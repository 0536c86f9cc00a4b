#include "core/settings_values.h"

#include "core/leading_number.h"

#include <QStringList>

namespace cvl {

ServiceSetting parseServiceSetting(const QString& text) {
    const QStringList fields = text.split(QLatin1Char(':'));
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

QString formatServiceSetting(bool enabled, bool tcp, bool udp, const QString& port) {
    return yesNo(enabled) + QLatin1Char(':') + yesNo(tcp) + QLatin1Char(':') + yesNo(udp) +
           QLatin1Char(':') + port;
}

GeneralSetting parseGeneralSetting(const QString& text) {
    const QStringList fields = text.split(QLatin1Char(':'));
    const auto field = [&fields](qsizetype i) {
        return i < fields.size() ? fields[i] : QString();
    };
    GeneralSetting setting;
    setting.randomCheck = isYes(field(0));
    setting.syncEvery = field(1);
    setting.syncUnit = field(2);
    setting.regionCode = field(3);
    const QString firstByte = field(4);
    if (!firstByte.isEmpty()) {
        setting.ntpFirstByte =
            roundToInt16(leadingNumber(firstByte.toStdString())).value_or(kDefaultNtpFirstByte);
    }
    return setting;
}

QString formatGeneralSetting(const GeneralSetting& setting) {
    return yesNo(setting.randomCheck) + QLatin1Char(':') + setting.syncEvery + QLatin1Char(':') +
           setting.syncUnit + QLatin1Char(':') + setting.regionCode + QLatin1Char(':') +
           QString::number(setting.ntpFirstByte);
}

} // namespace cvl
