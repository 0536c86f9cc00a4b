// Load generator for the time services, over loopback only. It counts a reply only when it is
// right: an NTP reply must echo the request's transmit timestamp as its originate field, a
// Time or Unix reply must be four bytes (however many datagrams carry them) within a few
// seconds of this machine's clock, a Daytime reply a line of text with a time of day in it.
//
//   loadgen --port P --proto ntp|time|daytime|unix [--tcp] [--seconds S]
//           [--window W]        UDP closed loop: W requests in flight (default 64)
//           [--sockets N]       UDP closed loop, NTP: the window spread over N sockets, each
//                               with many requests in flight (default 4); the other services
//                               keep one request in flight on each of W sockets
//           [--timeout-ms T]    UDP closed loop: a request unanswered after T ms is lost and
//                               is asked again (default 10)
//           [--rate R]          UDP paced open loop: R requests/s (NTP only)
//           [--concurrency C]   TCP: C connections at once (default 32)
//   loadgen --respond P         a reference server on 127.0.0.1:P (answers NTP with this clock)
//
// Prints one line: key=value pairs (requests/s, loss, p50/p99 latency in microseconds).
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <netinet/in.h>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::int64_t kNtpEpochOffset = 2208988800LL;

std::int64_t nowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch())
        .count();
}

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "loadgen: %s: %s\n", what, std::strerror(errno));
    std::exit(1);
}

struct Options {
    std::string proto = "ntp";
    bool tcp = false;
    int port = 0;
    int respondPort = 0;
    double seconds = 5;
    int window = 64;
    int sockets = 4;
    // Short, because the server answers nothing in the last millisecond of each second (that
    // stamp overflows): with a long wait the whole window would stall and the run would
    // measure the timeout instead of the server. Loopback replies come within about 1 ms.
    int timeoutMs = 10;
    double rate = 0;
    int concurrency = 32;
};

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::uint32_t readBe32(const unsigned char* bytes) {
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) |
           (std::uint32_t{bytes[2]} << 8) | bytes[3];
}

void writeBe32(unsigned char* bytes, std::uint32_t value) {
    bytes[0] = static_cast<unsigned char>(value >> 24);
    bytes[1] = static_cast<unsigned char>(value >> 16);
    bytes[2] = static_cast<unsigned char>(value >> 8);
    bytes[3] = static_cast<unsigned char>(value);
}

// Whether four bytes are a count of seconds close to this machine's clock.
bool plausibleSeconds(const unsigned char* bytes, bool since1900) {
    const std::int64_t value = since1900 ? std::int64_t{readBe32(bytes)}
                                         : std::int64_t{static_cast<std::int32_t>(readBe32(bytes))};
    const std::int64_t now = std::time(nullptr) + (since1900 ? kNtpEpochOffset : 0);
    return std::llabs(value - now) < 10;
}

struct Stats {
    std::int64_t sent = 0, ok = 0, bad = 0, lost = 0;
    std::vector<std::uint32_t> latencyUs;

    void print(const Options& o, const char* mode, double elapsedS) const {
        std::vector<std::uint32_t> sorted = latencyUs;
        const auto percentile = [&sorted](double p) -> std::uint32_t {
            if (sorted.empty()) {
                return 0;
            }
            const auto k = static_cast<std::size_t>(p * static_cast<double>(sorted.size() - 1));
            std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(k),
                             sorted.end());
            return sorted[k];
        };
        const double loss =
            sent > 0 ? static_cast<double>(sent - ok - bad) / static_cast<double>(sent) : 0;
        std::printf("proto=%s transport=%s mode=%s sent=%lld ok=%lld bad=%lld lost=%lld "
                    "rps=%.0f loss=%.4f p50_us=%u p99_us=%u\n",
                    o.proto.c_str(), o.tcp ? "tcp" : "udp", mode, static_cast<long long>(sent),
                    static_cast<long long>(ok), static_cast<long long>(bad),
                    static_cast<long long>(lost), static_cast<double>(ok) / elapsedS,
                    std::max(0.0, loss), percentile(0.50), percentile(0.99));
    }
};

int udpSocket(int port, bool connectIt) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        fail("socket");
    }
    const int buffer = 1 << 20;
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
    if (connectIt) {
        const sockaddr_in target = loopback(port);
        if (::connect(fd, reinterpret_cast<const sockaddr*>(&target), sizeof target) != 0) {
            fail("connect");
        }
    }
    return fd;
}

// The request of a protocol: NTP carries a tag in its transmit timestamp, the others a byte.
std::size_t makeRequest(const Options& o, std::uint64_t tag, unsigned char* out) {
    if (o.proto != "ntp") {
        out[0] = 'x';
        return 1;
    }
    std::memset(out, 0, 48);
    out[0] = 0x23; // version 4, client
    writeBe32(out + 40, static_cast<std::uint32_t>(tag >> 32));
    writeBe32(out + 44, static_cast<std::uint32_t>(tag));
    return 48;
}

std::uint64_t ntpOriginate(const unsigned char* reply) {
    return (std::uint64_t{readBe32(reply + 24)} << 32) | readBe32(reply + 28);
}

// Replies are taken and requests given in batches of this many per system call: at a few
// hundred thousand a second the calls, not the sockets, are what a generator runs out of.
constexpr unsigned kBatch = 64;
// A request's tag: which slot sent it (low bits) and a count that makes each sending unique.
constexpr unsigned kSlotBits = 20;
constexpr int kMaxWindow = 1 << 16;

// Datagrams for one sendmmsg or recvmmsg call, to and from connected sockets.
struct Batch {
    static constexpr std::size_t kBytes = 128; // a longer reply is wrong anyway: seen as cut
    std::array<mmsghdr, kBatch> headers{};
    std::array<iovec, kBatch> vectors{};
    std::array<std::array<unsigned char, kBytes>, kBatch> buffers{};

    Batch() {
        for (unsigned i = 0; i < kBatch; ++i) {
            vectors[i] = {buffers[i].data(), kBytes};
            headers[i].msg_hdr.msg_iov = &vectors[i];
            headers[i].msg_hdr.msg_iovlen = 1;
        }
    }
    // Ready to receive: full-size buffers, flags cleared.
    void prepareReceive() {
        for (unsigned i = 0; i < kBatch; ++i) {
            vectors[i].iov_len = kBytes;
            headers[i].msg_hdr.msg_flags = 0;
            headers[i].msg_len = 0;
        }
    }
};

// UDP, closed loop, NTP: `window` requests in flight, spread over `sockets` sockets, sent and
// taken in batches. A reply names its request by the echoed transmit timestamp, so many
// requests can share a socket and each one's latency is its own.
void udpNtpClosedLoop(const Options& o) {
    struct Slot {
        std::uint64_t tag = 0;
        std::int64_t sentAt = 0;
        bool inFlight = false;
    };
    const auto window = static_cast<std::size_t>(o.window);
    const auto sockets = static_cast<std::size_t>(std::clamp(o.sockets, 1, o.window));
    std::vector<Slot> slots(window);
    std::vector<int> fds(sockets);
    // Per socket, the slots whose request is to be sent next (slot i belongs to socket i % n).
    std::vector<std::vector<std::uint32_t>> due(sockets);
    const int epoll = ::epoll_create1(EPOLL_CLOEXEC);
    for (std::size_t s = 0; s < sockets; ++s) {
        fds[s] = udpSocket(o.port, true);
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u64 = s;
        ::epoll_ctl(epoll, EPOLL_CTL_ADD, fds[s], &event);
    }
    for (std::uint32_t i = 0; i < window; ++i) {
        due[i % sockets].push_back(i);
    }
    Stats stats;
    std::uint64_t nextCount = 1;
    Batch out;
    Batch in;
    std::vector<epoll_event> events(sockets);
    const std::uint64_t slotMask = (std::uint64_t{1} << kSlotBits) - 1;
    const auto sendDue = [&](std::size_t s) {
        std::vector<std::uint32_t>& queue = due[s];
        std::size_t done = 0;
        while (done < queue.size()) {
            const auto count =
                static_cast<unsigned>(std::min<std::size_t>(kBatch, queue.size() - done));
            for (unsigned m = 0; m < count; ++m) {
                Slot& slot = slots[queue[done + m]];
                slot.tag = (nextCount++ << kSlotBits) | queue[done + m];
                out.vectors[m].iov_len = makeRequest(o, slot.tag, out.buffers[m].data());
            }
            // Stamped before the call: a request later in the batch is charged the time the
            // earlier ones took to go, never less than its own.
            const std::int64_t now = nowUs();
            const int sent = ::sendmmsg(fds[s], out.headers.data(), count, MSG_DONTWAIT);
            if (sent <= 0) {
                break; // a full buffer or an earlier refusal: these go on the next pass
            }
            for (int m = 0; m < sent; ++m) {
                Slot& slot = slots[queue[done + static_cast<std::size_t>(m)]];
                slot.sentAt = now;
                slot.inFlight = true;
            }
            stats.sent += sent;
            done += static_cast<std::size_t>(sent);
        }
        queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(done));
    };
    const auto receive = [&](std::size_t s) {
        for (int calls = 0; calls < 64; ++calls) { // bounded: the other sockets get their turn
            in.prepareReceive();
            const int got = ::recvmmsg(fds[s], in.headers.data(), kBatch, MSG_DONTWAIT, nullptr);
            // Stamped after the call: a reply that waited in the buffer is charged its wait.
            const std::int64_t now = nowUs();
            if (got <= 0) {
                return;
            }
            for (int m = 0; m < got; ++m) {
                const mmsghdr& header = in.headers[static_cast<std::size_t>(m)];
                const unsigned char* reply = in.buffers[static_cast<std::size_t>(m)].data();
                if (header.msg_len != 48 || (header.msg_hdr.msg_flags & MSG_TRUNC) != 0) {
                    ++stats.bad;
                    continue;
                }
                const std::uint64_t tag = ntpOriginate(reply);
                const std::uint64_t index = tag & slotMask;
                const std::uint64_t count = tag >> kSlotBits;
                if (index >= window || index % sockets != s || count == 0 || count >= nextCount) {
                    ++stats.bad; // no request of ours ever carried this stamp on this socket
                    continue;
                }
                Slot& slot = slots[index];
                if (!slot.inFlight || slot.tag != tag) {
                    continue; // a late reply to a request already given up as lost
                }
                ++stats.ok;
                stats.latencyUs.push_back(static_cast<std::uint32_t>(now - slot.sentAt));
                slot.inFlight = false;
                due[s].push_back(static_cast<std::uint32_t>(index));
            }
            if (static_cast<unsigned>(got) < kBatch) {
                return;
            }
        }
    };
    const std::int64_t start = nowUs();
    const auto end = start + static_cast<std::int64_t>(o.seconds * 1e6);
    const std::int64_t timeoutUs = std::int64_t{o.timeoutMs} * 1000;
    std::int64_t lastSweep = start;
    while (nowUs() < end) {
        bool waiting = false;
        for (std::size_t s = 0; s < sockets; ++s) {
            sendDue(s);
            waiting = waiting || !due[s].empty();
        }
        // A millisecond at most asleep, so that lost requests are noticed and asked again.
        const int n =
            ::epoll_wait(epoll, events.data(), static_cast<int>(events.size()), waiting ? 0 : 1);
        for (int e = 0; e < n; ++e) {
            receive(events[static_cast<std::size_t>(e)].data.u64);
        }
        const std::int64_t now = nowUs();
        if (now - lastSweep >= 1000) {
            lastSweep = now;
            for (std::uint32_t i = 0; i < window; ++i) {
                Slot& slot = slots[i];
                if (slot.inFlight && now - slot.sentAt > timeoutUs) { // give up on it: lost
                    ++stats.lost;
                    slot.inFlight = false;
                    due[i % sockets].push_back(i);
                }
            }
        }
    }
    stats.print(o, "closed", static_cast<double>(nowUs() - start) / 1e6);
    for (const int fd : fds) {
        ::close(fd);
    }
    ::close(epoll);
}

// UDP, closed loop, Time, Daytime and Unix: their requests carry nothing a reply could name,
// and a Time reply may come in pieces, so each of `window` sockets keeps one request in flight
// and a reply is the one to its socket's request. A request given up as lost is asked again
// from a new socket, so that its late reply cannot pass for the next one's.
void udpPlainClosedLoop(const Options& o) {
    struct Slot {
        int fd;
        std::int64_t sentAt = 0;
        unsigned char got[8]{};
        std::size_t gotBytes = 0;
    };
    const int epoll = ::epoll_create1(EPOLL_CLOEXEC);
    std::vector<Slot> slots(static_cast<std::size_t>(o.window));
    Stats stats;
    const auto send = [&](Slot& slot) {
        unsigned char request[48];
        slot.gotBytes = 0;
        const std::size_t size = makeRequest(o, 0, request);
        slot.sentAt = nowUs();
        ::send(slot.fd, request, size, 0);
        ++stats.sent;
    };
    const auto open = [&](std::size_t i) {
        slots[i].fd = udpSocket(o.port, true);
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u64 = i;
        ::epoll_ctl(epoll, EPOLL_CTL_ADD, slots[i].fd, &event);
    };
    for (std::size_t i = 0; i < slots.size(); ++i) {
        open(i);
        send(slots[i]);
    }
    const std::int64_t start = nowUs();
    const auto end = start + static_cast<std::int64_t>(o.seconds * 1e6);
    std::vector<epoll_event> events(slots.size());
    while (nowUs() < end) {
        const int n = ::epoll_wait(epoll, events.data(), static_cast<int>(events.size()),
                                   std::max(1, o.timeoutMs / 4));
        for (int e = 0; e < n; ++e) {
            Slot& slot = slots[events[static_cast<std::size_t>(e)].data.u64];
            unsigned char reply[2048];
            for (int reads = 0; reads < 64; ++reads) {
                const ssize_t size = ::recv(slot.fd, reply, sizeof reply, 0);
                const std::int64_t now = nowUs();
                if (size < 0) {
                    break;
                }
                bool complete = false;
                bool right = false;
                if (o.proto == "daytime") {
                    complete = true;
                    right = size > 0 &&
                            std::memchr(reply, ',', static_cast<std::size_t>(size)) != nullptr;
                } else {
                    for (ssize_t b = 0; b < size && slot.gotBytes < 4; ++b) {
                        slot.got[slot.gotBytes++] = reply[b];
                    }
                    complete = slot.gotBytes == 4;
                    right = complete && plausibleSeconds(slot.got, o.proto == "time");
                }
                if (complete) {
                    (right ? stats.ok : stats.bad)++;
                    stats.latencyUs.push_back(
                        static_cast<std::uint32_t>(std::max<std::int64_t>(0, now - slot.sentAt)));
                    // Whatever else came is more than one reply: wrong, and not the next one's.
                    for (int extra = 0; extra < 64 && ::recv(slot.fd, reply, sizeof reply, 0) >= 0;
                         ++extra) {
                        ++stats.bad;
                    }
                    send(slot);
                    break;
                }
            }
        }
        const std::int64_t now = nowUs();
        for (std::size_t i = 0; i < slots.size(); ++i) {
            if (now - slots[i].sentAt > std::int64_t{o.timeoutMs} * 1000) { // give up: lost
                ++stats.lost;
                ::close(slots[i].fd);
                open(i);
                send(slots[i]);
            }
        }
    }
    stats.print(o, "closed", static_cast<double>(nowUs() - start) / 1e6);
}

// UDP, paced: one socket sending NTP requests at a fixed rate, those falling due together in
// one call; replies matched by their tag.
void udpPaced(const Options& o) {
    struct Sent {
        std::uint64_t tag = 0;
        std::int64_t at = 0;
    };
    // A reply later than this many requests is counted wrong; at a million a second, a second.
    constexpr std::size_t kRing = std::size_t{1} << 20;
    const int fd = udpSocket(o.port, true);
    Stats stats;
    std::vector<Sent> ring(kRing);
    Batch out;
    Batch in;
    const double intervalUs = 1e6 / o.rate;
    const auto planned = static_cast<std::int64_t>(std::ceil(o.seconds * o.rate));
    const std::int64_t start = nowUs();
    const auto drain = [&] {
        for (int calls = 0; calls < 64; ++calls) {
            in.prepareReceive();
            const int got = ::recvmmsg(fd, in.headers.data(), kBatch, MSG_DONTWAIT, nullptr);
            const std::int64_t now = nowUs();
            if (got <= 0) {
                return;
            }
            for (int m = 0; m < got; ++m) {
                const mmsghdr& header = in.headers[static_cast<std::size_t>(m)];
                const std::uint64_t tag =
                    header.msg_len == 48 && (header.msg_hdr.msg_flags & MSG_TRUNC) == 0
                        ? ntpOriginate(in.buffers[static_cast<std::size_t>(m)].data())
                        : 0;
                Sent& sent = ring[tag & (kRing - 1)];
                if (tag != 0 && sent.tag == tag && sent.at != 0) {
                    stats.latencyUs.push_back(static_cast<std::uint32_t>(now - sent.at));
                    sent.at = 0;
                    ++stats.ok;
                } else {
                    ++stats.bad;
                }
            }
            if (static_cast<unsigned>(got) < kBatch) {
                return;
            }
        }
    };
    while (stats.sent < planned) {
        const std::int64_t now = nowUs();
        // Every request whose time has come, not only the next: a slow pass must not lower the
        // rate asked for.
        const auto dueNow = std::min<std::int64_t>(
            planned, static_cast<std::int64_t>(static_cast<double>(now - start) / intervalUs) + 1);
        const auto count =
            static_cast<unsigned>(std::min<std::int64_t>(kBatch, dueNow - stats.sent));
        if (count > 0) {
            for (unsigned m = 0; m < count; ++m) {
                const auto tag = static_cast<std::uint64_t>(stats.sent + m + 1);
                out.vectors[m].iov_len = makeRequest(o, tag, out.buffers[m].data());
            }
            const std::int64_t sentAt = nowUs();
            const int sent = ::sendmmsg(fd, out.headers.data(), count, MSG_DONTWAIT);
            for (int m = 0; m < sent; ++m) {
                const auto tag = static_cast<std::uint64_t>(stats.sent + m + 1);
                ring[tag & (kRing - 1)] = {tag, sentAt};
            }
            stats.sent += std::max(0, sent);
        }
        drain();
    }
    const std::int64_t grace = nowUs() + 200000;
    while (nowUs() < grace) {
        drain();
    }
    stats.lost = stats.sent - stats.ok;
    stats.print(o, "paced", o.seconds);
}

// TCP: `concurrency` connections at once, each connect, (send), read to end, close.
void tcpLoad(const Options& o) {
    struct Conn {
        int fd = -1;
        std::int64_t startedAt = 0;
        std::string got;
        bool requestSent = false;
    };
    const int epoll = ::epoll_create1(EPOLL_CLOEXEC);
    std::vector<Conn> conns(static_cast<std::size_t>(o.concurrency));
    Stats stats;
    const sockaddr_in target = loopback(o.port);
    const auto open = [&](std::size_t i) {
        Conn& c = conns[i];
        c = Conn{};
        c.fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        c.startedAt = nowUs();
        ::connect(c.fd, reinterpret_cast<const sockaddr*>(&target), sizeof target);
        epoll_event event{};
        event.events = EPOLLIN | EPOLLOUT | EPOLLRDHUP;
        event.data.u64 = i;
        ::epoll_ctl(epoll, EPOLL_CTL_ADD, c.fd, &event);
        ++stats.sent;
    };
    const auto finish = [&](std::size_t i, bool right) {
        Conn& c = conns[i];
        (right ? stats.ok : stats.bad)++;
        stats.latencyUs.push_back(static_cast<std::uint32_t>(nowUs() - c.startedAt));
        ::close(c.fd);
        open(i);
    };
    for (std::size_t i = 0; i < conns.size(); ++i) {
        open(i);
    }
    const std::int64_t start = nowUs();
    const auto end = start + static_cast<std::int64_t>(o.seconds * 1e6);
    std::vector<epoll_event> events(conns.size());
    while (nowUs() < end) {
        const int n = ::epoll_wait(epoll, events.data(), static_cast<int>(events.size()), 20);
        for (int e = 0; e < n; ++e) {
            const std::size_t i = events[static_cast<std::size_t>(e)].data.u64;
            Conn& c = conns[i];
            const std::uint32_t what = events[static_cast<std::size_t>(e)].events;
            if ((what & EPOLLOUT) && !c.requestSent) {
                c.requestSent = true;
                if (o.proto == "ntp") {
                    unsigned char request[48];
                    makeRequest(o, 1, request);
                    ::send(c.fd, request, 48, MSG_NOSIGNAL);
                }
                epoll_event event{};
                event.events = EPOLLIN | EPOLLRDHUP;
                event.data.u64 = i;
                ::epoll_ctl(epoll, EPOLL_CTL_MOD, c.fd, &event);
            }
            if (what & (EPOLLIN | EPOLLRDHUP | EPOLLHUP | EPOLLERR)) {
                char buffer[512];
                ssize_t size;
                while ((size = ::recv(c.fd, buffer, sizeof buffer, 0)) > 0) {
                    c.got.append(buffer, static_cast<std::size_t>(size));
                }
                if (size == 0 || (size < 0 && errno != EAGAIN)) {
                    const auto* bytes = reinterpret_cast<const unsigned char*>(c.got.data());
                    bool right = false;
                    if (o.proto == "ntp") {
                        right = c.got.size() == 48 && ntpOriginate(bytes) == 1;
                    } else if (o.proto == "daytime") {
                        right = c.got.find(':') != std::string::npos;
                    } else {
                        right = c.got.size() == 4 && plausibleSeconds(bytes, o.proto == "time");
                    }
                    finish(i, right);
                }
            }
        }
        const std::int64_t now = nowUs();
        for (std::size_t i = 0; i < conns.size(); ++i) {
            if (now - conns[i].startedAt > 2000000) {
                ++stats.lost;
                ::close(conns[i].fd);
                open(i);
            }
        }
    }
    stats.print(o, "tcp", static_cast<double>(nowUs() - start) / 1e6);
}

// A reference server: answers every 48-byte request with this machine's time.
[[noreturn]] void respond(int port) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail("bind");
    }
    for (;;) {
        unsigned char request[64];
        sockaddr_in from{};
        socklen_t fromSize = sizeof from;
        const ssize_t size = ::recvfrom(fd, request, sizeof request, 0,
                                        reinterpret_cast<sockaddr*>(&from), &fromSize);
        if (size != 48) {
            continue;
        }
        timespec ts{};
        clock_gettime(CLOCK_REALTIME, &ts);
        unsigned char reply[48]{};
        reply[0] = 0x24;
        reply[1] = 1;
        std::memcpy(reply + 24, request + 40, 8);
        const auto seconds = static_cast<std::uint32_t>(ts.tv_sec + kNtpEpochOffset);
        const auto fraction =
            static_cast<std::uint32_t>(static_cast<double>(ts.tv_nsec) * 4.294967296);
        for (const int stamp : {16, 32, 40}) {
            writeBe32(reply + stamp, seconds);
            writeBe32(reply + stamp + 4, fraction);
        }
        ::sendto(fd, reply, sizeof reply, 0, reinterpret_cast<const sockaddr*>(&from), fromSize);
    }
}

} // namespace

int main(int argc, char* argv[]) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto value = [&]() -> const char* {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "loadgen: %s needs a value\n", word.c_str());
                std::exit(2);
            }
            return argv[++i];
        };
        if (word == "--target") {
            // Only this machine may be loaded.
            const std::string target = value();
            if (target != "127.0.0.1" && target != "localhost") {
                std::fprintf(stderr, "loadgen: refusing %s: only 127.0.0.1 may be loaded\n",
                             target.c_str());
                return 2;
            }
        } else if (word == "--port") {
            o.port = std::atoi(value());
        } else if (word == "--proto") {
            o.proto = value();
        } else if (word == "--tcp") {
            o.tcp = true;
        } else if (word == "--seconds") {
            o.seconds = std::atof(value());
        } else if (word == "--window") {
            o.window = std::clamp(std::atoi(value()), 1, kMaxWindow);
        } else if (word == "--sockets") {
            o.sockets = std::clamp(std::atoi(value()), 1, kMaxWindow);
        } else if (word == "--timeout-ms") {
            o.timeoutMs = std::clamp(std::atoi(value()), 1, 10000);
        } else if (word == "--rate") {
            o.rate = std::atof(value());
        } else if (word == "--concurrency") {
            o.concurrency = std::max(1, std::atoi(value()));
        } else if (word == "--respond") {
            o.respondPort = std::atoi(value());
        } else {
            std::fprintf(stderr, "loadgen: unknown option %s\n", word.c_str());
            return 2;
        }
    }
    if (o.respondPort > 0) {
        respond(o.respondPort);
    }
    if (o.port <= 0 ||
        (o.proto != "ntp" && o.proto != "time" && o.proto != "daytime" && o.proto != "unix")) {
        std::fprintf(stderr, "usage: loadgen --port P --proto ntp|time|daytime|unix [--tcp] ...\n");
        return 2;
    }
    o.seconds = std::min(o.seconds, 120.0); // bounded, whatever is asked
    o.rate = std::min(o.rate, 2e6);
    if (o.rate > 0 && !o.tcp && o.proto != "ntp") {
        std::fprintf(stderr, "loadgen: --rate paces NTP only\n");
        return 2;
    }
    if (o.tcp) {
        tcpLoad(o);
    } else if (o.rate > 0) {
        udpPaced(o);
    } else if (o.proto == "ntp") {
        udpNtpClosedLoop(o);
    } else {
        udpPlainClosedLoop(o);
    }
    return 0;
}
