#include "update/update_check.h"

#include "platform/file_path.h"
#include "platform/launcher.h"
#include "platform/prompter.h"
#include "text/leading_number.h"
#include "text/utf8.h"

#include <filesystem>
#include <limits>
#include <utility>
#include <vector>

namespace cvl {

namespace {

constexpr std::string_view kVersionFilePath = "/Chronvale/CVLVCS4.IPF";
constexpr std::string_view kServerFilePath = "/Chronvale/QBK_CVLS4.CVL";
constexpr std::string_view kLengthHeader = "Content-Length: ";
constexpr std::string_view kBlankLine = "\r\n\r\n";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kFieldSeparator = "-:-";

std::string withoutLineEnds(std::string_view text) {
    std::string kept;
    kept.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        if (text.substr(at, kLineEnd.size()) == kLineEnd) {
            at += kLineEnd.size();
        } else {
            kept += text[at++];
        }
    }
    return kept;
}

std::vector<std::string_view> splitFields(std::string_view text) {
    std::vector<std::string_view> fields;
    for (std::size_t from = 0;;) {
        const std::size_t at = text.find(kFieldSeparator, from);
        fields.push_back(text.substr(from, at == std::string_view::npos ? at : at - from));
        if (at == std::string_view::npos) {
            return fields;
        }
        from = at + kFieldSeparator.size();
    }
}

} // namespace

UpdateCheck::UpdateCheck(EventLoop& loop, UpdateHost& host, Prompter& prompter, Launcher& launcher,
                         UpdatePaths paths, std::string updateHost, std::uint16_t updatePort,
                         std::string AppVersion)
    : host_(host)
    , prompter_(prompter)
    , launcher_(launcher)
    , paths_(std::move(paths))
    , updateHost_(std::move(updateHost))
    , updatePort_(updatePort)
    , appVersion_(std::move(AppVersion))
    , qbk(loop)
    , versionFileSettled_(loop, [this] { actOnVersionFile(std::exchange(versionFile_, {})); }) {
    versionFileSettled_.setSingleShot(true);
    qbk.onConnected = [this] {
        sendRequest();
    };
    qbk.onReceived = [this](const std::string& chunk) {
        received(chunk);
    };
    // The server's orderly close is no ending of its own: an exchange that stopped short
    // stays unfinished until the next check. A failure, a reset included, ends it.
    qbk.onFailed = [this] {
        failed();
    };
}

void UpdateCheck::start() {
    BytesReceived = 0;
    qbk.close();
    // A connection that cannot be made ends up in failed(), which says nothing.
    qbk.connectToHost(updateHost_, updatePort_);
}

void UpdateCheck::sendRequest() {
    std::string request = "GET ";
    request += GetServerFile ? kServerFilePath : kVersionFilePath;
    request += " HTTP/1.1\r\nAccept: */*\r\nHost: " + updateHost_ + "\r\nReferer: Chronvale S v" +
               appVersion_ + "\r\nUser-Agent: Chronvale v" + appVersion_ + "\r\n\r\n";
    qbk.write(request);
}

// Each arrival is handled as it comes, without waiting for the rest: the body is counted
// against the announced length, and only an exact match finishes the exchange.
void UpdateCheck::received(std::string_view chunk) {
    if (chunk.empty() || chunk.size() > std::numeric_limits<std::int32_t>::max()) {
        return;
    }
    const auto chunkSize = static_cast<std::int64_t>(chunk.size());
    const std::int64_t total = std::int64_t{BytesReceived} + chunkSize;
    if (total > std::numeric_limits<std::int32_t>::max()) {
        return;
    }
    BytesReceived = static_cast<std::int32_t>(total);

    std::size_t bodyStart = 0;
    if (const std::size_t lengthAt = chunk.find(kLengthHeader);
        lengthAt != std::string_view::npos) {
        // Only seven characters are looked at: longer lengths lose their last digits.
        const std::string digits =
            withoutLineEnds(chunk.substr(lengthAt + kLengthHeader.size(), 7));
        if (const auto length = roundToInt32(leadingNumber(utf8::fromLatin1(digits)))) {
            ContentLength = *length;
        }
        const std::size_t blank = chunk.find(kBlankLine);
        // 1-based, 0 when absent, as the count has always been kept.
        const std::int64_t blankAt = blank == std::string_view::npos ? 0 : std::int64_t(blank) + 1;
        const std::int64_t bodyOnly = std::int64_t{BytesReceived} - (blankAt + 3);
        if (bodyOnly >= std::numeric_limits<std::int32_t>::min()) {
            BytesReceived = static_cast<std::int32_t>(bodyOnly);
        }
        if (blankAt > 0) {
            bodyStart = std::min(chunk.size(), static_cast<std::size_t>(blankAt + 3));
        }
    }

    if (GetServerFile) {
        if (!ServerFileOpen) {
            openServerFile();
        }
        if (serverFile_.is_open()) {
            const std::string_view body = chunk.substr(bodyStart);
            serverFile_.write(body.data(), static_cast<std::streamsize>(body.size()));
        }
        if (BytesReceived == ContentLength) {
            serverFile_.close();
            qbk.close();
            host_.setCheckUpdateEnabled(true);
            host_.serverFileDownloaded();
        }
        return;
    }
    if (BytesReceived == ContentLength) {
        qbk.close();
        // The version file comes in one arrival; it is read once the socket has settled.
        versionFile_ = chunk;
        versionFileSettled_.start(std::chrono::milliseconds(0));
    }
}

void UpdateCheck::openServerFile() {
    // Not truncated: a shorter new file leaves the old one's tail in place. A file that
    // cannot be opened just takes no writes.
    ServerFileOpen = true;
    const std::filesystem::path path = filePath(paths_.serverFile);
    serverFile_.open(path, std::ios::in | std::ios::out | std::ios::binary);
    if (!serverFile_.is_open()) {
        serverFile_.clear();
        serverFile_.open(path, std::ios::out | std::ios::binary);
    }
}

void UpdateCheck::failed() {
    // The connection is closed already.
    if (!host_.checkUpdateEnabled()) {
        host_.setCheckUpdateEnabled(true);
    }
}

void UpdateCheck::actOnVersionFile(std::string_view qbkdata) {
    const std::size_t blankAt = qbkdata.find(kBlankLine);
    const std::size_t bodyAt = blankAt != std::string_view::npos ? blankAt + 4 : 3;
    const std::string body = withoutLineEnds(qbkdata.substr(std::min(bodyAt, qbkdata.size())));
    const std::vector<std::string_view> fields = splitFields(body);
    if (fields.size() < 6) {
        return;
    }

    // Compared as text, byte by byte, as the version file has always been.
    const std::string_view latest = fields[1];
    if (std::string_view(appVersion_) < latest) {
        UpdatePrompted = true;
        const std::string shown = utf8::fromLatin1(latest);
        if (prompter_.askYesNo(PromptOwner::MainWindow, "Chronvale Server AUTO Update Available!",
                               "Would you like to update your CVL Server Edition?\r\nThe latest "
                               "version is: " +
                                   shown)) {
            host_.setWindowCaption("UPDATEING " + host_.windowTitle());
            // The updater closes this program itself when it is ready.
            launcher_.start(paths_.updater, {"/v" + shown, "/t" + host_.windowCaption()});
            return;
        }
    }

    std::error_code error;
    const std::filesystem::path serverFile = filePath(paths_.serverFile);
    const std::uintmax_t size = std::filesystem::file_size(serverFile, error);
    if (error && !std::filesystem::exists(serverFile, error)) {
        GetServerFile = true;
    } else if (static_cast<double>(error ? 0 : size) !=
               leadingNumber(utf8::fromLatin1(fields[4]))) {
        UpdatePrompted = true;
        if (prompter_.askYesNo(PromptOwner::MainWindow, "Chronvale Update Available!",
                               "Would you like to update your CVL Server File?")) {
            GetServerFile = true;
        }
    }

    if (!GetServerFile) {
        host_.setCheckUpdateEnabled(true);
    } else {
        start();
    }
    if (!UpdatePrompted) {
        prompter_.inform(PromptOwner::ConfigDialog, "Chronvale Server Updater",
                         "No Updates Available.");
    }
}

} // namespace cvl
