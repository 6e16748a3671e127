// Saves the log of calls beside the program.
#include "inspector/log_file.h"

#include "platform/files.h"
#include "storage/file_access.h"
#include "storage/file_stream.h"
#include "storage/paths.h"

#include <ctime>

namespace {

constexpr char LogFolderName[] = "TmpLogs";
constexpr char NotWrittenText[] = "File %1% was not written to its end.";
constexpr unsigned MostLogsOfASecond = 100;

// "calls_20241130_102030.txt"; later ones of the same second are " (2)" and so on.
std::string LogName(unsigned number)
{
    const std::time_t now = std::time(nullptr);
    char name[40] = "";
    std::strftime(name, sizeof name, "calls_%Y%m%d_%H%M%S", std::localtime(&now));
    return name + (number > 1 ? " (" + std::to_string(number) + ").txt" : std::string(".txt"));
}

} // namespace

std::string SaveCallLog(const std::string& text)
{
    constexpr char Separator = NativePathStyle == PathStyle::Slash ? '/' : '\\';
    const std::string folder = JoinPath(ProgramFolder(nullptr), LogFolderName) + Separator;
    CreateFolderPath(folder);
    const OpenFolder open(folder.c_str());
    CFileHolder file;
    std::string name;
    for (unsigned number = 1; number <= MostLogsOfASecond; ++number) {
        name = LogName(number);
        if (!open.IsOpen() || file.Hold(open.CreateStream(name.c_str())) != nullptr ||
            GetLastError() != ERROR_FILE_EXISTS) {
            break;
        }
    }
    const std::string path = folder + name;
    if (file.Get() == nullptr) {
        RaiseFileAccess(GetLastError(), path);
    }
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), file.Get()) == text.size() &&
                           SyncStream(file.Get());
    if (!file.Close() || !isWritten || !open.SyncFolderOf(name.c_str())) {
        throw eFileAccessExcpt(OrdinaryFailure, FileAccessModule, NotWrittenText, path);
    }
    return path;
}
