// The Win32 painted button driven with real window messages in a real host window: the order of
// its events around a click, hovering, keys, the Enabled state, the properties as the host sees
// them, and what it paints.
#include "memory_button_store.h"
#include "ui/win32/qbk_buttons.h"

#include "platform/windows/wide_text.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

using namespace cvl;

namespace {

std::vector<std::string>* hostLog = nullptr;
HFONT hostFont = nullptr;
constexpr COLORREF kHostBackground = RGB(0, 128, 0);
constexpr int kId = 42;

LRESULT CALLBACK hostProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_COMMAND && HIWORD(wParam) == BN_CLICKED && hostLog != nullptr) {
        hostLog->push_back("BN_CLICKED " + std::to_string(LOWORD(wParam)));
    }
    if (message == WM_GETFONT) {
        return reinterpret_cast<LRESULT>(hostFont);
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

using MemoryStore = test::MemoryButtonStore;

class QbkButtonTest : public ::testing::Test {
protected:
    // One host for all: a top-level window takes seconds to go away without a window manager.
    static void SetUpTestSuite() {
        WNDCLASSW c{};
        c.lpfnWndProc = hostProc;
        c.hInstance = GetModuleHandleW(nullptr);
        c.hbrBackground = CreateSolidBrush(kHostBackground);
        c.lpszClassName = L"QbkTestHost";
        RegisterClassW(&c);
        hostFont =
            CreateFontW(-12, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"Arial");
        host = CreateWindowExW(WS_EX_TOPMOST, L"QbkTestHost", L"host",
                               WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 100, 100, 300, 200, nullptr,
                               nullptr, GetModuleHandleW(nullptr), nullptr);
    }
    static void TearDownTestSuite() { DestroyWindow(host); }

    void SetUp() override {
        ASSERT_NE(host, nullptr) << "no desktop: run under a display, in a prefix made beforehand";
        button = QbkButton::create(host, kId, "cfgsvrOK", {10, 10, 110, 40});
        ASSERT_NE(button, nullptr);
        hostLog = &log;
        const auto record = [this](const char* what) {
            return [this, what](int b, int, int, int) {
                log.push_back(what + std::to_string(b));
            };
        };
        button->onMouseDown = record("down ");
        button->onMouseUp = record("up ");
        button->onMouseMove = [this](int, int, int, int) {
            log.push_back("move");
        };
        button->onMouseIn = [this](int) {
            log.push_back("in");
        };
        button->onMouseOut = [this](int) {
            log.push_back("out");
        };
        button->onClick = [this] {
            log.push_back("click");
        };
        button->onKeyDown = [this](int key, int) {
            log.push_back("key " + std::to_string(key));
        };
        button->onKeyPress = [this](wchar_t c) {
            log.push_back("char " + std::to_string(c));
        };
        button->onPropertyChanged = [this](std::string_view n) {
            changed.emplace_back(n);
        };
        button->openMail = [this](HWND, const std::string& url) {
            log.push_back("mail " + url);
        };
        button->navigate = [this](HWND, const std::string& url) {
            log.push_back("go " + url);
        };
    }
    void TearDown() override {
        hostLog = nullptr;
        if (button != nullptr) {
            DestroyWindow(button->handle());
        }
    }

    LRESULT send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return SendMessageW(button->handle(), message, wParam, lParam);
    }
    // Everything logged since the last call.
    std::vector<std::string> events() { return std::exchange(log, {}); }
    void pointerAt(int x, int y) const {
        POINT p{x, y};
        ClientToScreen(button->handle(), &p);
        SetCursorPos(p.x, p.y);
    }
    // The button as WM_PRINTCLIENT paints it, as COLORREFs row by row.
    std::vector<COLORREF> render() const {
        BITMAPINFO info{{sizeof(BITMAPINFOHEADER), kWidth, -kHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0},
                        {}};
        void* bits = nullptr;
        HDC dc = CreateCompatibleDC(nullptr);
        HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        const HGDIOBJ old = SelectObject(dc, bitmap);
        send(WM_PRINTCLIENT, reinterpret_cast<WPARAM>(dc), PRF_CLIENT);
        GdiFlush();
        std::vector<COLORREF> pixels(kWidth * kHeight);
        const auto* source = static_cast<const std::uint32_t*>(bits);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            pixels[i] = RGB(source[i] >> 16 & 0xFF, source[i] >> 8 & 0xFF, source[i] & 0xFF);
        }
        SelectObject(dc, old);
        DeleteObject(bitmap);
        DeleteDC(dc);
        return pixels;
    }
    static COLORREF pixel(const std::vector<COLORREF>& image, int x, int y) {
        return image[static_cast<std::size_t>(y * kWidth + x)];
    }

    static constexpr int kWidth = 100;
    static constexpr int kHeight = 30;
    static inline HWND host = nullptr;
    QbkButton* button = nullptr;
    std::vector<std::string> log;
    std::vector<std::string> changed;
};

LPARAM at(int x, int y) {
    return MAKELPARAM(x, y);
}

TEST_F(QbkButtonTest, ALeftClickRaisesItsEventsInOrderAndOtherPressesDoNotClick) {
    button->setUrl("example.org");
    send(WM_LBUTTONDOWN, MK_LBUTTON, at(5, 5));
    EXPECT_TRUE(button->isPressed());
    EXPECT_EQ(GetCapture(), button->handle());
    send(WM_LBUTTONUP, 0, at(5, 5));
    EXPECT_EQ(events(), (std::vector<std::string>{"down 1", "click", "BN_CLICKED 42",
                                                  "go example.org", "up 1"}));
    EXPECT_EQ(GetCapture(), nullptr);

    send(WM_RBUTTONDOWN, MK_RBUTTON, at(5, 5));
    EXPECT_FALSE(button->isPressed());
    EXPECT_EQ(GetCapture(), nullptr);
    send(WM_RBUTTONUP, 0, at(5, 5));
    send(WM_LBUTTONDOWN, MK_LBUTTON, at(5, 5));
    send(WM_LBUTTONUP, 0, at(500, 5));
    EXPECT_EQ(events(), (std::vector<std::string>{"down 2", "up 2", "down 1", "up 1"}));

    button->setUrl("mailto:ops@example.org");
    send(WM_LBUTTONDBLCLK, MK_LBUTTON, at(5, 5));
    EXPECT_EQ(GetCapture(), button->handle()) << "a double click presses again";
    send(WM_LBUTTONUP, 0, at(5, 5));
    send(BM_CLICK);
    const std::vector<std::string> once{"down 1", "click", "BN_CLICKED 42",
                                        "mail mailto:ops@example.org", "up 1"};
    std::vector<std::string> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_EQ(events(), twice);
}

TEST_F(QbkButtonTest, HoveringShowsTheHoverPictureUntilThePointerLeaves) {
    const ButtonPicture red{1, 1, {0xFFFF0000}};
    const ButtonPicture blue{1, 1, {0xFF0000FF}};
    button->setPicture(red);
    button->setPictureHover(blue);
    pointerAt(50, 15);
    send(WM_MOUSEMOVE, 0, at(50, 15));
    send(WM_MOUSEMOVE, 0, at(51, 15));
    send(WM_TIMER, QbkButton::kOverTimer);
    EXPECT_EQ(events(), (std::vector<std::string>{"in", "move", "move"}));
    EXPECT_TRUE(button->isHovering());
    EXPECT_EQ(button->currentPicture(), blue);

    // Held and dragged off, the button shows raised until the pointer comes back.
    button->setButtonStyle(RaisedStyle);
    send(WM_LBUTTONDOWN, MK_LBUTTON, at(50, 15));
    EXPECT_EQ(pixel(render(), 0, 0), GetSysColor(COLOR_3DDKSHADOW)) << "sunken";
    pointerAt(-200, -50);
    send(WM_TIMER, QbkButton::kOverTimer);
    EXPECT_EQ(events(), (std::vector<std::string>{"down 1", "out"}));
    EXPECT_FALSE(button->isHovering());
    EXPECT_EQ(button->currentPicture(), red);
    EXPECT_EQ(pixel(render(), 1, 1), GetSysColor(COLOR_3DHILIGHT)) << "raised, inside the line";
}

TEST_F(QbkButtonTest, KeysAndTheAccessKeyClickAndADisabledButtonTakesNothing) {
    button->setCaption("&Apply");
    SetFocus(button->handle());
    EXPECT_TRUE(button->isFocused());
    send(WM_KEYDOWN, VK_SPACE);
    EXPECT_TRUE(button->isPressed());
    send(WM_CHAR, L' ');
    send(WM_KEYUP, VK_SPACE, 0xC0000001);
    send(WM_KEYDOWN, VK_RETURN);
    EXPECT_EQ(events(), (std::vector<std::string>{"key 32", "char 32", "click", "BN_CLICKED 42",
                                                  "key 13", "click", "BN_CLICKED 42"}));
    MSG enter{button->handle(), WM_KEYDOWN, VK_RETURN, 0, 0, {}};
    EXPECT_NE(send(WM_GETDLGCODE, VK_RETURN, reinterpret_cast<LPARAM>(&enter)) & DLGC_WANTMESSAGE,
              0);

    EXPECT_TRUE(button->matchesAccessKey(L'a'));
    EXPECT_FALSE(button->matchesAccessKey(L'p'));
    send(WM_SYSCHAR, L'a');
    MSG altA{GetFocus(), WM_SYSCHAR, L'A', 0, 0, {}};
    EXPECT_TRUE(IsDialogMessageW(host, &altA)) << "found by the dialog manager";
    EXPECT_EQ(events(), (std::vector<std::string>{"click", "BN_CLICKED 42", "down 1", "click",
                                                  "BN_CLICKED 42", "up 1"}));

    EnableWindow(button->handle(), FALSE);
    EXPECT_FALSE(button->properties().enabled());
    EXPECT_EQ(changed, (std::vector<std::string>{"Caption", "Enabled"}));
    send(BM_CLICK);
    send(WM_LBUTTONDOWN, MK_LBUTTON, at(5, 5));
    send(WM_LBUTTONUP, 0, at(5, 5));
    send(WM_KEYDOWN, VK_RETURN);
    button->click();
    EXPECT_TRUE(events().empty());
}

TEST_F(QbkButtonTest, PropertiesReachTheHostByNameAndOnlyChangesAreSavedAndLoaded) {
    EXPECT_EQ(button->properties().caption(), "cfgsvrOK");
    EXPECT_EQ(button->properties().font(), (ButtonFont{"Arial", 9}));
    SetWindowTextW(button->handle(), L"&Save \u00e9");
    HFONT bold = CreateFontW(-16, 0, 0, 0, FW_BOLD, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"Arial");
    send(WM_SETFONT, reinterpret_cast<WPARAM>(bold), TRUE);
    EXPECT_EQ(reinterpret_cast<HFONT>(send(WM_GETFONT)), bold);
    button->set("SoundOver", std::string("hover.wav"));
    button->setPicture({2, 1, {0xFFFF0000, 0xFF00FF00}});
    EXPECT_EQ(changed, (std::vector<std::string>{"Caption", "Font", "SoundOver", "Picture",
                                                 "OriginalPicSizeW", "OriginalPicSizeH"}));

    MemoryStore store;
    button->save(store);
    EXPECT_EQ(store.values.size(), 6u);
    EXPECT_EQ(store.values["Font"], "Arial,120,1,0,0,0");

    QbkButton* copy = QbkButton::create(host, 43, "cfgsvrOK", {10, 50, 110, 80});
    copy->onPropertyChanged = [this](std::string_view n) {
        changed.emplace_back(n);
    };
    changed.clear();
    copy->load(store);
    EXPECT_TRUE(changed.empty());
    for (int i = 0; i < kButtonPropertyCount; ++i) {
        EXPECT_EQ(copy->properties().value(ButtonProperty(i)),
                  button->properties().value(ButtonProperty(i)));
    }
    wchar_t text[32]{};
    GetWindowTextW(copy->handle(), text, 32);
    EXPECT_EQ(utf8FromWide(text), "&Save \u00e9");
    DestroyWindow(copy->handle());
    DeleteObject(bold);
}

TEST_F(QbkButtonTest, PaintsFaceFramePictureAndCaptionByStyleAndState) {
    constexpr COLORREF face = RGB(200, 210, 220);
    button->set(ButtonProperty::BackColor, ColorValue{face});
    button->setCaption("");
    button->setButtonStyle(PlainStyle);
    for (const COLORREF p : render()) {
        ASSERT_EQ(p, face) << "no frame at all";
    }
    button->set(ButtonProperty::TransparentBg, true);
    EXPECT_EQ(pixel(render(), 0, 0), kHostBackground) << "the parent shows through";
    button->set(ButtonProperty::TransparentBg, false);

    button->setButtonStyle(RaisedStyle);
    std::vector<COLORREF> image = render();
    EXPECT_EQ(pixel(image, 0, 0), GetSysColor(COLOR_3DHILIGHT));
    EXPECT_EQ(pixel(image, kWidth - 1, kHeight - 1), GetSysColor(COLOR_3DDKSHADOW));

    // The dotted focus rectangle: drawn by every style but the XP look.
    SetFocus(button->handle());
    for (const std::int16_t style : {PlainStyle, XpStyle}) {
        button->setButtonStyle(style);
        button->set(ButtonProperty::ShowFocusRect, true);
        image = render();
        button->set(ButtonProperty::ShowFocusRect, false);
        EXPECT_EQ(image != render(), style != XpStyle) << style;
    }

    // A picture masked by MaskColor and greyed when disabled; a grey caption when disabled.
    button->setButtonStyle(PlainStyle);
    button->set(ButtonProperty::MaskColor, ColorValue{RGB(0, 255, 0)});
    button->setPicture({2, 1, {0xFFFF0000, 0xFF00FF00}});
    button->set(ButtonProperty::PictureWidth, std::int16_t{20});
    button->set(ButtonProperty::PictureHeight, std::int16_t{10});
    image = render();
    EXPECT_EQ(pixel(image, 45, 15), RGB(255, 0, 0));
    EXPECT_EQ(pixel(image, 55, 15), face) << "masked";
    EnableWindow(button->handle(), FALSE);
    image = render();
    const COLORREF greyed = pixel(image, 45, 15);
    EXPECT_LT(std::abs(GetRValue(greyed) - GetBValue(greyed)), 20) << std::hex << greyed;
    EXPECT_EQ(pixel(image, 55, 15), face);

    button->setPicture({});
    button->setCaption("WWW");
    const auto count = [this](COLORREF color) {
        const std::vector<COLORREF> pixels = render();
        return std::count(pixels.begin(), pixels.end(), color);
    };
    EXPECT_EQ(count(GetSysColor(COLOR_BTNTEXT)), 0);
    EXPECT_GT(count(GetSysColor(COLOR_GRAYTEXT)), 0);
    EnableWindow(button->handle(), TRUE);
    EXPECT_GT(count(GetSysColor(COLOR_BTNTEXT)), 0);
}

} // namespace
