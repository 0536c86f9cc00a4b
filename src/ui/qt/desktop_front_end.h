// The desktop face of the server: the main window with its tray icon, the configuration
// dialog (one at a time, made afresh when it was closed) and message boxes owned by them.
#pragma once

#include "core/front_end.h"
#include "platform/prompter.h"

#include <QPointer>
#include <functional>
#include <memory>

class QWidget;

namespace cvl {

class ServerController;
class ServerWindow;
class CVL_ConfigSVR;

// Message boxes owned by the window named; until the front end exists, by none.
class DesktopPrompter final : public Prompter {
public:
    [[nodiscard]] bool askYesNo(PromptOwner owner, std::string_view caption,
                                std::string_view text) override;
    void inform(PromptOwner owner, std::string_view caption, std::string_view text) override;
    std::function<QWidget*(PromptOwner)> owners;
};

class DesktopFrontEnd final : public FrontEnd {
public:
    DesktopFrontEnd();
    ~DesktopFrontEnd() override;

    [[nodiscard]] Prompter& prompter() override { return prompter_; }
    void build(ServerController& server) override;
    void startUp(bool startHidden) override;
    // Qt's loop, dispatching the server's.
    int run(EventLoop& loop) override;
    void quit(EventLoop& loop) override;
    void release() override;
    bool showWindow() override;
    [[nodiscard]] bool raisesRunningCopy() const override { return true; }

    [[nodiscard]] ServerWindow& window() { return *window_; }
    // The configuration dialog, created (and shown) when it is not open.
    CVL_ConfigSVR& configDialog();
    [[nodiscard]] bool configDialogOpen() const { return !dialog_.isNull(); }

private:
    ServerController* server_ = nullptr;
    DesktopPrompter prompter_;
    std::unique_ptr<ServerWindow> window_;
    QPointer<CVL_ConfigSVR> dialog_;
};

} // namespace cvl
