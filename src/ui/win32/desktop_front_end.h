// The Windows desktop face of the server: the main window with its tray icon, the
// configuration dialog (made afresh on each use) and message boxes owned by them.
#pragma once

#include "core/front_end.h"
#include "platform/prompter.h"

#include <functional>
#include <memory>

#include <windows.h>

namespace cvl {

class ServerController;
class ServerWindow;
class CVL_ConfigSVR;

// MessageBoxA, owned by the window named; before the windows exist, by none.
class MessageBoxPrompter final : public Prompter {
public:
    [[nodiscard]] bool askYesNo(PromptOwner owner, std::string_view caption,
                                std::string_view text) override;
    void inform(PromptOwner owner, std::string_view caption, std::string_view text) override;
    std::function<HWND(PromptOwner)> owners;
};

class Win32FrontEnd final : public FrontEnd {
public:
    Win32FrontEnd();
    ~Win32FrontEnd() override;

    [[nodiscard]] Prompter& prompter() override { return prompter_; }
    void build(ServerController& server) override;
    void startUp(bool startHidden) override;
    int run(EventLoop& loop) override;
    void quit(EventLoop& loop) override;
    void release() override;
    bool showWindow() override;
    [[nodiscard]] bool raisesRunningCopy() const override { return true; }
    // A window program has nobody reading its standard error: a message box says it.
    void anotherCopyRuns() override;

    [[nodiscard]] ServerWindow& window() { return *window_; }
    // The configuration dialog, created (and shown) when it is not open.
    CVL_ConfigSVR& configDialog();
    [[nodiscard]] bool configDialogOpen() const;

private:
    ServerController* server_ = nullptr;
    EventLoop* loop_ = nullptr;
    MessageBoxPrompter prompter_;
    std::unique_ptr<ServerWindow> window_;
    std::unique_ptr<CVL_ConfigSVR> dialog_;
};

} // namespace cvl
