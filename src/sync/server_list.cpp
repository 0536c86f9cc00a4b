#include "sync/server_list.h"

#include "core/leading_number.h"

#include <QFile>
#include <QStringDecoder>
#include <algorithm>

namespace cvl {

namespace {

// Reads lines ending in CR LF, LF or CR from a file in blocks, so that neither a huge line nor
// a huge file is a problem beyond holding the one line.
class LineReader {
public:
    explicit LineReader(QIODevice& file)
        : file_(file) {}

    // The next line without its end; empty at the end of the file.
    [[nodiscard]] QByteArray next() {
        QByteArray line;
        for (;;) {
            if (pos_ == buffer_.size() && !refill()) {
                return line;
            }
            if (skipLineFeed_) {
                skipLineFeed_ = false;
                if (buffer_[pos_] == '\n') {
                    ++pos_;
                    continue;
                }
            }
            qsizetype end = pos_;
            while (end < buffer_.size() && buffer_[end] != '\r' && buffer_[end] != '\n') {
                ++end;
            }
            line.append(buffer_.constData() + pos_, end - pos_);
            pos_ = end;
            if (end < buffer_.size()) {
                skipLineFeed_ = buffer_[end] == '\r';
                ++pos_;
                return line;
            }
        }
    }

private:
    bool refill() {
        // A small file is read in one block of its own size, not into a large empty one.
        constexpr qint64 block = 64 * 1024;
        const qint64 wanted =
            file_.isSequential() ? block : std::clamp<qint64>(file_.bytesAvailable(), 1, block);
        buffer_ = file_.read(wanted);
        pos_ = 0;
        return !buffer_.isEmpty();
    }

    QIODevice& file_;
    QByteArray buffer_;
    qsizetype pos_ = 0;
    // A CR ended the last line; a LF right after it belongs to the same line end.
    bool skipLineFeed_ = false;
};

// Files saved on Windows are in the ANSI code page, files edited elsewhere mostly in UTF-8.
QString decodeLine(const QByteArray& bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString text = utf8.decode(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : text;
}

// Splits at ":::" into at most four parts; the last keeps any further separators.
QStringList splitFields(const QString& line) {
    static const QString separator = QStringLiteral(":::");
    QStringList parts;
    qsizetype start = 0;
    while (parts.size() < 3) {
        const qsizetype at = line.indexOf(separator, start);
        if (at < 0) {
            break;
        }
        parts.append(line.mid(start, at - start));
        start = at + separator.size();
    }
    parts.append(line.mid(start));
    return parts;
}

int imageNumber(const QString& text) {
    constexpr int worldFlag = 2;
    if (!isNumericText(text)) {
        return worldFlag;
    }
    return roundToInt32(leadingNumber(text)).value_or(worldFlag);
}

} // namespace

std::optional<ServerList> readServerFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return readServerFile(file);
}

ServerList readServerFile(QIODevice& file) {
    constexpr int headerLines = 5;
    ServerList list;
    LineReader reader(file);
    int lineNumber = 0;
    for (QByteArray bytes = reader.next(); !bytes.isEmpty(); bytes = reader.next()) {
        ++lineNumber;
        if (lineNumber <= headerLines) {
            continue;
        }
        const QStringList parts = splitFields(decodeLine(bytes));
        if (parts.size() < 4) {
            continue;
        }
        list.entries.append({parts[1], imageNumber(parts[2])});
        const int hostIndex = lineNumber - headerLines;
        if (hostIndex > maxServerHosts) {
            break;
        }
        list.ServerHosts[hostIndex] = parts[0];
    }
    return list;
}

} // namespace cvl
