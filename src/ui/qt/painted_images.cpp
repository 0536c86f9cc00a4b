#include "ui/qt/painted_images.h"

#include "ui/picture_colours.h"

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

QColor qColor(Rgb rgb) {
    return {rgb.red, rgb.green, rgb.blue};
}

void paintFlag(QPainter& painter, const QRectF& area, const FlagLook& flag, bool world) {
    const QRectF field = area.adjusted(0, area.height() * 0.18, 0, -area.height() * 0.18);
    QPainterPath clip;
    clip.addRoundedRect(field, area.width() * 0.08, area.width() * 0.08);
    painter.setClipPath(clip);
    const auto count = static_cast<qsizetype>(flag.bandCount);
    for (qsizetype i = 0; i < count; ++i) {
        const QRectF band = flag.vertical
                                ? QRectF(field.left() + field.width() * i / count, field.top(),
                                         field.width() / count, field.height())
                                : QRectF(field.left(), field.top() + field.height() * i / count,
                                         field.width(), field.height() / count);
        painter.fillRect(band.adjusted(0, 0, 1, 1),
                         qColor(flag.bands[static_cast<std::size_t>(i)]));
    }
    if (flag.hasCanton) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(flag.canton));
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
            paintClock(painter, area, qColor(colours::kClockFace), qColor(colours::kClockRing));
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
            paintClock(painter, area, qColor(colours::kClockFace), qColor(colours::kClockRing));
            // A red dot ringed in white, large enough to read at 16 pixels on any panel.
            const qreal side = area.width() * 0.5;
            const QRectF dot(area.right() - side, area.bottom() - side, side, side);
            painter.setPen(QPen(Qt::white, qMax(1.0, area.width() * 0.06)));
            painter.setBrush(qColor(colours::kUnsynchronisedMark));
            painter.drawEllipse(dot.adjusted(0.5, 0.5, -0.5, -0.5));
        },
        {16, 22, 24, 32, 48, 64, 128, 256});
    return waiting;
}

QIcon activityIcon(bool busy) {
    static const QIcon idle = paintedIcon(
        [](QPainter& painter, const QRectF& area) {
            paintClock(painter, area, qColor(colours::kIdleFace), qColor(colours::kIdleRing));
        },
        {16, 24, 32, 48});
    static const QIcon checking = paintedIcon(
        [](QPainter& painter, const QRectF& area) {
            paintClock(painter, area, qColor(colours::kBusyFace), qColor(colours::kBusyRing));
        },
        {16, 24, 32, 48});
    return busy ? checking : idle;
}

QIcon flagIcon(int index) {
    static std::array<QIcon, 24> cache;
    const std::size_t slot = static_cast<std::size_t>(&flagLook(index) - kFlagLooks.data());
    if (cache[slot].isNull()) {
        cache[slot] = paintedIcon(
            [slot](QPainter& painter, const QRectF& area) {
                paintFlag(painter, area, kFlagLooks[slot], slot == kWorldFlag);
            },
            {16, 24, 32, 48});
    }
    return cache[slot];
}

} // namespace cvl
