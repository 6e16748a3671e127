// Shows where a program of this name stands and which capture library it loads, for
// loading_places.py.
#include "platform/module.h"
#include "storage/paths.h"

#include <cstdio>

int main()
{
    const HMODULE library = LoadModule("Tarn");
    std::printf("%s\n%s\n", ModuleFileName(nullptr).c_str(),
                (library != nullptr ? ModuleFileName(library) : LoadFailure()).c_str());
}
