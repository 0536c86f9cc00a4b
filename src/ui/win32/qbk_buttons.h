// The program's own painted push button on the Windows desktop: window class "QBKButtons",
// painted with GDI. Its settings, its answers to mouse and keys and its frame plan are the shared
// button rules (ui/button); this class delivers window messages to them and paints what they say.
//
// The window owns its QbkButton: create() hands out a pointer that stays valid until the window
// is destroyed (WM_NCDESTROY deletes it), so a host never frees it and a dialog that closes from
// a Click handler leaves nothing dangling.
//
// To the host it behaves like a push button: a click also sends WM_COMMAND/BN_CLICKED with its
// id, BM_CLICK presses and releases it, BM_SETSTYLE with BS_DEFPUSHBUTTON marks it as the
// default button, and its window text is the caption. The access key ("&x" in the caption) is
// therefore found by IsDialogMessage like any button's, and the button answers Alt+x itself
// while it has the focus; a host without IsDialogMessage asks matchesAccessKey() from its own
// WM_SYSCHAR/WM_MENUCHAR and calls click().
//
// Sizes follow the window's DPI: lines are round(dpi / 96) pixels and pictures are scaled from
// 96 DPI. The font is the one the host sends with WM_SETFONT (kept, not owned); a host that
// recreates its font on WM_DPICHANGED sends it again. A Font property set by the program itself
// is made at the window's DPI.
#pragma once

#include "ui/button/button_behaviour.h"
#include "ui/button/button_frame.h"
#include "ui/button/button_properties.h"

#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace cvl {

// Mouse buttons and shift states as the button's events give them: 1 left, 2 right, 4 middle;
// 1 Shift, 2 Ctrl, 4 Alt.
inline constexpr int kLeftMouse = 1;
inline constexpr int kRightMouse = 2;
inline constexpr int kMiddleMouse = 4;
inline constexpr int kShiftMask = 1;
inline constexpr int kCtrlMask = 2;
inline constexpr int kAltMask = 4;

class QbkButton final {
public:
    static constexpr const wchar_t* kClassName = L"QBKButtons";
    static constexpr UINT_PTR kOverTimer = 1; // the hover check, while the pointer is over it

    // A newly placed button, visible, a tab stop, with its properties initialised (caption: name;
    // font: the parent's). nullptr if the window could not be made.
    [[nodiscard]] static QbkButton* create(HWND parent, int id, std::string_view name,
                                           const RECT& bounds);
    // The button of a QBKButtons window; nullptr for any other window.
    [[nodiscard]] static QbkButton* fromHandle(HWND window);

    QbkButton(const QbkButton&) = delete;
    QbkButton& operator=(const QbkButton&) = delete;

    [[nodiscard]] HWND handle() const { return window_; }
    [[nodiscard]] int id() const { return GetDlgCtrlID(window_); }
    [[nodiscard]] const std::string& name() const { return name_; }

    // Every default again, the caption the name and the parent's font. Not for a button about to
    // be loaded.
    void initProperties();
    void save(ButtonPropertyStore& store) const { properties_.save(store); }
    // Every property from store, defaults where it has none, without onPropertyChanged.
    void load(const ButtonPropertyStore& store);

    [[nodiscard]] const ButtonProperties& properties() const { return properties_; }
    // Stores a value of the property's type; onPropertyChanged reports a change. False for a
    // value of another type (or, by name, an unknown name).
    bool set(ButtonProperty property, const ButtonValue& value);
    bool set(std::string_view name, const ButtonValue& value);
    void setCaption(std::string_view utf8) { set(ButtonProperty::Caption, std::string(utf8)); }
    void setButtonStyle(std::int16_t style) { set(ButtonProperty::ButtonStyle, style); }
    void setUrl(std::string_view url) { set(ButtonProperty::Url, std::string(url)); }
    // Also records the picture's size as OriginalPicSizeW/H.
    void setPicture(const ButtonPicture& picture) { set(ButtonProperty::Picture, picture); }
    void setPictureHover(const ButtonPicture& picture) {
        set(ButtonProperty::PictureHover, picture);
    }

    // A saved colour as the desktop shows it now.
    [[nodiscard]] static COLORREF resolveColor(ColorValue value);

    // The host's default button gets a dark outer line; not saved.
    [[nodiscard]] bool isDefault() const { return default_; }
    void setDefault(bool on);

    [[nodiscard]] bool isPressed() const { return behaviour_.pressed(); }
    [[nodiscard]] bool isHovering() const { return behaviour_.hovering(); }
    [[nodiscard]] bool isFocused() const { return behaviour_.focused(); }
    [[nodiscard]] const ButtonPicture& currentPicture() const {
        return properties_.shownPicture(behaviour_.hovering());
    }

    // Whether key is the caption's access key, in either case.
    [[nodiscard]] bool matchesAccessKey(wchar_t key) const;
    // Click, BN_CLICKED and the link, as a click with the mouse; nothing while disabled.
    void click();
    // Opens URL: a "mailto:" link through openMail, anything else through navigate.
    void GoToURL();
    void Refresh() { InvalidateRect(window_, nullptr, FALSE); }
    // The size that shows picture and caption with the usual margins, at the window's DPI.
    [[nodiscard]] SIZE preferredSize() const;

    // Events. A click raises onClick, then BN_CLICKED, then opens the link, all before onMouseUp.
    std::function<void()> onClick;
    std::function<void(int key, int shift)> onKeyDown;
    std::function<void(wchar_t character)> onKeyPress;
    std::function<void(int key, int shift)> onKeyUp;
    // The button that went down or up; for onMouseMove the buttons held.
    std::function<void(int button, int shift, int x, int y)> onMouseDown;
    std::function<void(int buttons, int shift, int x, int y)> onMouseMove;
    std::function<void(int button, int shift, int x, int y)> onMouseUp;
    std::function<void(int shift)> onMouseIn;
    std::function<void(int shift)> onMouseOut;
    std::function<void(std::string_view name)> onPropertyChanged;

    // Where links go; both open the address with the shell, owned by the button's form.
    std::function<void(HWND form, const std::string& url)> openMail;
    std::function<void(HWND form, const std::string& url)> navigate;

private:
    explicit QbkButton(std::string_view name);
    ~QbkButton();
    friend struct std::default_delete<QbkButton>; // only until the window takes it

    static LRESULT CALLBACK windowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam);

    void apply(ButtonProperty property);
    void applyAll();
    // Carries out what the rules asked; false when a handler destroyed the button.
    bool react(const ButtonReaction& reaction);
    void remember(int button, int shift, LPARAM at);
    [[nodiscard]] bool inside(POINT at) const;
    void mouseDown(int button, LPARAM at);
    void mouseUp(int button, LPARAM at);
    void mouseMove(WPARAM keys, LPARAM at);
    void key(bool down, WPARAM virtualKey, LPARAM flags);
    void releaseMouse();
    [[nodiscard]] bool pointerOverButton() const;
    [[nodiscard]] UINT dpi() const;
    [[nodiscard]] ButtonFont parentFont() const;
    [[nodiscard]] HFONT drawingFont() const;
    [[nodiscard]] HCURSOR cursor() const;
    void paint(HDC target) const;
    void paintOn(HDC dc, const RECT& client) const;
    void paintBackground(HDC dc, const RECT& client) const;
    void paintPicture(HDC dc, const ButtonBox& box, COLORREF face) const;

    HWND window_ = nullptr;
    std::string name_;
    ButtonProperties properties_;
    ButtonBehaviour behaviour_;
    bool default_ = false;
    bool syncing_ = false;  // mirroring the window's own state into the properties
    bool captured_ = false; // the mouse is ours while a button is held
    int lastButton_ = 0;
    int lastShift_ = 0;
    POINT lastPosition_{};
    // The host's font (WM_SETFONT) and the ButtonFont it stands for.
    HFONT hostFont_ = nullptr;
    ButtonFont hostFontValue_;
    // The Font property made at dpi ownFontDpi_, when it is not the host's.
    mutable HFONT ownFont_ = nullptr;
    mutable ButtonFont ownFontValue_;
    mutable UINT ownFontDpi_ = 0;
    HCURSOR iconCursor_ = nullptr; // MousePointer 99 with a MouseIcon
    // Expires with the button, so that code after a handler can tell it was destroyed.
    std::shared_ptr<int> life_ = std::make_shared<int>();
};

} // namespace cvl
