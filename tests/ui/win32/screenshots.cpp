// Saves pictures of the Windows main window on each tree node and of the configuration
// dialog, for review by eye: screenshots OUT_DIR. Run by scripts/screenshots-windows.sh under
// Xvfb and wine. The overview is taken twice: waiting for a first answer that is overdue
// (window-1-unsynchronised.bmp, with the Daytime port conflict in the status line), then
// synchronised (window-1.bmp). The reference servers are on loopback: nothing leaves this
// machine.
#include "screenshot_scene.h"
#include "server_rig.h"
#include "ui/win32/config_dialog.h"
#include "ui/win32/desktop_front_end.h"
#include "ui/win32/server_window.h"

#include <commctrl.h>

#include <fstream>
#include <string>
#include <vector>

using namespace cvl;

namespace {

// The window as it shows on the screen, frame and all, as a 24-bit BMP.
void saveWindow(HWND window, const std::string& path) {
    RECT frame;
    GetWindowRect(window, &frame);
    const int width = frame.right - frame.left;
    const int height = frame.bottom - frame.top;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ old = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, screen, frame.left, frame.top, SRCCOPY);
    GdiFlush();
    const int stride = (width * 3 + 3) & ~3;
    BITMAPFILEHEADER file{};
    file.bfType = 0x4D42;
    file.bfOffBits = sizeof file + sizeof info.bmiHeader;
    file.bfSize = file.bfOffBits + DWORD(stride * height);
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(&file), sizeof file);
    out.write(reinterpret_cast<const char*>(&info.bmiHeader), sizeof info.bmiHeader);
    out.write(static_cast<const char*>(bits), std::streamsize(stride) * height);
    SelectObject(memory, old);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
}

void settle(test::ServerRig& rig) {
    test::runFor(*rig.loop, std::chrono::milliseconds(400));
}

} // namespace

int main(int argc, char* argv[]) {
    const std::string out = argc > 1 ? argv[1] : ".";
    INITCOMMONCONTROLSEX controls{sizeof controls,
                                  ICC_WIN95_CLASSES | ICC_USEREX_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);

    test::ServerRig rig;
    test::ScreenshotScene scene(rig);
    ServerController& server = rig.server();
    Win32FrontEnd front;
    front.build(server);
    server.start([&] { front.startUp(false); });
    test::ScreenshotScene::showClients(server);

    ServerWindow& window = front.window();
    SetWindowPos(window.handle(), nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    window.CVLSelected(1);
    (void)rig.runUntil([&] { return !server.status().sync().unansweredText.empty(); },
                       Synchroniser::kUnansweredAfter + std::chrono::seconds(2));
    settle(rig);
    saveWindow(window.handle(), out + "/window-1-unsynchronised.bmp");

    scene.settle(server);
    (void)rig.runUntil([&] { return server.status().synchronised(); }, std::chrono::seconds(3));
    for (int node = 1; node <= 8; ++node) {
        window.CVLSelected(node);
        settle(rig);
        saveWindow(window.handle(), out + "/window-" + std::to_string(node) + ".bmp");
    }
    CVL_ConfigSVR& dialog = front.configDialog();
    SetWindowPos(dialog.handle(), HWND_TOP, 0, 0, 0, 0, SWP_NOSIZE);
    settle(rig);
    saveWindow(dialog.handle(), out + "/config-dialog.bmp");
    // The painted buttons show keyboard focus in their own shading.
    SetFocus(GetDlgItem(dialog.handle(), CVL_ConfigSVR::cfgsvrOK));
    settle(rig);
    saveWindow(dialog.handle(), out + "/config-dialog-focus.bmp");
    server.shutdown();
    return 0;
}
