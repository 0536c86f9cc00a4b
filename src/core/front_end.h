// What a face of the server adds to it: the daemon's is standard error, the desktop's the
// window, the tray icon and message boxes.
#pragma once

#include "log/diagnostics.h"
#include "platform/stderr_prompter.h"

#include <cstdio>
#include <string>

namespace cvl {

class ServerController;
class EventLoop;
class Prompter;

class FrontEnd {
public:
    virtual ~FrontEnd() = default;
    [[nodiscard]] virtual Prompter& prompter() = 0;
    // Builds the views before start-up reads the settings.
    virtual void build(ServerController& server) = 0;
    // The views' own start-up steps, once the settings are read and before the first
    // synchronisation; `startHidden` is the "-rs" first word.
    virtual void startUp(bool startHidden) = 0;
    // Runs the program's loop, with the server's in it, until quit(); the exit status.
    virtual int run(EventLoop& loop) = 0;
    // Ends run(); safe from any handler.
    virtual void quit(EventLoop& loop) = 0;
    // Releases the views once the server has shut down.
    virtual void release() = 0;
    // Another start of the program asks this copy to show itself; true when a window came
    // forward.
    [[nodiscard]] virtual bool showWindow() { return false; }
    // Whether a second start of this face asks the running copy to show itself rather than
    // only saying that it runs.
    [[nodiscard]] virtual bool raisesRunningCopy() const { return false; }
    // A failure the windows leave unsaid (the diagnostics channel): to standard error unless
    // the face has a better place for it.
    virtual void report(Severity severity, const std::string& text) {
        writeStderrLine(std::string(severityName(severity)) + ": " + text);
    }
    // Says that another copy runs and this one ends (a copy that came forward says nothing).
    virtual void anotherCopyRuns() {
        std::fputs("chronvale-server: another copy is already running on this machine\n", stderr);
    }
};

} // namespace cvl
