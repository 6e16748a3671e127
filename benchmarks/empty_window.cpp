// A program with one empty dialog: what the window toolkit alone costs at its start and in memory.
#include "platform/dialog.h"

namespace {

constexpr DialogTemplate EmptyTemplate{1, "Empty window", 608, 340, "MS Sans Serif", 8, {}};

struct EmptyDialog : CDialog
{
    EmptyDialog() : CDialog(EmptyTemplate, nullptr) {}
};

struct EmptyApp : CWinApp
{
    EmptyApp() : CWinApp("Empty window") {}
    BOOL InitInstance() override
    {
        EmptyDialog().DoModal();
        return FALSE;
    }
};

} // namespace

int main(int argc, char** argv)
{
    return EmptyApp().Run(argc, argv);
}
