// The program's own painted push button in Qt, used by the configuration dialog. Its settings,
// its answers to mouse and keys and its frame plan are the shared button rules (ui/button);
// this class delivers Qt's events to them and paints what they say with QPainter.
#pragma once

#include "ui/button/button_behaviour.h"
#include "ui/button/button_frame.h"
#include "ui/button/button_properties.h"

#include <QAbstractButton>
#include <QColor>
#include <QFont>
#include <QPixmap>

class QPainter;
class QTimer;

namespace cvl {

// Everything the painter needs, taken from the button at paint time, so that painting depends
// on nothing else and can be tried on any state.
struct QBKButtonLook {
    QRect rect;
    FramePlan frame;
    bool transparent = false;
    bool xpDefaultColors = true;
    QColor face, text, shadow, highlight, darkShadow, accent, xpHover, xpPressed;
    QPixmap picture; // masked and, when disabled, greyed
    QSize pictureSize;
    int picturePosition = 1;
    QString caption;
    QFont font;
};

[[nodiscard]] ButtonPicture toButtonPicture(const QPixmap& pixmap);
[[nodiscard]] QPixmap toPixmap(const ButtonPicture& picture);
[[nodiscard]] ButtonFont toButtonFont(const QFont& font);
[[nodiscard]] QFont toQFont(const ButtonFont& font);

class QBKButtons : public QAbstractButton {
    Q_OBJECT
public:
    explicit QBKButtons(QWidget* parent = nullptr);

    // Resets a newly placed button: defaults, the parent's font, and the name the host gave
    // the button (its objectName) as caption. Not for a button about to be loaded.
    void initProperties();
    void save(ButtonPropertyStore& store) const { properties_.save(store); }
    // Sets every property from store, defaults where it has none, without propertyChanged.
    void load(const ButtonPropertyStore& store);

    [[nodiscard]] const ButtonProperties& properties() const { return properties_; }
    // Stores a value of the property's type; propertyChanged reports a change. False for a
    // value of another type.
    bool set(ButtonProperty property, const ButtonValue& value);
    // The same by the property's saved name; false for an unknown name too.
    bool set(std::string_view name, const ButtonValue& value);

    // The settings hosts change most, in Qt's types.
    void setCaption(const QString& caption);
    void setButtonStyle(std::int16_t style) { set(ButtonProperty::ButtonStyle, style); }
    void setUrl(const QString& url) { set(ButtonProperty::Url, url.toStdString()); }
    // Also records the picture's size as OriginalPicSizeW/H.
    void setPicture(const QPixmap& picture) {
        set(ButtonProperty::Picture, toButtonPicture(picture));
    }
    void setPictureHover(const QPixmap& picture) {
        set(ButtonProperty::PictureHover, toButtonPicture(picture));
    }

    // A saved colour as the palette shows it now.
    [[nodiscard]] QColor resolveColor(ColorValue value) const;

    // The frames a form designer shows; not saved.
    [[nodiscard]] bool designMode() const { return designMode_; }
    void setDesignMode(bool on);
    // The host's default button gets an extra outer frame; not saved.
    [[nodiscard]] bool isDefault() const { return default_; }
    void setDefault(bool on);

    [[nodiscard]] bool isPressed() const { return behaviour_.pressed(); }
    [[nodiscard]] bool isHovering() const { return behaviour_.hovering(); }
    [[nodiscard]] QPixmap currentPicture() const;
    [[nodiscard]] Qt::MouseButtons lastMouseButtons() const { return lastButtons_; }
    [[nodiscard]] Qt::KeyboardModifiers lastModifiers() const { return lastModifiers_; }
    [[nodiscard]] QPoint lastMousePosition() const { return lastPosition_; }

    void initLook(QBKButtonLook& look) const;
    static void paintLook(QPainter& painter, const QBKButtonLook& look);
    // Asks for a redraw.
    void Refresh() { update(); }
    // Opens URL: a "mailto:" link in the mail program, anything else in the browser.
    void GoToURL();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

signals:
    // A click is QAbstractButton::clicked, raised once per click, before the link is opened.
    void KeyDown(int key, Qt::KeyboardModifiers modifiers);
    void KeyPress(const QString& text);
    void KeyUp(int key, Qt::KeyboardModifiers modifiers);
    // The button that went down or up; for MouseMove the buttons held.
    void MouseDown(Qt::MouseButtons button, Qt::KeyboardModifiers modifiers, int x, int y);
    void MouseMove(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers, int x, int y);
    void MouseUp(Qt::MouseButtons button, Qt::KeyboardModifiers modifiers, int x, int y);
    void MouseIn(Qt::KeyboardModifiers shift);
    void MouseOut(Qt::KeyboardModifiers shift);
    void propertyChanged(const QString& name);

protected:
    // Whether the pointer is over this button now; asked while hovering.
    [[nodiscard]] virtual bool pointerInside() const;
    virtual void openMail(const QString& url);
    virtual void navigate(const QString& url);

    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void apply(ButtonProperty property);
    // Carries out what the rules asked; false when the button was destroyed by a click.
    bool react(const ButtonReaction& reaction);
    void remember(const QMouseEvent* event, Qt::MouseButtons buttons);
    void checkPointer();
    void applyCursor();
    [[nodiscard]] QSize contentSize() const;

    ButtonProperties properties_;
    ButtonBehaviour behaviour_;
    QPixmap picture_, pictureHover_; // the saved pictures, converted once
    QTimer* overTimer_;
    bool designMode_ = false;
    bool default_ = false;
    bool syncing_ = false; // mirroring the widget's own state into the properties
    Qt::MouseButtons lastButtons_;
    Qt::KeyboardModifiers lastModifiers_;
    QPoint lastPosition_;
};

} // namespace cvl
