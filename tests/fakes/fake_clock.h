// A clock that stands still until the test moves it. Starts at 2004-01-01 00:00:00.000.
#pragma once

#include "platform/clock.h"

#include <QDateTime>
#include <vector>

namespace cvl::test {

class FakeClock final : public Clock {
public:
    [[nodiscard]] LocalDateTime localNow() const override { return now_; }
    [[nodiscard]] int localMilliseconds() const override { return milliseconds_; }
    [[nodiscard]] std::uint32_t tickCountMs() const override { return ticks_; }
    bool setSystemTimeUtc(const SystemTime& utc) override {
        setCalls.push_back(utc);
        return acceptSet;
    }

    void set(const LocalDateTime& now, int milliseconds = 0) {
        now_ = now;
        milliseconds_ = milliseconds;
    }
    void setMilliseconds(int milliseconds) { milliseconds_ = milliseconds; }
    void setTicks(std::uint32_t ticks) { ticks_ = ticks; }
    // Moves local time, the millisecond reading and the tick count together.
    void advanceMs(qint64 ms) {
        ticks_ += static_cast<std::uint32_t>(ms);
        const QDateTime moved =
            QDateTime(QDate(now_.year, now_.month, now_.day),
                      QTime(now_.hour, now_.minute, now_.second, milliseconds_), Qt::UTC)
                .addMSecs(ms);
        now_ = {moved.date().year(), moved.date().month(),  moved.date().day(),
                moved.time().hour(), moved.time().minute(), moved.time().second()};
        milliseconds_ = moved.time().msec();
    }

    std::vector<SystemTime> setCalls;
    bool acceptSet = true;

private:
    LocalDateTime now_{2004, 1, 1, 0, 0, 0};
    int milliseconds_ = 0;
    std::uint32_t ticks_ = 1000;
};

} // namespace cvl::test
