// The local zone from the C library (TZ, /etc/localtime), shaped as the Windows record.
#pragma once

#include "timebase/time_zone.h"

#include <ctime>

namespace cvl {

// The reading is worked out at most once per second of the system clock: within one second
// neither the zone's rules nor the season can change, and every request asks for it.
class SystemTimeZone final : public TimeZone {
public:
    [[nodiscard]] const TimeZoneReading& GetTimeZoneInformation() const override;

private:
    mutable std::time_t readAt_ = -1;
    mutable TimeZoneReading reading_;
};

} // namespace cvl
