#include "platform/windows/message_loop.h"

#include <algorithm>
#include <utility>

namespace cvl {

namespace {

constexpr UINT kSocketMessage = WM_APP + 1; // wParam: the socket
constexpr UINT kCheckMessage = WM_APP + 2;  // wParam: the watch
constexpr UINT kPostedMessage = WM_APP + 3;
constexpr UINT_PTR kTimerId = 1;
constexpr long kSocketEvents = FD_READ | FD_WRITE | FD_ACCEPT | FD_CONNECT | FD_CLOSE;
constexpr wchar_t kClassName[] = L"ChronvaleEventLoop";

LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    }
    auto* loop = reinterpret_cast<MessageLoop*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (loop != nullptr && message >= WM_APP && message <= kPostedMessage) {
        return loop->handle(message, wParam, lParam);
    }
    if (loop != nullptr && message == WM_TIMER && wParam == kTimerId) {
        return loop->handle(message, wParam, lParam);
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

bool registerClass() {
    static const bool registered = [] {
        WNDCLASSEXW windowClass{};
        windowClass.cbSize = sizeof windowClass;
        windowClass.lpfnWndProc = windowProcedure;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = kClassName;
        return RegisterClassExW(&windowClass) != 0;
    }();
    return registered;
}

// What the socket is ready for now, of `interest`; an error counts as everything asked for,
// so that the next call on the socket sees it.
unsigned readiness(NativeSocket socket, unsigned interest) {
    fd_set readable;
    fd_set writable;
    fd_set failed;
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    FD_ZERO(&failed);
    const SOCKET handle = sys::native(socket);
    if ((interest & EventLoop::Readable) != 0) {
        FD_SET(handle, &readable);
    }
    if ((interest & EventLoop::Writable) != 0) {
        FD_SET(handle, &writable);
    }
    FD_SET(handle, &failed); // a connection that could not be made
    timeval now{0, 0};
    if (::select(0, &readable, &writable, &failed, &now) <= 0) {
        return 0;
    }
    unsigned ready = 0;
    if (FD_ISSET(handle, &readable)) {
        ready |= EventLoop::Readable;
    }
    if (FD_ISSET(handle, &writable)) {
        ready |= EventLoop::Writable;
    }
    if (FD_ISSET(handle, &failed)) {
        ready |= interest;
    }
    return ready & interest;
}

} // namespace

MessageLoop::MessageLoop(const MonotonicClock& clock)
    : timers_(clock) {
    sys::startSockets();
    if (registerClass()) {
        window_ = CreateWindowExW(0, kClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                  GetModuleHandleW(nullptr), this);
    }
}

MessageLoop::~MessageLoop() {
    for (const auto& [id, watch] : watches_) {
        ::WSAAsyncSelect(sys::native(watch->socket), window_, 0, 0);
    }
    if (window_ != nullptr) {
        DestroyWindow(window_);
    }
}

EventLoop::WatchId MessageLoop::watch(NativeSocket socket, unsigned interest,
                                      std::function<void(unsigned ready)> onReady) {
    if (window_ == nullptr ||
        ::WSAAsyncSelect(sys::native(socket), window_, kSocketMessage, kSocketEvents) != 0) {
        return 0;
    }
    const WatchId id = nextId_++;
    watches_.emplace(id, std::make_shared<Watch>(Watch{socket, interest, std::move(onReady)}));
    bySocket_[socket] = id;
    postCheck(id); // it may be ready already
    return id;
}

void MessageLoop::setInterest(WatchId id, unsigned interest) {
    const auto found = watches_.find(id);
    if (found == watches_.end() || found->second->interest == interest) {
        return;
    }
    found->second->interest = interest;
    postCheck(id);
}

void MessageLoop::unwatch(WatchId id) {
    const auto found = watches_.find(id);
    if (found == watches_.end()) {
        return;
    }
    ::WSAAsyncSelect(sys::native(found->second->socket), window_, 0, 0);
    const auto bySocket = bySocket_.find(found->second->socket);
    if (bySocket != bySocket_.end() && bySocket->second == id) {
        bySocket_.erase(bySocket);
    }
    watches_.erase(found);
}

EventLoop::TimerId MessageLoop::startTimer(std::chrono::milliseconds delay,
                                           std::chrono::milliseconds period,
                                           std::function<void()> onTimeout) {
    bool nearest = false;
    const TimerId id = timers_.start(delay, period, std::move(onTimeout), nearest);
    if (nearest) {
        armTimer();
    }
    return id;
}

void MessageLoop::stopTimer(TimerId id) {
    // Its deadline is skipped when it comes up.
    timers_.stop(id);
}

void MessageLoop::post(std::function<void()> task) {
    if (posted_.add(std::move(task))) {
        PostMessageW(window_, kPostedMessage, 0, 0);
    }
}

void MessageLoop::run() {
    quit_ = false;
    MSG message{};
    while (!quit_ && GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (keyboardFilter_ && keyboardFilter_(message)) {
            continue;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

void MessageLoop::quit() {
    posted_.addQuit();
    post([] {});
}

LRESULT MessageLoop::handle(UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
    case kSocketMessage: {
        const auto found = bySocket_.find(static_cast<NativeSocket>(wParam));
        if (found != bySocket_.end()) {
            postCheck(found->second);
        }
        break;
    }
    case kCheckMessage:
        check(static_cast<WatchId>(wParam));
        break;
    case kPostedMessage:
        if (posted_.runAll()) {
            quit_ = true;
        }
        // A clock moved ahead by a test is noticed here: the wait is measured afresh.
        armTimer();
        break;
    case WM_TIMER:
        if (quit_) {
            return 0;
        }
        timers_.runDue();
        armTimer(); // a window timer repeats until told otherwise
        return 0;
    default:
        break;
    }
    // WM_TIMER comes only when no other message waits: under a steady stream of socket
    // events the timers are run from here instead. Nothing more runs once the loop is told
    // to stop: a handler would only ask again, and the request would stop the next run.
    if (!quit_) {
        runDueTimers();
    }
    return 0;
}

void MessageLoop::postCheck(WatchId id) {
    const auto found = watches_.find(id);
    if (found == watches_.end() || found->second->checkPosted || found->second->interest == 0) {
        return;
    }
    found->second->checkPosted = PostMessageW(window_, kCheckMessage, id, 0) != 0;
}

void MessageLoop::check(WatchId id) {
    const auto found = watches_.find(id);
    if (found == watches_.end()) {
        return;
    }
    const std::shared_ptr<Watch> watch = found->second;
    watch->checkPosted = false;
    const unsigned ready = readiness(watch->socket, watch->interest);
    if (ready == 0) {
        return;
    }
    watch->onReady(ready);
    // Still ready (the handler took part of what waits, say): again on the next pass.
    if (watches_.count(id) != 0 && readiness(watch->socket, watch->interest) != 0) {
        postCheck(id);
    }
}

void MessageLoop::runDueTimers() {
    const auto nearest = timers_.nearest();
    if (nearest && *nearest <= timers_.now()) {
        timers_.runDue();
        armTimer();
    }
}

void MessageLoop::armTimer() {
    const auto nearest = timers_.nearest();
    if (!nearest) {
        KillTimer(window_, kTimerId);
        return;
    }
    // Rounded up, so that the timer never wakes the loop before the deadline; longer waits
    // than a window timer takes are made in steps.
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*nearest - timers_.now());
    const auto milliseconds =
        std::clamp<std::chrono::milliseconds::rep>(wait.count(), USER_TIMER_MINIMUM, 0x7FFFFFF0);
    SetTimer(window_, kTimerId, static_cast<UINT>(milliseconds), nullptr);
}

std::unique_ptr<EventLoop> makeEventLoop(const MonotonicClock& clock) {
    auto loop = std::make_unique<MessageLoop>(clock);
    return loop->isValid() ? std::move(loop) : nullptr;
}

} // namespace cvl
