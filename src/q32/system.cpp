// Files and streams over POSIX calls.
#include "q32/system.h"

#include "platform/files.h"
#include "q32/bad_file.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

std::string MakeTemporary(const std::string& prefix);
int OpenNameless();
void CopyStream(std::FILE* from, std::FILE* to);
[[noreturn]] void Fail(int error);

} // namespace

InputPath::InputPath(const std::string& name) : m_path(name)
{
    if (name != StandardStream) {
        return;
    }
    const std::unique_ptr<std::FILE, decltype(&std::fclose)> copy(fdopen(OpenNameless(), "wb"),
                                                                  std::fclose);
    if (copy == nullptr) {
        Fail(errno);
    }
    CopyStream(stdin, copy.get());
    if (std::fflush(copy.get()) != 0 || dup2(fileno(copy.get()), STDIN_FILENO) < 0) {
        Fail(errno);
    }
    m_path = "/dev/stdin";
}

OutputPath::OutputPath(const std::string& name, bool mayReplace)
    : m_name(name), m_mayReplace(mayReplace)
{
    if (name == StandardStream) {
        // A reader that goes away is an error to report.
        std::signal(SIGPIPE, SIG_IGN);
        m_file = OpenNameless();
        m_temporary = "/dev/fd/" + std::to_string(m_file);
        return;
    }
    struct stat entry
    {
    };
    if (stat(name.c_str(), &entry) == 0) {
        if (!S_ISREG(entry.st_mode)) {
            throw BadFile("is not a file");
        }
        if (!mayReplace) {
            throw BadFile("exists; --force replaces it");
        }
    }
    m_temporary = MakeTemporary(name + ".");
}

OutputPath::~OutputPath()
{
    if (m_file >= 0) {
        close(m_file);
    } else {
        unlink(m_temporary.c_str());
    }
}

void OutputPath::Commit()
{
    if (m_name == StandardStream) {
        std::FILE* const written = std::fopen(m_temporary.c_str(), "rb");
        if (written == nullptr) {
            Fail(errno);
        }
        CopyStream(written, stdout);
        std::fclose(written);
        if (std::fflush(stdout) != 0) {
            Fail(errno);
        }
        return;
    }
    const int file = open(m_temporary.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0 || fsync(file) != 0) {
        Fail(errno);
    }
    close(file);
    // A link does not replace a file that appeared meanwhile; the temporary name goes at the end.
    // Where the file system knows no links, the look before has to do.
    int result = m_mayReplace ? -1 : link(m_temporary.c_str(), m_name.c_str());
    if (m_mayReplace || (result != 0 && (errno == EPERM || errno == ENOTSUP))) {
        result = std::rename(m_temporary.c_str(), m_name.c_str());
    }
    if (result != 0) {
        if (errno == EEXIST) {
            throw BadFile("exists; --force replaces it");
        }
        Fail(errno);
    }
    SyncFolderOf(m_name.c_str());
}

bool IsFolder(const std::string& path)
{
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

bool IsErrorTerminal()
{
    return isatty(STDERR_FILENO) != 0;
}

namespace {

// An empty file of a new name, with the rights that any new file gets.
std::string MakeTemporary(const std::string& prefix)
{
    std::string path = prefix + "XXXXXX";
    const int file = mkstemp(path.data());
    if (file < 0) {
        Fail(errno);
    }
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(file, 0666 & ~mask);
    close(file);
    return path;
}

// An empty file without a name, for this process alone: nothing remains of it however that ends.
int OpenNameless()
{
    std::string path = std::filesystem::temp_directory_path() / "q32-XXXXXX";
    const int first = mkstemp(path.data());
    if (first < 0) {
        Fail(errno);
    }
    unlink(path.c_str());
    // Not in the place of a standard stream that is closed.
    const int file = fcntl(first, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(first);
    if (file < 0) {
        Fail(errno);
    }
    return file;
}

void CopyStream(std::FILE* from, std::FILE* to)
{
    std::vector<char> piece(std::size_t{1} << 16);
    std::size_t size;
    while ((size = std::fread(piece.data(), 1, piece.size(), from)) > 0) {
        if (std::fwrite(piece.data(), 1, size, to) != size) {
            Fail(errno);
        }
    }
    if (std::ferror(from) != 0) {
        Fail(EIO);
    }
}

void Fail(int error)
{
    throw BadFile(std::strerror(error));
}

} // namespace
