// The least an NTP server can do, to measure the load generator and the request log against:
// it answers every 48-byte request on 127.0.0.1 with this machine's time, echoing the request's
// transmit timestamp as the originate, taking and giving datagrams in batches. With --log it
// also appends one record of about 150 bytes per reply to a file in DIR, opening and closing
// the file for each record as the server's request log does, so that what remains between
// the server and this program is the server's own work.
//
//   ntp-responder --port P [--log DIR] [--seconds S]   (S: stops by itself after S s, default 3600)
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::int64_t kNtpEpochOffset = 2208988800LL;
constexpr unsigned kBatch = 64;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "ntp-responder: %s: %s\n", what, std::strerror(errno));
    std::exit(1);
}

void writeBe32(unsigned char* bytes, std::uint32_t value) {
    bytes[0] = static_cast<unsigned char>(value >> 24);
    bytes[1] = static_cast<unsigned char>(value >> 16);
    bytes[2] = static_cast<unsigned char>(value >> 8);
    bytes[3] = static_cast<unsigned char>(value);
}

// One record per reply, in a day's file of a folder that is opened once and kept.
class RecordLog {
public:
    RecordLog(const RecordLog&) = delete;
    RecordLog& operator=(const RecordLog&) = delete;
    explicit RecordLog(const std::string& folder) {
        ::mkdir(folder.c_str(), 0755);
        folderFd_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folderFd_ < 0) {
            fail(folder.c_str());
        }
    }

    // A W3C-style line: when, who asked, what was answered with how many bytes.
    void append(const timespec& now, const sockaddr_in& client, std::size_t requestBytes,
                std::size_t replyBytes) {
        if (now.tv_sec != second_) {
            second_ = now.tv_sec;
            tm local{};
            ::localtime_r(&now.tv_sec, &local);
            std::strftime(when_, sizeof when_, "%Y-%m-%d %H:%M:%S", &local);
            std::strftime(name_, sizeof name_, "ntp%y%m%d.log", &local);
        }
        char address[INET_ADDRSTRLEN] = "-";
        ::inet_ntop(AF_INET, &client.sin_addr, address, sizeof address);
        const int size = std::snprintf(
            line_.data(), line_.size(),
            "%s %s %u 127.0.0.1 bench-host.localdomain ntp-responder %zu %zu 0 123 NTPv4 UDP "
            "stratum=1 ref=LOCL mode=server status=answered -\r\n",
            when_, address, static_cast<unsigned>(ntohs(client.sin_port)), replyBytes,
            requestBytes);
        // Opened and closed for every record: a record is on disk before the next request,
        // whatever becomes of this process, and the file may be moved away at any time.
        const int fd = ::openat(folderFd_, name_, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0) {
            return;
        }
        const auto length =
            static_cast<std::size_t>(std::clamp(size, 0, static_cast<int>(line_.size()) - 1));
        if (::write(fd, line_.data(), length) < 0) {
            ++failedWrites_;
        }
        ::close(fd);
    }

    ~RecordLog() {
        if (failedWrites_ > 0) {
            std::fprintf(stderr, "ntp-responder: %ld records not written\n", failedWrites_);
        }
        ::close(folderFd_);
    }

private:
    int folderFd_ = -1;
    std::time_t second_ = -1;
    char when_[32] = {};
    char name_[32] = {};
    std::array<char, 256> line_{};
    long failedWrites_ = 0;
};

} // namespace

int main(int argc, char* argv[]) {
    int port = 0;
    std::string logFolder;
    double seconds = 3600;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (i + 1 >= argc) {
            std::fprintf(stderr, "ntp-responder: %s needs a value\n", word.c_str());
            return 2;
        }
        const char* value = argv[++i];
        if (word == "--port") {
            port = std::atoi(value);
        } else if (word == "--log") {
            logFolder = value;
        } else if (word == "--seconds") {
            seconds = std::clamp(std::atof(value), 1.0, 86400.0);
        } else {
            std::fprintf(stderr, "ntp-responder: unknown option %s\n", word.c_str());
            return 2;
        }
    }
    if (port <= 0 || port > 65535) {
        std::fprintf(stderr, "usage: ntp-responder --port P [--log DIR] [--seconds S]\n");
        return 2;
    }

    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        fail("socket");
    }
    // Loopback only: this program answers the load generator and nobody else.
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail("bind");
    }
    const int buffer = 1 << 20;
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
    // Wakes at least once a second, so that the time limit holds when nobody asks.
    const timeval wake{1, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wake, sizeof wake);

    std::optional<RecordLog> log;
    if (!logFolder.empty()) {
        log.emplace(logFolder);
    }

    std::array<std::array<unsigned char, 64>, kBatch> requests{};
    std::array<std::array<unsigned char, 48>, kBatch> replies{};
    std::array<sockaddr_in, kBatch> clients{};
    std::array<iovec, kBatch> requestVectors{};
    std::array<iovec, kBatch> replyVectors{};
    std::array<mmsghdr, kBatch> in{};
    std::array<mmsghdr, kBatch> out{};
    for (unsigned i = 0; i < kBatch; ++i) {
        requestVectors[i] = {requests[i].data(), requests[i].size()};
        in[i].msg_hdr.msg_iov = &requestVectors[i];
        in[i].msg_hdr.msg_iovlen = 1;
    }

    timespec started{};
    ::clock_gettime(CLOCK_MONOTONIC, &started);
    for (;;) {
        timespec monotonic{};
        ::clock_gettime(CLOCK_MONOTONIC, &monotonic);
        if (static_cast<double>(monotonic.tv_sec - started.tv_sec) >= seconds) {
            break;
        }
        for (unsigned i = 0; i < kBatch; ++i) {
            in[i].msg_hdr.msg_name = &clients[i];
            in[i].msg_hdr.msg_namelen = sizeof clients[i];
            in[i].msg_hdr.msg_flags = 0;
        }
        const int got = ::recvmmsg(fd, in.data(), kBatch, MSG_WAITFORONE, nullptr);
        if (got <= 0) {
            continue; // the wake-up, or an interruption
        }
        unsigned answers = 0;
        for (unsigned i = 0; i < static_cast<unsigned>(got); ++i) {
            if (in[i].msg_len != 48 || (in[i].msg_hdr.msg_flags & MSG_TRUNC) != 0) {
                continue;
            }
            timespec now{};
            ::clock_gettime(CLOCK_REALTIME, &now);
            unsigned char* reply = replies[answers].data();
            std::memset(reply, 0, 48);
            reply[0] = 0x24; // no leap warning, version 4, server
            reply[1] = 1;
            std::memcpy(reply + 12, "LOCL", 4);
            std::memcpy(reply + 24, requests[i].data() + 40, 8);
            const auto secondsField = static_cast<std::uint32_t>(now.tv_sec + kNtpEpochOffset);
            const auto fraction =
                static_cast<std::uint32_t>(static_cast<double>(now.tv_nsec) * 4.294967296);
            for (const int stamp : {16, 32, 40}) {
                writeBe32(reply + stamp, secondsField);
                writeBe32(reply + stamp + 4, fraction);
            }
            if (log) {
                log->append(now, clients[i], 48, 48);
            }
            replyVectors[answers] = {reply, 48};
            out[answers].msg_hdr = {};
            out[answers].msg_hdr.msg_name = &clients[i];
            out[answers].msg_hdr.msg_namelen = sizeof clients[i];
            out[answers].msg_hdr.msg_iov = &replyVectors[answers];
            out[answers].msg_hdr.msg_iovlen = 1;
            ++answers;
        }
        unsigned done = 0;
        for (unsigned tries = 0; done < answers && tries <= answers; ++tries) {
            const int sent = ::sendmmsg(fd, out.data() + done, answers - done, 0);
            // One that fails is skipped, as a lost datagram would be.
            done += sent > 0 ? static_cast<unsigned>(sent) : 1;
        }
    }
    ::close(fd);
    return 0;
}
