// The operations of the two closed libraries, by name.
//
// TarnOpen loads the libraries. While one is missing, or lacks an export, the operations that need
// it return ErrorExportMissing and give no object, and TarnDescribeResult tells which file or
// export is missing and why. An exported operation runs as the library wrote it.
#pragma once

#include "device/call_log.h"
#include "device/tarn_abi.h"

#include <memory>
#include <span>

// The result of an operation whose library or export is missing. Bits 24 to 31, which no message
// shows, tell it from the libraries' own results.
inline constexpr std::uint32_t ErrorExportMissing = 0xFF000000 | ResultError | 0xFF01;

// What the program calls in Tarn and Quillet: one function pointer per export.
struct LibraryExports
{
    decltype(&Tarn_1) open = nullptr;
    decltype(&Tarn_2) close = nullptr;
    decltype(&Tarn_3) setNotifyWindow = nullptr;
    decltype(&Tarn_4) clearNotifyWindow = nullptr;
    decltype(&Tarn_5) enableCapture = nullptr;
    decltype(&Tarn_6) disableCapture = nullptr;
    decltype(&Tarn_7) getLibraryParam = nullptr;
    decltype(&Tarn_8) setLibraryParam = nullptr;
    decltype(&Tarn_20) getImage = nullptr;
    decltype(&Tarn_21) removeImage = nullptr;
    decltype(&Tarn_22) getImageCount = nullptr;
    decltype(&Tarn_30) getDeviceList = nullptr;
    decltype(&Tarn_31) getDeviceParam = nullptr;
    decltype(&Tarn_32) setDeviceParam = nullptr;
    decltype(&Tarn_98) describeResult = nullptr;
    decltype(&Tarn_99) freeObject = nullptr;
    decltype(&Quillet_1) quilletOpen = nullptr;
    decltype(&Quillet_2) quilletClose = nullptr;
    decltype(&Quillet_4) quilletShow = nullptr;
};

// For tests: replaces the loaded exports; null restores them. The record must outlive its use.
// Returns the previous one.
const LibraryExports* UseLibraryExports(const LibraryExports* exports);

// ErrorExportMissing while the libraries lack an export; otherwise 0.
std::uint32_t MissingExports();

std::uint32_t TarnOpen(HWND owner, const char* name);
std::uint32_t TarnClose();
std::uint32_t TarnSetNotifyWindow(HWND window, std::uint32_t message);
std::uint32_t TarnClearNotifyWindow(HWND window);

std::uint32_t TarnEnableCapture(std::uint32_t device, const char* userId, std::uint32_t zero);
std::uint32_t TarnDisableCapture(std::uint32_t device, std::uint32_t abort);

// Reads: *out is set to an object to free with TarnFreeObject, or to null.
std::uint32_t TarnGetLibraryParam(std::uint32_t parameter, TarnValue** out);
std::uint32_t TarnSetLibraryParam(std::uint32_t parameter, const TarnValue* value);
std::uint32_t TarnGetDeviceList(DeviceList** out);
std::uint32_t TarnGetDeviceParam(std::uint32_t device, std::uint32_t parameter, TarnValue** out);
std::uint32_t TarnSetDeviceParam(std::uint32_t device, std::uint32_t parameter,
                                 const TarnValue* value);

std::uint32_t TarnGetImage(const char* userId, std::uint32_t number, TarnImageRecord** out);
std::uint32_t TarnRemoveImage(const char* userId, std::uint32_t imageId);
std::uint32_t TarnGetImageCount(std::uint32_t* count); // *count is 0 on failure

// Writes the description of a result into text, terminated, in at most capacity bytes; with
// capacity 0 text is left alone. Returns the result.
std::uint32_t TarnDescribeResult(std::uint32_t result, char* text, std::uint32_t capacity);

void TarnFreeObject(void* object); // null is allowed

// Every call that reached an export, and how many objects the libraries handed out that were not
// freed.
const CallLog& LibraryCalls();

// An object of the library, freed at the end of the owner's scope. Null when the library gave none.
struct FreeLibraryObject
{
    void operator()(void* object) const { TarnFreeObject(object); }
};
template <typename Record>
using LibraryObject = std::unique_ptr<Record, FreeLibraryObject>;

// The list's entries; none when the list or its entry pointer is null.
std::span<const DeviceListEntry> Entries(const DeviceList* list);

// The library's texts may be null; those read as empty.
inline const char* TextOrEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

// screenArea: the preview's rectangle, in screen pixels. *handle: the preview's handle.
std::uint32_t QuilletOpen(HWND owner, std::uint32_t zero, const RECT* screenArea,
                          std::uint32_t zero2, std::uintptr_t* handle);
std::uint32_t QuilletShow(std::uintptr_t handle, std::uint32_t show);
std::uint32_t QuilletClose(std::uintptr_t handle); // 0 and closed handles do no harm
