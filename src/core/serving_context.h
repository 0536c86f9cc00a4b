// Everything the services reach while they serve: the clock-set flag, the time base, the
// reference the NTP replies name, the request log, the counters, the last clients and the
// traffic lamps, and the server's own query that shares the NTP socket. The display reads
// traffic from counts on its own timer: nothing here is signalled per request.
#pragma once

#include "services/service_host.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace cvl {

class Clock;
class RequestLog;
class ServiceListeners;
class Synchroniser;

// The last client shown in one remote-host box, and when it came.
struct RemoteHost {
    std::string address;
    LocalDateTime when;
};

class ServingContext final : public ServiceHost, public ServiceActivity, public OwnQueryReplies {
public:
    ServingContext(const Clock& clock, TimeBase& timeBase, ServiceListeners& listeners,
                   Synchroniser& synchroniser);
    ~ServingContext() override;
    ServingContext(const ServingContext&) = delete;
    ServingContext& operator=(const ServingContext&) = delete;

    // The request log starts with the server, and logs whatever the saved setting says.
    void openLog(std::unique_ptr<RequestLog> log);
    [[nodiscard]] const RequestLog* log() const { return log_.get(); }
    void setLogEnabled(bool on);
    void setUseJulian(bool on) { useJulian_ = on; }
    void setNtpFirstByte(std::int16_t firstByte) { ntpFirstByte_ = firstByte; }

    [[nodiscard]] const RemoteHost& remoteHost(int box) const;
    [[nodiscard]] std::uint64_t lampCount(Lamp lamp) const {
        return lampCounts_[static_cast<std::size_t>(lamp)];
    }
    [[nodiscard]] int lastNtpMilliseconds() const { return lastNtpMs_; }

    // ServiceHost
    [[nodiscard]] bool timeSynced() const override;
    [[nodiscard]] bool useJulian() const override { return useJulian_; }
    [[nodiscard]] TimeBase& timeBase() override { return timeBase_; }
    [[nodiscard]] NtpReference ntpReference() const override;
    void logRequest(const RequestRecord& record) override;

    // ServiceActivity
    bool countRequest(ServiceId id, Transport transport) override;
    void showClient(int box, std::string_view address) override;
    void light(Lamp lamp) override { ++lampCounts_[static_cast<std::size_t>(lamp)]; }
    void noteNtpMilliseconds(int ms) override { lastNtpMs_ = ms; }

    // OwnQueryReplies
    [[nodiscard]] bool awaitingReply() const override;
    [[nodiscard]] bool isAnswer(std::string_view datagram, const PeerAddress& from) const override;
    void acceptAnswer(std::string_view answer, const PeerAddress& from) override;
    void datagramFailed() override;

private:
    const Clock& clock_;
    TimeBase& timeBase_;
    ServiceListeners& listeners_;
    Synchroniser& synchroniser_;
    std::unique_ptr<RequestLog> log_;
    std::array<RemoteHost, 3> remoteHosts_;
    std::array<std::uint64_t, 4> lampCounts_{};
    int lastNtpMs_ = 0;
    std::int16_t ntpFirstByte_ = 36;
    bool useJulian_ = false;
};

} // namespace cvl
