#include "ui/qt/desktop_front_end.h"

#include "core/server_controller.h"
#include "platform/linux/epoll_event_loop.h"
#include "ui/qt/config_dialog.h"
#include "ui/qt/event_loop_notifier.h"
#include "ui/qt/qt_text.h"
#include "ui/qt/server_window.h"

#include <QCoreApplication>
#include <QMessageBox>

namespace cvl {

bool DesktopPrompter::askYesNo(PromptOwner owner, std::string_view caption, std::string_view text) {
    QMessageBox box(QMessageBox::Information, toQString(caption), toQString(text),
                    QMessageBox::Yes | QMessageBox::No, owners ? owners(owner) : nullptr);
    return box.exec() == QMessageBox::Yes;
}

void DesktopPrompter::inform(PromptOwner owner, std::string_view caption, std::string_view text) {
    QMessageBox box(QMessageBox::Warning, toQString(caption), toQString(text), QMessageBox::Ok,
                    owners ? owners(owner) : nullptr);
    box.exec();
}

DesktopFrontEnd::DesktopFrontEnd() {
    prompter_.owners = [this](PromptOwner owner) -> QWidget* {
        if (owner == PromptOwner::ConfigDialog && !dialog_.isNull()) {
            return dialog_.data();
        }
        return window_.get();
    };
}

DesktopFrontEnd::~DesktopFrontEnd() {
    release();
}

void DesktopFrontEnd::build(ServerController& server) {
    server_ = &server;
    window_ = std::make_unique<ServerWindow>(server);
    QObject::connect(window_.get(), &ServerWindow::configurationRequested, window_.get(),
                     [this] { configDialog(); });
}

bool DesktopFrontEnd::showWindow() {
    if (!window_) {
        return false;
    }
    window_->showNormal();
    window_->raise();
    window_->activateWindow();
    return true;
}

void DesktopFrontEnd::startUp(bool startHidden) {
    window_->startUp(startHidden);
}

int DesktopFrontEnd::run(EventLoop& loop) {
    // The desktop exists on Linux only, where the server's loop is the epoll one.
    const EventLoopNotifier loopInQt(dynamic_cast<EpollEventLoop&>(loop));
    return QCoreApplication::exec();
}

void DesktopFrontEnd::quit(EventLoop&) {
    QCoreApplication::quit();
}

void DesktopFrontEnd::release() {
    delete dialog_.data();
    window_.reset();
}

CVL_ConfigSVR& DesktopFrontEnd::configDialog() {
    if (dialog_.isNull()) {
        dialog_ = new CVL_ConfigSVR(*server_, window_.get());
    }
    dialog_->show();
    dialog_->raise();
    dialog_->activateWindow();
    return *dialog_;
}

} // namespace cvl
