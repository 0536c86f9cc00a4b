// Fakes of every platform adapter: time moves only when a test moves it, settings and the
// autostart entry stay in memory, prompts answer what the test says, and nothing is started.
#pragma once

#include "clock_fakes.h"
#include "platform/autostart.h"
#include "platform/host_info.h"
#include "platform/launcher.h"
#include "platform/prompter.h"
#include "platform/settings_store.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace cvl::test {

// The settings store, with a journal of every write in order. Writes fail with `failWrites`
// when it is set (and store nothing then).
class MemorySettingsStore final : public SettingsStore {
public:
    [[nodiscard]] std::string location() const override { return "memory"; }
    [[nodiscard]] SettingsResult keyExists() const override {
        return SettingsResult(values.empty() ? SettingsStatus::NotFound : SettingsStatus::Ok);
    }
    [[nodiscard]] SettingsResult read(const std::string& name, std::string& text) const override {
        const auto it = values.find(name);
        text = it == values.end() ? std::string() : it->second;
        return SettingsResult(it == values.end() ? SettingsStatus::NotFound : SettingsStatus::Ok);
    }
    SettingsResult write(const std::string& name, const std::string& text) override {
        journal.push_back("set " + name + '=' + text);
        if (failWrites.ok()) {
            values[name] = text;
        }
        return failWrites;
    }

    void putHome(const std::string& name, const std::string& text) { values[name] = text; }

    std::map<std::string, std::string> values;
    std::vector<std::string> journal;
    SettingsResult failWrites;
};

class FakeAutostart final : public Autostart {
public:
    [[nodiscard]] bool exists() const override { return present; }
    bool write(const std::string& cmd) override {
        command = cmd;
        ++writes;
        return present = true;
    }
    bool remove() override { return std::exchange(present, false); }

    bool present = false;
    std::string command;
    int writes = 0;
};

// Host facts chosen by the test; the program folder is usually a TempFolder.
class FakeHostInfo final : public HostInfo {
public:
    [[nodiscard]] std::string userName() const override { return "tester"; }
    [[nodiscard]] std::string hostName() const override { return "testhost"; }
    [[nodiscard]] std::string localAddress() const override { return "192.0.2.10"; }
    [[nodiscard]] std::string programFolder() const override { return folder; }
    [[nodiscard]] std::string updaterProgram() const override { return folder + "/QBKUpdate"; }
    [[nodiscard]] std::string programCommand() const override { return command; }

    std::string folder;
    std::string command = "/opt/chronvale/chronvale-server";
};

// Records every question and notice as "caption|text"; answers questions Yes unless told.
class FakePrompter final : public Prompter {
public:
    [[nodiscard]] bool askYesNo(PromptOwner, std::string_view caption,
                                std::string_view text) override {
        questions.push_back(std::string(caption) + '|' + std::string(text));
        return answer;
    }
    void inform(PromptOwner, std::string_view caption, std::string_view text) override {
        notices.push_back(std::string(caption) + '|' + std::string(text));
    }

    bool answer = true;
    std::vector<std::string> questions;
    std::vector<std::string> notices;
};

// Records what would have been started.
class FakeLauncher final : public Launcher {
public:
    bool start(const std::string& program, const std::vector<std::string>& arguments) override {
        std::vector<std::string> command{program};
        command.insert(command.end(), arguments.begin(), arguments.end());
        started.push_back(std::move(command));
        return true;
    }
    bool openDateTimeSettings() override {
        ++dateTimeSettingsOpened;
        return true;
    }

    std::vector<std::vector<std::string>> started;
    int dateTimeSettingsOpened = 0;
};

} // namespace cvl::test
