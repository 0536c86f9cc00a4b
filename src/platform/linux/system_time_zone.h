// The local zone from the C library (TZ, /etc/localtime), shaped as the Windows record.
#pragma once

#include "platform/time_zone.h"

namespace cvl {

class SystemTimeZone final : public TimeZone {
public:
    [[nodiscard]] TimeZoneReading GetTimeZoneInformation() const override;
};

} // namespace cvl
