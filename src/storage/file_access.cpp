// Turns the error code of a second attempt to open a file into a message.
#include "storage/file_access.h"

#include "platform/files.h"

#include <algorithm>
#include <iterator>

namespace {

struct AccessMessage
{
    DWORD error;
    const char* text;
};

constexpr char NotFoundText[] = "File %1% not found.";
constexpr char SharingText[] = "Sharing violation. File %1% is used by an other program.";
constexpr char DeniedText[] = "Access to file %1% is denied.";
constexpr char ExistsText[] = "File %1% allready exists.";
constexpr char ReadOnlyText[] = "File %1% exist but can no be opened for writing.";

constexpr AccessMessage AccessMessages[] = {
    {ERROR_FILE_NOT_FOUND, NotFoundText},   {ERROR_PATH_NOT_FOUND, InvalidPathText},
    {ERROR_INVALID_DRIVE, InvalidPathText}, {ERROR_NOT_READY, InvalidPathText},
    {ERROR_INVALID_NAME, InvalidPathText},  {ERROR_TOO_MANY_OPEN_FILES, SharingText},
    {ERROR_SHARING_VIOLATION, SharingText}, {ERROR_LOCK_VIOLATION, SharingText},
    {ERROR_ACCESS_DENIED, DeniedText},      {ERROR_FILE_EXISTS, ExistsText},
    {ERROR_ALREADY_EXISTS, ExistsText},
};

DWORD TryOpen(const char* path, DWORD access, DWORD creation);
std::string MessageOf(DWORD error);

} // namespace

void CheckFileAccess(const char* path, std::uint32_t mode)
{
    const bool isWrite = (mode & AccessWrite) != 0;
    const DWORD error =
        TryOpen(path, isWrite ? GENERIC_WRITE : GENERIC_READ,
                (mode & (AccessWrite | AccessCreate)) != 0 ? CREATE_ALWAYS : OPEN_EXISTING);
    if (error == 0) {
        return;
    }
    const bool isReadable =
        isWrite && error == ERROR_ACCESS_DENIED && TryOpen(path, GENERIC_READ, OPEN_EXISTING) == 0;
    if (isReadable) {
        throw eFileAccessExcpt(OrdinaryFailure, FileAccessModule, ReadOnlyText, path);
    }
    RaiseFileAccess(error, path);
}

void RaiseFileAccess(std::uint32_t error, const std::string& path, const std::string& introduction)
{
    throw eFileAccessExcpt(OrdinaryFailure, FileAccessModule, introduction + MessageOf(error),
                           path);
}

namespace {

// Opens the path alone, without sharing, and closes it again. Returns 0 or why it failed.
DWORD TryOpen(const char* path, DWORD access, DWORD creation)
{
    const HANDLE handle =
        CreateFileA(path, access, 0, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    CloseHandle(handle);
    return 0;
}

std::string MessageOf(DWORD error)
{
    const auto found =
        std::find_if(std::begin(AccessMessages), std::end(AccessMessages),
                     [error](const AccessMessage& row) { return row.error == error; });
    if (found != std::end(AccessMessages)) {
        return found->text;
    }
    const std::string reason = SystemErrorText(error);
    return reason.empty() ? UnknownAccessText : UnknownAccessText + (": " + reason);
}

} // namespace
