// Fakes of every platform adapter: time moves only when a test moves it, settings and the
// autostart entry stay in memory, prompts answer what the test says, and nothing is started.
#pragma once

#include "clock_fakes.h"
#include "platform/autostart.h"
#include "platform/host_info.h"
#include "platform/launcher.h"
#include "platform/prompter.h"
#include "platform/settings_store.h"

#include <QList>
#include <QMap>
#include <QStringList>
#include <vector>

namespace cvl::test {

// The settings store, with a journal of every write and delete in order.
class MemorySettingsStore final : public SettingsStore {
public:
    [[nodiscard]] long openKey(RegistryRoot root, const std::string& subKey) const override {
        const QString prefix = path(root, QString::fromStdString(subKey), {});
        const bool found = std::any_of(values.keyBegin(), values.keyEnd(),
                                       [&](const QString& key) { return key.startsWith(prefix); });
        return found ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    }
    [[nodiscard]] long queryValue(RegistryRoot root, const std::string& subKey,
                                  const std::string& name, std::string& text) const override {
        const auto it = values.constFind(
            path(root, QString::fromStdString(subKey), QString::fromStdString(name)));
        text = it == values.cend() ? std::string() : it->toStdString();
        return it == values.cend() ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
    }
    long setValue(RegistryRoot root, const std::string& subKey, const std::string& name,
                  const std::string& text) override {
        journal << QString::fromStdString("set " + name + '=' + text);
        if (failWrites == ERROR_SUCCESS) {
            values[path(root, QString::fromStdString(subKey), QString::fromStdString(name))] =
                QString::fromStdString(text);
        }
        return failWrites;
    }
    long deleteValue(RegistryRoot root, const std::string& subKey,
                     const std::string& name) override {
        journal << QString::fromStdString("delete " + name);
        return values.remove(
                   path(root, QString::fromStdString(subKey), QString::fromStdString(name))) > 0
                   ? ERROR_SUCCESS
                   : ERROR_FILE_NOT_FOUND;
    }

    // The program's own key, as most tests want it.
    void putHome(const QString& name, const QString& text) { values[homePath(name)] = text; }
    [[nodiscard]] QString home(const QString& name) const { return values.value(homePath(name)); }

    QMap<QString, QString> values;
    QStringList journal;
    long failWrites = ERROR_SUCCESS;

private:
    static QString homePath(const QString& name) {
        return path(HKEY_LOCAL_MACHINE, QStringLiteral("Software\\Chronvale Server"), name);
    }
    static QString path(RegistryRoot root, const QString& subKey, const QString& name) {
        return QString::number(root) + QLatin1Char('\\') + subKey.toLower() + QLatin1Char('\\') +
               name;
    }
};

class FakeAutostart final : public Autostart {
public:
    [[nodiscard]] bool exists() const override { return present; }
    bool write(const std::string& cmd) override {
        command = cmd;
        ++writes;
        return present = true;
    }
    bool remove() override {
        ++removals;
        return std::exchange(present, false);
    }

    bool present = false;
    std::string command;
    int writes = 0;
    int removals = 0;
};

// Host facts chosen by the test; the program folder is usually a QTemporaryDir.
class FakeHostInfo final : public HostInfo {
public:
    [[nodiscard]] std::string userName() const override { return "tester"; }
    [[nodiscard]] std::string hostName() const override { return "testhost"; }
    [[nodiscard]] std::string localAddress() const override { return "192.0.2.10"; }
    [[nodiscard]] std::string programFolder() const override { return folder; }
    [[nodiscard]] std::string programCommand() const override { return command; }

    std::string folder;
    std::string command = "/opt/chronvale/chronvale-server";
};

// Records every question and notice as "caption|text"; answers questions Yes unless told.
class FakePrompter final : public Prompter {
public:
    [[nodiscard]] bool askYesNo(PromptOwner, std::string_view caption,
                                std::string_view text) override {
        questions << QString::fromStdString(std::string(caption) + '|' + std::string(text));
        return answer;
    }
    void inform(PromptOwner, std::string_view caption, std::string_view text) override {
        notices << QString::fromStdString(std::string(caption) + '|' + std::string(text));
    }

    bool answer = true;
    QStringList questions;
    QStringList notices;
};

// Records what would have been started.
class FakeLauncher final : public Launcher {
public:
    bool start(const std::string& program, const std::vector<std::string>& arguments) override {
        QStringList command{QString::fromStdString(program)};
        for (const std::string& argument : arguments) {
            command << QString::fromStdString(argument);
        }
        started.append(command);
        return true;
    }
    bool openDateTimeSettings() override { return true; }

    QList<QStringList> started;
};

} // namespace cvl::test
