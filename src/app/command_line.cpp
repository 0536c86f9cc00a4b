#include "app/command_line.h"

namespace cvl {

namespace {

std::optional<quint16> portValue(const QString& text) {
    bool ok = false;
    const uint value = text.toUInt(&ok);
    if (!ok || value > 65535) {
        return std::nullopt;
    }
    return static_cast<quint16>(value);
}

} // namespace

QString usageText() {
    return QStringLiteral(
        "Usage: chronvale-server [-rs] [options]\n"
        "\n"
        "A network time server: Daytime, Time, NTP/SNTP and Unix time over TCP and UDP.\n"
        "\n"
        "  -rs                          as the first word: start hidden, tray icon only\n"
        "  --headless                   no window, no tray icon (also when there is no display)\n"
        "  --data-dir DIR               program folder: server file, Logs/, the updater\n"
        "  --settings FILE              the settings file\n"
        "  --reference-port N           UDP port asked on reference servers (default 123)\n"
        "  --update-server HOST[:PORT]  the update server (default port 80)\n"
        "  --no-set-clock               never change the system clock (also\n"
        "                               CHRONVALE_NO_SET_CLOCK=1)\n"
        "  --strict-sync                take answers to the server's own query only from the\n"
        "                               server asked (also StrictSync=YES in the settings)\n"
        "  --version                    print the version and exit\n"
        "  --help                       print this text and exit\n");
}

CommandLineResult parseCommandLine(const QStringList& arguments) {
    CommandLine line;
    line.words = arguments.mid(1);
    // The hidden start is recognised on the exact first word only ("-RS" or "/rs" are not it).
    line.startHidden = !line.words.isEmpty() && line.words.first() == QLatin1String("-rs");

    for (qsizetype i = line.startHidden ? 1 : 0; i < line.words.size(); ++i) {
        QString word = line.words[i];
        QString value;
        bool hasInlineValue = false;
        if (word.startsWith(QLatin1String("--"))) {
            const qsizetype equals = word.indexOf(QLatin1Char('='));
            if (equals > 0) {
                value = word.mid(equals + 1);
                word = word.left(equals);
                hasInlineValue = true;
            }
        }
        const auto takeValue = [&](QString& out) -> bool {
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
            return CommandLineResult{std::nullopt,
                                     QStringLiteral("option %1 needs a value").arg(word)};
        };

        if (word == QLatin1String("-rs")) {
            // Only meaningful as the first word; elsewhere it is just a word.
        } else if (word == QLatin1String("--headless")) {
            line.headless = true;
        } else if (word == QLatin1String("--no-set-clock")) {
            line.noSetClock = true;
        } else if (word == QLatin1String("--strict-sync")) {
            line.strictSync = true;
        } else if (word == QLatin1String("--help") || word == QLatin1String("-h")) {
            line.showHelp = true;
        } else if (word == QLatin1String("--version")) {
            line.showVersion = true;
        } else if (word == QLatin1String("--data-dir")) {
            if (!takeValue(line.dataDir) || line.dataDir.isEmpty()) {
                return missing();
            }
        } else if (word == QLatin1String("--settings")) {
            if (!takeValue(line.settingsFile) || line.settingsFile.isEmpty()) {
                return missing();
            }
        } else if (word == QLatin1String("--reference-port")) {
            QString text;
            if (!takeValue(text)) {
                return missing();
            }
            const std::optional<quint16> port = portValue(text);
            if (!port || *port == 0) {
                return {std::nullopt,
                        QStringLiteral("--reference-port: not a port number: %1").arg(text)};
            }
            line.referencePort = *port;
        } else if (word == QLatin1String("--update-server")) {
            QString text;
            if (!takeValue(text) || text.isEmpty()) {
                return missing();
            }
            const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
            line.updateHost = colon < 0 ? text : text.left(colon);
            if (colon >= 0) {
                const std::optional<quint16> port = portValue(text.mid(colon + 1));
                if (!port || *port == 0 || line.updateHost.isEmpty()) {
                    return {
                        std::nullopt,
                        QStringLiteral("--update-server: expected HOST[:PORT], got %1").arg(text)};
                }
                line.updatePort = *port;
            }
        } else if (word.startsWith(QLatin1String("--"))) {
            // A long option is meant as one: a misspelt one must not go unnoticed.
            return {std::nullopt, QStringLiteral("unknown option: %1").arg(line.words[i])};
        } else {
            line.ignored << line.words[i];
        }
    }
    return {line, {}};
}

} // namespace cvl
