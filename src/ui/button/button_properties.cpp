#include "ui/button/button_properties.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace cvl {

namespace {

enum class Kind { Text, Int16, Bool, Color, Picture, Font };

struct PropertyInfo {
    std::string_view name;
    Kind kind;
    std::uint32_t number; // the default of numbers, flags and colours
    std::string_view text;
};

// Indexed by ButtonProperty, so in save order.
constexpr std::array<PropertyInfo, kButtonPropertyCount> kProperties{{
    {"Caption", Kind::Text, 0, ""},
    {"PicturePosition", Kind::Int16, 1, {}},
    {"ButtonStyle", Kind::Int16, 2, {}},
    {"Picture", Kind::Picture, 0, {}},
    {"PictureWidth", Kind::Int16, 32, {}},
    {"PictureHeight", Kind::Int16, 32, {}},
    {"PictureSize", Kind::Int16, 1, {}},
    {"OriginalPicSizeW", Kind::Int16, 32, {}},
    {"OriginalPicSizeH", Kind::Int16, 32, {}},
    {"PictureHover", Kind::Picture, 0, {}},
    {"Enabled", Kind::Bool, 1, {}},
    {"Font", Kind::Font, 0, {}},
    {"MouseIcon", Kind::Picture, 0, {}},
    {"MousePointer", Kind::Int16, 0, {}},
    {"ShowFocusRect", Kind::Bool, 1, {}},
    {"URL", Kind::Text, 0, ""},
    {"XPColor_Pressed", Kind::Color, 0x80000014, {}},
    {"XPColor_Hover", Kind::Color, 0x80000016, {}},
    {"XPDefaultColors", Kind::Bool, 1, {}},
    {"BackColor", Kind::Color, 0x8000000F, {}},
    {"ForeColor", Kind::Color, 0x80000012, {}},
    {"SoundOver", Kind::Text, 0, ".\\resources\\over.wav"},
    {"SoundClick", Kind::Text, 0, ".\\resources\\click.wav"},
    {"DefCurHand", Kind::Bool, 1, {}},
    {"XPShowBorderAlways", Kind::Bool, 0, {}},
    {"MaskColor", Kind::Color, 0, {}},
    {"TransparentBG", Kind::Bool, 0, {}},
    {"BEVEL", Kind::Int16, 1, {}},
    {"BEVELDEPTH", Kind::Int16, 8, {}},
}};

const PropertyInfo& info(ButtonProperty p) {
    return kProperties[static_cast<std::size_t>(p)];
}

// The variant's alternative for each kind, in the order of Kind.
std::size_t alternative(Kind kind) {
    return static_cast<std::size_t>(kind);
}

std::int16_t clampToInt16(long long n) {
    return static_cast<std::int16_t>(std::clamp<long long>(n, -32768, 32767));
}

// The whole text as a whole number, or nothing.
std::optional<long long> wholeNumber(std::string_view text) {
    long long n = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, n);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return n;
}

std::optional<ButtonPicture> parsePicture(std::string_view text) {
    // "width,height," then eight hex digits a pixel.
    ButtonPicture picture;
    const std::size_t comma1 = text.find(',');
    const std::size_t comma2 =
        comma1 == std::string_view::npos ? comma1 : text.find(',', comma1 + 1);
    if (comma2 == std::string_view::npos) {
        return text.empty() ? std::optional<ButtonPicture>(picture) : std::nullopt;
    }
    const auto w = wholeNumber(text.substr(0, comma1));
    const auto h = wholeNumber(text.substr(comma1 + 1, comma2 - comma1 - 1));
    if (!w || !h || *w < 0 || *h < 0 || *w > 4096 || *h > 4096) {
        return std::nullopt;
    }
    const std::string_view hex = text.substr(comma2 + 1);
    const auto count = static_cast<std::size_t>(*w * *h);
    if (hex.size() != count * 8) {
        return std::nullopt;
    }
    picture.width = static_cast<int>(*w);
    picture.height = static_cast<int>(*h);
    picture.pixels.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const char* begin = hex.data() + i * 8;
        const auto [stop, error] = std::from_chars(begin, begin + 8, picture.pixels[i], 16);
        if (error != std::errc() || stop != begin + 8) {
            return std::nullopt;
        }
    }
    return picture;
}

std::optional<ButtonFont> parseFont(std::string_view text) {
    // "family,points,bold,italic,underline,strikeout"; the family may hold no comma.
    std::vector<std::string_view> fields;
    for (std::size_t start = 0;;) {
        const std::size_t comma = text.find(',', start);
        fields.push_back(text.substr(start, comma - start));
        if (comma == std::string_view::npos) {
            break;
        }
        start = comma + 1;
    }
    if (fields.size() != 6) {
        return std::nullopt;
    }
    ButtonFont font;
    font.family = std::string(fields[0]);
    const auto tenths = wholeNumber(fields[1]);
    if (!tenths || *tenths <= 0 || *tenths > 10000) {
        return std::nullopt;
    }
    font.points = static_cast<double>(*tenths) / 10;
    std::array<bool*, 4> flags{&font.bold, &font.italic, &font.underline, &font.strikeOut};
    for (std::size_t i = 0; i < flags.size(); ++i) {
        const auto n = wholeNumber(fields[i + 2]);
        if (!n) {
            return std::nullopt;
        }
        *flags[i] = *n != 0;
    }
    return font;
}

} // namespace

ButtonProperties::ButtonProperties() {
    for (int i = 0; i < kButtonPropertyCount; ++i) {
        values_[static_cast<std::size_t>(i)] = defaultValue(ButtonProperty(i));
    }
}

std::string_view ButtonProperties::name(ButtonProperty property) {
    return info(property).name;
}

std::optional<ButtonProperty> ButtonProperties::named(std::string_view name) {
    for (int i = 0; i < kButtonPropertyCount; ++i) {
        if (kProperties[static_cast<std::size_t>(i)].name == name) {
            return ButtonProperty(i);
        }
    }
    return std::nullopt;
}

ButtonValue ButtonProperties::defaultValue(ButtonProperty p) const {
    const PropertyInfo& i = info(p);
    switch (i.kind) {
    case Kind::Text:
        return p == ButtonProperty::Caption ? hostName_ : std::string(i.text);
    case Kind::Int16:
        return static_cast<std::int16_t>(i.number);
    case Kind::Bool:
        return i.number != 0;
    case Kind::Color:
        return ColorValue{i.number};
    case Kind::Picture:
        return ButtonPicture{};
    case Kind::Font:
        return hostFont_;
    }
    return {};
}

void ButtonProperties::initProperties(const std::string& hostName, const ButtonFont& hostFont) {
    hostName_ = hostName;
    hostFont_ = hostFont;
    for (int i = 0; i < kButtonPropertyCount; ++i) {
        assign(ButtonProperty(i), defaultValue(ButtonProperty(i)));
    }
}

void ButtonProperties::load(const ButtonPropertyStore& store) {
    for (int i = 0; i < kButtonPropertyCount; ++i) {
        const auto p = ButtonProperty(i);
        std::optional<ButtonValue> loaded;
        if (const std::optional<std::string> saved = store.read(name(p))) {
            loaded = parseSaved(p, *saved);
        }
        assign(p, loaded ? std::move(*loaded) : defaultValue(p));
    }
}

void ButtonProperties::save(ButtonPropertyStore& store) const {
    for (int i = 0; i < kButtonPropertyCount; ++i) {
        const auto p = ButtonProperty(i);
        if (value(p) != defaultValue(p)) {
            store.write(name(p), savedText(value(p)));
        }
    }
}

bool ButtonProperties::set(ButtonProperty p, const ButtonValue& given) {
    const Kind kind = info(p).kind;
    ButtonValue value = given;
    // A number of another width, for a 16-bit property.
    if (kind == Kind::Int16 && std::holds_alternative<ColorValue>(given)) {
        value = clampToInt16(std::get<ColorValue>(given));
    }
    if (value.index() != alternative(kind)) {
        return false;
    }
    if (value == values_[index(p)]) {
        return true;
    }
    assign(p, std::move(value));
    if (onChanged) {
        onChanged(p);
    }
    if (p == ButtonProperty::Picture) {
        const ButtonPicture& shown = picture(ButtonProperty::Picture);
        if (!shown.empty()) {
            set(ButtonProperty::OriginalPicSizeW, clampToInt16(shown.width));
            set(ButtonProperty::OriginalPicSizeH, clampToInt16(shown.height));
        }
    }
    return true;
}

void ButtonProperties::assign(ButtonProperty p, ButtonValue value) {
    values_[index(p)] = std::move(value);
}

const std::string& ButtonProperties::text(ButtonProperty p) const {
    return std::get<std::string>(value(p));
}

std::int16_t ButtonProperties::number(ButtonProperty p) const {
    return std::get<std::int16_t>(value(p));
}

bool ButtonProperties::flag(ButtonProperty p) const {
    return std::get<bool>(value(p));
}

ColorValue ButtonProperties::color(ButtonProperty p) const {
    return std::get<ColorValue>(value(p));
}

const ButtonPicture& ButtonProperties::picture(ButtonProperty p) const {
    return std::get<ButtonPicture>(value(p));
}

const ButtonFont& ButtonProperties::font() const {
    return std::get<ButtonFont>(value(ButtonProperty::Font));
}

const ButtonPicture& ButtonProperties::shownPicture(bool hovering) const {
    const ButtonPicture& hover = picture(ButtonProperty::PictureHover);
    return hovering && !hover.empty() ? hover : picture(ButtonProperty::Picture);
}

std::pair<int, int> ButtonProperties::pictureDrawSize(bool hovering) const {
    if (shownPicture(hovering).empty()) {
        return {0, 0};
    }
    if (number(ButtonProperty::PictureSize) == 0) {
        return {number(ButtonProperty::OriginalPicSizeW), number(ButtonProperty::OriginalPicSizeH)};
    }
    return {number(ButtonProperty::PictureWidth), number(ButtonProperty::PictureHeight)};
}

std::string savedText(const ButtonValue& value) {
    struct Writer {
        std::string operator()(const std::string& text) const { return text; }
        std::string operator()(std::int16_t n) const { return std::to_string(n); }
        // The program's Booleans: True is -1.
        std::string operator()(bool on) const { return on ? "-1" : "0"; }
        std::string operator()(ColorValue color) const { return std::to_string(color); }
        std::string operator()(const ButtonPicture& picture) const {
            if (picture.empty()) {
                return {};
            }
            std::string text =
                std::to_string(picture.width) + "," + std::to_string(picture.height) + ",";
            char hex[9];
            for (const std::uint32_t pixel : picture.pixels) {
                std::snprintf(hex, sizeof hex, "%08x", static_cast<unsigned>(pixel));
                text += hex;
            }
            return text;
        }
        std::string operator()(const ButtonFont& font) const {
            return font.family + "," + std::to_string(static_cast<long>(font.points * 10 + 0.5)) +
                   "," + (font.bold ? "1" : "0") + "," + (font.italic ? "1" : "0") + "," +
                   (font.underline ? "1" : "0") + "," + (font.strikeOut ? "1" : "0");
        }
    };
    return std::visit(Writer{}, value);
}

std::optional<ButtonValue> parseSaved(ButtonProperty property, std::string_view text) {
    switch (info(property).kind) {
    case Kind::Text:
        return std::string(text);
    case Kind::Int16:
        if (const auto n = wholeNumber(text)) {
            return clampToInt16(*n);
        }
        return std::nullopt;
    case Kind::Bool:
        if (text == "True" || text == "true") {
            return true;
        }
        if (text == "False" || text == "false") {
            return false;
        }
        if (const auto n = wholeNumber(text)) {
            return *n != 0;
        }
        return std::nullopt;
    case Kind::Color:
        // A store that keeps numbers signed hands 0x8... back negative.
        if (const auto n = wholeNumber(text); n && *n >= -2147483648LL && *n <= 0xFFFFFFFFLL) {
            return static_cast<ColorValue>(static_cast<std::uint32_t>(*n));
        }
        return std::nullopt;
    case Kind::Picture:
        if (auto picture = parsePicture(text)) {
            return std::move(*picture);
        }
        return std::nullopt;
    case Kind::Font:
        if (auto font = parseFont(text)) {
            return std::move(*font);
        }
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace cvl
