#include "platform/linux/system_host_info.h"

#include <QHostInfo>
#include <QNetworkInterface>
#include <pwd.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace cvl {

SystemHostInfo::SystemHostInfo(QString programFolder, QString programCommand)
    : programFolder_(std::move(programFolder))
    , programCommand_(std::move(programCommand)) {}

QString SystemHostInfo::userName() const {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found) {
        return QString::fromLocal8Bit(found->pw_name);
    }
    return QString::number(geteuid());
}

QString SystemHostInfo::hostName() const {
    return QHostInfo::localHostName();
}

QString SystemHostInfo::localAddress() const {
    // The listeners bind to every interface, so their own address says nothing; the first
    // IPv4 address of an interface that is up stands for the machine.
    for (const QNetworkInterface& interface : QNetworkInterface::allInterfaces()) {
        if (!interface.flags().testFlag(QNetworkInterface::IsUp) ||
            interface.flags().testFlag(QNetworkInterface::IsLoopBack)) {
            continue;
        }
        for (const QNetworkAddressEntry& entry : interface.addressEntries()) {
            if (entry.ip().protocol() == QAbstractSocket::IPv4Protocol) {
                return entry.ip().toString();
            }
        }
    }
    return QStringLiteral("127.0.0.1");
}

} // namespace cvl
