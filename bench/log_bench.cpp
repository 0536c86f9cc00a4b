// Times the request log as the server drives it: the real clock, one open/append/close per
// record, into a temporary program folder.
#include "log/request_log.h"
#include "platform/linux/system_clock.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

int main() {
    constexpr int kRecords = 200'000;

    std::string folder = (std::filesystem::temp_directory_path() / "chronvale-log-bench-XXXXXX");
    if (::mkdtemp(folder.data()) == nullptr) {
        std::fprintf(stderr, "no temporary folder\n");
        return 1;
    }
    const cvl::SystemClock clock(false);
    {
        cvl::RequestLog log(clock, folder, "4.1.0", clock.localNow());
        log.setIdentity("benchhost", "bench", "192.168.1.10");

        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < kRecords; ++i) {
            log.logRequest({{},
                            "203.0.113.57",
                            static_cast<std::int16_t>(10000 + i % 20000),
                            48,
                            "NTPv4",
                            cvl::Transport::Udp});
        }
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        std::printf("%d records in %.3f s: %.0f records/s, %.2f us per record\n", kRecords,
                    elapsed.count(), kRecords / elapsed.count(), elapsed.count() * 1e6 / kRecords);
    }
    std::filesystem::remove_all(folder);
    return 0;
}
