// The update server's response to the update check, cut into arrivals where the input says and
// handed to the check as its socket hands them over; a version file that completes goes on to
// saveIT() through the event loop. The program folder is a temporary directory, the prompter
// answers from the input, the launcher only records, and a new request goes to a loopback
// port where nobody listens.
//
// Byte 0: bit 0  the server file is being fetched (an earlier version file asked for it)
//         bit 1  a server file is in place to start with
//         bits 2-7 the answers to the questions, in turn
// Byte 1: the longest arrival; 0 for the whole response in one. The rest: the response.
#include "fuzz_support.h"
#include "platform/prompter.h"
#include "platform_fakes.h"
#include "qt_dispatched_loop.h"
#include "update/update_check.h"

#include <QFile>
#include <QTemporaryDir>

using namespace cvl;

namespace {

class Host final : public UpdateHost {
public:
    [[nodiscard]] QString windowCaption() const override { return caption; }
    void setWindowCaption(const QString& text) override { caption = text; }
    [[nodiscard]] QString windowTitle() const override { return CVL_Server::fixedTitle(); }
    void setCheckUpdateEnabled(bool on) override { enabled = on; }
    [[nodiscard]] bool checkUpdateEnabled() const override { return enabled; }
    void serverFileDownloaded() override {}

    QString caption;
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
    test::QtDispatchedLoop dispatched;
    QTemporaryDir folder;
    QString serverFile = folder.filePath(QStringLiteral("QBK_CVLS4.CVL"));
};

// A version file naming no newer program and a server file of another size.
const QByteArray kAsksForServerFile = "\r\n\r\nCVL-:-0-:-x-:-y-:--1-:-z";

} // namespace

CHRONVALE_FUZZ_STATE(State)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const std::uint8_t flags = data[0];
    QFile::remove(state->serverFile);
    if ((flags & 2) != 0) {
        QFile file(state->serverFile);
        fuzz::require(file.open(QIODevice::WriteOnly) && file.write("h1\r\n") == 4);
    }

    Host host;
    AnsweringPrompter prompter;
    test::FakeLauncher launcher;
    // Port 0: the connection is refused at once, whenever the check starts a new exchange.
    UpdateCheck check(state->dispatched.loop, host, prompter, launcher, state->folder.path(),
                      QStringLiteral("127.0.0.1"), 0, CVL_Server::AppVersion());
    if ((flags & 1) != 0) {
        prompter.answers = ~0u;
        check.saveIT(kAsksForServerFile);
        fuzz::require(check.serverFileWanted());
        prompter.asked = 0;
    }
    prompter.answers = flags >> 2;

    // Pseudo-random arrival sizes from 1 to byte 1, the same for the same input.
    const std::size_t longest = data[1] == 0 ? size : data[1];
    std::uint32_t seed = data[1] * 2654435761u + static_cast<std::uint32_t>(size);
    for (std::size_t at = 2; at < size;) {
        seed = seed * 1664525u + 1013904223u;
        const std::size_t length = std::min<std::size_t>(1 + (seed >> 8) % longest, size - at);
        check.received(
            QByteArray(reinterpret_cast<const char*>(data + at), static_cast<qsizetype>(length)));
        at += length;
    }
    // The version file is acted on once the socket has settled; a refused reconnection
    // reports itself through the loop as well.
    for (int round = 0; round < 3; ++round) {
        QCoreApplication::processEvents();
    }
    // The updater is the only program ever started.
    for (const QStringList& started : launcher.started) {
        fuzz::require(started.first() == state->folder.filePath(QStringLiteral("QBKUpdate")));
    }
    return 0;
}
