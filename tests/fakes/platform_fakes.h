// Fakes of every platform adapter: time moves only when a test moves it, settings and the
// autostart entry stay in memory, prompts answer what the test says, and nothing is started.
#pragma once

#include "clock_fakes.h"
#include "platform/autostart.h"
#include "platform/host_info.h"
#include "platform/launcher.h"
#include "platform/prompter.h"
#include "platform/settings_store.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace cvl::test {

// The settings store, with a journal of every write and delete in order.
class MemorySettingsStore final : public SettingsStore {
public:
    [[nodiscard]] long openKey(RegistryRoot root, const std::string& subKey) const override {
        const std::string prefix = path(root, subKey, {});
        const auto found = values.lower_bound(prefix);
        return found != values.end() && found->first.starts_with(prefix) ? ERROR_SUCCESS
                                                                         : ERROR_FILE_NOT_FOUND;
    }
    [[nodiscard]] long queryValue(RegistryRoot root, const std::string& subKey,
                                  const std::string& name, std::string& text) const override {
        const auto it = values.find(path(root, subKey, name));
        text = it == values.end() ? std::string() : it->second;
        return it == values.end() ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
    }
    long setValue(RegistryRoot root, const std::string& subKey, const std::string& name,
                  const std::string& text) override {
        journal.push_back("set " + name + '=' + text);
        if (failWrites == ERROR_SUCCESS) {
            values[path(root, subKey, name)] = text;
        }
        return failWrites;
    }
    long deleteValue(RegistryRoot root, const std::string& subKey,
                     const std::string& name) override {
        journal.push_back("delete " + name);
        return values.erase(path(root, subKey, name)) > 0 ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    }

    // The program's own key, as most tests want it.
    void putHome(const std::string& name, const std::string& text) {
        values[path(HKEY_LOCAL_MACHINE, "Software\\Chronvale Server", name)] = text;
    }

    std::map<std::string, std::string> values;
    std::vector<std::string> journal;
    long failWrites = ERROR_SUCCESS;

private:
    static std::string path(RegistryRoot root, const std::string& subKey, const std::string& name) {
        std::string lower = subKey;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return std::to_string(root) + '\\' + lower + '\\' + name;
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
    bool openDateTimeSettings() override { return true; }

    std::vector<std::vector<std::string>> started;
};

} // namespace cvl::test
