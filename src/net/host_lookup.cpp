#include "net/host_lookup.h"

#include <mutex>
#include <thread>
#include <utility>

namespace cvl {

// What a lookup thread shares with the loop: whether there is still a loop to post to.
struct HostLookup::Shared {
    std::mutex mutex;
    EventLoop* loop = nullptr;
};

HostLookup::HostLookup(EventLoop& loop)
    : shared_(std::make_shared<Shared>()) {
    shared_->loop = &loop;
}

HostLookup::~HostLookup() {
    const std::lock_guard lock(shared_->mutex);
    shared_->loop = nullptr;
}

void HostLookup::cancel() {
    ++generation_;
    answer_ = nullptr;
}

void HostLookup::start(const std::string& host, std::uint16_t port, Answer answer) {
    cancel();
    if (const std::optional<PeerAddress> literal = PeerAddress::fromText(host, port)) {
        answer({*literal});
        return;
    }
    answer_ = std::move(answer);
    const std::uint64_t generation = generation_;
    // Runs on the loop: this lookup's answer, unless a newer one or cancel() came since.
    Deliver deliver = [this, generation](const std::vector<PeerAddress>& addresses) {
        if (generation != generation_) {
            return;
        }
        const Answer answer = std::exchange(answer_, nullptr);
        answer(addresses);
    };
    // A thread per lookup: lookups are rare (one per synchronisation or update check), and a
    // slow name server then holds up nothing else.
    std::thread([shared = shared_, host, port, deliver = std::move(deliver)]() mutable {
        post(shared, std::move(deliver), resolveBlocking(host, port));
    }).detach();
}

void HostLookup::post(const std::shared_ptr<Shared>& shared, Deliver deliver,
                      std::vector<PeerAddress> addresses) {
    const std::lock_guard lock(shared->mutex);
    if (shared->loop == nullptr) {
        return;
    }
    shared->loop->post([shared, deliver = std::move(deliver), found = std::move(addresses)] {
        // On the loop's thread, as the HostLookup's destructor: `deliver` may use it as long as
        // that has not run.
        bool alive = false;
        {
            const std::lock_guard check(shared->mutex);
            alive = shared->loop != nullptr;
        }
        if (alive) {
            deliver(found);
        }
    });
}

} // namespace cvl
