#include "update/update_check.h"

#include "core/leading_number.h"
#include "platform/launcher.h"
#include "platform/prompter.h"

#include <QFileInfo>
#include <QStringList>
#include <QtNumeric>
#include <limits>
#include <utility>

namespace cvl {

namespace {

const QString kVersionFilePath = QStringLiteral("/Chronvale/CVLVCS4.IPF");
const QString kServerFilePath = QStringLiteral("/Chronvale/QBK_CVLS4.CVL");
const QString kServerFileName = QStringLiteral("/QBK_CVLS4.CVL");
#ifdef Q_OS_WIN
const QString kUpdaterName = QStringLiteral("/QBKUpdate.exe");
#else
const QString kUpdaterName = QStringLiteral("/QBKUpdate");
#endif

constexpr QByteArrayView kLengthHeader = "Content-Length: ";
constexpr QByteArrayView kBlankLine = "\r\n\r\n";
const QString kLineEnd = QStringLiteral("\r\n");

} // namespace

UpdateCheck::UpdateCheck(EventLoop& loop, UpdateHost& host, Prompter& prompter, Launcher& launcher,
                         QString programFolder, QString updateHost, quint16 updatePort,
                         QString AppVersion, QObject* parent)
    : QObject(parent)
    , host_(host)
    , prompter_(prompter)
    , launcher_(launcher)
    , programFolder_(std::move(programFolder))
    , updateHost_(std::move(updateHost))
    , updatePort_(updatePort)
    , appVersion_(std::move(AppVersion))
    , qbk(loop)
    , versionFileSettled_(loop, [this] { saveIT(std::exchange(versionFile_, {})); }) {
    versionFileSettled_.setSingleShot(true);
    qbk.onConnected = [this] {
        sendRequest();
    };
    qbk.onReceived = [this](const std::string& chunk) {
        received(QByteArray::fromStdString(chunk));
    };
    // The server's orderly close is no ending of its own: an exchange that stopped short
    // stays unfinished until the next check. A failure, a reset included, ends it.
    qbk.onFailed = [this] {
        failed();
    };
}

void UpdateCheck::QBKUpdate() {
    BytesReceived = 0;
    qbk.close();
    // A connection that cannot be made ends up in failed(), which says nothing.
    qbk.connectToHost(updateHost_.toStdString(), updatePort_);
}

void UpdateCheck::sendRequest() {
    const QString path = GetServerFile ? kServerFilePath : kVersionFilePath;
    const QString request = QStringLiteral("GET ") + path + QStringLiteral(" HTTP/1.1\r\n") +
                            QStringLiteral("Accept: */*\r\n") + QStringLiteral("Host: ") +
                            updateHost_ + kLineEnd + QStringLiteral("Referer: Chronvale S v") +
                            appVersion_ + kLineEnd + QStringLiteral("User-Agent: Chronvale v") +
                            appVersion_ + kLineEnd + kLineEnd;
    qbk.write(request.toLatin1().toStdString());
}

// Each arrival is handled as it comes, without waiting for the rest: the body is counted
// against the announced length, and only an exact match finishes the exchange.
void UpdateCheck::received(const QByteArray& chunk) {
    if (chunk.isEmpty()) {
        return;
    }
    std::int32_t total = 0;
    if (chunk.size() > std::numeric_limits<std::int32_t>::max() ||
        qAddOverflow(BytesReceived, static_cast<std::int32_t>(chunk.size()), &total)) {
        return;
    }
    BytesReceived = total;

    qsizetype bodyStart = 0;
    const qsizetype lengthAt = chunk.indexOf(kLengthHeader);
    if (lengthAt >= 0) {
        // Only seven characters are looked at: longer lengths lose their last digits.
        QString digits = QString::fromLatin1(chunk.mid(lengthAt + kLengthHeader.size(), 7));
        digits.remove(kLineEnd);
        if (const auto length = roundToInt32(leadingNumber(digits.toStdString()))) {
            ContentLength = *length;
        }
        const qsizetype blankAt = chunk.indexOf(kBlankLine) + 1; // 1-based, 0 when absent
        std::int32_t bodyOnly = 0;
        if (!qSubOverflow(BytesReceived, static_cast<std::int32_t>(blankAt + 3), &bodyOnly)) {
            BytesReceived = bodyOnly;
        }
        if (blankAt > 0) {
            bodyStart = blankAt + 3;
        }
    }

    if (GetServerFile) {
        if (!ServerFileOpen) {
            // Not truncated: a shorter new file leaves the old one's tail in place. A file
            // that cannot be opened just takes no writes.
            serverFile_.setFileName(serverFilePath());
            (void)serverFile_.open(QIODevice::ReadWrite);
            ServerFileOpen = true;
        }
        if (serverFile_.isOpen()) {
            serverFile_.write(chunk.constData() + bodyStart, chunk.size() - bodyStart);
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

void UpdateCheck::failed() {
    // The connection is closed already.
    if (!host_.checkUpdateEnabled()) {
        host_.setCheckUpdateEnabled(true);
    }
}

void UpdateCheck::saveIT(const QByteArray& qbkdata) {
    const qsizetype blankAt = qbkdata.indexOf(kBlankLine);
    QString body = QString::fromLatin1(qbkdata.mid(blankAt >= 0 ? blankAt + 4 : 3));
    body.remove(kLineEnd);
    const QStringList fields = body.split(QStringLiteral("-:-"));
    if (fields.size() < 6) {
        return;
    }

    const QString& latest = fields.at(1);
    // Compared as text, as the version file has always been.
    if (appVersion_ < latest) {
        UpdatePrompted = true;
        if (prompter_.askYesNo(PromptOwner::MainWindow, "Chronvale Server AUTO Update Available!",
                               "Would you like to update your CVL Server Edition?\r\nThe latest "
                               "version is: " +
                                   latest.toStdString())) {
            host_.setWindowCaption(QStringLiteral("UPDATEING ") + host_.windowTitle());
            // The updater closes this program itself when it is ready.
            launcher_.start(
                (programFolder_ + kUpdaterName).toStdString(),
                {"/v" + latest.toStdString(), "/t" + host_.windowCaption().toStdString()});
            return;
        }
    }

    const QFileInfo serverFile(serverFilePath());
    if (!serverFile.exists()) {
        GetServerFile = true;
    } else if (static_cast<double>(serverFile.size()) !=
               leadingNumber(fields.at(4).toStdString())) {
        UpdatePrompted = true;
        if (prompter_.askYesNo(PromptOwner::MainWindow, "Chronvale Update Available!",
                               "Would you like to update your CVL Server File?")) {
            GetServerFile = true;
        }
    }

    if (!GetServerFile) {
        host_.setCheckUpdateEnabled(true);
    } else {
        QBKUpdate();
    }
    if (!UpdatePrompted) {
        prompter_.inform(PromptOwner::ConfigDialog, "Chronvale Server Updater",
                         "No Updates Available.");
    }
}

QString UpdateCheck::serverFilePath() const {
    return programFolder_ + kServerFileName;
}

} // namespace cvl
