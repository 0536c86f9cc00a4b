// The datagram calls on Windows. Winsock has no batch calls: the datagrams of a batch are read
// one by one, and the answers to it go one by one.
#include "platform/datagram_calls.h"
#include "platform/socket_address.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace cvl::sys {

int receiveDatagrams(NativeSocket socket, bool ipv4, std::span<ReceivedDatagram> slots) {
    if (socket < 0) {
        return 0;
    }
    // Read whole, so that a datagram longer than what is kept still tells its length.
    static thread_local std::vector<char> whole(65536);
    std::size_t count = 0;
    for (std::size_t attempt = 0; attempt < 2 * slots.size() && count < slots.size(); ++attempt) {
        ReceivedDatagram& slot = slots[count];
        sockaddr_in6 sender{};
        int senderSize = sizeof sender;
        const int got = ::recvfrom(native(socket), whole.data(), static_cast<int>(whole.size()), 0,
                                   reinterpret_cast<sockaddr*>(&sender), &senderSize);
        if (got < 0) {
            if (::WSAGetLastError() == WSAECONNRESET) {
                continue; // a refusal of an earlier answer, reported late: not a datagram
            }
            break;
        }
        std::memcpy(slot.buffer, whole.data(),
                    static_cast<std::size_t>(std::min(got, slot.capacity)));
        slot.size = got;
        if (ipv4) {
            mapIPv4InPlace(sender);
        }
        slot.sender = sender;
        ++count;
    }
    return static_cast<int>(count);
}

bool sendDatagram(NativeSocket socket, std::string_view data, const sockaddr_in6& to) {
    if (socket < 0) {
        return false;
    }
    const sockaddr_in v4 = unmappedIPv4(to);
    const bool mapped = isMappedIPv4(to);
    const auto* address =
        mapped ? reinterpret_cast<const sockaddr*>(&v4) : reinterpret_cast<const sockaddr*>(&to);
    const int size = mapped ? int{sizeof v4} : int{sizeof to};
    return ::sendto(native(socket), data.data(), static_cast<int>(data.size()), 0, address, size) ==
           static_cast<int>(data.size());
}

void sendDatagrams(NativeSocket socket, std::span<const OutgoingDatagram> datagrams) {
    for (const OutgoingDatagram& datagram : datagrams) {
        sendDatagram(socket, datagram.data, datagram.to);
    }
}

int sendEachByte(NativeSocket socket, std::string_view data, const sockaddr_in6& to) {
    int sent = 0;
    while (static_cast<std::size_t>(sent) < data.size() &&
           sendDatagram(socket, data.substr(static_cast<std::size_t>(sent), 1), to)) {
        ++sent;
    }
    return sent;
}

} // namespace cvl::sys
