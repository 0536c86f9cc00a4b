// What a time service needs from the server it runs in: the clock-set flag, the time base,
// the request log, the request counters and the status display.
#pragma once

#include "core/lamp.h"
#include "core/service_table.h"
#include "timebase/time_base.h"

#include <QString>

namespace cvl {

class ServiceHost {
public:
    virtual ~ServiceHost() = default;

    // False until the clock has been set once from a reference server; no answer before.
    [[nodiscard]] virtual bool TimeSynced() const = 0;
    [[nodiscard]] virtual bool UseJulian() const = 0;
    [[nodiscard]] virtual TimeBase& timeBase() = 0;

    // One record of the request log (nothing when logging is off).
    virtual void CVLWLOG(const QString& BytesD, const QString& RequestIP, std::int16_t ReqP,
                         std::int32_t sentB, const QString& CVLCode, const QString& CVLType,
                         std::int32_t iByteTot = 0) = 0;

    // Counts one request; false when the count would overflow.
    virtual bool countRequest(ServiceId id, Transport transport) = 0;

    // Status display: the client in remote-host box `box`, a traffic lamp, a refresh.
    virtual void showClient(int box, const QString& address) = 0;
    virtual void light(Lamp lamp) = 0;
    virtual void StatusUp() = 0;
};

} // namespace cvl
