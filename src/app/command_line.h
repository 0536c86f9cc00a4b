// The command line of the executable: "-rs" as the first word, then long options. Parsing is
// kept apart from main() so that it can be tested without starting anything.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace cvl {

struct CommandLine {
    bool startHidden = false; // "-rs", exactly, as the first word
    bool headless = false;
    bool noSetClock = false;
    bool showHelp = false;
    bool showVersion = false;
    QString dataDir;
    QString settingsFile;
    quint16 referencePort = 123;
    QString updateHost;
    quint16 updatePort = 80;
    bool strictSync = false;
    QStringList words; // every word after the program name, as given
    // Words that are none of our options ("-RS", "/rs", a stray word): the program starts
    // all the same, and says it ignored them.
    QStringList ignored;
};

struct CommandLineResult {
    std::optional<CommandLine> line;
    QString error; // set when line is empty
};

[[nodiscard]] CommandLineResult parseCommandLine(const QStringList& arguments);
[[nodiscard]] QString usageText();

} // namespace cvl
