#include "platform/linux/system_host_info.h"

#include <QHostInfo>
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

} // namespace cvl
