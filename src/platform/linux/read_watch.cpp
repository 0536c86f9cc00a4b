#include "platform/read_watch.h"

#include <QSocketNotifier>
#include <array>
#include <sys/epoll.h>
#include <unistd.h>
#include <unordered_map>

namespace cvl {

// One epoll set per thread, alive while any watch uses it.
class ReadinessSet final : public std::enable_shared_from_this<ReadinessSet> {
public:
    static std::shared_ptr<ReadinessSet> forThisThread() {
        thread_local std::weak_ptr<ReadinessSet> current;
        std::shared_ptr<ReadinessSet> set = current.lock();
        if (!set) {
            set = std::make_shared<ReadinessSet>();
            current = set;
        }
        return set;
    }

    ReadinessSet() = default;

    ~ReadinessSet() {
        if (notifier_ != nullptr) {
            // The last watch may go from inside dispatch(), that is inside this notifier's
            // own signal: then it is deleted once that has returned.
            notifier_->setEnabled(false);
            if (insideSignal_) {
                notifier_->deleteLater();
            } else {
                delete notifier_;
            }
        }
        if (epoll_ >= 0) {
            ::close(epoll_);
        }
    }

    ReadinessSet(const ReadinessSet&) = delete;
    ReadinessSet& operator=(const ReadinessSet&) = delete;

    std::uint64_t add(std::function<void()> onReadable) {
        const std::uint64_t id = nextId_++;
        handlers_.emplace(id, std::move(onReadable));
        return id;
    }

    void remove(std::uint64_t id) { handlers_.erase(id); }

    // Level-triggered, so whatever a handler leaves unread is reported again on the next pass.
    bool watch(int descriptor, std::uint64_t id) {
        if (!open()) {
            return false;
        }
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u64 = id;
        return ::epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) == 0;
    }

    void unwatch(int descriptor) { ::epoll_ctl(epoll_, EPOLL_CTL_DEL, descriptor, nullptr); }

private:
    // Made when first needed, and tried again by the next watch if no descriptor was free.
    bool open() {
        if (epoll_ < 0) {
            epoll_ = ::epoll_create1(EPOLL_CLOEXEC);
            if (epoll_ < 0) {
                return false;
            }
            notifier_ = new QSocketNotifier(epoll_, QSocketNotifier::Read);
            QObject::connect(notifier_, &QSocketNotifier::activated, notifier_,
                             [this] { dispatch(); });
        }
        return true;
    }

    void dispatch() {
        // A handler may drop the last watch; the set outlives this pass.
        const std::shared_ptr<ReadinessSet> self = shared_from_this();
        std::array<epoll_event, 64> events{};
        const int count = ::epoll_wait(epoll_, events.data(), events.size(), 0);
        for (int i = 0; i < count; ++i) {
            // Ids are never reused: a watch removed by an earlier handler of this pass is
            // simply not found.
            const auto found = handlers_.find(events[static_cast<std::size_t>(i)].data.u64);
            if (found != handlers_.end()) {
                const std::function<void()> handler = found->second;
                handler();
            }
        }
        // When this pass holds the last reference, the set goes as it returns: still inside
        // the notifier's signal.
        insideSignal_ = self.use_count() == 1;
    }

    int epoll_ = -1;
    QSocketNotifier* notifier_ = nullptr;
    std::unordered_map<std::uint64_t, std::function<void()>> handlers_;
    std::uint64_t nextId_ = 1;
    bool insideSignal_ = false;
};

ReadWatch::ReadWatch(int descriptor, std::function<void()> onReadable)
    : set_(ReadinessSet::forThisThread())
    , descriptor_(descriptor)
    , id_(set_->add(std::move(onReadable))) {
    setEnabled(true);
}

ReadWatch::~ReadWatch() {
    setEnabled(false);
    set_->remove(id_);
}

void ReadWatch::setEnabled(bool on) {
    if (on == enabled_) {
        return;
    }
    if (on) {
        enabled_ = set_->watch(descriptor_, id_);
    } else {
        set_->unwatch(descriptor_);
        enabled_ = false;
    }
}

} // namespace cvl
