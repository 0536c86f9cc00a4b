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
#include <optional>

namespace cvl {

namespace {

using Property = QBKButtons::Property;
using Look = QBKButtonLook;

enum class Kind { Text, Int16, Bool, Color, Picture, Font };

struct PropertyInfo {
    const char* name;
    Kind kind;
    quint32 number; // the default of numbers, flags and colours
    const char* text;
};

// Indexed by Property, so in save order.
constexpr std::array<PropertyInfo, QBKButtons::kPropertyCount> kProperties{{
    {"Caption", Kind::Text, 0, ""},
    {"PicturePosition", Kind::Int16, 1, nullptr},
    {"ButtonStyle", Kind::Int16, 2, nullptr},
    {"Picture", Kind::Picture, 0, nullptr},
    {"PictureWidth", Kind::Int16, 32, nullptr},
    {"PictureHeight", Kind::Int16, 32, nullptr},
    {"PictureSize", Kind::Int16, 1, nullptr},
    {"OriginalPicSizeW", Kind::Int16, 32, nullptr},
    {"OriginalPicSizeH", Kind::Int16, 32, nullptr},
    {"PictureHover", Kind::Picture, 0, nullptr},
    {"Enabled", Kind::Bool, 1, nullptr},
    {"Font", Kind::Font, 0, nullptr},
    {"MouseIcon", Kind::Picture, 0, nullptr},
    {"MousePointer", Kind::Int16, 0, nullptr},
    {"ShowFocusRect", Kind::Bool, 1, nullptr},
    {"URL", Kind::Text, 0, ""},
    {"XPColor_Pressed", Kind::Color, 0x80000014, nullptr},
    {"XPColor_Hover", Kind::Color, 0x80000016, nullptr},
    {"XPDefaultColors", Kind::Bool, 1, nullptr},
    {"BackColor", Kind::Color, 0x8000000F, nullptr},
    {"ForeColor", Kind::Color, 0x80000012, nullptr},
    {"SoundOver", Kind::Text, 0, ".\\resources\\over.wav"},
    {"SoundClick", Kind::Text, 0, ".\\resources\\click.wav"},
    {"DefCurHand", Kind::Bool, 1, nullptr},
    {"XPShowBorderAlways", Kind::Bool, 0, nullptr},
    {"MaskColor", Kind::Color, 0, nullptr},
    {"TransparentBG", Kind::Bool, 0, nullptr},
    {"BEVEL", Kind::Int16, 1, nullptr},
    {"BEVELDEPTH", Kind::Int16, 8, nullptr},
}};

constexpr QBKButtons::ColorValue kSystemColor = 0x80000000;
constexpr QBKButtons::ColorValue kButtonShadow = kSystemColor | 0x10;
constexpr QBKButtons::ColorValue kHighlight3d = kSystemColor | 0x14;
constexpr QBKButtons::ColorValue kDarkShadow3d = kSystemColor | 0x15;
constexpr int kCustomPointer = 99;
constexpr int kOverInterval = 50; // ms: how soon a pointer that left is noticed
constexpr int kGap = 4;           // between picture and caption

const PropertyInfo& info(Property p) {
    return kProperties[static_cast<std::size_t>(p)];
}

// Caption, Font and Enabled live in the widget itself, so that QWidget's own setters and
// the saved value never disagree.
bool heldByWidget(Property p) {
    return p == Property::Caption || p == Property::Font || p == Property::Enabled;
}

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

std::optional<QVariant> convert(Kind kind, const QVariant& in) {
    bool ok = false;
    switch (kind) {
    case Kind::Text:
        if (!in.canConvert<QString>())
            return std::nullopt;
        return in.toString();
    case Kind::Int16: {
        const int n = in.toInt(&ok);
        return ok ? std::optional<QVariant>(qBound(-32768, n, 32767)) : std::nullopt;
    }
    case Kind::Bool:
        if (!in.canConvert<bool>())
            return std::nullopt;
        return in.toBool();
    case Kind::Color: {
        if (in.metaType() == QMetaType::fromType<QColor>())
            return QBKButtons::colorValue(in.value<QColor>());
        const qlonglong n = in.toLongLong(&ok); // a signed store may hand back 0x8... negative
        return ok ? std::optional<QVariant>(static_cast<QBKButtons::ColorValue>(n)) : std::nullopt;
    }
    case Kind::Picture:
        if (!in.isValid())
            return QPixmap();
        if (in.metaType() == QMetaType::fromType<QImage>())
            return QPixmap::fromImage(in.value<QImage>());
        if (in.metaType() == QMetaType::fromType<QIcon>()) {
            const QIcon icon = in.value<QIcon>();
            return icon.pixmap(icon.availableSizes().value(0, QSize(32, 32)));
        }
        if (!in.canConvert<QPixmap>())
            return std::nullopt;
        return in.value<QPixmap>();
    case Kind::Font:
        if (!in.canConvert<QFont>())
            return std::nullopt;
        return in.value<QFont>();
    }
    return std::nullopt;
}

// QPixmap has no equality; two pictures are the same when both are empty or they share data.
bool same(const QVariant& a, const QVariant& b) {
    if (a.metaType() == QMetaType::fromType<QPixmap>() &&
        b.metaType() == QMetaType::fromType<QPixmap>()) {
        const auto pa = a.value<QPixmap>();
        const auto pb = b.value<QPixmap>();
        return (pa.isNull() && pb.isNull()) || pa.cacheKey() == pb.cacheKey();
    }
    return a == b;
}

bool isInside(QPointF pos, QSize size) {
    return pos.x() >= 0 && pos.x() < size.width() && pos.y() >= 0 && pos.y() < size.height();
}

QColor mix(const QColor& a, const QColor& b, qreal t) {
    return QColor::fromRgbF(a.redF() + (b.redF() - a.redF()) * t,
                            a.greenF() + (b.greenF() - a.greenF()) * t,
                            a.blueF() + (b.blueF() - a.blueF()) * t);
}

int clampedDepth(int depth) {
    return qBound(1, depth, 16);
}

// How far the frame of a style reaches in, the same in every state so that nothing moves
// when the frame comes and goes.
int frameInset(int style, int bevel, int depth) {
    switch (style) {
    case QBKButtons::RaisedStyle:
    case QBKButtons::HoverStyle:
        return 1 + (bevel >= 2 ? clampedDepth(depth) : 2); // 1 for the default-button frame
    case QBKButtons::XpStyle:
        return 2;
    default:
        return 1;
    }
}

QSize groupSize(QSize picture, QSize text, int position) {
    if (picture.isEmpty() || text.isEmpty() || position == QBKButtons::Behind)
        return picture.expandedTo(text);
    if (position == QBKButtons::Above || position == QBKButtons::Below)
        return {qMax(picture.width(), text.width()), picture.height() + kGap + text.height()};
    return {picture.width() + kGap + text.width(), qMax(picture.height(), text.height())};
}

QRect centredIn(QSize size, const QRect& box) {
    QRect r(QPoint(), size);
    r.moveCenter(box.center());
    return r;
}

struct Placement {
    QRect picture;
    QRect text;
};

Placement place(const QRect& area, QSize picture, QSize text, int position) {
    const QRect g = centredIn(groupSize(picture, text, position), area);
    if (picture.isEmpty() || text.isEmpty() || position == QBKButtons::Behind)
        return {centredIn(picture, g), centredIn(text, g)};
    const int pw = picture.width();
    const int ph = picture.height();
    const int tw = text.width();
    const int th = text.height();
    switch (position) {
    case QBKButtons::Above:
        return {centredIn(picture, {g.left(), g.top(), g.width(), ph}),
                centredIn(text, {g.left(), g.bottom() + 1 - th, g.width(), th})};
    case QBKButtons::Below:
        return {centredIn(picture, {g.left(), g.bottom() + 1 - ph, g.width(), ph}),
                centredIn(text, {g.left(), g.top(), g.width(), th})};
    case QBKButtons::RightOf:
        return {centredIn(picture, {g.right() + 1 - pw, g.top(), pw, g.height()}),
                centredIn(text, {g.left(), g.top(), tw, g.height()})};
    default:
        return {centredIn(picture, {g.left(), g.top(), pw, g.height()}),
                centredIn(text, {g.right() + 1 - tw, g.top(), tw, g.height()})};
    }
}

QSize captionSize(const QFont& font, const QString& caption) {
    return caption.isEmpty() ? QSize() : QFontMetrics(font).size(Qt::TextShowMnemonic, caption);
}

// Frames are filled one logical pixel wide, so they stay crisp at any whole pixel ratio.
void edge(QPainter& p, const QRect& r, const QColor& topLeft, const QColor& bottomRight) {
    p.fillRect(QRect(r.left(), r.top(), r.width() - 1, 1), topLeft);
    p.fillRect(QRect(r.left(), r.top(), 1, r.height() - 1), topLeft);
    p.fillRect(QRect(r.left(), r.bottom(), r.width(), 1), bottomRight);
    p.fillRect(QRect(r.right(), r.top(), 1, r.height()), bottomRight);
}

void bevelFrame(QPainter& p, const QRect& r, const Look& look, bool sunken) {
    const int depth = qMin(clampedDepth(look.bevelDepth), qMin(r.width(), r.height()) / 3);
    const QColor light = sunken ? look.darkShadow : look.highlight;
    const QColor dark = sunken ? look.highlight : look.darkShadow;
    for (int i = 0; i < depth; ++i) {
        const qreal t = qreal(i) / depth;
        edge(p, r.adjusted(i, i, -i, -i), mix(light, look.face, t), mix(dark, look.face, t));
    }
}

void raisedFrame(QPainter& p, const QRect& r, const Look& look) {
    if (look.bevel >= 2)
        return bevelFrame(p, r, look, false);
    edge(p, r, look.highlight, look.darkShadow);
    edge(p, r.adjusted(1, 1, -1, -1), Qt::transparent, look.shadow);
}

void sunkenFrame(QPainter& p, const QRect& r, const Look& look) {
    if (look.bevel >= 2)
        return bevelFrame(p, r, look, true);
    edge(p, r, look.darkShadow, look.highlight);
    edge(p, r.adjusted(1, 1, -1, -1), look.shadow, Qt::transparent);
}

// This look never draws the dotted focus rectangle, so focus shows in the shading itself: a
// border in the focus colour with a faint inner ring, distinct from the hover ring.
void xpFrame(QPainter& p, const Look& look, Look::State state, bool focused) {
    QColor base = look.face;
    if (!look.xpDefaultColors && state == Look::Hover)
        base = look.xpHover;
    else if (!look.xpDefaultColors && state == Look::Pressed)
        base = look.xpPressed;
    else if (state == Look::Pressed)
        base = base.darker(112);

    // Half-pixel offsets put one-pixel lines on whole pixels.
    const QRectF box = QRectF(look.rect).adjusted(0.5, 0.5, -0.5, -0.5);
    QLinearGradient shade(box.topLeft(), box.bottomLeft());
    shade.setColorAt(0, state == Look::Pressed ? base.darker(106) : base.lighter(112));
    shade.setColorAt(1, state == Look::Pressed ? base.lighter(104) : base.darker(106));
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(focused ? look.accent : mix(look.face, look.text, 0.5), 1));
    p.setBrush(shade);
    p.drawRoundedRect(box, 3, 3);
    if (state == Look::Hover && look.xpDefaultColors) {
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

} // namespace

QBKButtons::QBKButtons(QWidget* parent)
    : QAbstractButton(parent)
    , overTimer_(new QTimer(this)) {
    for (int i = 0; i < kPropertyCount; ++i) {
        if (!heldByWidget(Property(i)))
            values_[i] = defaultValue(Property(i));
    }
    setMouseTracking(true); // hovering starts on a move without buttons
    setFocusPolicy(Qt::StrongFocus);
    overTimer_->setObjectName(QStringLiteral("OverTimer"));
    overTimer_->setInterval(kOverInterval);
    connect(overTimer_, &QTimer::timeout, this, &QBKButtons::checkPointer);
}

QBKButtons::ColorValue QBKButtons::colorValue(const QColor& color) {
    return ColorValue(color.red()) | ColorValue(color.green()) << 8 |
           ColorValue(color.blue()) << 16;
}

QColor QBKButtons::resolveColor(ColorValue value) const {
    if (value & kSystemColor)
        return palette().color(systemRole(int(value & 0xFF)));
    return QColor(int(value & 0xFF), int(value >> 8 & 0xFF), int(value >> 16 & 0xFF));
}

void QBKButtons::initProperties() {
    for (int i = 0; i < kPropertyCount; ++i)
        assign(Property(i), defaultValue(Property(i)));
}

void QBKButtons::save(ButtonPropertyStore& store) const {
    for (int i = 0; i < kPropertyCount; ++i) {
        const QVariant v = value(Property(i));
        if (!same(v, defaultValue(Property(i))))
            store.write(propertyName(Property(i)), v);
    }
}

void QBKButtons::load(const ButtonPropertyStore& store) {
    for (int i = 0; i < kPropertyCount; ++i) {
        const auto p = Property(i);
        const QVariant fallback = defaultValue(p);
        assign(p, convert(info(p).kind, store.read(propertyName(p), fallback)).value_or(fallback));
    }
}

QString QBKButtons::propertyName(Property property) {
    return QString::fromLatin1(info(property).name);
}

QVariant QBKButtons::value(Property property) const {
    switch (property) {
    case Property::Caption:
        return text();
    case Property::Font:
        return font();
    case Property::Enabled:
        return !testAttribute(Qt::WA_ForceDisabled); // disabled by itself, not by its parent
    default:
        return values_[static_cast<std::size_t>(property)];
    }
}

QVariant QBKButtons::value(const QString& name) const {
    for (int i = 0; i < kPropertyCount; ++i) {
        if (name == QLatin1String(kProperties[i].name))
            return value(Property(i));
    }
    return {};
}

bool QBKButtons::setValue(Property property, const QVariant& value) {
    const auto converted = convert(info(property).kind, value);
    if (!converted)
        return false;
    if (same(*converted, this->value(property)))
        return true;
    assign(property, *converted);
    emit propertyChanged(propertyName(property));
    if (property == Property::Picture && !picture().isNull()) {
        const QSizeF size = picture().deviceIndependentSize();
        setValue(Property::OriginalPicSizeW, qRound(size.width()));
        setValue(Property::OriginalPicSizeH, qRound(size.height()));
    }
    return true;
}

bool QBKButtons::setValue(const QString& name, const QVariant& value) {
    for (int i = 0; i < kPropertyCount; ++i) {
        if (name == QLatin1String(kProperties[i].name))
            return setValue(Property(i), value);
    }
    return false;
}

QVariant QBKButtons::defaultValue(Property p) const {
    const PropertyInfo& i = info(p);
    switch (i.kind) {
    case Kind::Text:
        return p == Property::Caption ? objectName() : QString::fromLatin1(i.text);
    case Kind::Int16:
        return int(i.number);
    case Kind::Bool:
        return i.number != 0;
    case Kind::Color:
        return ColorValue(i.number);
    case Kind::Picture:
        return QPixmap();
    case Kind::Font:
        return parentWidget() ? parentWidget()->font() : QApplication::font(this);
    }
    return {};
}

void QBKButtons::assign(Property p, const QVariant& value) {
    switch (p) {
    case Property::Caption:
        setText(value.toString()); // also the access key
        break;
    case Property::Font:
        setFont(value.value<QFont>());
        break;
    case Property::Enabled:
        setEnabled(value.toBool());
        if (!isEnabled())
            pressed_ = false;
        break;
    default:
        values_[static_cast<std::size_t>(p)] = value;
    }
    if (p == Property::MousePointer || p == Property::MouseIcon)
        applyCursor();
    updateGeometry();
    update();
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
    const QPixmap hover = pictureHover();
    return hovering_ && !hover.isNull() ? hover : picture();
}

void QBKButtons::initLook(QBKButtonLook& look) const {
    const bool shownPressed = (pressed_ && !draggedOff_) || isDown();
    look.rect = rect();
    look.style = buttonStyle();
    look.state = !isEnabled()   ? Look::Normal
                 : shownPressed ? Look::Pressed
                 : hovering_    ? Look::Hover
                                : Look::Normal;
    look.designMode = designMode_;
    look.isDefault = default_;
    look.focused = hasFocus();
    look.showFocusRect = showFocusRect();
    look.borderAlways = xpShowBorderAlways();
    look.transparent = transparentBg();
    look.xpDefaultColors = xpDefaultColors();
    look.bevel = bevel();
    look.bevelDepth = bevelDepth();
    look.face = resolveColor(backColor());
    look.text = isEnabled() ? resolveColor(foreColor())
                            : palette().color(QPalette::Disabled, QPalette::ButtonText);
    look.shadow = resolveColor(kButtonShadow);
    look.highlight = resolveColor(kHighlight3d);
    look.darkShadow = resolveColor(kDarkShadow3d);
    look.accent = palette().color(QPalette::Highlight);
    look.xpHover = resolveColor(xpColorHover());
    look.xpPressed = resolveColor(xpColorPressed());
    look.picturePosition = picturePosition();
    look.caption = text();
    look.font = font();
    look.picture = QPixmap();
    look.pictureSize = QSize();
    QPixmap shown = currentPicture();
    if (shown.isNull())
        return;
    look.pictureSize = pictureSize() == 0 ? QSize(originalPicSizeW(), originalPicSizeH())
                                          : QSize(pictureWidth(), pictureHeight());
    shown.setMask(shown.createMaskFromColor(resolveColor(maskColor()), Qt::MaskInColor));
    if (!isEnabled())
        shown = QIcon(shown).pixmap(look.pictureSize, devicePixelRatioF(), QIcon::Disabled);
    look.picture = shown;
}

void QBKButtons::paintLook(QPainter& p, const QBKButtonLook& look) {
    const QRect r = look.rect;
    if (!look.transparent)
        p.fillRect(r, look.face);

    const bool run = !look.designMode;
    const Look::State state = run ? look.state : Look::Normal;
    switch (look.style) {
    case RaisedStyle:
    case HoverStyle: {
        QRect frame = r;
        const bool focusFrame = look.style == RaisedStyle && look.focused && state != Look::Pressed;
        if (run && (look.isDefault || focusFrame)) {
            edge(p, frame, look.darkShadow, look.darkShadow);
            frame.adjust(1, 1, -1, -1);
        }
        if (state == Look::Pressed)
            sunkenFrame(p, frame, look);
        else if (state == Look::Hover || look.style == RaisedStyle || !run)
            raisedFrame(p, frame, look);
        break;
    }
    case OutlineStyle:
        if (!run || state != Look::Normal || look.borderAlways)
            edge(p, r, look.text, look.text);
        break;
    case XpStyle:
        xpFrame(p, look, state, run && look.focused);
        break;
    default:
        break;
    }

    const int inset = frameInset(look.style, look.bevel, look.bevelDepth);
    const QRect focusRect = r.adjusted(inset + 1, inset + 1, -inset - 1, -inset - 1);
    QRect area = r.adjusted(inset + 2, inset + 2, -inset - 2, -inset - 2);
    if (state == Look::Pressed && look.style <= OutlineStyle)
        area.translate(1, 1); // the face seems pushed in
    const QSize text = captionSize(look.font, look.caption);
    const QSize picture = look.picture.isNull() ? QSize() : look.pictureSize;
    const Placement at = place(area, picture, text, look.picturePosition);

    if (!picture.isEmpty()) {
        p.save();
        p.setRenderHint(QPainter::SmoothPixmapTransform);
        p.drawPixmap(at.picture, look.picture);
        p.restore();
    }
    if (look.focused && look.showFocusRect && look.style != XpStyle)
        dottedRect(p, focusRect, look.text);
    if (!text.isEmpty()) {
        p.setFont(look.font);
        p.setPen(look.text);
        p.drawText(at.text, Qt::AlignCenter | Qt::TextShowMnemonic, look.caption);
    }
}

void QBKButtons::GoToURL() {
    const QString target = url();
    if (target.startsWith(QLatin1String("mailto:"), Qt::CaseSensitive))
        openMail(target);
    else if (!target.isEmpty())
        navigate(target);
}

QSize QBKButtons::contentSize() const {
    const QPixmap shown = picture().isNull() ? pictureHover() : picture();
    const QSize pic = shown.isNull()       ? QSize()
                      : pictureSize() == 0 ? QSize(originalPicSizeW(), originalPicSizeH())
                                           : QSize(pictureWidth(), pictureHeight());
    return groupSize(pic, captionSize(font(), text()), picturePosition());
}

int QBKButtons::contentInset() const {
    return frameInset(buttonStyle(), bevel(), bevelDepth()) + 2;
}

QSize QBKButtons::sizeHint() const {
    const QSize least = minimumSizeHint();
    return {qMax(75, least.width() + 12), qMax(23, least.height() + 4)};
}

QSize QBKButtons::minimumSizeHint() const {
    const QSize content = contentSize().expandedTo(QSize(0, 0));
    return content + QSize(2 * contentInset(), 2 * contentInset());
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

bool QBKButtons::event(QEvent* event) {
    // The access key clicks at once, so that it opens the link like any other click.
    if (event->type() == QEvent::Shortcut && isEnabled()) {
        const auto* shortcutEvent = static_cast<QShortcutEvent*>(event);
        if (!shortcutEvent->isAmbiguous() && shortcutEvent->key() == shortcut()) {
            activate();
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
    if (event->button() != Qt::RightButton) {
        pressed_ = true;
        draggedOff_ = false;
        update();
    }
    emit MouseDown(lastButtons_, lastModifiers_, lastPosition_.x(), lastPosition_.y());
}

void QBKButtons::mouseReleaseEvent(QMouseEvent* event) {
    remember(event, event->button());
    const QPointer<QBKButtons> self(this);
    pressed_ = false;
    if (event->button() != Qt::RightButton) {
        update();
        if (isInside(event->position(), size()))
            activate();
        if (!self)
            return; // a click may close the dialog
    }
    emit MouseUp(lastButtons_, lastModifiers_, lastPosition_.x(), lastPosition_.y());
}

void QBKButtons::mouseMoveEvent(QMouseEvent* event) {
    remember(event, event->buttons());
    if (!hovering_ && isInside(event->position(), size())) {
        overTimer_->start();
        hovering_ = true;
        draggedOff_ = false;
        emit MouseIn(lastModifiers_);
        update();
    }
    emit MouseMove(lastButtons_, lastModifiers_, lastPosition_.x(), lastPosition_.y());
}

void QBKButtons::leaveEvent(QEvent* event) {
    checkPointer();
    QAbstractButton::leaveEvent(event);
}

void QBKButtons::checkPointer() {
    if (!hovering_) {
        overTimer_->stop();
        return;
    }
    if (pointerInside())
        return;
    overTimer_->stop();
    hovering_ = false;
    emit MouseOut(lastModifiers_);
    draggedOff_ = pressed_; // dragged off while held: drawn raised until it comes back
    update();
}

void QBKButtons::keyPressEvent(QKeyEvent* event) {
    const QPointer<QBKButtons> self(this);
    emit KeyDown(event->key(), event->modifiers());
    if (self && !event->text().isEmpty())
        emit KeyPress(event->text());
    if (!self)
        return;
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Select:
        if (!event->isAutoRepeat()) {
            pressed_ = true;
            draggedOff_ = false;
            update();
        }
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!event->isAutoRepeat())
            activate();
        break;
    default:
        QAbstractButton::keyPressEvent(event); // arrows, and Escape on to the dialog
    }
}

void QBKButtons::keyReleaseEvent(QKeyEvent* event) {
    const QPointer<QBKButtons> self(this);
    emit KeyUp(event->key(), event->modifiers());
    if (!self)
        return;
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Select:
        if (!event->isAutoRepeat() && pressed_) {
            pressed_ = false;
            update();
            activate();
        }
        break;
    default:
        QAbstractButton::keyReleaseEvent(event);
    }
}

void QBKButtons::focusInEvent(QFocusEvent* event) {
    update();
    QAbstractButton::focusInEvent(event);
}

void QBKButtons::focusOutEvent(QFocusEvent* event) {
    pressed_ = false;
    update();
    QAbstractButton::focusOutEvent(event);
}

void QBKButtons::activate() {
    const QPointer<QBKButtons> self(this);
    click();
    if (self)
        GoToURL();
}

void QBKButtons::applyCursor() {
    // The usual pointer numbers 1-15; 4 (an icon) has no equivalent and shows the arrow.
    static constexpr std::array<Qt::CursorShape, 16> kShapes{
        Qt::ArrowCursor,     Qt::ArrowCursor,   Qt::CrossCursor,     Qt::IBeamCursor,
        Qt::ArrowCursor,     Qt::SizeAllCursor, Qt::SizeBDiagCursor, Qt::SizeVerCursor,
        Qt::SizeFDiagCursor, Qt::SizeHorCursor, Qt::UpArrowCursor,   Qt::WaitCursor,
        Qt::ForbiddenCursor, Qt::BusyCursor,    Qt::WhatsThisCursor, Qt::SizeAllCursor};
    const int pointer = mousePointer();
    if (pointer == kCustomPointer && !mouseIcon().isNull())
        setCursor(QCursor(mouseIcon()));
    else if (pointer > 0 && pointer < int(kShapes.size()))
        setCursor(kShapes[static_cast<std::size_t>(pointer)]);
    else
        unsetCursor();
}

} // namespace cvl
