#include "ui/qt/traffic_lamps.h"

#include "ui/picture_colours.h"

#include <QPainter>
#include <QTimer>

namespace cvl {

namespace {

constexpr const auto& kLamps = kLampLooks;

} // namespace

TrafficLamps::TrafficLamps(QWidget* parent)
    : QWidget(parent)
    , refresh_(new QTimer(this)) {
    setObjectName(QStringLiteral("TrafficLamps"));
    clock_.start();
    refresh_->setInterval(50);
    connect(refresh_, &QTimer::timeout, this, [this] {
        update();
        bool anyLit = false;
        for (std::size_t i = 0; i < litAt_.size(); ++i) {
            anyLit = anyLit || isLit(static_cast<Lamp>(i));
        }
        if (!anyLit) {
            refresh_->stop();
        }
    });
    setToolTip(tr("Traffic: data in, data out, TCP, UDP"));
}

void TrafficLamps::light(Lamp lamp) {
    litAt_[static_cast<std::size_t>(lamp)] = clock_.elapsed();
    if (!refresh_->isActive()) {
        refresh_->start();
        update();
    }
}

bool TrafficLamps::isLit(Lamp lamp) const {
    return clock_.elapsed() - litAt_[static_cast<std::size_t>(lamp)] < kGlowMs;
}

QSize TrafficLamps::sizeHint() const {
    const QFontMetrics metrics(font());
    int width = 0;
    for (const LampLook& look : kLamps) {
        width += metrics.height() + metrics.horizontalAdvance(QLatin1String(look.label)) + 10;
    }
    return {width, metrics.height() + 4};
}

void TrafficLamps::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QFontMetrics metrics(font());
    const int diameter = metrics.height() - 6;
    int x = 2;
    for (std::size_t i = 0; i < kLamps.size(); ++i) {
        const bool lit = isLit(static_cast<Lamp>(i));
        const Rgb lampColour = kLamps[i].colour;
        QColor colour(lampColour.red, lampColour.green, lampColour.blue);
        if (!lit) {
            colour = palette().color(QPalette::Mid);
        }
        const QRectF lamp(x, (height() - diameter) / 2.0, diameter, diameter);
        painter.setPen(QPen(palette().color(QPalette::Dark), 1));
        painter.setBrush(colour);
        painter.drawEllipse(lamp);
        x += diameter + 4;
        painter.setPen(palette().color(QPalette::WindowText));
        const QString label = QLatin1String(kLamps[i].label);
        painter.drawText(QRect(x, 0, metrics.horizontalAdvance(label) + 2, height()),
                         Qt::AlignVCenter | Qt::AlignLeft, label);
        x += metrics.horizontalAdvance(label) + 10;
    }
}

} // namespace cvl
