// The check for software updates: asks the update server for its version file over plain
// HTTP, offers a newer program (started by the separate updater) or a changed reference-server
// file, and downloads that file into the program folder. One socket, driven by the event loop.
#pragma once

#include "net/stream_client.h"

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

namespace cvl {

class Launcher;
class Prompter;

// What the check needs of the windows and the controller.
class UpdateHost {
public:
    virtual ~UpdateHost() = default;
    // The main window's title as it reads now, and a new one.
    [[nodiscard]] virtual std::string windowCaption() const = 0;
    virtual void setWindowCaption(const std::string& caption) = 0;
    // The fixed title the window was given at start-up.
    [[nodiscard]] virtual std::string windowTitle() const = 0;
    // The configuration dialog's "Check for Software Updates" button.
    virtual void setCheckUpdateEnabled(bool enabled) = 0;
    [[nodiscard]] virtual bool checkUpdateEnabled() const = 0;
    // The new server file is in place: clear the server list and read it again.
    virtual void serverFileDownloaded() = 0;
};

// Where the check finds things on this machine.
struct UpdatePaths {
    std::string serverFile; // the reference-server file, written in place
    std::string updater;    // the separate updater program
};

class UpdateCheck final {
public:
    UpdateCheck(EventLoop& loop, UpdateHost& host, Prompter& prompter, Launcher& launcher,
                UpdatePaths paths, std::string updateHost, std::uint16_t updatePort,
                std::string AppVersion);

    // Starts over: drops whatever the socket was doing and connects to the update server,
    // which is then asked for the version file or, once wanted, the server file.
    void start();
    // Handles one arrival from the update server, whatever part of the response it holds.
    void received(std::string_view chunk);
    // Acts on a received version file (headers and body, as they arrived).
    void actOnVersionFile(std::string_view qbkdata);
    // The controller has read the downloaded server file: the next check asks for the
    // version file again.
    void serverFileRead() { GetServerFile = false; }

    [[nodiscard]] bool serverFileWanted() const { return GetServerFile; }
    [[nodiscard]] bool updatePrompted() const { return UpdatePrompted; }

private:
    void sendRequest();
    void failed();
    void openServerFile();

    UpdateHost& host_;
    Prompter& prompter_;
    Launcher& launcher_;
    UpdatePaths paths_;
    std::string updateHost_;
    std::uint16_t updatePort_;
    std::string appVersion_;

    StreamClient qbk;
    // The version file waits here until the connection has settled.
    std::string versionFile_;
    Timer versionFileSettled_;
    std::fstream serverFile_;
    bool GetServerFile = false;
    std::int32_t BytesReceived = 0;
    std::int32_t ContentLength = 0;
    bool ServerFileOpen = false; // the server file is opened once per run, never again
    bool UpdatePrompted = false; // once anything was offered, "no updates" is not said again
};

} // namespace cvl
