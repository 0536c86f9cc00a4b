#include "platform/stream_client.h"

#include <QHostAddress>
#include <QHostInfo>
#include <QSocketNotifier>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace cvl {

StreamClient::StreamClient(QObject* parent)
    : QObject(parent) {}

StreamClient::~StreamClient() {
    close();
}

void StreamClient::connectToHost(const QString& host, quint16 port) {
    close();
    port_ = port;
    const QHostAddress literal(host);
    if (!literal.isNull()) {
        QHostInfo info;
        info.setAddresses({literal});
        lookedUp(info);
        return;
    }
    lookupId_ = QHostInfo::lookupHost(host, this, &StreamClient::lookedUp);
}

void StreamClient::lookedUp(const QHostInfo& info) {
    lookupId_ = -1;
    for (const QHostAddress& address : info.addresses()) {
        sockaddr_storage storage{};
        socklen_t length = 0;
        int family = AF_INET;
        if (address.protocol() == QAbstractSocket::IPv4Protocol) {
            auto& v4 = reinterpret_cast<sockaddr_in&>(storage);
            v4.sin_family = AF_INET;
            v4.sin_port = htons(port_);
            v4.sin_addr.s_addr = htonl(address.toIPv4Address());
            length = sizeof v4;
        } else if (address.protocol() == QAbstractSocket::IPv6Protocol) {
            family = AF_INET6;
            auto& v6 = reinterpret_cast<sockaddr_in6&>(storage);
            v6.sin6_family = AF_INET6;
            v6.sin6_port = htons(port_);
            const Q_IPV6ADDR bytes = address.toIPv6Address();
            std::copy(std::begin(bytes.c), std::end(bytes.c), v6.sin6_addr.s6_addr);
            length = sizeof v6;
        } else {
            continue;
        }
        descriptor_ = ::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (descriptor_ < 0) {
            fail(errno);
            return;
        }
        if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&storage), length) != 0 &&
            errno != EINPROGRESS) {
            fail(errno);
            return;
        }
        writeNotifier_ = new QSocketNotifier(descriptor_, QSocketNotifier::Write, this);
        connect(writeNotifier_, &QSocketNotifier::activated, this,
                &StreamClient::connectionReady);
        return;
    }
    fail(0);
}

void StreamClient::connectionReady() {
    delete writeNotifier_;
    writeNotifier_ = nullptr;
    int error = 0;
    socklen_t length = sizeof error;
    if (::getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
        error = errno;
    }
    if (error != 0) {
        fail(error);
        return;
    }
    readNotifier_ = new QSocketNotifier(descriptor_, QSocketNotifier::Read, this);
    connect(readNotifier_, &QSocketNotifier::activated, this, &StreamClient::readable);
    emit connected();
}

bool StreamClient::write(QByteArrayView bytes) {
    if (descriptor_ < 0) {
        return false;
    }
    return ::send(descriptor_, bytes.data(), static_cast<std::size_t>(bytes.size()),
                  MSG_NOSIGNAL) >= 0;
}

void StreamClient::readable() {
    QByteArray chunk;
    char buffer[16384];
    bool ended = false;
    int error = 0;
    // Bounded: a peer that keeps sending is read again on the next pass of the loop.
    for (int round = 0; round < 64; ++round) {
        const ssize_t got = ::recv(descriptor_, buffer, sizeof buffer, 0);
        if (got > 0) {
            chunk.append(buffer, got);
            continue;
        }
        if (got == 0) {
            ended = true;
        } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            error = errno;
        }
        break;
    }
    // What arrived before the end is handed on first; a handler may close or reconnect.
    const std::uint64_t connection = generation_;
    if (!chunk.isEmpty()) {
        emit received(chunk);
    }
    if (generation_ != connection) {
        return;
    }
    if (error != 0) {
        fail(error);
    } else if (ended) {
        close();
        emit closedByPeer();
    }
}

void StreamClient::fail(int error) {
    close();
    emit failed(error);
}

void StreamClient::close() {
    ++generation_;
    if (lookupId_ >= 0) {
        QHostInfo::abortHostLookup(lookupId_);
        lookupId_ = -1;
    }
    delete readNotifier_;
    readNotifier_ = nullptr;
    delete writeNotifier_;
    writeNotifier_ = nullptr;
    if (descriptor_ >= 0) {
        ::close(descriptor_);
        descriptor_ = -1;
    }
}

} // namespace cvl
