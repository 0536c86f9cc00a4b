// An HTTP server of the test's own on loopback: records each request and answers with queued
// responses, written in chunks that arrive separately, then closes or resets the connection.
#pragma once

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <sys/socket.h>

namespace cvl::test {

// Each complete request gets the next queued response, written chunk by chunk with pauses so
// that the chunks arrive separately; after one more pause the connection is closed or reset.
class HttpStub : public QObject {
public:
    static constexpr int kChunkPauseMs = 30;

    HttpStub() {
        if (!server.listen(QHostAddress::LocalHost)) {
            qFatal("no loopback port for the HTTP stub");
        }
        connect(&server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = server.nextPendingConnection()) {
                const qsizetype index = requests.size();
                requests.append(QByteArray());
                connect(socket, &QTcpSocket::readyRead, this, [this, socket, index] {
                    const bool answered = requests[index].contains("\r\n\r\n");
                    requests[index] += socket->readAll();
                    if (!answered && requests[index].contains("\r\n\r\n") && !queue.isEmpty()) {
                        send(socket, queue.takeFirst(), 0);
                    }
                });
            }
        });
    }
    [[nodiscard]] quint16 port() const { return server.serverPort(); }
    void serve(const QList<QByteArray>& chunks, bool reset = false) {
        queue.append({chunks, reset});
    }

    QList<QByteArray> requests;
    int finished = 0;

private:
    using Response = std::pair<QList<QByteArray>, bool>; // the chunks, and a reset at the end

    void send(QTcpSocket* socket, const Response& response, qsizetype next) {
        if (next < response.first.size()) {
            socket->write(response.first.at(next));
            QTimer::singleShot(kChunkPauseMs, socket,
                               [=, this] { send(socket, response, next + 1); });
            return;
        }
        if (response.second) {
            const linger now{1, 0};
            setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &now,
                       sizeof now);
            socket->abort();
        } else {
            socket->disconnectFromHost();
        }
        ++finished;
    }

    QTcpServer server;
    QList<Response> queue;
};

} // namespace cvl::test
