// An HTTP server of the test's own on loopback: records each request and answers with queued
// responses, written in chunks that arrive separately, then closes or resets the connection.
#pragma once

#include "net/stream_connection.h"
#include "net/stream_listener.h"
#include "platform/event_loop.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace cvl::test {

// Each complete request gets the next queued response, written chunk by chunk with pauses so
// that the chunks arrive separately; after one more pause the connection is closed or reset.
class HttpStub {
public:
    static constexpr std::chrono::milliseconds kChunkPause{30};

    explicit HttpStub(EventLoop& loop)
        : loop_(loop)
        , listener_(loop) {
        listener_.listen(0);
        listener_.onConnection = [this](NativeSocket socket, const PeerAddress& peer) {
            auto exchange = std::make_unique<Exchange>(*this);
            Exchange& made = *exchange;
            made.index = requests.size();
            requests.emplace_back();
            if (!made.connection.adopt(socket, peer, listener_.serverPort())) {
                return;
            }
            made.connection.onReceived = [this, &made] {
                received(made);
            };
            exchanges_.push_back(std::move(exchange));
        };
    }

    [[nodiscard]] std::uint16_t port() const { return listener_.serverPort(); }
    void serve(const std::vector<std::string>& chunks, bool reset = false) {
        queue_.push_back({chunks, reset});
    }

    std::vector<std::string> requests;
    int finished = 0;

private:
    struct Response {
        std::vector<std::string> chunks;
        bool reset = false; // a reset at the end instead of a close
    };
    struct Exchange {
        explicit Exchange(HttpStub& stub)
            : connection(stub.loop_)
            , pause(stub.loop_, [&stub, this] { stub.sendNext(*this); }) {
            pause.setSingleShot(true);
        }
        StreamConnection connection;
        Timer pause;
        std::size_t index = 0;
        Response response;
        std::size_t next = 0;
    };

    void received(Exchange& exchange) {
        std::string& request = requests[exchange.index];
        const bool answered = request.find("\r\n\r\n") != std::string::npos;
        request += exchange.connection.takeReceived();
        if (!answered && request.find("\r\n\r\n") != std::string::npos && !queue_.empty()) {
            exchange.response = queue_.front();
            queue_.pop_front();
            sendNext(exchange);
        }
    }

    void sendNext(Exchange& exchange) {
        if (exchange.next < exchange.response.chunks.size()) {
            exchange.connection.write(exchange.response.chunks[exchange.next++]);
            exchange.pause.start(kChunkPause);
            return;
        }
        if (exchange.response.reset) {
            exchange.connection.reset();
        } else {
            exchange.connection.close();
        }
        ++finished;
    }

    EventLoop& loop_;
    StreamListener listener_;
    std::deque<Response> queue_;
    std::vector<std::unique_ptr<Exchange>> exchanges_;
};

} // namespace cvl::test
