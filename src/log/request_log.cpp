#include "log/request_log.h"

#include <QDate>
#include <QFile>
#include <QLocale>
#include <QTime>

#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cvl {

namespace {

constexpr char kFieldsLine[] =
    "#Fields: date time c-ip cs-username s-sitename s-computername s-ip cs-method cs-uri-stem "
    "cs-uri-query sc-status sc-win32-status sc-bytes cs-bytes time-taken s-port cs-version "
    "cs(User-Agent) cs(Cookie) cs(Referer)\r\n";

// Drops the zone field ("t", and the longer forms of newer Qt) and the blanks before it from a
// QLocale time format; quoted literal text stays as it is.
QString withoutZone(const QString& format) {
    QString out;
    bool quoted = false;
    for (qsizetype i = 0; i < format.size(); ++i) {
        const QChar c = format[i];
        if (c == u'\'') {
            quoted = !quoted;
        } else if (!quoted && c == u't') {
            while (i + 1 < format.size() && format[i + 1] == u't') {
                ++i;
            }
            while (!out.isEmpty() && out.back().isSpace()) {
                out.chop(1);
            }
            continue;
        }
        out += c;
    }
    return out.trimmed();
}

void appendTwoDigits(std::string& out, int value) {
    const char digits[2] = {static_cast<char>('0' + value / 10 % 10),
                            static_cast<char>('0' + value % 10)};
    out.append(digits, 2);
}

void appendNumber(std::string& out, std::int32_t value) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(digits, end);
}

// Addresses and protocol names are short ASCII, copied in one go; anything else goes through
// the UTF-8 encoder.
void appendText(std::string& out, QStringView text) {
    char ascii[64];
    if (text.size() <= qsizetype(sizeof ascii)) {
        const char16_t* units = text.utf16();
        qsizetype i = 0;
        for (; i < text.size() && units[i] < 0x80; ++i) {
            ascii[i] = static_cast<char>(units[i]);
        }
        if (i == text.size()) {
            out.append(ascii, static_cast<std::size_t>(i));
            return;
        }
    }
    const QByteArray utf8 = text.toUtf8();
    out.append(utf8.constData(), static_cast<std::size_t>(utf8.size()));
}

void appendText(std::string& out, const QString& text) {
    appendText(out, QStringView(text));
}

void writeAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

QString dayFileName(const QString& folder, const LocalDateTime& day) {
    return QStringLiteral("%1/CVLS%2%3%4.LOG")
        .arg(folder)
        .arg(day.day, 2, 10, QLatin1Char('0'))
        .arg(day.month, 2, 10, QLatin1Char('0'))
        .arg(day.year % 100, 2, 10, QLatin1Char('0'));
}

} // namespace

QString generalDateText(const LocalDateTime& when) {
    const QLocale locale = QLocale::system();
    const QDate date(when.year, when.month, when.day);
    const QTime time(when.hour, when.minute, when.second);
    return locale.toString(date, QLocale::ShortFormat) + u' ' +
           locale.toString(time, withoutZone(locale.timeFormat(QLocale::LongFormat)));
}

RequestLog::RequestLog(const Clock& clock, QString programFolder, QString versionText,
                       const LocalDateTime& UpdateStamp)
    : clock_(clock)
    , folder_(std::move(programFolder) + QStringLiteral("/Logs"))
    , folderName_(QFile::encodeName(folder_)) {
    headerStart_ = "#Software Service: Chronvale(SM) Server\r\n#Version: ";
    appendText(headerStart_, versionText);
    headerStart_ += "\r\n#UPDate: ";
    appendText(headerStart_, generalDateText(UpdateStamp));
    headerStart_ += "\r\n#Date: ";
    setIdentity({}, {}, {});
    line_.reserve(256);
}

void RequestLog::setIdentity(const QString& HostName, const QString& UserName,
                             const QString& LocalAddress) {
    identity_ = " - CVLS5 ";
    appendText(identity_, HostName);
    identity_ += ' ';
    appendText(identity_, UserName);
    identity_ += ' ';
    appendText(identity_, LocalAddress);
    identity_ += " GET TIME - 0 0 ";
}

QString RequestLog::currentFilePath() const {
    return dayFileName(folder_, clock_.localNow());
}

void RequestLog::switchDay(const LocalDateTime& now) {
    cachedYear_ = now.year;
    cachedMonth_ = now.month;
    cachedDay_ = now.day;
    fileName_ = QFile::encodeName(dayFileName(folder_, now));
    baseName_ = fileName_.mid(fileName_.lastIndexOf('/') + 1);
    datePart_.clear();
    appendTwoDigits(datePart_, now.year / 100);
    appendTwoDigits(datePart_, now.year);
    datePart_ += '-';
    appendTwoDigits(datePart_, now.month);
    datePart_ += '-';
    appendTwoDigits(datePart_, now.day);
    datePart_ += ' ';
}

void RequestLog::CVLWLOG(const QString& BytesD, const QString& RequestIP, std::int16_t ReqP,
                         std::int32_t sentB, const QString& CVLCode, const QString& CVLType,
                         std::int32_t iByteTot) {
    if (!LogEnabled) {
        return;
    }
    const LocalDateTime now = clock_.localNow();
    if (now.day != cachedDay_ || now.month != cachedMonth_ || now.year != cachedYear_) {
        switchDay(now);
    }

    // An NTP answer is counted only when it is the plain 48-byte packet or when nothing was
    // sent; the other services count the text they sent unless told the size.
    std::int32_t byteTotal = 0;
    if (CVLCode == u"NTPv4") {
        byteTotal = sentB == 48 ? 48 : sentB == 0 ? iByteTot : 0;
    } else {
        byteTotal = iByteTot != 0 ? iByteTot : static_cast<std::int32_t>(BytesD.size());
    }

    line_.clear();
    line_ += datePart_;
    appendTwoDigits(line_, now.hour);
    line_ += ':';
    appendTwoDigits(line_, now.minute);
    line_ += ':';
    appendTwoDigits(line_, now.second);
    line_ += ' ';
    appendText(line_, RequestIP);
    line_ += identity_;
    appendNumber(line_, sentB);
    line_ += ' ';
    appendNumber(line_, byteTotal);
    line_ += " 0 ";
    appendNumber(line_, ReqP);
    line_ += ' ';
    appendText(line_, CVLCode);
    line_ += ' ';
    appendText(line_, CVLType);
    line_ += " - \r\n";

    // Opened relative to the Logs folder, so each record resolves one name, not the path.
    if (folderFd_ < 0) {
        folderFd_ = ::open(folderName_.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }
    const int fd =
        folderFd_ < 0 ? -1
                      : ::openat(folderFd_, baseName_.constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd >= 0) {
        writeAll(fd, line_.data(), line_.size());
        ::close(fd);
    } else if (errno == ENOENT) {
        createAndAppend(now);
    }
}

RequestLog::~RequestLog() {
    if (folderFd_ >= 0) {
        ::close(folderFd_);
    }
}

// The first record of a day, or the Logs folder was removed: make the folder (one level; the
// program folder is there) and a new file that starts with the header.
void RequestLog::createAndAppend(const LocalDateTime& now) {
    ::mkdir(folderName_.constData(), 0777); // usually EEXIST, which is fine
    // The folder may be a new one: the next record opens it afresh.
    if (folderFd_ >= 0) {
        ::close(folderFd_);
        folderFd_ = -1;
    }
    int fd =
        ::open(fileName_.constData(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) {
        std::string text = headerStart_;
        appendText(text, generalDateText(now));
        text += "\r\n";
        text += kFieldsLine;
        text += line_;
        writeAll(fd, text.data(), text.size());
        ::close(fd);
        return;
    }
    if (errno != EEXIST) {
        return;
    }
    // Another process made the file in between; it wrote the header.
    fd = ::open(fileName_.constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd >= 0) {
        writeAll(fd, line_.data(), line_.size());
        ::close(fd);
    }
}

} // namespace cvl
