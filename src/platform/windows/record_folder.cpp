#include "platform/record_folder.h"
#include "platform/windows/system_error_text.h"
#include "platform/windows/wide_text.h"

#include <utility>
#include <windows.h>

namespace cvl {

namespace {

using Outcome = RecordFolder::Result::Outcome;

RecordFolder::Result failure() {
    return {Outcome::Failed, systemErrorText(GetLastError())};
}

RecordFolder::Result writeAndClose(HANDLE file, std::string_view bytes) {
    RecordFolder::Result result;
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
            written == 0) {
            result = failure();
            break;
        }
        bytes.remove_prefix(written);
    }
    CloseHandle(file);
    return result;
}

// Shared for reading and writing, so that an operator can look at today's file meanwhile.
HANDLE openForAppend(const std::wstring& path, DWORD disposition) {
    return CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

RecordFolder::RecordFolder(std::string folder)
    : folder_(std::move(folder)) {}

RecordFolder::~RecordFolder() = default;

RecordFolder::Result RecordFolder::append(const std::string& name, std::string_view record) {
    const HANDLE file = openForAppend(wideFromUtf8(folder_ + '\\' + name), OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND
                   ? Result{Outcome::NoSuchFile, {}}
                   : failure();
    }
    return writeAndClose(file, record);
}

RecordFolder::Result RecordFolder::create(const std::string& name, std::string_view firstContents,
                                          std::string_view record) {
    CreateDirectoryW(wideFromUtf8(folder_).c_str(), nullptr); // usually there already
    const std::wstring path = wideFromUtf8(folder_ + '\\' + name);
    HANDLE file = openForAppend(path, CREATE_NEW);
    if (file != INVALID_HANDLE_VALUE) {
        return writeAndClose(file, firstContents);
    }
    if (GetLastError() != ERROR_FILE_EXISTS) {
        return failure();
    }
    // Another process made the file in between; it wrote the header.
    file = openForAppend(path, OPEN_EXISTING);
    return file != INVALID_HANDLE_VALUE ? writeAndClose(file, record) : failure();
}

} // namespace cvl
