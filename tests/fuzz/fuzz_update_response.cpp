// The update server's response to the update check, cut into arrivals where the input says and
// handed to the check as its socket hands them over; a version file that completes goes on to
// actOnVersionFile() through the event loop. The program folder is a temporary directory, the
// prompter answers from the input, the launcher only records, and a new request goes to a loopback
// port where nobody listens.
//
// Byte 0: bit 0  the server file is being fetched (an earlier version file asked for it)
//         bit 1  a server file is in place to start with
//         bits 2-7 the answers to the questions, in turn
// Byte 1: the longest arrival; 0 for the whole response in one. The rest: the response.
#include "core/server_controller.h"
#include "fuzz_support.h"
#include "loop_waits.h"
#include "platform/event_loop.h"
#include "platform/file_path.h"
#include "platform/prompter.h"
#include "platform_fakes.h"
#include "temp_folder.h"
#include "update/update_check.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

using namespace cvl;

namespace {

class Host final : public UpdateHost {
public:
    [[nodiscard]] std::string windowCaption() const override { return caption; }
    void setWindowCaption(const std::string& text) override { caption = text; }
    [[nodiscard]] std::string windowTitle() const override { return fixedTitle(); }
    void setCheckUpdateEnabled(bool on) override { enabled = on; }
    [[nodiscard]] bool checkUpdateEnabled() const override { return enabled; }
    void serverFileDownloaded() override {}

    std::string caption;
    bool enabled = false;
};

class AnsweringPrompter final : public Prompter {
public:
    [[nodiscard]] bool askYesNo(PromptOwner, std::string_view, std::string_view) override {
        return ((answers >> (asked++ % 6)) & 1) != 0;
    }
    void inform(PromptOwner, std::string_view, std::string_view) override {}

    unsigned answers = 0;
    unsigned asked = 0;
};

struct State {
    std::unique_ptr<EventLoop> loop = makeEventLoop();
    test::TempFolder folder;
    std::string serverFile = folder.filePath("QBK_CVLS4.CVL");
    std::string updater = folder.filePath("QBKUpdate");
};

// A version file naming no newer program and a server file of another size.
constexpr std::string_view kAsksForServerFile = "\r\n\r\nCVL-:-0-:-x-:-y-:--1-:-z";

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    fuzz::require(state->loop != nullptr);
    const std::uint8_t flags = data[0];
    std::error_code ignored;
    std::filesystem::remove(filePath(state->serverFile), ignored);
    if ((flags & 2) != 0) {
        fuzz::require(test::writeFile(state->serverFile, "h1\r\n"));
    }

    Host host;
    AnsweringPrompter prompter;
    test::FakeLauncher launcher;
    // Port 0: the connection is refused at once, whenever the check starts a new exchange.
    UpdateCheck check(*state->loop, host, prompter, launcher, {state->serverFile, state->updater},
                      "127.0.0.1", 0, appVersion());
    if ((flags & 1) != 0) {
        prompter.answers = ~0u;
        check.actOnVersionFile(kAsksForServerFile);
        fuzz::require(check.serverFileWanted());
        prompter.asked = 0;
    }
    prompter.answers = flags >> 2;

    // Pseudo-random arrival sizes from 1 to byte 1, the same for the same input.
    std::uint32_t seed = data[1] * 2654435761u + static_cast<std::uint32_t>(size);
    for (std::size_t at = 2; at < size;) {
        seed = seed * 1664525u + 1013904223u;
        const std::size_t length =
            data[1] == 0 ? size - at : std::min<std::size_t>(1 + (seed >> 8) % data[1], size - at);
        // Its own buffer, exactly as long as the arrival, so that a read past its end is caught.
        const std::vector<char> arrival(data + at, data + at + length);
        check.received(std::string_view(arrival.data(), arrival.size()));
        at += length;
    }
    // The version file is acted on once the socket has settled, on a timer already due; a
    // refused reconnection is told at once.
    test::runFor(*state->loop, std::chrono::milliseconds(0));
    // The updater is the only program ever started.
    for (const auto& started : launcher.started) {
        fuzz::require(!started.empty() && started.front() == state->updater);
    }
    return 0;
}
