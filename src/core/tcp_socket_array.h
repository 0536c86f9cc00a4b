// One service's TCP sockets: element 0 listens, elements 1 and up carry accepted connections.
// Connection sockets are created on demand and never destroyed; a closed one is reused for
// the next client, so the array only grows to the most simultaneous clients seen.
#pragma once

#include "platform/stream_listener.h"

#include <QTcpSocket>
#include <chrono>
#include <vector>

namespace cvl {

// Connections that stay quiet longer than this are closed, so that clients which connect and
// never send cannot use up the descriptors.
inline constexpr std::chrono::milliseconds kIdleConnectionLimit{30000};

class TcpSocketArray final : public QObject {
    Q_OBJECT
public:
    explicit TcpSocketArray(EventLoop& loop, QObject* parent = nullptr,
                            std::chrono::milliseconds idleLimit = kIdleConnectionLimit);

    [[nodiscard]] StreamListener& listener() { return listener_; }
    [[nodiscard]] const StreamListener& listener() const { return listener_; }

    // Index of a closed connection socket, loading a new element when none is free.
    [[nodiscard]] int freeIndex();
    [[nodiscard]] QTcpSocket& at(int index) { return *connections_[index - 1]; }
    // Highest element index in use (0 while only the listener exists).
    [[nodiscard]] int upperBound() const { return static_cast<int>(connections_.size()); }
    // A connection was accepted on element `index`: its idle time starts now.
    void accepted(int index);

signals:
    void readyRead(int index);
    void bytesWritten(int index, qint64 bytes);

private:
    void closeIdle();

    StreamListener listener_;
    std::vector<QTcpSocket*> connections_;                            // owned through Qt parenting
    std::vector<std::chrono::steady_clock::time_point> lastActivity_; // per element
    Timer idleCheck_;
    std::chrono::milliseconds idleLimit_;
};

} // namespace cvl
