#include "log/request_log.h"
#include "log/diagnostics.h"

#include "platform/local_format.h"
#include "text/utf8.h"

#include <charconv>

namespace cvl {

namespace {

constexpr char kFieldsLine[] =
    "#Fields: date time c-ip cs-username s-sitename s-computername s-ip cs-method cs-uri-stem "
    "cs-uri-query sc-status sc-win32-status sc-bytes cs-bytes time-taken s-port cs-version "
    "cs(User-Agent) cs(Cookie) cs(Referer)\r\n";

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

std::string dayFileName(const LocalDateTime& day) {
    std::string name = "CVLS";
    appendTwoDigits(name, day.day);
    appendTwoDigits(name, day.month);
    appendTwoDigits(name, day.year % 100);
    return name + ".LOG";
}

} // namespace

std::string generalDateText(const LocalDateTime& when) {
    return shortDateText(when.year, when.month, when.day) + ' ' +
           longTimeText(when.hour, when.minute, when.second);
}

RequestLog::RequestLog(const Clock& clock, const std::string& programFolder,
                       std::string_view versionText, const LocalDateTime& UpdateStamp,
                       Diagnostics* diagnostics)
    : clock_(clock)
    , folder_(programFolder + "/Logs")
    , diagnostics_(diagnostics) {
    headerStart_ = "#Software Service: Chronvale(SM) Server\r\n#Version: ";
    headerStart_.append(versionText);
    headerStart_ += "\r\n#UPDate: ";
    headerStart_ += generalDateText(UpdateStamp);
    headerStart_ += "\r\n#Date: ";
    setIdentity({}, {}, {});
    line_.reserve(256);
}

void RequestLog::setIdentity(std::string_view HostName, std::string_view UserName,
                             std::string_view LocalAddress) {
    identity_ = " - CVLS5 ";
    identity_.append(HostName).append(" ").append(UserName).append(" ").append(LocalAddress);
    identity_ += " GET TIME - 0 0 ";
}

std::string RequestLog::currentFilePath() const {
    return folder_.path() + '/' + dayFileName(clock_.localNow());
}

void RequestLog::switchDay(const LocalDateTime& now) {
    cachedYear_ = now.year;
    cachedMonth_ = now.month;
    cachedDay_ = now.day;
    fileName_ = dayFileName(now);
    datePart_.clear();
    appendTwoDigits(datePart_, now.year / 100);
    appendTwoDigits(datePart_, now.year);
    datePart_ += '-';
    appendTwoDigits(datePart_, now.month);
    datePart_ += '-';
    appendTwoDigits(datePart_, now.day);
    datePart_ += ' ';
}

void RequestLog::logRequest(const RequestRecord& record) {
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
    if (record.service == "NTPv4") {
        byteTotal = record.bytesSent == 48 ? 48 : record.bytesSent == 0 ? record.byteTotal : 0;
    } else {
        byteTotal = record.byteTotal != 0
                        ? record.byteTotal
                        : static_cast<std::int32_t>(utf8::characterCount(record.sent));
    }

    line_.clear();
    line_ += datePart_;
    appendTwoDigits(line_, now.hour);
    line_ += ':';
    appendTwoDigits(line_, now.minute);
    line_ += ':';
    appendTwoDigits(line_, now.second);
    line_ += ' ';
    line_ += record.client;
    line_ += identity_;
    appendNumber(line_, record.bytesSent);
    line_ += ' ';
    appendNumber(line_, byteTotal);
    line_ += " 0 ";
    appendNumber(line_, record.serverPort);
    line_ += ' ';
    line_ += record.service;
    line_ += ' ';
    line_ += transportName(record.transport);
    line_ += " - \r\n";

    RecordFolder::Result result = folder_.append(fileName_, line_);
    if (result.outcome == RecordFolder::Result::Outcome::NoSuchFile) {
        // The first record of a day, or the Logs folder was removed: a new file starts with
        // the header.
        std::string first = headerStart_;
        first += generalDateText(now);
        first += "\r\n";
        first += kFieldsLine;
        first += line_;
        result = folder_.create(fileName_, first, line_);
    }
    // Checked on a flag: a record that went through costs nothing more.
    if (result.outcome != RecordFolder::Result::Outcome::Written || failing_) {
        noteResult(result);
    }
}

void RequestLog::noteResult(const RecordFolder::Result& result) {
    static const std::string topic = "request log";
    failing_ = result.outcome != RecordFolder::Result::Outcome::Written;
    if (diagnostics_ == nullptr) {
        return;
    }
    if (!failing_) {
        diagnostics_->clear(topic);
        return;
    }
    diagnostics_->report(topic, Severity::Error,
                         "the request log cannot write " + folder_.path() + '/' + fileName_ + ": " +
                             result.systemText +
                             "; requests are still answered, but "
                             "their records are lost until it can");
}

} // namespace cvl
