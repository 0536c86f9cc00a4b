// The operating system as the server reaches it: one reference per service, real ones from
// the system platform, fakes in tests.
#pragma once

namespace cvl {

class Autostart;
class Clock;
class EventLoop;
class HostInfo;
class Launcher;
class Prompter;
class SettingsStore;
class TimeZone;

struct Platform {
    EventLoop& loop;
    Clock& clock;
    TimeZone& timeZone;
    SettingsStore& settings;
    Autostart& autostart;
    HostInfo& host;
    Prompter& prompter;
    Launcher& launcher;
};

} // namespace cvl
