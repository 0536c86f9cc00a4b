#include "platform/windows/system_host_info.h"
#include "platform/windows/wide_text.h"
#include "text/ipv4_text.h"

#include "socket_system.h"

#include <cstring>
#include <utility>

namespace cvl {

SystemHostInfo::SystemHostInfo(std::string programFolder)
    : programFolder_(std::move(programFolder)) {}

std::string SystemHostInfo::userName() const {
    char name[257] = {}; // UNLEN + 1
    DWORD size = sizeof name;
    return GetUserNameA(name, &size) ? std::string(name) : std::string();
}

std::string SystemHostInfo::hostName() const {
    sys::startSockets();
    char name[256] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? std::string(name) : std::string();
}

std::string SystemHostInfo::localAddress() const {
    // The listeners bind to every interface, so their own address says nothing; the host
    // name's first IPv4 address that is not loopback stands for the machine.
    sys::startSockets();
    char name[256] = {};
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* found = nullptr;
    if (::gethostname(name, sizeof name - 1) != 0 ||
        ::getaddrinfo(name, nullptr, &hints, &found) != 0) {
        return "127.0.0.1";
    }
    std::string address = "127.0.0.1";
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        sockaddr_in v4{};
        std::memcpy(&v4, entry->ai_addr, sizeof v4);
        const std::uint32_t value = ntohl(v4.sin_addr.s_addr);
        if ((value >> 24) != 127) {
            address = ipv4Text(value);
            break;
        }
    }
    ::freeaddrinfo(found);
    return address;
}

std::string runningProgramFile() {
    std::wstring path(MAX_PATH, L'\0');
    // Bounded: a path longer than 32 767 characters does not exist on Windows.
    while (path.size() <= 32768) {
        const DWORD length =
            GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) {
            return {};
        }
        if (length < path.size()) {
            path.resize(length);
            return utf8FromWide(path);
        }
        path.resize(path.size() * 2);
    }
    return {};
}

} // namespace cvl
