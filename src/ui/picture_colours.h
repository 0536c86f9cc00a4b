// The colours of the program's painted pictures, whichever toolkit paints them: the clock of
// the window, tray and activity indicator, the tray's unsynchronised mark, the traffic lamps
// and the flags of the reference-server list. Both desktops draw from this one table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace cvl {

struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

namespace colours {
inline constexpr Rgb kClockFace{0xF4, 0xF7, 0xFB};
inline constexpr Rgb kClockRing{0x1F, 0x5F, 0xAD};
inline constexpr Rgb kIdleFace{0xE6, 0xEA, 0xEF};
inline constexpr Rgb kIdleRing{0x70, 0x78, 0x82};
inline constexpr Rgb kBusyFace{0xFF, 0xF4, 0xD6};
inline constexpr Rgb kBusyRing{0xD9, 0x8E, 0x04};
inline constexpr Rgb kUnsynchronisedMark{0xD0, 0x21, 0x21};
} // namespace colours

// The lamps in the order of Lamp: data in, data out, TCP, UDP.
struct LampLook {
    const char* label;
    Rgb colour;
};
inline constexpr std::array<LampLook, 4> kLampLooks{{{"IN", {0x2E, 0xA0, 0x43}},
                                                     {"OUT", {0x1F, 0x6F, 0xEB}},
                                                     {"TCP", {0xD9, 0x8E, 0x04}},
                                                     {"UDP", {0x8B, 0x3F, 0xD9}}}};

// A flag as bands of colour, across or down, with perhaps a square in the upper corner.
struct FlagLook {
    bool vertical = false;
    std::array<Rgb, 7> bands{};
    std::size_t bandCount = 0;
    bool hasCanton = false;
    Rgb canton{};
};

namespace flag_detail {
inline constexpr Rgb red{0xC8, 0x10, 0x2E}, white{0xFF, 0xFF, 0xFF}, blue{0x00, 0x38, 0x93},
    green{0x00, 0x7A, 0x3D}, yellow{0xFC, 0xD1, 0x16}, black{0x00, 0x00, 0x00},
    orange{0xFF, 0x99, 0x33}, sky{0x4F, 0x9B, 0xD9};
template <std::size_t N> constexpr FlagLook flag(bool vertical, const Rgb (&bands)[N]) {
    FlagLook look;
    look.vertical = vertical;
    for (std::size_t i = 0; i < N; ++i) {
        look.bands[i] = bands[i];
    }
    look.bandCount = N;
    return look;
}
template <std::size_t N> constexpr FlagLook flag(bool vertical, const Rgb (&bands)[N], Rgb canton) {
    FlagLook look = flag(vertical, bands);
    look.hasCanton = true;
    look.canton = canton;
    return look;
}
} // namespace flag_detail

// By the image number of the server file; 2 is the world, shown for any number not here.
inline constexpr std::size_t kWorldFlag = 2;
inline constexpr std::array<FlagLook, 24> kFlagLooks = [] {
    using namespace flag_detail;
    return std::array<FlagLook, 24>{{
        flag(false, {red, white, red, white, red, white, red}, blue), // 0 USA
        flag(true, {red, white, red}),                                // 1 Canada
        flag(false, {sky}),                                           // 2 world
        flag(true, {green, white, red}),                              // 3 Mexico
        flag(false, {green, yellow, green}),                          // 4 Brazil
        flag(false, {white, red}, blue),                              // 5 Chile
        flag(false, {yellow, yellow, blue, red}),                     // 6 Colombia
        flag(false, {blue, white, red, white, blue}),                 // 7 United Kingdom
        flag(false, {black, red, yellow}),                            // 8 Germany
        flag(false, {red, yellow, yellow, red}),                      // 9 Spain
        flag(true, {green, white, red}),                              // 10 Italy
        flag(true, {blue, white, red}),                               // 11 France
        flag(false, {red, white, green, white, blue}),                // 12 South Africa
        flag(false, {black, white, red, white, green}),               // 13 Kenya
        flag(false, {red, white, black}),                             // 14 Egypt
        flag(false, {white, blue, red}),                              // 15 Russia
        flag(false, {red, white}),                                    // 16 Indonesia
        flag(false, {orange, white, green}),                          // 17 India
        flag(false, {red, white, blue, blue, white, red}),            // 18 Thailand
        flag(false, {red}, yellow),                                   // 19 China
        flag(false, {green}, red),                                    // 20 Bangladesh
        flag(false, {blue}, red),                                     // 21 Australia
        flag(false, {white}, red),                                    // 22 Japan
        flag(false, {blue}, red),                                     // 23 New Zealand
    }};
}();

[[nodiscard]] constexpr const FlagLook& flagLook(int index) {
    return index >= 0 && index < int(kFlagLooks.size()) ? kFlagLooks[std::size_t(index)]
                                                        : kFlagLooks[kWorldFlag];
}

} // namespace cvl
