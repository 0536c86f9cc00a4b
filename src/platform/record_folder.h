// The folder of the request log's day files. Every record is one open, append and close, so
// that a file moved or removed by the operator is simply made again; the folder itself stays
// open between records where the system allows, so that each record resolves one name only.
#pragma once

#include <string>
#include <string_view>

namespace cvl {

class RecordFolder {
public:
    // `folder` need not exist yet.
    explicit RecordFolder(std::string folder);
    ~RecordFolder();
    RecordFolder(const RecordFolder&) = delete;
    RecordFolder& operator=(const RecordFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return folder_; }

    struct Result {
        enum class Outcome { Written, NoSuchFile, Failed };
        Outcome outcome = Outcome::Written;
        std::string systemText; // the system's words for a failure
    };
    // Appends to the file `name` of the folder, which must exist already.
    Result append(const std::string& name, std::string_view record);
    // Makes the folder (one level) and the file `name` with `firstContents`. When another
    // process made the file in between, `record` is appended to it instead. On a failure the
    // record is lost.
    Result create(const std::string& name, std::string_view firstContents, std::string_view record);

private:
    std::string folder_;
    int folderFd_ = -1; // the folder kept open, where the system has such a thing
};

} // namespace cvl
