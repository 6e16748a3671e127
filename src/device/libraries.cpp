// Loads the two libraries and forwards every call to them.
#include "device/libraries.h"

#include "platform/clock.h"
#include "platform/module.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

namespace {

// The place of an export in the record.
struct ExportSlot
{
    Export which;
    void (*store)(LibraryExports& exports, void* address);
    bool (*isMissing)(const LibraryExports& exports);
};

template <auto Member>
constexpr ExportSlot Slot(Export which)
{
    return {which,
            [](LibraryExports& exports, void* address) {
                auto& function = exports.*Member;
                function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(address);
            },
            [](const LibraryExports& exports) { return exports.*Member == nullptr; }};
}

constexpr ExportSlot ExportSlots[] = {
    Slot<&LibraryExports::open>(Export::Open),
    Slot<&LibraryExports::close>(Export::Close),
    Slot<&LibraryExports::setNotifyWindow>(Export::SetNotifyWindow),
    Slot<&LibraryExports::clearNotifyWindow>(Export::ClearNotifyWindow),
    Slot<&LibraryExports::enableCapture>(Export::EnableCapture),
    Slot<&LibraryExports::disableCapture>(Export::DisableCapture),
    Slot<&LibraryExports::getLibraryParam>(Export::GetLibraryParam),
    Slot<&LibraryExports::setLibraryParam>(Export::SetLibraryParam),
    Slot<&LibraryExports::getImage>(Export::GetImage),
    Slot<&LibraryExports::removeImage>(Export::RemoveImage),
    Slot<&LibraryExports::getImageCount>(Export::GetImageCount),
    Slot<&LibraryExports::getDeviceList>(Export::GetDeviceList),
    Slot<&LibraryExports::getDeviceParam>(Export::GetDeviceParam),
    Slot<&LibraryExports::setDeviceParam>(Export::SetDeviceParam),
    Slot<&LibraryExports::describeResult>(Export::DescribeResult),
    Slot<&LibraryExports::freeObject>(Export::FreeObject),
    Slot<&LibraryExports::quilletOpen>(Export::QuilletOpen),
    Slot<&LibraryExports::quilletClose>(Export::QuilletClose),
    Slot<&LibraryExports::quilletShow>(Export::QuilletShow),
};
static_assert(std::size(ExportSlots) == std::size(Exports));
static_assert(sizeof(LibraryExports) == std::size(Exports) * sizeof(void (*)()));

LibraryExports loadedExports;
std::string loadFailures; // one sentence a line
const LibraryExports* exportsInUse = &loadedExports;
CallLog callLog;

void LoadLibraries();

// Calls the export and logs the call.
template <typename... Parameters, typename... Arguments>
std::uint32_t Call(Export which, std::uint32_t (TARN_CALL* LibraryExports::*member)(Parameters...),
                   Arguments... arguments)
{
    const auto function = exportsInUse->*member;
    if (function == nullptr) {
        return ErrorExportMissing;
    }
    LibraryCall& call = callLog.Begin(which);
    (NoteArgument(call, arguments), ...);
    QueryPerformanceCounter(&call.start);
    call.result = function(arguments...);
    QueryPerformanceCounter(&call.end);
    return call.result;
}

// The same for a read. Without freeObject nothing is requested.
template <typename Object, typename... Parameters, typename... Arguments>
std::uint32_t Fetch(Export which, std::uint32_t (TARN_CALL* LibraryExports::*member)(Parameters...),
                    Object** out, Arguments... arguments)
{
    *out = nullptr;
    if (exportsInUse->freeObject == nullptr) {
        return ErrorExportMissing;
    }
    const std::uint32_t result = Call(which, member, arguments..., out);
    callLog.CountObjects(*out != nullptr ? 1 : 0);
    return result;
}

} // namespace

const LibraryExports* UseLibraryExports(const LibraryExports* exports)
{
    const LibraryExports* former = exportsInUse;
    exportsInUse = exports != nullptr ? exports : &loadedExports;
    return former == &loadedExports ? nullptr : former;
}

std::uint32_t MissingExports()
{
    const bool missing = std::ranges::any_of(
        ExportSlots, [](const ExportSlot& slot) { return slot.isMissing(*exportsInUse); });
    return missing ? ErrorExportMissing : 0;
}

std::uint32_t TarnOpen(HWND owner, const char* name)
{
    if (exportsInUse == &loadedExports && MissingExports() != 0) {
        LoadLibraries();
    }
    return Call(Export::Open, &LibraryExports::open, owner, name);
}

namespace {

// The libraries stay loaded to the end of the process: their threads may outlive TarnClose.
void LoadLibraries()
{
    loadedExports = {};
    loadFailures.clear();
    for (const char* library : {"Tarn", "Quillet"}) {
        const HMODULE module = LoadModule(library);
        if (module == nullptr) {
            loadFailures += LoadFailure() + '\n';
            continue;
        }
        for (const ExportSlot& slot : ExportSlots) {
            const ExportEntry& entry = EntryOf(slot.which);
            if (entry.library != std::string_view(library)) {
                continue;
            }
            void* address = FindExport(module, entry.number);
            if (address == nullptr) {
                loadFailures += LoadFailure() + '\n';
            }
            slot.store(loadedExports, address);
        }
    }
}

} // namespace

std::uint32_t TarnClose()
{
    return Call(Export::Close, &LibraryExports::close);
}

std::uint32_t TarnSetNotifyWindow(HWND window, std::uint32_t message)
{
    return Call(Export::SetNotifyWindow, &LibraryExports::setNotifyWindow, window, message);
}

std::uint32_t TarnClearNotifyWindow(HWND window)
{
    return Call(Export::ClearNotifyWindow, &LibraryExports::clearNotifyWindow, window);
}

std::uint32_t TarnEnableCapture(std::uint32_t device, const char* userId, std::uint32_t zero)
{
    return Call(Export::EnableCapture, &LibraryExports::enableCapture, device, userId, zero);
}

std::uint32_t TarnDisableCapture(std::uint32_t device, std::uint32_t abort)
{
    return Call(Export::DisableCapture, &LibraryExports::disableCapture, device, abort);
}

std::uint32_t TarnGetLibraryParam(std::uint32_t parameter, TarnValue** out)
{
    return Fetch(Export::GetLibraryParam, &LibraryExports::getLibraryParam, out, parameter);
}

std::uint32_t TarnSetLibraryParam(std::uint32_t parameter, const TarnValue* value)
{
    return Call(Export::SetLibraryParam, &LibraryExports::setLibraryParam, parameter, value);
}

std::uint32_t TarnGetDeviceList(DeviceList** out)
{
    return Fetch(Export::GetDeviceList, &LibraryExports::getDeviceList, out);
}

std::uint32_t TarnGetDeviceParam(std::uint32_t device, std::uint32_t parameter, TarnValue** out)
{
    return Fetch(Export::GetDeviceParam, &LibraryExports::getDeviceParam, out, device, parameter);
}

std::uint32_t TarnSetDeviceParam(std::uint32_t device, std::uint32_t parameter,
                                 const TarnValue* value)
{
    return Call(Export::SetDeviceParam, &LibraryExports::setDeviceParam, device, parameter, value);
}

std::uint32_t TarnGetImage(const char* userId, std::uint32_t number, TarnImageRecord** out)
{
    return Fetch(Export::GetImage, &LibraryExports::getImage, out, userId, number);
}

std::uint32_t TarnRemoveImage(const char* userId, std::uint32_t imageId)
{
    return Call(Export::RemoveImage, &LibraryExports::removeImage, userId, imageId);
}

std::uint32_t TarnGetImageCount(std::uint32_t* count)
{
    *count = 0;
    const std::uint32_t result = Call(Export::GetImageCount, &LibraryExports::getImageCount, count);
    if (result != 0) {
        *count = 0;
    }
    return result;
}

std::uint32_t TarnDescribeResult(std::uint32_t result, char* text, std::uint32_t capacity)
{
    if (capacity > 0) {
        text[0] = '\0';
    }
    if (result == ErrorExportMissing && MissingExports() != 0) {
        const std::string_view failures =
            exportsInUse == &loadedExports ? std::string_view(loadFailures) : "";
        const std::string_view description = failures.empty()
                                                 ? "The capture library lacks this operation."
                                                 : failures.substr(0, failures.size() - 1);
        if (capacity > 0) {
            text[description.copy(text, capacity - 1)] = '\0';
        }
        return result;
    }
    if (exportsInUse->describeResult == nullptr) {
        return result;
    }
    const std::uint32_t described =
        Call(Export::DescribeResult, &LibraryExports::describeResult, result, text, capacity);
    if (capacity > 0) {
        text[capacity - 1] = '\0';
    }
    return described;
}

void TarnFreeObject(void* object)
{
    if (exportsInUse->freeObject == nullptr) {
        return;
    }
    LibraryCall& call = callLog.Begin(Export::FreeObject);
    NoteArgument(call, object);
    QueryPerformanceCounter(&call.start);
    exportsInUse->freeObject(object);
    QueryPerformanceCounter(&call.end);
    callLog.CountObjects(object != nullptr ? -1 : 0);
}

const CallLog& LibraryCalls()
{
    return callLog;
}

std::span<const DeviceListEntry> Entries(const DeviceList* list)
{
    if (list == nullptr || list->entries == nullptr) {
        return {};
    }
    return {list->entries, list->count};
}

std::uint32_t QuilletOpen(HWND owner, std::uint32_t zero, const RECT* screenArea,
                          std::uint32_t zero2, std::uintptr_t* handle)
{
    return Call(Export::QuilletOpen, &LibraryExports::quilletOpen, owner, zero, screenArea, zero2,
                handle);
}

std::uint32_t QuilletShow(std::uintptr_t handle, std::uint32_t show)
{
    return Call(Export::QuilletShow, &LibraryExports::quilletShow, handle, show);
}

std::uint32_t QuilletClose(std::uintptr_t handle)
{
    return Call(Export::QuilletClose, &LibraryExports::quilletClose, handle);
}
