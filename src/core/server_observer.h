// What the controller tells the views. Each view overrides what it shows; the rest it reads
// from the controller when it draws.
#pragma once

#include "core/service_table.h"

#include <string>

namespace cvl {

class ServerObserver {
public:
    virtual ~ServerObserver() = default;

    virtual void statusTextChanged(const std::string& /*text*/) {}
    virtual void timeZoneChanged(const std::string& /*zoneName*/) {}
    virtual void serversChanged() {}
    virtual void selectedServerChanged(int /*index*/) {}
    // The tray tip as it shows, without the padding of its fixed field.
    virtual void tipTextChanged(const std::string& /*visibleTip*/) {}
    virtual void syncMessageChanged(const std::string& /*message*/) {}
    // The activity indicator: a query is being made.
    virtual void checkingChanged(bool /*checking*/) {}
    virtual void windowCaptionChanged(const std::string& /*caption*/) {}
    virtual void checkUpdateEnabledChanged(bool /*enabled*/) {}
    // A service's controls changed; a view refreshes that service's details.
    virtual void serviceChanged(ServiceId /*id*/) {}
    // The last query has gone unanswered for a while, or that has been put right (the text is
    // then empty).
    virtual void unansweredChanged(const std::string& /*text*/) {}
};

} // namespace cvl
