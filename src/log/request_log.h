// The request log: every served time request becomes one line of a daily text file in the W3C
// extended log layout, <program folder>/Logs/CVLSddmmyy.LOG. The file is opened and closed for
// each record, so the per-record work is kept to one buffer and three system calls.
#pragma once

#include "platform/clock.h"

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <string>

namespace cvl {

// The system's short date, a blank and its long time without the time-zone part. The zone is
// left out because the date-time shown is a recorded local one, not necessarily the present.
[[nodiscard]] QString generalDateText(const LocalDateTime& when);

// Not thread-safe: records reuse one line buffer, so calls must not overlap.
class RequestLog {
public:
    // versionText is "major.minor.revision"; UpdateStamp is the local date-time the server
    // started, shown in the header of every new file.
    explicit RequestLog(const Clock& clock, QString programFolder, QString versionText,
                        const LocalDateTime& UpdateStamp);
    ~RequestLog();
    RequestLog(const RequestLog&) = delete;
    RequestLog& operator=(const RequestLog&) = delete;

    void setIdentity(const QString& HostName, const QString& UserName, const QString& LocalAddress);

    void setEnabled(bool on) { LogEnabled = on; }
    [[nodiscard]] bool enabled() const { return LogEnabled; }

    // The file a record written now would go to.
    [[nodiscard]] QString currentFilePath() const;

    // Appends one record. Failures lose the record silently: logging never stops serving.
    void CVLWLOG(const QString& BytesD, const QString& RequestIP, std::int16_t ReqP,
                 std::int32_t sentB, const QString& CVLCode, const QString& CVLType,
                 std::int32_t iByteTot = 0);

private:
    void switchDay(const LocalDateTime& now);
    void createAndAppend(const LocalDateTime& now);

    const Clock& clock_;
    QString folder_;
    QByteArray folderName_; // folder_ as the file system wants it
    bool LogEnabled = true;

    std::string headerStart_; // header lines up to "#Date: "
    std::string identity_;    // the constant run of items between client address and bytes

    // The day the cached names belong to; year 0 never matches a real date.
    int cachedYear_ = 0;
    int cachedMonth_ = 0;
    int cachedDay_ = 0;
    QByteArray fileName_;  // encoded path, NUL-terminated for open()
    QByteArray baseName_;  // the file's name within the Logs folder
    int folderFd_ = -1;    // the Logs folder, kept open between records
    std::string datePart_; // "YYYY-MM-DD "
    std::string line_;     // reused so that a record costs no allocation
};

} // namespace cvl
