#include "platform/record_folder.h"
#include "platform/windows/wide_text.h"

#include <utility>
#include <windows.h>

namespace cvl {

namespace {

void writeAll(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
            written == 0) {
            return;
        }
        bytes.remove_prefix(written);
    }
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

RecordFolder::AppendResult RecordFolder::append(const std::string& name, std::string_view record) {
    const HANDLE file = openForAppend(wideFromUtf8(folder_ + '\\' + name), OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND
                   ? AppendResult::NoSuchFile
                   : AppendResult::Failed;
    }
    writeAll(file, record);
    CloseHandle(file);
    return AppendResult::Appended;
}

void RecordFolder::create(const std::string& name, std::string_view firstContents,
                          std::string_view record) {
    CreateDirectoryW(wideFromUtf8(folder_).c_str(), nullptr); // usually there already
    const std::wstring path = wideFromUtf8(folder_ + '\\' + name);
    HANDLE file = openForAppend(path, CREATE_NEW);
    if (file != INVALID_HANDLE_VALUE) {
        writeAll(file, firstContents);
        CloseHandle(file);
        return;
    }
    if (GetLastError() != ERROR_FILE_EXISTS) {
        return;
    }
    // Another process made the file in between; it wrote the header.
    file = openForAppend(path, OPEN_EXISTING);
    if (file != INVALID_HANDLE_VALUE) {
        writeAll(file, record);
        CloseHandle(file);
    }
}

} // namespace cvl
