#include "ui/qt/painted_images.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <array>
#include <vector>

namespace cvl {

namespace {

// Icons are painted at a few sizes so they stay sharp at 100% and 200% scaling.
template <typename Paint> QIcon paintedIcon(Paint&& paint, std::initializer_list<int> sizes) {
    QIcon icon;
    for (const int size : sizes) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        paint(painter, QRectF(0, 0, size, size));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void paintClock(QPainter& painter, const QRectF& area, const QColor& face, const QColor& ring) {
    const QRectF dial = area.adjusted(area.width() * 0.06, area.height() * 0.06,
                                      -area.width() * 0.06, -area.height() * 0.06);
    painter.setPen(QPen(ring, area.width() * 0.08));
    painter.setBrush(face);
    painter.drawEllipse(dial);
    const QPointF centre = dial.center();
    const qreal r = dial.width() / 2;
    painter.setPen(QPen(ring, area.width() * 0.08, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(centre, centre + QPointF(0, -r * 0.62));
    painter.drawLine(centre, centre + QPointF(r * 0.45, r * 0.12));
}

// A flag as bands of colour, horizontal or vertical, with an optional square in the corner.
struct Flag {
    bool vertical = false;
    std::vector<QColor> bands;
    QColor canton; // invalid when there is none
};

const std::array<Flag, 24>& flags() {
    const QColor red(0xC8, 0x10, 0x2E), white(Qt::white), blue(0x00, 0x38, 0x93),
        green(0x00, 0x7A, 0x3D), yellow(0xFC, 0xD1, 0x16), black(Qt::black),
        orange(0xFF, 0x99, 0x33), sky(0x4F, 0x9B, 0xD9);
    static const std::array<Flag, 24> table{{
        {false, {red, white, red, white, red, white, red}, blue}, // 0 USA
        {true, {red, white, red}, {}},                            // 1 Canada
        {false, {sky}, {}},                                       // 2 world
        {true, {green, white, red}, {}},                          // 3 Mexico
        {false, {green, yellow, green}, {}},                      // 4 Brazil
        {false, {white, red}, blue},                              // 5 Chile
        {false, {yellow, yellow, blue, red}, {}},                 // 6 Colombia
        {false, {blue, white, red, white, blue}, {}},             // 7 United Kingdom
        {false, {black, red, yellow}, {}},                        // 8 Germany
        {false, {red, yellow, yellow, red}, {}},                  // 9 Spain
        {true, {green, white, red}, {}},                          // 10 Italy
        {true, {blue, white, red}, {}},                           // 11 France
        {false, {red, white, green, white, blue}, {}},            // 12 South Africa
        {false, {black, white, red, white, green}, {}},           // 13 Kenya
        {false, {red, white, black}, {}},                         // 14 Egypt
        {false, {white, blue, red}, {}},                          // 15 Russia
        {false, {red, white}, {}},                                // 16 Indonesia
        {false, {orange, white, green}, {}},                      // 17 India
        {false, {red, white, blue, blue, white, red}, {}},        // 18 Thailand
        {false, {red}, yellow},                                   // 19 China
        {false, {green}, red},                                    // 20 Bangladesh
        {false, {blue}, red},                                     // 21 Australia
        {false, {white}, red},                                    // 22 Japan
        {false, {blue}, red},                                     // 23 New Zealand
    }};
    return table;
}

void paintFlag(QPainter& painter, const QRectF& area, const Flag& flag, bool world) {
    const QRectF field = area.adjusted(0, area.height() * 0.18, 0, -area.height() * 0.18);
    QPainterPath clip;
    clip.addRoundedRect(field, area.width() * 0.08, area.width() * 0.08);
    painter.setClipPath(clip);
    const qsizetype count = static_cast<qsizetype>(flag.bands.size());
    for (qsizetype i = 0; i < count; ++i) {
        const QRectF band = flag.vertical
                                ? QRectF(field.left() + field.width() * i / count, field.top(),
                                         field.width() / count, field.height())
                                : QRectF(field.left(), field.top() + field.height() * i / count,
                                         field.width(), field.height() / count);
        painter.fillRect(band.adjusted(0, 0, 1, 1), flag.bands[static_cast<std::size_t>(i)]);
    }
    if (flag.canton.isValid()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(flag.canton);
        const qreal side = field.height() * 0.5;
        painter.drawRect(QRectF(field.topLeft(), QSizeF(side * 1.3, side)));
    }
    if (world) {
        painter.setPen(QPen(Qt::white, area.width() * 0.05));
        painter.setBrush(Qt::NoBrush);
        const qreal r = field.height() * 0.36;
        painter.drawEllipse(field.center(), r, r);
        painter.drawLine(field.center() - QPointF(r, 0), field.center() + QPointF(r, 0));
        painter.drawEllipse(field.center(), r * 0.45, r);
    }
    painter.setClipping(false);
    painter.setPen(QPen(QColor(0, 0, 0, 90), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(clip);
}

} // namespace

QIcon applicationIcon() {
    static const QIcon icon = paintedIcon(
        [](QPainter& painter, const QRectF& area) {
            paintClock(painter, area, QColor(0xF4, 0xF7, 0xFB), QColor(0x1F, 0x5F, 0xAD));
        },
        {16, 22, 24, 32, 48, 64, 128, 256});
    return icon;
}

QIcon trayIcon(bool synced) {
    if (synced) {
        return applicationIcon();
    }
    static const QIcon waiting = paintedIcon(
        [](QPainter& painter, const QRectF& area) {
            paintClock(painter, area, QColor(0xF4, 0xF7, 0xFB), QColor(0x1F, 0x5F, 0xAD));
            // A red dot ringed in white, large enough to read at 16 pixels on any panel.
            const qreal side = area.width() * 0.5;
            const QRectF dot(area.right() - side, area.bottom() - side, side, side);
            painter.setPen(QPen(Qt::white, qMax(1.0, area.width() * 0.06)));
            painter.setBrush(QColor(0xD0, 0x21, 0x21));
            painter.drawEllipse(dot.adjusted(0.5, 0.5, -0.5, -0.5));
        },
        {16, 22, 24, 32, 48, 64, 128, 256});
    return waiting;
}

QIcon activityIcon(bool busy) {
    static const QIcon idle = paintedIcon(
        [](QPainter& painter, const QRectF& area) {
            paintClock(painter, area, QColor(0xE6, 0xEA, 0xEF), QColor(0x70, 0x78, 0x82));
        },
        {16, 24, 32, 48});
    static const QIcon checking = paintedIcon(
        [](QPainter& painter, const QRectF& area) {
            paintClock(painter, area, QColor(0xFF, 0xF4, 0xD6), QColor(0xD9, 0x8E, 0x04));
        },
        {16, 24, 32, 48});
    return busy ? checking : idle;
}

QIcon flagIcon(int index) {
    static std::array<QIcon, 24> cache;
    const std::size_t slot = index >= 0 && index < 24 ? static_cast<std::size_t>(index) : 2;
    if (cache[slot].isNull()) {
        cache[slot] = paintedIcon(
            [slot](QPainter& painter, const QRectF& area) {
                paintFlag(painter, area, flags()[slot], slot == 2);
            },
            {16, 24, 32, 48});
    }
    return cache[slot];
}

} // namespace cvl
