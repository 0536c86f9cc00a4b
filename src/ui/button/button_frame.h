// Which frame the painted button draws for each style and state, how far in the frame
// reaches, where the picture and the caption go, and what a click's link opens. Every
// toolkit's painter follows this plan and only chooses the pixels.
#pragma once

#include "ui/button/button_behaviour.h"

#include <string_view>

namespace cvl {

struct ButtonBox {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    [[nodiscard]] bool empty() const { return width <= 0 || height <= 0; }
    [[nodiscard]] ButtonBox inset(int by) const {
        return {left + by, top + by, width - 2 * by, height - 2 * by};
    }
    friend bool operator==(const ButtonBox&, const ButtonBox&) = default;
};

enum class FrameKind {
    None,
    Raised,  // light top and left, dark bottom and right
    Sunken,  // the other way round
    Outline, // one rectangle in the caption's colour
    Xp,      // rounded and shaded, in the look's state
};

// What decides the frame.
struct FrameInputs {
    int style = 2;
    ButtonLookState state = ButtonLookState::Normal;
    bool designMode = false;
    bool isDefault = false;
    bool focused = false;
    bool showFocusRect = true;
    bool borderAlways = false;
    int bevel = 1;
    int bevelDepth = 8;
};

struct FramePlan {
    FrameKind kind = FrameKind::None;
    ButtonLookState xpState = ButtonLookState::Normal;
    // A dark line round the whole button, inside which the frame is drawn: the host's
    // default button, and a focused raised button.
    bool outerLine = false;
    // Raised and sunken frames painted as a bevel this many pixels deep; 0 for single lines.
    int bevelDepth = 0;
    bool focusRect = false;
    // The XP look shows focus in its shading, not with a dotted rectangle.
    bool xpFocused = false;
    // Picture and caption move a pixel down and right, as if pushed in.
    bool contentPushed = false;
    // How far in the frame reaches, the same in every state so that nothing moves when the
    // frame comes and goes; the focus rectangle lies just inside it.
    int inset = 1;
};

[[nodiscard]] FramePlan planFrame(const FrameInputs& in);

// The room inside the frame for picture and caption, for a style's inset.
[[nodiscard]] int contentInset(int style, int bevel, int bevelDepth);

struct ButtonPlacement {
    ButtonBox picture;
    ButtonBox text;
};
// Picture and caption centred in area as a group, the picture where position says.
[[nodiscard]] ButtonPlacement placeContent(const ButtonBox& area, int pictureWidth,
                                           int pictureHeight, int textWidth, int textHeight,
                                           int position);
// The size of that group, for a toolkit's size hint.
[[nodiscard]] ButtonBox contentSize(int pictureWidth, int pictureHeight, int textWidth,
                                    int textHeight, int position);

// A click opens the button's URL: "mailto:" (exactly, case and all) in the mail program,
// anything else in the browser, nothing when it is empty.
enum class LinkAction { None, Mail, Navigate };
[[nodiscard]] LinkAction linkAction(std::string_view url);

} // namespace cvl
