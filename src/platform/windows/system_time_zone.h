// The local zone as Windows keeps it: GetTimeZoneInformation as it is.
#pragma once

#include "platform/time_zone.h"

namespace cvl {

class SystemTimeZone final : public TimeZone {
public:
    [[nodiscard]] const TimeZoneReading& GetTimeZoneInformation() const override;

private:
    mutable TimeZoneReading reading_;
};

} // namespace cvl
