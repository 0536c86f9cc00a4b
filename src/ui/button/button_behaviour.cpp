#include "ui/button/button_behaviour.h"

namespace cvl {

ButtonReaction ButtonBehaviour::mouseDown(MouseButton button) {
    if (button == MouseButton::Right) {
        return {}; // neither the pressed look nor a click
    }
    pressed_ = true;
    keyPressed_ = false;
    draggedOff_ = false;
    return {.redraw = true};
}

ButtonReaction ButtonBehaviour::mouseUp(MouseButton button, bool inside) {
    const bool wasPressed = pressed_;
    pressed_ = false;
    draggedOff_ = false;
    if (button == MouseButton::Right) {
        return {};
    }
    return {.redraw = true, .click = wasPressed && inside};
}

ButtonReaction ButtonBehaviour::mouseMove(bool inside) {
    if (hovering_ || !inside) {
        return {};
    }
    hovering_ = true;
    draggedOff_ = false;
    return {.redraw = true, .startHoverTimer = true, .mouseIn = true};
}

ButtonReaction ButtonBehaviour::hoverTick(bool pointerOverButton) {
    if (!hovering_) {
        return {.stopHoverTimer = true};
    }
    if (pointerOverButton) {
        return {};
    }
    hovering_ = false;
    // Held with the mouse and dragged off: drawn raised until the pointer is back. A press of
    // the space bar stays a press wherever the pointer goes.
    draggedOff_ = pressed_ && !keyPressed_;
    return {.redraw = true, .stopHoverTimer = true, .mouseOut = true};
}

ButtonReaction ButtonBehaviour::keyDown(ButtonKey key, bool autoRepeat) {
    if (autoRepeat) {
        return {};
    }
    switch (key) {
    case ButtonKey::Space:
        pressed_ = true;
        keyPressed_ = true;
        draggedOff_ = false;
        return {.redraw = true};
    case ButtonKey::Enter:
        return {.click = true};
    case ButtonKey::Other:
        break;
    }
    return {};
}

ButtonReaction ButtonBehaviour::keyUp(ButtonKey key, bool autoRepeat) {
    if (autoRepeat || key != ButtonKey::Space || !pressed_ || !keyPressed_) {
        return {};
    }
    pressed_ = false;
    keyPressed_ = false;
    return {.redraw = true, .click = true};
}

ButtonReaction ButtonBehaviour::focusIn() {
    focused_ = true;
    return {.redraw = true};
}

ButtonReaction ButtonBehaviour::focusOut() {
    focused_ = false;
    pressed_ = false;
    keyPressed_ = false;
    return {.redraw = true};
}

ButtonReaction ButtonBehaviour::disable() {
    pressed_ = false;
    keyPressed_ = false;
    draggedOff_ = false;
    return {.redraw = true};
}

ButtonLookState ButtonBehaviour::look(bool enabled) const {
    if (!enabled) {
        return ButtonLookState::Normal;
    }
    if (pressed_ && !draggedOff_) {
        return ButtonLookState::Pressed;
    }
    return hovering_ ? ButtonLookState::Hover : ButtonLookState::Normal;
}

} // namespace cvl
