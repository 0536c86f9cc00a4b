// The datagram calls on Linux: a batch read with one recvmmsg, the answers to it sent with one
// sendmmsg.
#include "platform/datagram_calls.h"
#include "platform/socket_address.h"

#include <algorithm>
#include <array>

namespace cvl::sys {

namespace {

constexpr std::size_t kMostPerCall = 64;

// Points `header` at `to` in the form its family's socket takes; `v4` holds the IPv4 form.
void setDestination(msghdr& header, const sockaddr_in6& to, sockaddr_in& v4) {
    if (isMappedIPv4(to)) {
        v4 = unmappedIPv4(to);
        header.msg_name = &v4;
        header.msg_namelen = sizeof v4;
    } else {
        header.msg_name = const_cast<sockaddr_in6*>(&to);
        header.msg_namelen = sizeof to;
    }
}

// sendmmsg stops at the first datagram the system refuses; that one is lost and the rest
// still go.
void sendEach(int fd, mmsghdr* messages, int count) {
    for (int sent = 0; fd >= 0 && sent < count;) {
        const int result =
            ::sendmmsg(fd, messages + sent, static_cast<unsigned>(count - sent), MSG_DONTWAIT);
        sent += result > 0 ? result : 1;
    }
}

} // namespace

int receiveDatagrams(NativeSocket socket, bool ipv4, std::span<ReceivedDatagram> slots) {
    const int fd = native(socket);
    const std::size_t count = std::min(slots.size(), kMostPerCall);
    if (fd < 0 || count == 0) {
        return 0;
    }
    std::array<mmsghdr, kMostPerCall> messages{};
    std::array<iovec, kMostPerCall> vectors{};
    for (std::size_t i = 0; i < count; ++i) {
        vectors[i] = {slots[i].buffer, static_cast<std::size_t>(slots[i].capacity)};
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        messages[i].msg_hdr.msg_name = &slots[i].sender;
        messages[i].msg_hdr.msg_namelen = sizeof slots[i].sender;
    }
    // MSG_TRUNC: each length is the datagram's own, even where less was kept.
    const int got = ::recvmmsg(fd, messages.data(), static_cast<unsigned>(count),
                               MSG_DONTWAIT | MSG_TRUNC, nullptr);
    for (int i = 0; i < got; ++i) {
        const auto index = static_cast<std::size_t>(i);
        slots[index].size = static_cast<int>(messages[index].msg_len);
        if (ipv4) {
            mapIPv4InPlace(slots[index].sender);
        }
    }
    return std::max(got, 0);
}

void sendDatagrams(NativeSocket socket, std::span<const OutgoingDatagram> datagrams) {
    for (std::size_t start = 0; start < datagrams.size(); start += kMostPerCall) {
        const std::size_t count = std::min(datagrams.size() - start, kMostPerCall);
        std::array<mmsghdr, kMostPerCall> messages{};
        std::array<iovec, kMostPerCall> vectors{};
        std::array<sockaddr_in, kMostPerCall> v4{};
        for (std::size_t i = 0; i < count; ++i) {
            const OutgoingDatagram& datagram = datagrams[start + i];
            vectors[i] = {const_cast<char*>(datagram.data.data()), datagram.data.size()};
            messages[i].msg_hdr.msg_iov = &vectors[i];
            messages[i].msg_hdr.msg_iovlen = 1;
            setDestination(messages[i].msg_hdr, datagram.to, v4[i]);
        }
        sendEach(native(socket), messages.data(), static_cast<int>(count));
    }
}

bool sendDatagram(NativeSocket socket, std::string_view data, const sockaddr_in6& to) {
    msghdr header{};
    iovec vector{const_cast<char*>(data.data()), data.size()};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    sockaddr_in v4{};
    setDestination(header, to, v4);
    const int fd = native(socket);
    return fd >= 0 && ::sendmsg(fd, &header, MSG_DONTWAIT) == static_cast<ssize_t>(data.size());
}

int sendEachByte(NativeSocket socket, std::string_view data, const sockaddr_in6& to) {
    constexpr std::size_t most = 8;
    const int fd = native(socket);
    if (fd < 0 || data.size() > most) {
        return 0;
    }
    std::array<mmsghdr, most> messages{};
    std::array<iovec, most> vectors{};
    sockaddr_in v4{};
    for (std::size_t i = 0; i < data.size(); ++i) {
        vectors[i] = {const_cast<char*>(data.data() + i), 1};
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        setDestination(messages[i].msg_hdr, to, v4);
    }
    const int sent =
        ::sendmmsg(fd, messages.data(), static_cast<unsigned>(data.size()), MSG_DONTWAIT);
    return std::max(sent, 0);
}

} // namespace cvl::sys
