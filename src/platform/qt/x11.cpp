// Calls the X library that the toolkit has loaded.
#include "platform/qt/x11.h"

#include <QGuiApplication>

#include <dlfcn.h>

void DropAnsweredX11Requests()
{
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    void* const library = x11 != nullptr ? dlopen("libX11.so.6", RTLD_LAZY | RTLD_NOLOAD) : nullptr;
    if (library == nullptr) {
        return;
    }
    using Sync = int (*)(Display*, int);
    if (const auto sync = reinterpret_cast<Sync>(dlsym(library, "XSync"))) {
        sync(x11->display(), 0);
    }
    dlclose(library);
}
