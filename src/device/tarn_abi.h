// The binary interface of the two closed libraries: records and exports, fixed for their vendors.
//
// Export number n of Tarn is the C symbol Tarn_<n> (Quillet_<n> for Quillet), and the ordinal n on
// Windows. The libraries find PostMessageA (platform/system.h) in the program that loads them.
#pragma once

#include "platform/types.h"

#include <cstddef>
#include <cstdint>

// A typed parameter. tag = parameter number x 65,536 + type.
struct TarnValue
{
    std::uint32_t tag;
    std::uint32_t reserved;
    std::uintptr_t value; // integer, flag; text: its address; block: its size in bytes
    const void* pointer;  // block: its bytes
    std::uint8_t spare[40 - 2 * sizeof(void*)];
};
static_assert(sizeof(TarnValue) == 48);

// Value types, the low 16 bits of a tag.
inline constexpr std::uint32_t TarnTypeInteger = 3;
inline constexpr std::uint32_t TarnTypeFlag = 6;
inline constexpr std::uint32_t TarnTypeText = 9;
inline constexpr std::uint32_t TarnTypeBlock = 12;

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
    std::uint32_t state; // 1 stand by, 2 active, 3 waiting, 4 capture enabled, 100 and 101 faults
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

// Window message by which Tarn reports: wParam an image number, lParam an event code or a result.
inline constexpr std::uint32_t WM_TARN_EVENT = WM_USER + 10;

// A result is 0 for success; otherwise bits 20 to 23 are its category, bits 0 to 15 its number.
inline constexpr std::uint32_t ResultCategoryMask = 0xF00000;
inline constexpr std::uint32_t ResultWarning = 0x100000;
inline constexpr std::uint32_t ResultError = 0x200000;
inline constexpr std::uint32_t ResultInformation = 0x300000;

extern "C" {
std::uint32_t Tarn_1(HWND owner, const char* name);
std::uint32_t Tarn_2();
std::uint32_t Tarn_3(HWND window, std::uint32_t message);
std::uint32_t Tarn_4(HWND window);
std::uint32_t Tarn_5(std::uint32_t device, const char* userId, std::uint32_t zero);
std::uint32_t Tarn_6(std::uint32_t device, std::uint32_t abort);
std::uint32_t Tarn_7(std::uint32_t parameter, TarnValue** out);
std::uint32_t Tarn_8(std::uint32_t parameter, const TarnValue* value);
std::uint32_t Tarn_20(const char* userId, std::uint32_t number, TarnImageRecord** out);
std::uint32_t Tarn_21(const char* userId, std::uint32_t imageId);
std::uint32_t Tarn_22(std::uint32_t* count);
std::uint32_t Tarn_30(DeviceList** out);
std::uint32_t Tarn_31(std::uint32_t device, std::uint32_t parameter, TarnValue** out);
std::uint32_t Tarn_32(std::uint32_t device, std::uint32_t parameter, const TarnValue* value);
std::uint32_t Tarn_98(std::uint32_t result, char* text, std::uint32_t capacity);
void Tarn_99(void* object);
std::uint32_t Quillet_1(HWND owner, std::uint32_t zero, const RECT* screenArea, std::uint32_t zero2,
                        std::uintptr_t* handle);
std::uint32_t Quillet_2(std::uintptr_t handle);
std::uint32_t Quillet_4(std::uintptr_t handle, std::uint32_t show);
}
