// The check for software updates: asks the update server for its version file over plain
// HTTP, offers a newer program (started by the separate updater) or a changed reference-server
// file, and downloads that file into the program folder. One socket, driven by the event loop.
#pragma once

#include "platform/stream_client.h"

#include <QFile>
#include <QObject>
#include <QString>
#include <cstdint>

namespace cvl {

class Launcher;
class Prompter;

// What the check needs of the windows and the controller.
class UpdateHost {
public:
    virtual ~UpdateHost() = default;
    // The main window's title as it reads now, and a new one.
    [[nodiscard]] virtual QString windowCaption() const = 0;
    virtual void setWindowCaption(const QString& caption) = 0;
    // The fixed title the window was given at start-up.
    [[nodiscard]] virtual QString windowTitle() const = 0;
    // The configuration dialog's "Check for Software Updates" button.
    virtual void setCheckUpdateEnabled(bool enabled) = 0;
    [[nodiscard]] virtual bool checkUpdateEnabled() const = 0;
    // The new server file is in place: clear the server list and read it again.
    virtual void serverFileDownloaded() = 0;
};

class UpdateCheck final : public QObject {
    Q_OBJECT
public:
    explicit UpdateCheck(EventLoop& loop, UpdateHost& host, Prompter& prompter, Launcher& launcher,
                         QString programFolder, QString updateHost, quint16 updatePort,
                         QString AppVersion, QObject* parent = nullptr);

    // Starts over: drops whatever the socket was doing and connects to the update server,
    // which is then asked for the version file or, once wanted, the server file.
    void QBKUpdate();
    // Handles one arrival from the update server, whatever part of the response it holds.
    void received(const QByteArray& chunk);
    // Acts on a received version file (headers and body, as they arrived).
    void saveIT(const QByteArray& qbkdata);
    // The controller has read the downloaded server file: the next check asks for the
    // version file again.
    void serverFileRead() { GetServerFile = false; }

    [[nodiscard]] bool serverFileWanted() const { return GetServerFile; }
    [[nodiscard]] bool updatePrompted() const { return UpdatePrompted; }

private:
    void sendRequest();
    void failed();
    [[nodiscard]] QString serverFilePath() const;

    UpdateHost& host_;
    Prompter& prompter_;
    Launcher& launcher_;
    QString programFolder_;
    QString updateHost_;
    quint16 updatePort_;
    QString appVersion_;

    StreamClient qbk;
    // The version file waits here until the connection has settled.
    QByteArray versionFile_;
    Timer versionFileSettled_;
    QFile serverFile_;
    bool GetServerFile = false;
    std::int32_t BytesReceived = 0;
    std::int32_t ContentLength = 0;
    bool ServerFileOpen = false; // the server file is opened once per run, never again
    bool UpdatePrompted = false; // once anything was offered, "no updates" is not said again
};

} // namespace cvl
