// The traffic lamps of the status bar: data in, data out, TCP and UDP. Each lights when its
// kind of traffic passes and dims a moment later; lighting costs nothing but a timestamp, so
// a busy server does not repaint per request.
#pragma once

#include "services/lamp.h"

#include <QElapsedTimer>
#include <QWidget>
#include <array>

class QTimer;

namespace cvl {

class TrafficLamps final : public QWidget {
    Q_OBJECT
public:
    explicit TrafficLamps(QWidget* parent = nullptr);

    void light(Lamp lamp);
    [[nodiscard]] bool isLit(Lamp lamp) const;
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    static constexpr qint64 kGlowMs = 250;
    QElapsedTimer clock_;
    std::array<qint64, 4> litAt_{-kGlowMs, -kGlowMs, -kGlowMs, -kGlowMs};
    QTimer* refresh_;
};

} // namespace cvl
