// The real services of this machine for the running program, made from what its command line
// chose. Each system has its own version; the program's start-up is the same everywhere.
#pragma once

#include "platform/platform.h"

#include <functional>
#include <memory>
#include <string>

namespace cvl {

struct SystemChoices {
    bool setClock = true;
    std::string settingsFile; // empty: the system's own place
    std::string dataDir;      // empty: the system's own program folder
};

class SystemPlatform {
public:
    virtual ~SystemPlatform() = default;

    // Only the event loop is made here: nothing is read or written yet, so a second copy
    // of the program leaves no trace. Null, with the reason on standard error, when even
    // that is impossible.
    [[nodiscard]] static std::unique_ptr<SystemPlatform> open(const SystemChoices& choices);

    [[nodiscard]] virtual EventLoop& loop() = 0;
    // Makes the program folder (with the shipped server file, where there is one) and the
    // rest of the services. Called once, after the one-copy check.
    [[nodiscard]] virtual Platform platform(Prompter& prompter) = 0;
    // The system's requests to stop in order and to synchronise now, delivered on the loop.
    virtual void onRequests(std::function<void()> stop, std::function<void()> syncNow) = 0;
};

} // namespace cvl
