// Host facts chosen by the test; the program folder is usually a QTemporaryDir.
#pragma once

#include "platform/host_info.h"

namespace cvl::test {

class FakeHostInfo final : public HostInfo {
public:
    [[nodiscard]] QString userName() const override { return user; }
    [[nodiscard]] QString hostName() const override { return host; }
    [[nodiscard]] QString localAddress() const override { return address; }
    [[nodiscard]] QString programFolder() const override { return folder; }
    [[nodiscard]] QString programCommand() const override { return command; }

    QString user = QStringLiteral("tester");
    QString host = QStringLiteral("testhost");
    QString address = QStringLiteral("192.0.2.10");
    QString folder;
    QString command = QStringLiteral("/opt/chronvale/chronvale-server");
};

} // namespace cvl::test
