// Loopback for tests: free ports from the high range that the services can use (they read
// ports as 16-bit signed numbers, so 20000..32767), an NTP request, and clients that wait by
// running the event loop (never by blocking it), with a bound on time.
#pragma once

#include "loop_waits.h"
#include "net/datagram_socket.h"
#include "net/peer_address.h"
#include "net/stream_client.h"
#include "net/stream_listener.h"

#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace cvl::test {

// A port free for both TCP and UDP at the moment of asking.
inline std::uint16_t freePort(EventLoop& loop) {
    static std::mt19937 random{std::random_device{}()};
    std::uniform_int_distribution<int> ports(20000, 32767);
    for (int attempt = 0; attempt < 200; ++attempt) {
        const auto port = static_cast<std::uint16_t>(ports(random));
        StreamListener tcp(loop);
        DatagramSocket udp(loop);
        if (tcp.listen(port).open && udp.bind(port).open) {
            return port;
        }
    }
    return 0;
}

inline PeerAddress loopbackAddress(std::uint16_t port) {
    return PeerAddress::fromIPv4(0x7F000001, port);
}

// A version 4 client request with a transmit stamp; byte 24 set makes sure that it is not
// taken for an answer to the server's own query.
inline std::string ntpRequest(std::uint8_t byte24) {
    std::string request(48, '\0');
    request[0] = 0x23;
    request[24] = static_cast<char>(byte24);
    for (int i = 40; i < 48; ++i) {
        request[static_cast<std::size_t>(i)] = static_cast<char>(i);
    }
    return request;
}

// Sends one datagram and collects the datagrams that come back within the time allowed, or
// until `expected` of them have arrived.
inline std::vector<std::string>
udpExchange(EventLoop& loop, std::uint16_t port, const std::string& payload, std::size_t expected,
            std::chrono::milliseconds timeout = std::chrono::milliseconds(1500),
            const std::string& host = "127.0.0.1") {
    DatagramSocket client(loop);
    std::vector<std::string> replies;
    if (!client.bind(0).open) {
        return replies;
    }
    client.onReadable = [&] {
        client.readPending([&](const Datagram& datagram) {
            replies.emplace_back(datagram.data.substr(0, datagram.size));
        });
    };
    client.send(payload, PeerAddress::fromText(host, port).value_or(loopbackAddress(port)));
    (void)runUntil(
        loop, [&] { return replies.size() >= expected; }, timeout);
    return replies;
}

// A TCP client that remembers how its connection went, for tests that hold connections open;
// `payload` goes as soon as the connection is made.
class LoopbackClient {
public:
    LoopbackClient(EventLoop& loop, std::uint16_t port, std::string payload = {},
                   const std::string& host = "127.0.0.1")
        : client_(loop) {
        client_.onConnected = [this, payload = std::move(payload)] {
            connected = true;
            if (!payload.empty()) {
                client_.write(payload);
            }
        };
        client_.onReceived = [this](const std::string& chunk) {
            received += chunk;
        };
        client_.onEnded = client_.onFailed = [this] {
            closed = true;
        };
        client_.connectToHost(host, port);
    }
    bool write(std::string_view bytes) { return client_.write(bytes); }

    bool connected = false;
    bool closed = false; // by the server, or broken
    std::string received;

private:
    StreamClient client_;
};

// Connects, optionally sends, and reads until the server closes; what arrived by then.
inline std::string tcpExchange(EventLoop& loop, std::uint16_t port, const std::string& payload = {},
                               std::chrono::milliseconds timeout = std::chrono::milliseconds(1500),
                               const std::string& host = "127.0.0.1") {
    LoopbackClient client(loop, port, payload, host);
    (void)runUntil(
        loop, [&] { return client.closed; }, timeout);
    return client.received;
}

} // namespace cvl::test
