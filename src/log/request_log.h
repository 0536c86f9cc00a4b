// The request log: every served time request becomes one line of a daily text file in the W3C
// extended log layout, <program folder>/Logs/CVLSddmmyy.LOG. The file is opened and closed for
// each record, so the per-record work is kept to one buffer and three system calls.
#pragma once

#include "log/request_record.h"
#include "platform/record_folder.h"
#include "timebase/clock.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace cvl {

class Diagnostics;

// The system's short date, a blank and its long time without the time-zone part. The zone is
// left out because the date-time shown is a recorded local one, not necessarily the present.
[[nodiscard]] std::string generalDateText(const LocalDateTime& when);

// Not thread-safe: records reuse one line buffer, so calls must not overlap.
class RequestLog {
public:
    // versionText is "major.minor.revision"; UpdateStamp is the local date-time the server
    // started, shown in the header of every new file.
    // A record that cannot be written is lost, as it must be; `diagnostics`, when given, is
    // told once, and again when the failure changes or comes back after a success.
    RequestLog(const Clock& clock, const std::string& programFolder, std::string_view versionText,
               const LocalDateTime& UpdateStamp, Diagnostics* diagnostics = nullptr);

    void setIdentity(std::string_view HostName, std::string_view UserName,
                     std::string_view LocalAddress);

    void setEnabled(bool on) { LogEnabled = on; }
    [[nodiscard]] bool enabled() const { return LogEnabled; }

    // The file a record written now would go to.
    [[nodiscard]] std::string currentFilePath() const;

    // Appends one record. Failures lose the record: logging never stops serving.
    void logRequest(const RequestRecord& record);

private:
    void switchDay(const LocalDateTime& now);
    void noteResult(const RecordFolder::Result& result);

    const Clock& clock_;
    RecordFolder folder_;
    Diagnostics* diagnostics_;
    bool failing_ = false; // the last record was lost
    bool LogEnabled = true;

    std::string headerStart_; // header lines up to "#Date: "
    std::string identity_;    // the constant run of items between client address and bytes

    // The day the cached names belong to; year 0 never matches a real date.
    int cachedYear_ = 0;
    int cachedMonth_ = 0;
    int cachedDay_ = 0;
    std::string fileName_; // the day's file within the Logs folder
    std::string datePart_; // "YYYY-MM-DD "
    std::string line_;     // reused so that a record costs no allocation
};

} // namespace cvl
