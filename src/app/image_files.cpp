// Opening and saving images.
#include "app/main_dialog.h"
#include "errors/exceptions.h"
#include "platform/boxes.h"
#include "storage/header_fields.h"
#include "storage/image_saving.h"
#include "storage/paths.h"
#include "storage/q32_file.h"

#include <cstdlib>
#include <filesystem>

namespace {

std::string FolderToOpenFrom(const std::string& last);

} // namespace

void CTarnTestDlg::OnOpen()
{
    CFileDialog fileDialog(TRUE, "*.q32", nullptr, OFN_FILEMUSTEXIST, "Q32 files (*.q32)|*.q32||",
                           this);
    fileDialog.SetInitialFolder(FolderToOpenFrom(m_openFolder));
    if (fileDialog.DoModal() != IDOK) {
        return;
    }
    m_openFolder = std::filesystem::path(fileDialog.GetPathName()).parent_path().string();
    OpenImageFile(fileDialog.GetPathName());
}

LRESULT CTarnTestDlg::OnFileDropped(WPARAM, LPARAM lParam)
{
    OpenImageFile(reinterpret_cast<const char*>(lParam));
    return 0;
}

void CTarnTestDlg::OpenImageFile(const std::string& path)
{
    CLinkedPtr<CImage> image;
    try {
        const CWaitCursor waitCursor;
        image = ReadQ32File(path.c_str());
    } catch (const eExcptAny& failure) {
        MessageBoxA(m_hWnd, failure.what(), appTitle.c_str(), MB_OK | MB_ICONSTOP | MB_TOPMOST);
        return;
    }
    ShowImage(image);
}

bool CTarnTestDlg::AutoSaveImage(CLinkedPtr<CImage> image, std::uint32_t series,
                                 std::uint32_t number)
{
    // An image whose pixels never arrived must stay where it can be fetched again.
    if (!image || image->m_data == nullptr) {
        return false;
    }
    const std::string folder = AutoSaveFolder(ProgramFolder(nullptr));
    if (!CreateFolderPath(folder)) {
        return false;
    }
    std::string programName;
    GetHeaderValue(image->m_headerText, ProgramNameKey, HeaderSeparator, "", programName);
    const std::string path = AutoSavePath(folder, programName, series, number);
    SaveNewImage(folder, path, *image);
    return true;
}

namespace {

// Where the last file was opened; the first time with the saved images, when there are any, else in
// the working folder. Never in the root, where a desktop starts programs, but at home.
std::string FolderToOpenFrom(const std::string& last)
{
    namespace fs = std::filesystem;
    std::error_code error;
    const char* const home = std::getenv("HOME");
    for (const fs::path& folder :
         {fs::path(last), fs::path(AutoSaveFolder(ProgramFolder(nullptr))), fs::current_path(error),
          fs::path(home != nullptr ? home : "")}) {
        if (fs::is_directory(folder, error) && folder != folder.root_path()) {
            return folder.string();
        }
    }
    return "";
}

} // namespace
