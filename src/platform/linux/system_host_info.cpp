#include "platform/linux/system_host_info.h"

#include "text/ipv4_text.h"

#include <arpa/inet.h>
#include <climits>
#include <cstring>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <pwd.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace cvl {

SystemHostInfo::SystemHostInfo(std::string programFolder, std::string programCommand)
    : programFolder_(std::move(programFolder))
    , programCommand_(std::move(programCommand)) {}

std::string SystemHostInfo::userName() const {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found) {
        return found->pw_name;
    }
    return std::to_string(::geteuid());
}

std::string SystemHostInfo::hostName() const {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? std::string(name) : std::string();
}

std::string SystemHostInfo::localAddress() const {
    // The listeners bind to every interface, so their own address says nothing; the first
    // IPv4 address of an interface that is up stands for the machine.
    ifaddrs* interfaces = nullptr;
    if (::getifaddrs(&interfaces) != 0) {
        return "127.0.0.1";
    }
    std::string address = "127.0.0.1";
    for (const ifaddrs* entry = interfaces; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET ||
            (entry->ifa_flags & IFF_UP) == 0 || (entry->ifa_flags & IFF_LOOPBACK) != 0) {
            continue;
        }
        sockaddr_in v4{};
        std::memcpy(&v4, entry->ifa_addr, sizeof v4);
        address = ipv4Text(ntohl(v4.sin_addr.s_addr));
        break;
    }
    ::freeifaddrs(interfaces);
    return address;
}

} // namespace cvl
