#include "ui/button/button_frame.h"

#include "ui/button/button_properties.h"

#include <algorithm>

namespace cvl {

namespace {

constexpr int kGap = 4; // between picture and caption

int clampedDepth(int depth) {
    return std::clamp(depth, 1, 16);
}

ButtonBox centredIn(int width, int height, const ButtonBox& box) {
    return {box.left + (box.width - width) / 2, box.top + (box.height - height) / 2, width, height};
}

} // namespace

FramePlan planFrame(const FrameInputs& in) {
    FramePlan plan;
    const bool run = !in.designMode;
    const ButtonLookState state = run ? in.state : ButtonLookState::Normal;
    const int bevelDepth = in.bevel >= 2 ? clampedDepth(in.bevelDepth) : 0;
    switch (in.style) {
    case RaisedStyle:
    case HoverStyle: {
        const bool focusLine =
            in.style == RaisedStyle && in.focused && state != ButtonLookState::Pressed;
        plan.outerLine = run && (in.isDefault || focusLine);
        if (state == ButtonLookState::Pressed) {
            plan.kind = FrameKind::Sunken;
        } else if (state == ButtonLookState::Hover || in.style == RaisedStyle || !run) {
            plan.kind = FrameKind::Raised;
        }
        plan.bevelDepth = bevelDepth;
        break;
    }
    case OutlineStyle:
        if (!run || state != ButtonLookState::Normal || in.borderAlways) {
            plan.kind = FrameKind::Outline;
        }
        break;
    case XpStyle:
        plan.kind = FrameKind::Xp;
        plan.xpState = state;
        plan.xpFocused = run && in.focused;
        break;
    default:
        break; // PlainStyle and anything unknown: no frame
    }
    plan.focusRect = in.focused && in.showFocusRect && in.style != XpStyle;
    plan.contentPushed = state == ButtonLookState::Pressed && in.style <= OutlineStyle;
    plan.inset = contentInset(in.style, in.bevel, in.bevelDepth) - 2;
    return plan;
}

int contentInset(int style, int bevel, int bevelDepth) {
    switch (style) {
    case RaisedStyle:
    case HoverStyle:
        // 1 for the outer line, then the frame.
        return 2 + 1 + (bevel >= 2 ? clampedDepth(bevelDepth) : 2);
    case XpStyle:
        return 2 + 2;
    default:
        return 2 + 1;
    }
}

ButtonBox contentSize(int pw, int ph, int tw, int th, int position) {
    const bool picture = pw > 0 && ph > 0;
    const bool text = tw > 0 && th > 0;
    if (!picture || !text || position == Behind) {
        return {0, 0, std::max(picture ? pw : 0, text ? tw : 0),
                std::max(picture ? ph : 0, text ? th : 0)};
    }
    if (position == Above || position == Below) {
        return {0, 0, std::max(pw, tw), ph + kGap + th};
    }
    return {0, 0, pw + kGap + tw, std::max(ph, th)};
}

ButtonPlacement placeContent(const ButtonBox& area, int pw, int ph, int tw, int th, int position) {
    const ButtonBox size = contentSize(pw, ph, tw, th, position);
    const ButtonBox g = centredIn(size.width, size.height, area);
    const bool both = pw > 0 && ph > 0 && tw > 0 && th > 0;
    if (!both || position == Behind) {
        return {centredIn(pw, ph, g), centredIn(tw, th, g)};
    }
    switch (position) {
    case Above:
        return {centredIn(pw, ph, {g.left, g.top, g.width, ph}),
                centredIn(tw, th, {g.left, g.top + g.height - th, g.width, th})};
    case Below:
        return {centredIn(pw, ph, {g.left, g.top + g.height - ph, g.width, ph}),
                centredIn(tw, th, {g.left, g.top, g.width, th})};
    case RightOf:
        return {centredIn(pw, ph, {g.left + g.width - pw, g.top, pw, g.height}),
                centredIn(tw, th, {g.left, g.top, tw, g.height})};
    default:
        return {centredIn(pw, ph, {g.left, g.top, pw, g.height}),
                centredIn(tw, th, {g.left + g.width - tw, g.top, tw, g.height})};
    }
}

LinkAction linkAction(std::string_view url) {
    if (url.starts_with("mailto:")) {
        return LinkAction::Mail;
    }
    return url.empty() ? LinkAction::None : LinkAction::Navigate;
}

} // namespace cvl
