#include "ui/win32/desktop_front_end.h"

#include "core/server_controller.h"
#include "platform/windows/message_loop.h"
#include "platform/windows/service_control.h"
#include "ui/win32/config_dialog.h"
#include "ui/win32/server_window.h"

#include <string>

namespace cvl {

bool MessageBoxPrompter::askYesNo(PromptOwner owner, std::string_view caption,
                                  std::string_view text) {
    return MessageBoxA(owners ? owners(owner) : nullptr, std::string(text).c_str(),
                       std::string(caption).c_str(), MB_YESNO | MB_ICONINFORMATION) == IDYES;
}

void MessageBoxPrompter::inform(PromptOwner owner, std::string_view caption,
                                std::string_view text) {
    MessageBoxA(owners ? owners(owner) : nullptr, std::string(text).c_str(),
                std::string(caption).c_str(), MB_OK | MB_ICONEXCLAMATION);
}

Win32FrontEnd::Win32FrontEnd() {
    prompter_.owners = [this](PromptOwner owner) -> HWND {
        if (owner == PromptOwner::ConfigDialog && configDialogOpen()) {
            return dialog_->handle();
        }
        return window_ != nullptr ? window_->handle() : nullptr;
    };
}

Win32FrontEnd::~Win32FrontEnd() {
    release();
}

void Win32FrontEnd::build(ServerController& server) {
    server_ = &server;
    window_ = std::make_unique<ServerWindow>(server);
    window_->onClose = [this] {
        if (loop_ != nullptr) {
            quit(*loop_);
        }
    };
    window_->onConfigure = [this] {
        configDialog();
    };
}

void Win32FrontEnd::startUp(bool startHidden) {
    window_->startUp(startHidden);
}

int Win32FrontEnd::run(EventLoop& loop) {
    loop_ = &loop;
    // The desktop exists on Windows only, where the server's loop is the message loop.
    auto& messages = dynamic_cast<MessageLoop&>(loop);
    messages.setKeyboardFilter([this](MSG& message) {
        // Tab, arrows and access keys move between the controls of the window they are in.
        if (configDialogOpen() && IsDialogMessageW(dialog_->handle(), &message)) {
            return true;
        }
        return window_ != nullptr && IsDialogMessageW(window_->handle(), &message);
    });
    loop.run();
    messages.setKeyboardFilter({});
    return 0;
}

void Win32FrontEnd::quit(EventLoop& loop) {
    loop.quit();
}

void Win32FrontEnd::release() {
    dialog_.reset();
    if (window_ != nullptr) {
        window_->removeTrayIcon();
    }
    window_.reset();
}

void Win32FrontEnd::anotherCopyRuns() {
    std::string text = "Chronvale Server is already running on this machine.";
    if (serviceRunning()) {
        text = std::string("Chronvale Server is already running on this machine as the Windows "
                           "service \"") +
               kServiceDisplayName + "\" (" + kServiceName +
               "), which serves without a window.\r\nTo use the window instead, stop the "
               "service first: net stop " +
               kServiceName;
    }
    MessageBoxA(nullptr, text.c_str(), kServiceDisplayName, MB_OK | MB_ICONINFORMATION);
}

bool Win32FrontEnd::showWindow() {
    if (window_ == nullptr) {
        return false;
    }
    window_->showFromTray();
    return true;
}

bool Win32FrontEnd::configDialogOpen() const {
    return dialog_ != nullptr && dialog_->isOpen();
}

CVL_ConfigSVR& Win32FrontEnd::configDialog() {
    // A closed dialog's window is gone; its object is replaced by a fresh one.
    if (!configDialogOpen()) {
        dialog_.reset();
        dialog_ = std::make_unique<CVL_ConfigSVR>(*server_, window_->handle());
    }
    dialog_->show();
    return *dialog_;
}

} // namespace cvl
