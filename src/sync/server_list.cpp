#include "sync/server_list.h"

#include "platform/file_path.h"
#include "text/leading_number.h"
#include "text/utf8.h"

#include <fstream>
#include <string_view>

namespace cvl {

namespace {

// Reads lines ending in CR LF, LF or CR, so that neither a huge line nor a huge file is a
// problem beyond holding the one line.
class LineReader {
public:
    explicit LineReader(std::istream& file)
        : file_(file) {}

    // The next line without its end; empty at the end of the file.
    [[nodiscard]] std::string next() {
        std::string line;
        for (int c = file_.get(); c != std::char_traits<char>::eof(); c = file_.get()) {
            if (c == '\n') {
                return line;
            }
            if (c == '\r') {
                if (file_.peek() == '\n') {
                    file_.get();
                }
                return line;
            }
            line += static_cast<char>(c);
        }
        return line;
    }

private:
    std::istream& file_;
};

// Files saved on Windows are in the ANSI code page, files edited elsewhere mostly in UTF-8.
std::string decodeLine(std::string bytes) {
    return utf8::isValid(bytes) ? std::move(bytes) : utf8::fromLatin1(bytes);
}

// Splits at ":::" into at most four parts; the last keeps any further separators.
std::vector<std::string> splitFields(std::string_view line) {
    constexpr std::string_view separator = ":::";
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (parts.size() < 3) {
        const std::size_t at = line.find(separator, start);
        if (at == std::string_view::npos) {
            break;
        }
        parts.emplace_back(line.substr(start, at - start));
        start = at + separator.size();
    }
    parts.emplace_back(line.substr(start));
    return parts;
}

int imageNumber(std::string_view text) {
    constexpr int worldFlag = 2;
    if (!isNumericText(text)) {
        return worldFlag;
    }
    return roundToInt32(leadingNumber(text)).value_or(worldFlag);
}

} // namespace

std::optional<ServerList> readServerFile(const std::string& path) {
    std::ifstream file(filePath(path), std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    return readServerFile(file);
}

ServerList readServerFile(std::istream& file) {
    constexpr int headerLines = 5;
    ServerList list;
    LineReader reader(file);
    int lineNumber = 0;
    for (std::string bytes = reader.next(); !bytes.empty(); bytes = reader.next()) {
        ++lineNumber;
        if (lineNumber <= headerLines) {
            continue;
        }
        std::vector<std::string> parts = splitFields(decodeLine(std::move(bytes)));
        if (parts.size() < 4) {
            continue;
        }
        list.entries.push_back({std::move(parts[1]), imageNumber(parts[2])});
        const int hostIndex = lineNumber - headerLines;
        if (hostIndex > maxServerHosts) {
            break;
        }
        list.ServerHosts[static_cast<std::size_t>(hostIndex)] = std::move(parts[0]);
    }
    return list;
}

} // namespace cvl
