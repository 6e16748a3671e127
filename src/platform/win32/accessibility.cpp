// The names that screen readers speak, over the system's annotations. It knows nothing of the
// contract: the system's component headers can not stand in a namespace.
#include "platform/win32/accessibility.h"

#include <windows.h>
// After it:
#include <initguid.h>
#include <oleacc.h>

namespace {

void SetText(void* window, const MSAAPROPID& property, const wchar_t* text)
{
    IAccPropServices* services = nullptr;
    if (FAILED(CoCreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER,
                                IID_IAccPropServices, reinterpret_cast<void**>(&services)))) {
        return;
    }
    services->SetHwndPropStr(static_cast<HWND>(window), static_cast<DWORD>(OBJID_CLIENT),
                             CHILDID_SELF, property, text);
    services->Release();
}

} // namespace

AccessibilitySupport::AccessibilitySupport()
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

AccessibilitySupport::~AccessibilitySupport()
{
    CoUninitialize();
}

void SetAccessibleName(void* window, const wchar_t* name)
{
    SetText(window, PROPID_ACC_NAME, name);
}

void SetAccessibleDescription(void* window, const wchar_t* description)
{
    SetText(window, PROPID_ACC_DESCRIPTION, description);
}
