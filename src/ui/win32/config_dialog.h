// CVL_ConfigSVR, the advanced configuration: the region the server works in, start with
// Windows, open minimised, request logging, the system's date-and-time settings and the update
// check. Every change takes effect at once in the controller's settings; there is no Cancel.
// Loading the dialog changes no setting. Closing it destroys its window; the next use makes a
// fresh one.
#pragma once

#include "core/status_model.h"
#include "ui/win32/native_window.h"

#include <array>

namespace cvl {

class ServerController;
class QbkButton;

// The region list, in its order; the first two characters of each entry are its code.
[[nodiscard]] const std::array<const char*, 7>& regionEntries();

class CVL_ConfigSVR final : public NativeWindow, private StatusObserver {
public:
    CVL_ConfigSVR(ServerController& server, HWND mainWindow);
    ~CVL_ConfigSVR() override;

    void show();
    [[nodiscard]] bool isOpen() const { return handle() != nullptr; }

    // Control ids, for the dialog's tests.
    enum Control { Regions = 300, RunCVL, OpenMin, wc3Logs, SelTimeZone, CheckUpdate, cfgsvrOK };

private:
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void statusChanged(StatusChange change) override;
    void Form_Load(HWND mainWindow);
    void layout();
    void applyDpi(UINT dpi);
    void pickRegion();

    ServerController& server_;
    HWND frame1_ = nullptr, frame2_ = nullptr, image_ = nullptr;
    HWND regionLabel_ = nullptr, closeLabel_ = nullptr, regions_ = nullptr;
    HWND runAtStart_ = nullptr, openMinimized_ = nullptr, logging_ = nullptr;
    QbkButton* selTimeZone_ = nullptr;
    QbkButton* checkUpdate_ = nullptr;
    QbkButton* ok_ = nullptr;
    HFONT arial_ = nullptr;
    HFONT font_ = nullptr;
    HICON picture_ = nullptr;
};

} // namespace cvl
