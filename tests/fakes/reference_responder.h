// A reference time server of the test's own on loopback: answers 48-byte client requests with
// a server packet carrying a chosen time (or the present), or holds its answers until released.
#pragma once

#include "net/datagram_socket.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cvl::test {

class ReferenceResponder {
public:
    explicit ReferenceResponder(EventLoop& loop, std::uint16_t port = 0)
        : socket(loop) {
        socket.bind(port);
        socket.onReadable = [this] {
            socket.readPending([this](const Datagram& datagram) {
                ++requests;
                held.emplace_back(std::string(datagram.data.substr(0, datagram.size)),
                                  datagram.sender);
            });
            if (!holding) {
                release();
            }
        };
    }

    [[nodiscard]] std::uint16_t port() const { return socket.localPort(); }
    // Answers held back so far go out now; later ones at once.
    void release() {
        holding = false;
        for (const auto& [request, sender] : std::exchange(held, {})) {
            answer(request, sender);
        }
    }

    bool holding = false;
    int requests = 0;
    // The time announced: whole seconds since 1900 and a 32-bit binary fraction.
    std::optional<std::pair<std::uint32_t, std::uint32_t>> fixed;

private:
    static void putBigEndian(std::string& bytes, std::size_t at, std::uint32_t value) {
        for (int i = 0; i < 4; ++i) {
            bytes[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (24 - 8 * i));
        }
    }

    void answer(const std::string& request, const PeerAddress& sender) {
        // Client requests only: a server's answer to our answer must not start a ping-pong.
        if (request.size() != 48 || (request[0] & 7) != 3) {
            return;
        }
        std::string reply(48, '\0');
        reply[0] = 0x24; // version 4, server
        reply[1] = 1;    // stratum
        reply.replace(24, 8, request, 40, 8);
        const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                            std::chrono::system_clock::now().time_since_epoch())
                            .count();
        const auto [seconds, fraction] = fixed.value_or(std::pair{
            static_cast<std::uint32_t>(ms / 1000 + 2208988800LL),
            static_cast<std::uint32_t>(static_cast<double>(ms % 1000) * 4294967296.0 / 1000)});
        for (const std::size_t stamp : {16u, 32u, 40u}) {
            putBigEndian(reply, stamp, seconds);
            putBigEndian(reply, stamp + 4, fraction);
        }
        socket.send(reply, sender);
    }

    DatagramSocket socket;
    std::vector<std::pair<std::string, PeerAddress>> held;
};

} // namespace cvl::test
