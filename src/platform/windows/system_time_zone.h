// The local zone as Windows keeps it: GetTimeZoneInformation as it is, read at most once per
// second of the tick count, since every request asks for it and neither the zone's rules nor
// the season change within a second.
#pragma once

#include "timebase/time_zone.h"

namespace cvl {

class SystemTimeZone final : public TimeZone {
public:
    [[nodiscard]] const TimeZoneReading& GetTimeZoneInformation() const override;

private:
    mutable unsigned long long readAtSecond_ = ~0ull;
    mutable TimeZoneReading reading_;
};

} // namespace cvl
