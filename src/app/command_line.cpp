#include "app/command_line.h"

#include <charconv>

namespace cvl {

namespace {

// A port number, 0 included; blanks around it are allowed.
std::optional<std::uint16_t> portValue(std::string_view text) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    std::uint16_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace

const char* usageText() {
    return "Usage: chronvale-server [-rs] [options]\n"
           "\n"
           "A network time server: Daytime, Time, NTP/SNTP and Unix time over TCP and UDP.\n"
           "\n"
           "  -rs                          as the first word: start hidden, tray icon only\n"
           "  --headless                   no window, no tray icon (also when there is no "
           "display)\n"
           "  --service                    Windows: run as the service ChronvaleServer (started\n"
           "                               so by the service control manager only)\n"
           "  --data-dir DIR               program folder: server file, Logs/, the updater\n"
           "  --settings FILE              the settings file (Linux; Windows uses the registry)\n"
           "  --reference-port N           UDP port asked on reference servers (default 123)\n"
           "  --update-server HOST[:PORT]  the update server (default port 80)\n"
           "  --no-set-clock               never change the system clock (also\n"
           "                               CHRONVALE_NO_SET_CLOCK=1)\n"
           "  --strict-sync                take answers to the server's own query only from the\n"
           "                               server asked (also StrictSync=YES in the settings)\n"
           "  --version                    print the version and exit\n"
           "  --help                       print this text and exit\n";
}

CommandLineResult parseCommandLine(const std::vector<std::string>& arguments) {
    CommandLine line;
    line.words.assign(arguments.begin() + (arguments.empty() ? 0 : 1), arguments.end());
    // The hidden start is recognised on the exact first word only ("-RS" or "/rs" are not it).
    line.startHidden = !line.words.empty() && line.words.front() == "-rs";

    for (std::size_t i = line.startHidden ? 1 : 0; i < line.words.size(); ++i) {
        std::string word = line.words[i];
        std::string value;
        bool hasInlineValue = false;
        if (word.starts_with("--")) {
            const std::size_t equals = word.find('=');
            if (equals != std::string::npos && equals > 0) {
                value = word.substr(equals + 1);
                word.resize(equals);
                hasInlineValue = true;
            }
        }
        const auto takeValue = [&](std::string& out) -> bool {
            if (hasInlineValue) {
                out = value;
                return true;
            }
            if (i + 1 >= line.words.size()) {
                return false;
            }
            out = line.words[++i];
            return true;
        };
        const auto missing = [&word] {
            return CommandLineResult{std::nullopt, "option " + word + " needs a value"};
        };

        if (word == ("-rs")) {
            // Only meaningful as the first word; elsewhere it is just a word.
        } else if (word == ("--headless")) {
            line.headless = true;
        } else if (word == ("--service")) {
            line.service = true;
        } else if (word == ("--no-set-clock")) {
            line.noSetClock = true;
        } else if (word == ("--strict-sync")) {
            line.strictSync = true;
        } else if (word == ("--help") || word == ("-h")) {
            line.showHelp = true;
        } else if (word == ("--version")) {
            line.showVersion = true;
        } else if (word == ("--data-dir")) {
            if (!takeValue(line.dataDir) || line.dataDir.empty()) {
                return missing();
            }
        } else if (word == ("--settings")) {
            if (!takeValue(line.settingsFile) || line.settingsFile.empty()) {
                return missing();
            }
        } else if (word == ("--reference-port")) {
            std::string text;
            if (!takeValue(text)) {
                return missing();
            }
            const std::optional<std::uint16_t> port = portValue(text);
            if (!port || *port == 0) {
                return {std::nullopt, "--reference-port: not a port number: " + text};
            }
            line.referencePort = *port;
        } else if (word == ("--update-server")) {
            std::string text;
            if (!takeValue(text) || text.empty()) {
                return missing();
            }
            const std::size_t colon = text.rfind(':');
            line.updateHost = text.substr(0, colon);
            if (colon != std::string::npos) {
                const std::optional<std::uint16_t> port = portValue(text.substr(colon + 1));
                if (!port || *port == 0 || line.updateHost.empty()) {
                    return {std::nullopt, "--update-server: expected HOST[:PORT], got " + text};
                }
                line.updatePort = *port;
            }
        } else if (word.starts_with("--")) {
            // A long option is meant as one: a misspelt one must not go unnoticed.
            return {std::nullopt, "unknown option: " + line.words[i]};
        } else {
            line.ignored.push_back(line.words[i]);
        }
    }
    return {line, {}};
}

} // namespace cvl
