#include "platform/record_folder.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace cvl {

namespace {

using Outcome = RecordFolder::Result::Outcome;

RecordFolder::Result failure() {
    return {Outcome::Failed, std::strerror(errno)};
}

// False, with errno set, when the system took less than everything (a full disk, say).
bool writeAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            if (written == 0) {
                errno = ENOSPC;
            }
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

RecordFolder::Result writeAndClose(int fd, std::string_view bytes) {
    const bool whole = writeAll(fd, bytes.data(), bytes.size());
    const RecordFolder::Result result = whole ? RecordFolder::Result{} : failure();
    ::close(fd);
    return result;
}

} // namespace

RecordFolder::RecordFolder(std::string folder)
    : folder_(std::move(folder)) {}

RecordFolder::~RecordFolder() {
    if (folderFd_ >= 0) {
        ::close(folderFd_);
    }
}

RecordFolder::Result RecordFolder::append(const std::string& name, std::string_view record) {
    if (folderFd_ < 0) {
        folderFd_ = ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }
    const int fd =
        folderFd_ < 0 ? -1 : ::openat(folderFd_, name.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd < 0) {
        return errno == ENOENT ? Result{Outcome::NoSuchFile, {}} : failure();
    }
    return writeAndClose(fd, record);
}

RecordFolder::Result RecordFolder::create(const std::string& name, std::string_view firstContents,
                                          std::string_view record) {
    ::mkdir(folder_.c_str(), 0777); // usually EEXIST, which is fine
    // The folder may be a new one: the next record opens it afresh.
    if (folderFd_ >= 0) {
        ::close(folderFd_);
        folderFd_ = -1;
    }
    const std::string path = folder_ + '/' + name;
    int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) {
        return writeAndClose(fd, firstContents);
    }
    if (errno != EEXIST) {
        return failure();
    }
    // Another process made the file in between; it wrote the header.
    fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    return fd >= 0 ? writeAndClose(fd, record) : failure();
}

} // namespace cvl
