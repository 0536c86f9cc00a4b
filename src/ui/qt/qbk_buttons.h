// The program's own painted push button, used by the configuration dialog: five frame looks,
// a picture beside the caption, hover tracking, a link opened on click, and every setting kept
// by name so that a host can save and restore it.
#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QFont>
#include <QPixmap>
#include <QVariant>
#include <array>

class QPainter;
class QTimer;

namespace cvl {

// Where a host keeps a button's settings (a settings file, a form description).
class ButtonPropertyStore {
public:
    virtual ~ButtonPropertyStore() = default;
    // The value saved under name, or defaultValue when there is none.
    [[nodiscard]] virtual QVariant read(const QString& name,
                                        const QVariant& defaultValue) const = 0;
    virtual void write(const QString& name, const QVariant& value) = 0;
};

// Everything the painter needs, taken from the button at paint time, so that painting depends
// on nothing else and can be tried on any state.
struct QBKButtonLook {
    enum State { Normal = 0, Hover = 1, Pressed = 2 };

    QRect rect;
    int style = 2;
    State state = Normal;
    bool designMode = false;
    bool isDefault = false;
    bool focused = false;
    bool showFocusRect = true;
    bool borderAlways = false;
    bool transparent = false;
    bool xpDefaultColors = true;
    int bevel = 1;
    int bevelDepth = 8;
    QColor face, text, shadow, highlight, darkShadow, accent, xpHover, xpPressed;
    QPixmap picture; // masked and, when disabled, greyed
    QSize pictureSize;
    int picturePosition = 1;
    QString caption;
    QFont font;
};

class QBKButtons : public QAbstractButton {
    Q_OBJECT
public:
    // The saved properties, in the order they are saved.
    enum class Property {
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
    static constexpr int kPropertyCount = static_cast<int>(Property::BevelDepth) + 1;

    enum ButtonStyle : qint16 {
        RaisedStyle = 0,  // raised, sunken while pressed
        HoverStyle = 1,   // flat until the pointer is over it
        OutlineStyle = 2, // a plain rectangle while hovered or pressed
        XpStyle = 3,      // rounded and shaded
        PlainStyle = 4,   // no frame at all
    };
    // The picture's place relative to the caption; PictureSize 0 draws it at its original
    // size (OriginalPicSizeW x OriginalPicSizeH), any other value at PictureWidth x
    // PictureHeight.
    enum PicturePosition : qint16 { Above = 0, LeftOf = 1, RightOf = 2, Below = 3, Behind = 4 };

    // A colour as saved: 0x00BBGGRR, or 0x800000nn for system colour nn, which follows the
    // palette (0x0F button face, 0x10 shadow, 0x12 button text, 0x14 highlight, 0x15 dark
    // shadow, 0x16 light, ...).
    using ColorValue = quint32;
    [[nodiscard]] static ColorValue colorValue(const QColor& color);
    [[nodiscard]] QColor resolveColor(ColorValue value) const;

    explicit QBKButtons(QWidget* parent = nullptr);

    // Resets a newly placed button: defaults, the parent's font, and the name the host gave
    // the button (its objectName) as caption. Not for a button about to be loaded.
    void initProperties();
    void save(ButtonPropertyStore& store) const;
    // Sets every property from store, defaults where it has none, without propertyChanged.
    void load(const ButtonPropertyStore& store);

    [[nodiscard]] static QString propertyName(Property property);
    [[nodiscard]] QVariant value(Property property) const;
    [[nodiscard]] QVariant value(const QString& name) const;
    // Converts value to the property's type; false for an unknown name or a value that does
    // not convert.
    bool setValue(Property property, const QVariant& value);
    bool setValue(const QString& name, const QVariant& value);

    [[nodiscard]] QString caption() const { return text(); }
    void setCaption(const QString& caption) { setValue(Property::Caption, caption); }
    [[nodiscard]] qint16 picturePosition() const { return int16(Property::PicturePosition); }
    void setPicturePosition(qint16 v) { setValue(Property::PicturePosition, v); }
    [[nodiscard]] qint16 buttonStyle() const { return int16(Property::ButtonStyle); }
    void setButtonStyle(qint16 v) { setValue(Property::ButtonStyle, v); }
    [[nodiscard]] QPixmap picture() const { return pixmap(Property::Picture); }
    // Also records the picture's size as OriginalPicSizeW/H.
    void setPicture(const QPixmap& v) { setValue(Property::Picture, v); }
    [[nodiscard]] qint16 pictureWidth() const { return int16(Property::PictureWidth); }
    void setPictureWidth(qint16 v) { setValue(Property::PictureWidth, v); }
    [[nodiscard]] qint16 pictureHeight() const { return int16(Property::PictureHeight); }
    void setPictureHeight(qint16 v) { setValue(Property::PictureHeight, v); }
    [[nodiscard]] qint16 pictureSize() const { return int16(Property::PictureSize); }
    void setPictureSize(qint16 v) { setValue(Property::PictureSize, v); }
    [[nodiscard]] qint16 originalPicSizeW() const { return int16(Property::OriginalPicSizeW); }
    void setOriginalPicSizeW(qint16 v) { setValue(Property::OriginalPicSizeW, v); }
    [[nodiscard]] qint16 originalPicSizeH() const { return int16(Property::OriginalPicSizeH); }
    void setOriginalPicSizeH(qint16 v) { setValue(Property::OriginalPicSizeH, v); }
    [[nodiscard]] QPixmap pictureHover() const { return pixmap(Property::PictureHover); }
    void setPictureHover(const QPixmap& v) { setValue(Property::PictureHover, v); }
    [[nodiscard]] QPixmap mouseIcon() const { return pixmap(Property::MouseIcon); }
    void setMouseIcon(const QPixmap& v) { setValue(Property::MouseIcon, v); }
    // 0 the default pointer, 1-15 the usual shapes, 99 MouseIcon.
    [[nodiscard]] qint16 mousePointer() const { return int16(Property::MousePointer); }
    void setMousePointer(qint16 v) { setValue(Property::MousePointer, v); }
    [[nodiscard]] bool showFocusRect() const { return flag(Property::ShowFocusRect); }
    void setShowFocusRect(bool v) { setValue(Property::ShowFocusRect, v); }
    [[nodiscard]] QString url() const { return string(Property::Url); }
    void setUrl(const QString& v) { setValue(Property::Url, v); }
    [[nodiscard]] ColorValue xpColorPressed() const { return color(Property::XpColorPressed); }
    void setXpColorPressed(ColorValue v) { setValue(Property::XpColorPressed, v); }
    [[nodiscard]] ColorValue xpColorHover() const { return color(Property::XpColorHover); }
    void setXpColorHover(ColorValue v) { setValue(Property::XpColorHover, v); }
    [[nodiscard]] bool xpDefaultColors() const { return flag(Property::XpDefaultColors); }
    void setXpDefaultColors(bool v) { setValue(Property::XpDefaultColors, v); }
    [[nodiscard]] ColorValue backColor() const { return color(Property::BackColor); }
    void setBackColor(ColorValue v) { setValue(Property::BackColor, v); }
    [[nodiscard]] ColorValue foreColor() const { return color(Property::ForeColor); }
    void setForeColor(ColorValue v) { setValue(Property::ForeColor, v); }
    // SoundOver, SoundClick and DefCurHand are kept and saved for hosts that use them; the
    // button itself plays no sound and keeps its pointer.
    [[nodiscard]] QString soundOver() const { return string(Property::SoundOver); }
    void setSoundOver(const QString& v) { setValue(Property::SoundOver, v); }
    [[nodiscard]] QString soundClick() const { return string(Property::SoundClick); }
    void setSoundClick(const QString& v) { setValue(Property::SoundClick, v); }
    [[nodiscard]] bool defCurHand() const { return flag(Property::DefCurHand); }
    void setDefCurHand(bool v) { setValue(Property::DefCurHand, v); }
    [[nodiscard]] bool xpShowBorderAlways() const { return flag(Property::XpShowBorderAlways); }
    void setXpShowBorderAlways(bool v) { setValue(Property::XpShowBorderAlways, v); }
    [[nodiscard]] ColorValue maskColor() const { return color(Property::MaskColor); }
    void setMaskColor(ColorValue v) { setValue(Property::MaskColor, v); }
    [[nodiscard]] bool transparentBg() const { return flag(Property::TransparentBg); }
    void setTransparentBg(bool v) { setValue(Property::TransparentBg, v); }
    // 1 draws single-line frames, 2 or more a bevel BevelDepth pixels deep.
    [[nodiscard]] qint16 bevel() const { return int16(Property::Bevel); }
    void setBevel(qint16 v) { setValue(Property::Bevel, v); }
    [[nodiscard]] qint16 bevelDepth() const { return int16(Property::BevelDepth); }
    void setBevelDepth(qint16 v) { setValue(Property::BevelDepth, v); }

    // Not saved.
    [[nodiscard]] QString version() const { return version_; }
    void setVersion(const QString& version) { version_ = version; }
    // The frames a form designer shows; not saved.
    [[nodiscard]] bool designMode() const { return designMode_; }
    void setDesignMode(bool on);
    // The host's default button gets an extra outer frame; not saved.
    [[nodiscard]] bool isDefault() const { return default_; }
    void setDefault(bool on);

    [[nodiscard]] bool isPressed() const { return pressed_; }
    [[nodiscard]] bool isHovering() const { return hovering_; }
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
    [[nodiscard]] qint16 int16(Property p) const { return static_cast<qint16>(value(p).toInt()); }
    [[nodiscard]] bool flag(Property p) const { return value(p).toBool(); }
    [[nodiscard]] ColorValue color(Property p) const { return value(p).toUInt(); }
    [[nodiscard]] QString string(Property p) const { return value(p).toString(); }
    [[nodiscard]] QPixmap pixmap(Property p) const { return value(p).value<QPixmap>(); }
    [[nodiscard]] QVariant defaultValue(Property p) const;
    void assign(Property p, const QVariant& value);
    void remember(const QMouseEvent* event, Qt::MouseButtons buttons);
    void checkPointer();
    void activate();
    void applyCursor();
    [[nodiscard]] int contentInset() const;
    [[nodiscard]] QSize contentSize() const;

    std::array<QVariant, kPropertyCount> values_;
    QString version_;
    QTimer* overTimer_;
    bool designMode_ = false;
    bool default_ = false;
    bool pressed_ = false;
    bool draggedOff_ = false; // pressed, but drawn raised while the pointer is elsewhere
    bool hovering_ = false;
    Qt::MouseButtons lastButtons_;
    Qt::KeyboardModifiers lastModifiers_;
    QPoint lastPosition_;
};

} // namespace cvl
