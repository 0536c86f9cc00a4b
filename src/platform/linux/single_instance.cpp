#include "platform/single_instance.h"

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace cvl {

namespace {

// An abstract socket name: every user's copy meets it, it needs no folder that all may write,
// and it goes with the process, so a crashed copy leaves nothing behind.
constexpr char kName[] = "chronvale-server.instance";

socklen_t abstractAddress(sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, kName, sizeof kName - 1);
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + sizeof kName - 1);
}

} // namespace

SingleInstance::SingleInstance(EventLoop& loop)
    : loop_(loop) {}

SingleInstance::~SingleInstance() {
    watch_.reset();
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool SingleInstance::acquire() {
    if (descriptor_ >= 0) {
        return true;
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return true; // without sockets there is nothing to guard either
    }
    sockaddr_un address;
    const socklen_t length = abstractAddress(address);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
        const bool taken = errno == EADDRINUSE;
        ::close(fd);
        return !taken;
    }
    ::listen(fd, 4);
    descriptor_ = fd;
    watch_.start(loop_, fd, EventLoop::Readable, [this](unsigned) { answerRequests(); });
    return true;
}

void SingleInstance::answerRequests() {
    // Each connection is one request; the answer is a single byte, which a fresh socket
    // always has room for.
    for (int round = 0; round < 16; ++round) {
        const int connection = ::accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) {
            return;
        }
        const char answer = show_ && show_() ? '1' : '0';
        [[maybe_unused]] const auto sent = ::send(connection, &answer, 1, MSG_NOSIGNAL);
        ::close(connection);
    }
}

bool SingleInstance::askRunningCopyToShow() {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return false;
    }
    const timeval limit{1, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    sockaddr_un address;
    const socklen_t length = abstractAddress(address);
    char answer = '0';
    const bool shown = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), length) == 0 &&
                       ::recv(fd, &answer, 1, 0) == 1 && answer == '1';
    ::close(fd);
    return shown;
}

} // namespace cvl
