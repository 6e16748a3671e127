// The binary interface of the two closed libraries: their numbers, records and exports, all fixed.
//
// The libraries find PostMessageA (platform/messages.h) in the program that loads them. The numbers
// are unscoped enumerations, so that they compare with what the libraries give without a cast.
#pragma once

#include "platform/types.h"

#include <cstddef>
#include <cstdint>

// A result is 0 for success; otherwise bits 20 to 23 are its category, bits 0 to 15 its number.
enum ResultCategory : std::uint32_t
{
    ResultWarning = 0x100000,
    ResultError = 0x200000,
    ResultInformation = 0x300000,
};
inline constexpr std::uint32_t ResultCategoryMask = 0xF00000;
inline constexpr std::uint32_t ResultNumberMask = 0xFFFF;

// Window message by which Tarn reports: wParam an image number, lParam a result, or a code of these
// in bits 0 to 23.
inline constexpr std::uint32_t WM_TARN_EVENT = WM_USER + 10;
inline constexpr std::uint32_t EventCodeMask = 0xFFFFFF;
enum TarnEvent : std::uint32_t
{
    EventImageReady = 2, // with the image's number
    EventCaptureDisabled = 3,
    EventCaptureDone = 4,
    EventNewSeries = 6,
    EventPreviewEnds = 7,
    EventArmed = 15, // ready to expose
    EventExposure = 17,
};

// What a device is doing.
enum DeviceListState : std::uint32_t
{
    StateStandBy = 1,
    StateActive = 2,
    StateWaiting = 3, // for image data
    StateCaptureEnabled = 4,
    StateFault = 100,      // see DeviceParameter::FaultResult
    StateOtherFault = 101, // see DeviceParameter::OtherFaultResult
};

// A device's answer to whether Enable or Abort is possible. One that forbids decides for all;
// Enable also needs a device that says possible, Abort one that does not say needless.
enum CommandState : std::uint32_t
{
    CommandPossible = 0,
    CommandNeedless = 1,
    CommandForbidden = 2,
};

inline constexpr char CaptureUserId[] = "My ID"; // arms the sensor
inline constexpr char AnyUserId[] = "";          // fetches and removes

namespace LibraryParameter {
enum : std::uint32_t
{
    Version = 8,       // text
    StartUpBlock = 16, // block of 12 bytes, written once after opening
    FilterChain = 17,  // text, "8 bit read"; empty: off
};
} // namespace LibraryParameter

namespace DeviceParameter {
enum : std::uint32_t
{
    FaultResult = 1,        // integer
    HardwareId = 2,         // text
    GainFile = 3,           // text
    BaseUnitInfo = 4,       // text
    SensorInfo = 5,         // text
    OtherFaultResult = 6,   // integer
    GainResult = 7,         // integer, about the gain file
    Version = 8,            // text
    SpecificInfo = 9,       // text
    Binning = 10,           // integer read, block of 4 bytes written
    IntegrationTime = 11,   // integer, milliseconds
    InactivityTimeout = 12, // integer, milliseconds
    EnableState = 14,       // integer, a CommandState
    AbortState = 15,        // integer, a CommandState
    BatteryStatus = 34,     // block of 36 bytes
    TestImageMode = 80,     // flag, device 0
    RawFilesFolder = 81,    // text, device 0; empty: no raw files
    GainCheck = 82,         // flag, device 0: the check is on
};
} // namespace DeviceParameter

// A typed parameter.
struct TarnValue
{
    std::uint32_t tag; // see TagOf
    std::uint32_t reserved;
    std::uintptr_t value; // integer, flag; text: its address; block: its size in bytes
    const void* pointer;  // block: its bytes
    std::uint8_t spare[40 - 2 * sizeof(void*)];
};
static_assert(sizeof(TarnValue) == 48);

enum ValueType : std::uint32_t
{
    TarnTypeInteger = 3,
    TarnTypeFlag = 6,
    TarnTypeText = 9,
    TarnTypeBlock = 12,
};
constexpr std::uint32_t TagOf(std::uint32_t parameter, std::uint32_t type)
{
    return parameter << 16 | type;
}
constexpr std::uint32_t TypeOf(const TarnValue& value)
{
    return value.tag & 0xFFFF;
}

// A stored image, owned by the library until TarnFreeObject.
struct TarnImageRecord
{
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t pixelBytes;
    std::uint32_t bitsPerSample;
    std::uint32_t reserved;
    std::uint32_t imageId;
    std::uint32_t tag;
    const std::uint8_t* pixels; // width x height pixels, row after row, the bottom one first
    const char* headerText;     // may be null
    const char* userId;         // may be null
};

struct DeviceListEntry
{
    std::uint32_t number;
    std::uint32_t state; // a DeviceListState
    const char* name;
    const char* description;
};

struct DeviceList
{
    std::uint32_t count;
    std::uint32_t reserved;
    DeviceListEntry* entries;
};

// With the 32-bit pointers of the libraries' first platform the records are packed as documented.
static_assert(sizeof(void*) != 4 || sizeof(TarnImageRecord) == 40);
static_assert(sizeof(DeviceListEntry) == 8 + 2 * sizeof(void*));
static_assert(sizeof(DeviceList) == 8 + sizeof(void*));
static_assert(offsetof(TarnImageRecord, tag) == 24);

// The calling convention of the exports. It differs on 32-bit Windows only, where the build names
// it.
#ifndef TARN_CALL
#define TARN_CALL
#endif

// Export number n of Tarn is the C symbol Tarn_<n> (Quillet_<n> for Quillet), and the ordinal n on
// Windows.
extern "C" {
std::uint32_t TARN_CALL Tarn_1(HWND owner, const char* name);
std::uint32_t TARN_CALL Tarn_2();
std::uint32_t TARN_CALL Tarn_3(HWND window, std::uint32_t message);
std::uint32_t TARN_CALL Tarn_4(HWND window);
std::uint32_t TARN_CALL Tarn_5(std::uint32_t device, const char* userId, std::uint32_t zero);
std::uint32_t TARN_CALL Tarn_6(std::uint32_t device, std::uint32_t abort);
std::uint32_t TARN_CALL Tarn_7(std::uint32_t parameter, TarnValue** out);
std::uint32_t TARN_CALL Tarn_8(std::uint32_t parameter, const TarnValue* value);
std::uint32_t TARN_CALL Tarn_20(const char* userId, std::uint32_t number, TarnImageRecord** out);
std::uint32_t TARN_CALL Tarn_21(const char* userId, std::uint32_t imageId);
std::uint32_t TARN_CALL Tarn_22(std::uint32_t* count);
std::uint32_t TARN_CALL Tarn_30(DeviceList** out);
std::uint32_t TARN_CALL Tarn_31(std::uint32_t device, std::uint32_t parameter, TarnValue** out);
std::uint32_t TARN_CALL Tarn_32(std::uint32_t device, std::uint32_t parameter,
                                const TarnValue* value);
std::uint32_t TARN_CALL Tarn_98(std::uint32_t result, char* text, std::uint32_t capacity);
void TARN_CALL Tarn_99(void* object);
std::uint32_t TARN_CALL Quillet_1(HWND owner, std::uint32_t zero, const RECT* screenArea,
                                  std::uint32_t zero2, std::uintptr_t* handle);
std::uint32_t TARN_CALL Quillet_2(std::uintptr_t handle);
std::uint32_t TARN_CALL Quillet_4(std::uintptr_t handle, std::uint32_t show);
}

// The exports by name, in the order of the table.
enum class Export : std::uint8_t
{
    Open,
    Close,
    SetNotifyWindow,
    ClearNotifyWindow,
    EnableCapture,
    DisableCapture,
    GetLibraryParam,
    SetLibraryParam,
    GetImage,
    RemoveImage,
    GetImageCount,
    GetDeviceList,
    GetDeviceParam,
    SetDeviceParam,
    DescribeResult,
    FreeObject,
    QuilletOpen,
    QuilletClose,
    QuilletShow,
};

struct ExportEntry
{
    Export which;
    const char* library;
    unsigned number;
    const char* name;
};
inline constexpr ExportEntry Exports[] = {
    {Export::Open, "Tarn", 1, "TarnOpen"},
    {Export::Close, "Tarn", 2, "TarnClose"},
    {Export::SetNotifyWindow, "Tarn", 3, "TarnSetNotifyWindow"},
    {Export::ClearNotifyWindow, "Tarn", 4, "TarnClearNotifyWindow"},
    {Export::EnableCapture, "Tarn", 5, "TarnEnableCapture"},
    {Export::DisableCapture, "Tarn", 6, "TarnDisableCapture"},
    {Export::GetLibraryParam, "Tarn", 7, "TarnGetLibraryParam"},
    {Export::SetLibraryParam, "Tarn", 8, "TarnSetLibraryParam"},
    {Export::GetImage, "Tarn", 20, "TarnGetImage"},
    {Export::RemoveImage, "Tarn", 21, "TarnRemoveImage"},
    {Export::GetImageCount, "Tarn", 22, "TarnGetImageCount"},
    {Export::GetDeviceList, "Tarn", 30, "TarnGetDeviceList"},
    {Export::GetDeviceParam, "Tarn", 31, "TarnGetDeviceParam"},
    {Export::SetDeviceParam, "Tarn", 32, "TarnSetDeviceParam"},
    {Export::DescribeResult, "Tarn", 98, "TarnDescribeResult"},
    {Export::FreeObject, "Tarn", 99, "TarnFreeObject"},
    {Export::QuilletOpen, "Quillet", 1, "QuilletOpen"},
    {Export::QuilletClose, "Quillet", 2, "QuilletClose"},
    {Export::QuilletShow, "Quillet", 4, "QuilletShow"},
};
constexpr const ExportEntry& EntryOf(Export which)
{
    return Exports[static_cast<std::size_t>(which)];
}
constexpr const char* NameOf(Export which)
{
    return EntryOf(which).name;
}
static_assert([] {
    std::size_t line = 0;
    for (const ExportEntry& entry : Exports) {
        if (entry.which != static_cast<Export>(line++)) {
            return false;
        }
    }
    return line == static_cast<std::size_t>(Export::QuilletShow) + 1;
}());
