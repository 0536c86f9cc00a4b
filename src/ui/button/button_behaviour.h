// How the painted button answers the mouse and the keyboard, whatever toolkit delivers them:
// three flags (focused, pressed, hovering) and what each input does to them. Each input
// returns what the toolkit must do next: redraw, start or stop the hover timer, raise MouseIn
// or MouseOut, click. The toolkit raises its own MouseDown, MouseMove and MouseUp events
// around these, in the order the button's users expect: MouseIn before MouseMove, the click
// (and the link it opens) before MouseUp.
#pragma once

namespace cvl {

enum class MouseButton { Left, Right, Middle };
enum class ButtonKey { Space, Enter, Other };

// What an input asks of the toolkit.
struct ButtonReaction {
    bool redraw = false;
    bool startHoverTimer = false;
    bool stopHoverTimer = false;
    bool mouseIn = false;
    bool mouseOut = false;
    bool click = false; // raise Click, then open the link
    friend bool operator==(const ButtonReaction&, const ButtonReaction&) = default;
};

// The look a state is drawn in.
enum class ButtonLookState { Normal = 0, Hover = 1, Pressed = 2 };

class ButtonBehaviour final {
public:
    // inside: the pointer is within the button (0 <= x < width, 0 <= y < height).
    ButtonReaction mouseDown(MouseButton button);
    ButtonReaction mouseUp(MouseButton button, bool inside);
    ButtonReaction mouseMove(bool inside);
    // The hover timer's tick: whether the window under the pointer is still this button.
    ButtonReaction hoverTick(bool pointerOverButton);
    ButtonReaction keyDown(ButtonKey key, bool autoRepeat);
    ButtonReaction keyUp(ButtonKey key, bool autoRepeat);
    ButtonReaction focusIn();
    ButtonReaction focusOut();
    // Disabled, the button forgets a press; it takes no input until enabled again.
    ButtonReaction disable();

    [[nodiscard]] bool focused() const { return focused_; }
    [[nodiscard]] bool pressed() const { return pressed_; }
    [[nodiscard]] bool hovering() const { return hovering_; }
    // Pressed is drawn only while the pointer is over the button: held and dragged off, the
    // button shows raised until the pointer comes back.
    [[nodiscard]] ButtonLookState look(bool enabled) const;

private:
    bool focused_ = false;
    bool pressed_ = false;
    bool hovering_ = false;
    bool draggedOff_ = false;
    bool keyPressed_ = false; // held down by the space bar, not the mouse
};

} // namespace cvl
