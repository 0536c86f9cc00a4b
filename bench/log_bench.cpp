// Times the request log as the server drives it: the real clock, one open/append/close per
// record, into a temporary program folder.
#include "log/request_log.h"
#include "platform/linux/system_clock.h"

#include <QTemporaryDir>

#include <chrono>
#include <cstdio>

int main() {
    constexpr int kRecords = 200'000;

    QTemporaryDir programFolder;
    if (!programFolder.isValid()) {
        std::fprintf(stderr, "no temporary folder\n");
        return 1;
    }
    const cvl::SystemClock clock(false);
    cvl::RequestLog log(clock, programFolder.path(), QStringLiteral("4.1.0"), clock.localNow());
    log.setIdentity(QStringLiteral("benchhost"), QStringLiteral("bench"),
                    QStringLiteral("192.168.1.10"));

    const QString address = QStringLiteral("203.0.113.57");
    const QString code = QStringLiteral("NTPv4");
    const QString transport = QStringLiteral("UDP");
    const QString nothing;

    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kRecords; ++i) {
        log.CVLWLOG(nothing, address, static_cast<std::int16_t>(10000 + i % 20000), 48, code,
                    transport);
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

    std::printf("%d records in %.3f s: %.0f records/s, %.2f us per record\n", kRecords,
                elapsed.count(), kRecords / elapsed.count(), elapsed.count() * 1e6 / kRecords);
    return 0;
}
