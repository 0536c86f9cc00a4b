// Tells when a descriptor has something to read, like the toolkit's socket notifier, but all
// the watched descriptors of a thread share one kernel readiness set, and the event loop waits
// on that set's single descriptor. Each wake-up of the loop then polls a handful of
// descriptors instead of every socket of every service, and a ready socket is told directly.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace cvl {

class ReadinessSet;

class ReadWatch {
public:
    // Starts watching `descriptor`, which must stay open until this watch is gone or disabled.
    // `onReadable` runs from the event loop while the descriptor is readable (or has an error
    // to report), so it must take what is waiting, or some of it, each time.
    ReadWatch(int descriptor, std::function<void()> onReadable);
    ~ReadWatch();
    ReadWatch(const ReadWatch&) = delete;
    ReadWatch& operator=(const ReadWatch&) = delete;

    void setEnabled(bool on);
    [[nodiscard]] bool isEnabled() const { return enabled_; }

private:
    std::shared_ptr<ReadinessSet> set_;
    int descriptor_;
    std::uint64_t id_;
    bool enabled_ = false;
};

} // namespace cvl
