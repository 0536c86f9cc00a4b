// The painted button's settings, whatever toolkit draws it: the property set with its names,
// types and defaults, the values as the host set them, and their saving and loading under
// those names, a value equal to its default left unwritten. The Qt and the Win32 buttons
// keep one of these each and draw from it.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace cvl {

// The saved properties, in the order they are saved.
enum class ButtonProperty {
    Caption,
    PicturePosition,
    ButtonStyle,
    Picture,
    PictureWidth,
    PictureHeight,
    PictureSize,
    OriginalPicSizeW,
    OriginalPicSizeH,
    PictureHover,
    Enabled,
    Font,
    MouseIcon,
    MousePointer,
    ShowFocusRect,
    Url,
    XpColorPressed,
    XpColorHover,
    XpDefaultColors,
    BackColor,
    ForeColor,
    SoundOver,
    SoundClick,
    DefCurHand,
    XpShowBorderAlways,
    MaskColor,
    TransparentBg,
    Bevel,
    BevelDepth,
};
inline constexpr int kButtonPropertyCount = static_cast<int>(ButtonProperty::BevelDepth) + 1;

enum ButtonStyle : std::int16_t {
    RaisedStyle = 0,  // raised, sunken while pressed
    HoverStyle = 1,   // flat until the pointer is over it
    OutlineStyle = 2, // a plain rectangle while hovered or pressed
    XpStyle = 3,      // rounded and shaded
    PlainStyle = 4,   // no frame at all
};

// The picture's place relative to the caption. PictureSize 0 draws it at its original size
// (OriginalPicSizeW x OriginalPicSizeH), any other value at PictureWidth x PictureHeight.
enum PicturePosition : std::int16_t { Above = 0, LeftOf = 1, RightOf = 2, Below = 3, Behind = 4 };

// A colour as saved: 0x00BBGGRR, or 0x800000nn for the system's colour nn (0x0F button face,
// 0x10 shadow, 0x12 button text, 0x14 highlight, 0x15 dark shadow, 0x16 light, ...), which
// follows the desktop's scheme.
using ColorValue = std::uint32_t;
inline constexpr ColorValue kSystemColor = 0x80000000;
inline constexpr ColorValue kButtonShadow = kSystemColor | 0x10;
inline constexpr ColorValue kHighlight3d = kSystemColor | 0x14;
inline constexpr ColorValue kDarkShadow3d = kSystemColor | 0x15;
[[nodiscard]] constexpr bool isSystemColor(ColorValue value) {
    return (value & kSystemColor) != 0;
}

// A picture as the button keeps it: rows from the top, 0xAARRGGBB per pixel.
struct ButtonPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;
    [[nodiscard]] bool empty() const { return width <= 0 || height <= 0; }
    friend bool operator==(const ButtonPicture&, const ButtonPicture&) = default;
};

struct ButtonFont {
    std::string family;
    double points = 0;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strikeOut = false;
    friend bool operator==(const ButtonFont&, const ButtonFont&) = default;
};

using ButtonValue =
    std::variant<std::string, std::int16_t, bool, ColorValue, ButtonPicture, ButtonFont>;

// Where a host keeps a button's settings (a settings file, a form description), as text.
class ButtonPropertyStore {
public:
    virtual ~ButtonPropertyStore() = default;
    [[nodiscard]] virtual std::optional<std::string> read(std::string_view name) const = 0;
    virtual void write(std::string_view name, const std::string& value) = 0;
};

class ButtonProperties final {
public:
    // Defaults with no host yet: no caption, no font family.
    ButtonProperties();

    [[nodiscard]] static std::string_view name(ButtonProperty property);
    [[nodiscard]] static std::optional<ButtonProperty> named(std::string_view name);

    // A newly placed button: every default, the caption the host's name for it and the
    // host's font. Both are also the defaults saving compares with.
    void initProperties(const std::string& hostName, const ButtonFont& hostFont);
    // Everything from store, the default where it has nothing readable. No change reports.
    void load(const ButtonPropertyStore& store);
    void save(ButtonPropertyStore& store) const;

    [[nodiscard]] const ButtonValue& value(ButtonProperty property) const {
        return values_[index(property)];
    }
    [[nodiscard]] ButtonValue defaultValue(ButtonProperty property) const;
    // Stores a value of the property's type (a number of any width is taken for a 16-bit
    // one, limited to its range) and reports the change; false for a value of another type.
    // A new Picture also records its size as OriginalPicSizeW/H.
    bool set(ButtonProperty property, const ButtonValue& value);
    // Reports every change, by property, after it is made.
    std::function<void(ButtonProperty)> onChanged;

    [[nodiscard]] const std::string& text(ButtonProperty p) const;
    [[nodiscard]] std::int16_t number(ButtonProperty p) const;
    [[nodiscard]] bool flag(ButtonProperty p) const;
    [[nodiscard]] ColorValue color(ButtonProperty p) const;
    [[nodiscard]] const ButtonPicture& picture(ButtonProperty p) const;
    [[nodiscard]] const ButtonFont& font() const;

    [[nodiscard]] const std::string& caption() const { return text(ButtonProperty::Caption); }
    [[nodiscard]] std::int16_t style() const { return number(ButtonProperty::ButtonStyle); }
    [[nodiscard]] bool enabled() const { return flag(ButtonProperty::Enabled); }
    // The picture drawn: PictureHover while hovering, when there is one.
    [[nodiscard]] const ButtonPicture& shownPicture(bool hovering) const;
    // The size the shown picture is drawn at, by PictureSize; 0 x 0 without a picture.
    [[nodiscard]] std::pair<int, int> pictureDrawSize(bool hovering) const;

    // Not saved.
    std::string version;

private:
    static std::size_t index(ButtonProperty p) { return static_cast<std::size_t>(p); }
    void assign(ButtonProperty p, ButtonValue value);

    std::array<ButtonValue, kButtonPropertyCount> values_;
    std::string hostName_;
    ButtonFont hostFont_;
};

// The text a value is saved as, and back; nullopt for text that is not a value of the
// property's type.
[[nodiscard]] std::string savedText(const ButtonValue& value);
[[nodiscard]] std::optional<ButtonValue> parseSaved(ButtonProperty property, std::string_view text);

} // namespace cvl
