#include "platform/stream_client.h"
#include "platform/linux/mapped_address.h"
#include "platform/peer_address.h"

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
    if (info.addresses().isEmpty()) {
        fail();
        return;
    }
    const PeerAddress peer = peerAddress(info.addresses().constFirst(), port_);
    const bool v4 = isMappedIPv4(peer.address);
    const sockaddr_in unmapped = unmappedIPv4(peer.address);
    descriptor_ = ::socket(v4 ? AF_INET : AF_INET6, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor_ < 0) {
        fail();
        return;
    }
    const int result =
        v4 ? ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&unmapped), sizeof unmapped)
           : ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&peer.address),
                       sizeof peer.address);
    // Done at once or under way: either way writability tells the outcome.
    if (result != 0 && errno != EINPROGRESS) {
        fail();
        return;
    }
    writeNotifier_ = new QSocketNotifier(descriptor_, QSocketNotifier::Write, this);
    connect(writeNotifier_, &QSocketNotifier::activated, this, &StreamClient::connectionReady);
}

void StreamClient::connectionReady() {
    delete writeNotifier_;
    writeNotifier_ = nullptr;
    int error = 0;
    socklen_t length = sizeof error;
    if (::getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &error, &length) != 0 || error != 0) {
        fail();
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
    bool broken = false;
    // Bounded: a peer that keeps sending is read again on the next pass of the loop.
    for (int round = 0; round < 64; ++round) {
        const ssize_t got = ::recv(descriptor_, buffer, sizeof buffer, 0);
        if (got > 0) {
            chunk.append(buffer, got);
            continue;
        }
        if (got == 0) {
            ended = true;
        } else {
            broken = errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR;
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
    if (broken) {
        fail();
    } else if (ended) {
        close();
    }
}

void StreamClient::fail() {
    close();
    emit failed();
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
