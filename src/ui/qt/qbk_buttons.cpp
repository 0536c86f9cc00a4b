#include "ui/qt/qbk_buttons.h"

#include <QApplication>
#include <QDesktopServices>
#include <QIcon>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QShortcutEvent>
#include <QTimer>
#include <QUrl>

namespace cvl {

namespace {

using Look = QBKButtonLook;

constexpr int kCustomPointer = 99;
constexpr int kOverInterval = 50; // ms: how soon a pointer that left is noticed

QPalette::ColorRole systemRole(int index) {
    switch (index) {
    case 0x01:
    case 0x04:
        return QPalette::Window;
    case 0x02:
    case 0x0D:
        return QPalette::Highlight;
    case 0x05:
        return QPalette::Base;
    case 0x06:
    case 0x15:
        return QPalette::Shadow;
    case 0x07:
        return QPalette::WindowText;
    case 0x08:
        return QPalette::Text;
    case 0x09:
    case 0x0E:
        return QPalette::HighlightedText;
    case 0x10:
        return QPalette::Dark;
    case 0x11:
        return QPalette::PlaceholderText;
    case 0x12:
        return QPalette::ButtonText;
    case 0x14:
        return QPalette::Light;
    case 0x16:
        return QPalette::Midlight;
    case 0x17:
        return QPalette::ToolTipText;
    case 0x18:
        return QPalette::ToolTipBase;
    case 0x1A:
        return QPalette::Link;
    default:
        return QPalette::Button;
    }
}

QColor mix(const QColor& a, const QColor& b, qreal t) {
    return QColor::fromRgbF(a.redF() + (b.redF() - a.redF()) * t,
                            a.greenF() + (b.greenF() - a.greenF()) * t,
                            a.blueF() + (b.blueF() - a.blueF()) * t);
}

// Frames are filled one logical pixel wide, so they stay crisp at any whole pixel ratio.
void edge(QPainter& p, const QRect& r, const QColor& topLeft, const QColor& bottomRight) {
    p.fillRect(QRect(r.left(), r.top(), r.width() - 1, 1), topLeft);
    p.fillRect(QRect(r.left(), r.top(), 1, r.height() - 1), topLeft);
    p.fillRect(QRect(r.left(), r.bottom(), r.width(), 1), bottomRight);
    p.fillRect(QRect(r.right(), r.top(), 1, r.height()), bottomRight);
}

void bevelFrame(QPainter& p, const QRect& r, const Look& look, bool sunken) {
    const int depth = qMin(look.frame.bevelDepth, qMin(r.width(), r.height()) / 3);
    const QColor light = sunken ? look.darkShadow : look.highlight;
    const QColor dark = sunken ? look.highlight : look.darkShadow;
    for (int i = 0; i < depth; ++i) {
        const qreal t = qreal(i) / depth;
        edge(p, r.adjusted(i, i, -i, -i), mix(light, look.face, t), mix(dark, look.face, t));
    }
}

void raisedFrame(QPainter& p, const QRect& r, const Look& look) {
    if (look.frame.bevelDepth > 0)
        return bevelFrame(p, r, look, false);
    edge(p, r, look.highlight, look.darkShadow);
    edge(p, r.adjusted(1, 1, -1, -1), Qt::transparent, look.shadow);
}

void sunkenFrame(QPainter& p, const QRect& r, const Look& look) {
    if (look.frame.bevelDepth > 0)
        return bevelFrame(p, r, look, true);
    edge(p, r, look.darkShadow, look.highlight);
    edge(p, r.adjusted(1, 1, -1, -1), look.shadow, Qt::transparent);
}

// This look never draws the dotted focus rectangle, so focus shows in the shading itself: a
// border in the focus colour with a faint inner ring, distinct from the hover ring.
void xpFrame(QPainter& p, const Look& look) {
    const ButtonLookState state = look.frame.xpState;
    const bool focused = look.frame.xpFocused;
    QColor base = look.face;
    if (!look.xpDefaultColors && state == ButtonLookState::Hover)
        base = look.xpHover;
    else if (!look.xpDefaultColors && state == ButtonLookState::Pressed)
        base = look.xpPressed;
    else if (state == ButtonLookState::Pressed)
        base = base.darker(112);

    // Half-pixel offsets put one-pixel lines on whole pixels.
    const QRectF box = QRectF(look.rect).adjusted(0.5, 0.5, -0.5, -0.5);
    QLinearGradient shade(box.topLeft(), box.bottomLeft());
    shade.setColorAt(0, state == ButtonLookState::Pressed ? base.darker(106) : base.lighter(112));
    shade.setColorAt(1, state == ButtonLookState::Pressed ? base.lighter(104) : base.darker(106));
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(focused ? look.accent : mix(look.face, look.text, 0.5), 1));
    p.setBrush(shade);
    p.drawRoundedRect(box, 3, 3);
    if (state == ButtonLookState::Hover && look.xpDefaultColors) {
        p.setPen(QPen(look.accent, 1.5));
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(box.adjusted(1.25, 1.25, -1.25, -1.25), 2, 2);
    } else if (focused) {
        QColor ring = look.accent;
        ring.setAlpha(110);
        p.setPen(QPen(ring, 1));
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(box.adjusted(1, 1, -1, -1), 2, 2);
    }
    p.restore();
}

void dottedRect(QPainter& p, const QRect& r, const QColor& color) {
    for (int x = r.left(); x <= r.right(); x += 2) {
        p.fillRect(x, r.top(), 1, 1, color);
        p.fillRect(x, r.bottom(), 1, 1, color);
    }
    for (int y = r.top(); y <= r.bottom(); y += 2) {
        p.fillRect(r.left(), y, 1, 1, color);
        p.fillRect(r.right(), y, 1, 1, color);
    }
}

QRect toQRect(const ButtonBox& box) {
    return {box.left, box.top, box.width, box.height};
}

ButtonBox toBox(const QRect& rect) {
    return {rect.left(), rect.top(), rect.width(), rect.height()};
}

QSize captionSize(const QFont& font, const QString& caption) {
    return caption.isEmpty() ? QSize() : QFontMetrics(font).size(Qt::TextShowMnemonic, caption);
}

bool isInside(QPointF pos, QSize size) {
    return pos.x() >= 0 && pos.x() < size.width() && pos.y() >= 0 && pos.y() < size.height();
}

MouseButton mouseButton(Qt::MouseButton button) {
    return button == Qt::RightButton  ? MouseButton::Right
           : button == Qt::LeftButton ? MouseButton::Left
                                      : MouseButton::Middle;
}

ButtonKey buttonKey(int key) {
    switch (key) {
    case Qt::Key_Space:
    case Qt::Key_Select:
        return ButtonKey::Space;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return ButtonKey::Enter;
    default:
        return ButtonKey::Other;
    }
}

} // namespace

ButtonPicture toButtonPicture(const QPixmap& pixmap) {
    if (pixmap.isNull())
        return {};
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    ButtonPicture picture{image.width(), image.height(), {}};
    picture.pixels.reserve(static_cast<std::size_t>(image.width() * image.height()));
    for (int y = 0; y < image.height(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        picture.pixels.insert(picture.pixels.end(), row, row + image.width());
    }
    return picture;
}

QPixmap toPixmap(const ButtonPicture& picture) {
    if (picture.empty())
        return {};
    const QImage image(reinterpret_cast<const uchar*>(picture.pixels.data()), picture.width,
                       picture.height, picture.width * 4, QImage::Format_ARGB32);
    return QPixmap::fromImage(image.copy());
}

ButtonFont toButtonFont(const QFont& font) {
    return {font.family().toStdString(),
            font.pointSizeF(),
            font.bold(),
            font.italic(),
            font.underline(),
            font.strikeOut()};
}

QFont toQFont(const ButtonFont& font) {
    QFont q(QString::fromStdString(font.family));
    if (font.points > 0)
        q.setPointSizeF(font.points);
    q.setBold(font.bold);
    q.setItalic(font.italic);
    q.setUnderline(font.underline);
    q.setStrikeOut(font.strikeOut);
    return q;
}

QBKButtons::QBKButtons(QWidget* parent)
    : QAbstractButton(parent)
    , overTimer_(new QTimer(this)) {
    properties_.onChanged = [this](ButtonProperty p) {
        apply(p);
        emit propertyChanged(QString::fromLatin1(ButtonProperties::name(p)));
    };
    setMouseTracking(true); // hovering starts on a move without buttons
    setFocusPolicy(Qt::StrongFocus);
    overTimer_->setObjectName(QStringLiteral("OverTimer"));
    overTimer_->setInterval(kOverInterval);
    connect(overTimer_, &QTimer::timeout, this, &QBKButtons::checkPointer);
}

QColor QBKButtons::resolveColor(ColorValue value) const {
    if (isSystemColor(value))
        return palette().color(systemRole(int(value & 0xFF)));
    return QColor(int(value & 0xFF), int(value >> 8 & 0xFF), int(value >> 16 & 0xFF));
}

void QBKButtons::initProperties() {
    const QFont hostFont = parentWidget() ? parentWidget()->font() : QApplication::font(this);
    properties_.initProperties(objectName().toStdString(), toButtonFont(hostFont));
    for (int i = 0; i < kButtonPropertyCount; ++i)
        apply(ButtonProperty(i));
}

void QBKButtons::load(const ButtonPropertyStore& store) {
    properties_.load(store);
    for (int i = 0; i < kButtonPropertyCount; ++i)
        apply(ButtonProperty(i));
}

bool QBKButtons::set(ButtonProperty property, const ButtonValue& value) {
    return properties_.set(property, value);
}

bool QBKButtons::set(std::string_view name, const ButtonValue& value) {
    const auto property = ButtonProperties::named(name);
    return property && set(*property, value);
}

void QBKButtons::setCaption(const QString& caption) {
    set(ButtonProperty::Caption, caption.toStdString());
}

// Caption, Font and Enabled are also the widget's own, so that Qt's access key, font metrics
// and input blocking follow them.
void QBKButtons::apply(ButtonProperty p) {
    if (syncing_)
        return;
    syncing_ = true;
    switch (p) {
    case ButtonProperty::Caption:
        setText(QString::fromStdString(properties_.caption())); // also the access key
        break;
    case ButtonProperty::Font:
        setFont(toQFont(properties_.font()));
        break;
    case ButtonProperty::Enabled:
        setEnabled(properties_.enabled());
        if (!isEnabled())
            behaviour_.disable();
        break;
    case ButtonProperty::Picture:
        picture_ = toPixmap(properties_.picture(p));
        break;
    case ButtonProperty::PictureHover:
        pictureHover_ = toPixmap(properties_.picture(p));
        break;
    case ButtonProperty::MousePointer:
    case ButtonProperty::MouseIcon:
        applyCursor();
        break;
    default:
        break;
    }
    syncing_ = false;
    updateGeometry();
    update();
}

void QBKButtons::changeEvent(QEvent* event) {
    // The host may disable the button as any widget: that is the Enabled property too.
    if (event->type() == QEvent::EnabledChange && !syncing_) {
        syncing_ = true;
        set(ButtonProperty::Enabled, !testAttribute(Qt::WA_ForceDisabled));
        syncing_ = false;
        if (!isEnabled())
            behaviour_.disable();
    }
    QAbstractButton::changeEvent(event);
}

void QBKButtons::setDesignMode(bool on) {
    designMode_ = on;
    update();
}

void QBKButtons::setDefault(bool on) {
    default_ = on;
    update();
}

QPixmap QBKButtons::currentPicture() const {
    return isHovering() && !pictureHover_.isNull() ? pictureHover_ : picture_;
}

void QBKButtons::initLook(QBKButtonLook& look) const {
    const ButtonProperties& p = properties_;
    FrameInputs in;
    in.style = p.style();
    in.state = isDown() && isEnabled() ? ButtonLookState::Pressed : behaviour_.look(isEnabled());
    in.designMode = designMode_;
    in.isDefault = default_;
    in.focused = hasFocus();
    in.showFocusRect = p.flag(ButtonProperty::ShowFocusRect);
    in.borderAlways = p.flag(ButtonProperty::XpShowBorderAlways);
    in.bevel = p.number(ButtonProperty::Bevel);
    in.bevelDepth = p.number(ButtonProperty::BevelDepth);
    look.rect = rect();
    look.frame = planFrame(in);
    look.transparent = p.flag(ButtonProperty::TransparentBg);
    look.xpDefaultColors = p.flag(ButtonProperty::XpDefaultColors);
    look.face = resolveColor(p.color(ButtonProperty::BackColor));
    look.text = isEnabled() ? resolveColor(p.color(ButtonProperty::ForeColor))
                            : palette().color(QPalette::Disabled, QPalette::ButtonText);
    look.shadow = resolveColor(kButtonShadow);
    look.highlight = resolveColor(kHighlight3d);
    look.darkShadow = resolveColor(kDarkShadow3d);
    look.accent = palette().color(QPalette::Highlight);
    look.xpHover = resolveColor(p.color(ButtonProperty::XpColorHover));
    look.xpPressed = resolveColor(p.color(ButtonProperty::XpColorPressed));
    look.picturePosition = p.number(ButtonProperty::PicturePosition);
    look.caption = text();
    look.font = font();
    look.picture = QPixmap();
    look.pictureSize = QSize();
    QPixmap shown = currentPicture();
    if (shown.isNull())
        return;
    const auto [w, h] = p.pictureDrawSize(isHovering());
    look.pictureSize = QSize(w, h);
    shown.setMask(shown.createMaskFromColor(resolveColor(p.color(ButtonProperty::MaskColor)),
                                            Qt::MaskInColor));
    if (!isEnabled())
        shown = QIcon(shown).pixmap(look.pictureSize, devicePixelRatioF(), QIcon::Disabled);
    look.picture = shown;
}

void QBKButtons::paintLook(QPainter& p, const QBKButtonLook& look) {
    const QRect r = look.rect;
    if (!look.transparent)
        p.fillRect(r, look.face);

    QRect frame = r;
    if (look.frame.outerLine) {
        edge(p, frame, look.darkShadow, look.darkShadow);
        frame.adjust(1, 1, -1, -1);
    }
    switch (look.frame.kind) {
    case FrameKind::Raised:
        raisedFrame(p, frame, look);
        break;
    case FrameKind::Sunken:
        sunkenFrame(p, frame, look);
        break;
    case FrameKind::Outline:
        edge(p, r, look.text, look.text);
        break;
    case FrameKind::Xp:
        xpFrame(p, look);
        break;
    case FrameKind::None:
        break;
    }

    const int inset = look.frame.inset;
    const QRect focusRect = r.adjusted(inset + 1, inset + 1, -inset - 1, -inset - 1);
    QRect area = r.adjusted(inset + 2, inset + 2, -inset - 2, -inset - 2);
    if (look.frame.contentPushed)
        area.translate(1, 1);
    const QSize text = captionSize(look.font, look.caption);
    const QSize picture = look.picture.isNull() ? QSize() : look.pictureSize;
    const ButtonPlacement at = placeContent(toBox(area), picture.width(), picture.height(),
                                            text.width(), text.height(), look.picturePosition);

    if (!picture.isEmpty()) {
        p.save();
        p.setRenderHint(QPainter::SmoothPixmapTransform);
        p.drawPixmap(toQRect(at.picture), look.picture);
        p.restore();
    }
    if (look.frame.focusRect)
        dottedRect(p, focusRect, look.text);
    if (!text.isEmpty()) {
        p.setFont(look.font);
        p.setPen(look.text);
        p.drawText(toQRect(at.text), Qt::AlignCenter | Qt::TextShowMnemonic, look.caption);
    }
}

void QBKButtons::GoToURL() {
    const QString target = QString::fromStdString(properties_.text(ButtonProperty::Url));
    switch (linkAction(properties_.text(ButtonProperty::Url))) {
    case LinkAction::Mail:
        openMail(target);
        break;
    case LinkAction::Navigate:
        navigate(target);
        break;
    case LinkAction::None:
        break;
    }
}

QSize QBKButtons::contentSize() const {
    const auto [w, h] = properties_.pictureDrawSize(false);
    const QSize text = captionSize(font(), this->text());
    const ButtonBox size = cvl::contentSize(w, h, text.width(), text.height(),
                                            properties_.number(ButtonProperty::PicturePosition));
    return {size.width, size.height};
}

QSize QBKButtons::sizeHint() const {
    const QSize least = minimumSizeHint();
    return {qMax(75, least.width() + 12), qMax(23, least.height() + 4)};
}

QSize QBKButtons::minimumSizeHint() const {
    const int inset =
        cvl::contentInset(properties_.style(), properties_.number(ButtonProperty::Bevel),
                          properties_.number(ButtonProperty::BevelDepth));
    return contentSize() + QSize(2 * inset, 2 * inset);
}

bool QBKButtons::pointerInside() const {
    return QApplication::widgetAt(QCursor::pos()) == this;
}

void QBKButtons::openMail(const QString& url) {
    QDesktopServices::openUrl(QUrl(url));
}

void QBKButtons::navigate(const QString& url) {
    QDesktopServices::openUrl(QUrl::fromUserInput(url));
}

bool QBKButtons::react(const ButtonReaction& reaction) {
    const QPointer<QBKButtons> self(this);
    if (reaction.startHoverTimer)
        overTimer_->start();
    if (reaction.stopHoverTimer)
        overTimer_->stop();
    if (reaction.redraw)
        update();
    if (reaction.mouseIn)
        emit MouseIn(lastModifiers_);
    if (self && reaction.mouseOut)
        emit MouseOut(lastModifiers_);
    if (self && reaction.click) {
        click();
        if (self)
            GoToURL();
    }
    return !self.isNull(); // a click may close the dialog
}

bool QBKButtons::event(QEvent* event) {
    // The access key clicks at once, so that it opens the link like any other click.
    if (event->type() == QEvent::Shortcut && isEnabled()) {
        const auto* shortcutEvent = static_cast<QShortcutEvent*>(event);
        if (!shortcutEvent->isAmbiguous() && shortcutEvent->key() == shortcut()) {
            react({.click = true});
            return true;
        }
    }
    return QAbstractButton::event(event);
}

void QBKButtons::paintEvent(QPaintEvent*) {
    QBKButtonLook look;
    initLook(look);
    QPainter painter(this);
    paintLook(painter, look);
}

void QBKButtons::remember(const QMouseEvent* event, Qt::MouseButtons buttons) {
    lastButtons_ = buttons;
    lastModifiers_ = event->modifiers();
    lastPosition_ = event->position().toPoint();
}

void QBKButtons::mousePressEvent(QMouseEvent* event) {
    remember(event, event->button());
    if (!react(behaviour_.mouseDown(mouseButton(event->button()))))
        return;
    emit MouseDown(lastButtons_, lastModifiers_, lastPosition_.x(), lastPosition_.y());
}

void QBKButtons::mouseReleaseEvent(QMouseEvent* event) {
    remember(event, event->button());
    const bool inside = isInside(event->position(), size());
    if (!react(behaviour_.mouseUp(mouseButton(event->button()), inside)))
        return;
    emit MouseUp(lastButtons_, lastModifiers_, lastPosition_.x(), lastPosition_.y());
}

void QBKButtons::mouseMoveEvent(QMouseEvent* event) {
    remember(event, event->buttons());
    if (!react(behaviour_.mouseMove(isInside(event->position(), size()))))
        return;
    emit MouseMove(lastButtons_, lastModifiers_, lastPosition_.x(), lastPosition_.y());
}

void QBKButtons::leaveEvent(QEvent* event) {
    checkPointer();
    QAbstractButton::leaveEvent(event);
}

void QBKButtons::checkPointer() {
    react(behaviour_.hoverTick(pointerInside()));
}

void QBKButtons::keyPressEvent(QKeyEvent* event) {
    const QPointer<QBKButtons> self(this);
    emit KeyDown(event->key(), event->modifiers());
    if (self && !event->text().isEmpty())
        emit KeyPress(event->text());
    if (!self)
        return;
    const ButtonKey key = buttonKey(event->key());
    if (key == ButtonKey::Other)
        QAbstractButton::keyPressEvent(event); // arrows, and Escape on to the dialog
    else
        react(behaviour_.keyDown(key, event->isAutoRepeat()));
}

void QBKButtons::keyReleaseEvent(QKeyEvent* event) {
    const QPointer<QBKButtons> self(this);
    emit KeyUp(event->key(), event->modifiers());
    if (!self)
        return;
    const ButtonKey key = buttonKey(event->key());
    if (key == ButtonKey::Other)
        QAbstractButton::keyReleaseEvent(event);
    else
        react(behaviour_.keyUp(key, event->isAutoRepeat()));
}

void QBKButtons::focusInEvent(QFocusEvent* event) {
    react(behaviour_.focusIn());
    QAbstractButton::focusInEvent(event);
}

void QBKButtons::focusOutEvent(QFocusEvent* event) {
    react(behaviour_.focusOut());
    QAbstractButton::focusOutEvent(event);
}

void QBKButtons::applyCursor() {
    // The usual pointer numbers 1-15; 4 (an icon) has no equivalent and shows the arrow.
    static constexpr std::array<Qt::CursorShape, 16> kShapes{
        Qt::ArrowCursor,     Qt::ArrowCursor,   Qt::CrossCursor,     Qt::IBeamCursor,
        Qt::ArrowCursor,     Qt::SizeAllCursor, Qt::SizeBDiagCursor, Qt::SizeVerCursor,
        Qt::SizeFDiagCursor, Qt::SizeHorCursor, Qt::UpArrowCursor,   Qt::WaitCursor,
        Qt::ForbiddenCursor, Qt::BusyCursor,    Qt::WhatsThisCursor, Qt::SizeAllCursor};
    const int pointer = properties_.number(ButtonProperty::MousePointer);
    const QPixmap icon = toPixmap(properties_.picture(ButtonProperty::MouseIcon));
    if (pointer == kCustomPointer && !icon.isNull())
        setCursor(QCursor(icon));
    else if (pointer > 0 && pointer < int(kShapes.size()))
        setCursor(kShapes[static_cast<std::size_t>(pointer)]);
    else
        unsetCursor();
}

} // namespace cvl
