// The command line of the executable: "-rs" as the first word, then long options. Parsing is
// kept apart from main() so that it can be tested without starting anything.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cvl {

struct CommandLine {
    bool startHidden = false; // "-rs", exactly, as the first word
    bool headless = false;
    bool service = false; // the Windows service, started by the service control manager
    bool noSetClock = false;
    bool showHelp = false;
    bool showVersion = false;
    std::string dataDir;
    std::string settingsFile;
    std::uint16_t referencePort = 123;
    std::string updateHost;
    std::uint16_t updatePort = 80;
    bool strictSync = false;
    std::vector<std::string> words; // every word after the program name, as given
    // Words that are none of our options ("-RS", "/rs", a stray word): the program starts
    // all the same, and says it ignored them.
    std::vector<std::string> ignored;
};

struct CommandLineResult {
    std::optional<CommandLine> line;
    std::string error; // set when line is empty
};

// `arguments` starts with the program's name.
[[nodiscard]] CommandLineResult parseCommandLine(const std::vector<std::string>& arguments);
[[nodiscard]] const char* usageText();

} // namespace cvl
