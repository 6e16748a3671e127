// Builds, checks and frees the library's parameter records.
#include "device/parameters.h"

#include "device/libraries.h"

#include <algorithm>
#include <cstring>

namespace {

using Value = LibraryObject<TarnValue>;

Value LibraryParam(std::uint32_t parameter);
Value DeviceParam(std::uint32_t device, std::uint32_t parameter);
bool IsType(const Value& object, std::uint32_t type);
bool AppendText(const Value& object, std::string& text);
template <typename Number>
bool TakeNumber(const Value& object, std::uint32_t type, Number& value);

TarnValue NumberValue(std::uint32_t parameter, std::uint32_t type, std::uint32_t number);
TarnValue TextValue(std::uint32_t parameter, const std::string& text);
TarnValue BlockValue(std::uint32_t parameter, const void* bytes, std::size_t size);

} // namespace

bool GetLibraryText(std::uint32_t parameter, std::string& text)
{
    return AppendText(LibraryParam(parameter), text);
}

std::uint32_t SetLibraryText(std::uint32_t parameter, const std::string& text)
{
    const TarnValue value = TextValue(parameter, text);
    return TarnSetLibraryParam(parameter, &value);
}

std::uint32_t SetLibraryBlock(std::uint32_t parameter, const void* bytes, std::size_t size)
{
    const TarnValue value = BlockValue(parameter, bytes, size);
    return TarnSetLibraryParam(parameter, &value);
}

bool GetDeviceText(std::uint32_t device, std::uint32_t parameter, std::string& text)
{
    return AppendText(DeviceParam(device, parameter), text);
}

std::uint32_t SetDeviceText(std::uint32_t device, std::uint32_t parameter, const std::string& text)
{
    const TarnValue value = TextValue(parameter, text);
    return TarnSetDeviceParam(device, parameter, &value);
}

bool GetDeviceInt(std::uint32_t device, std::uint32_t parameter, std::uint32_t& value)
{
    return TakeNumber(DeviceParam(device, parameter), TarnTypeInteger, value);
}

std::uint32_t SetDeviceInt(std::uint32_t device, std::uint32_t parameter, std::uint32_t value)
{
    const TarnValue record = NumberValue(parameter, TarnTypeInteger, value);
    return TarnSetDeviceParam(device, parameter, &record);
}

bool GetDeviceFlag(std::uint32_t device, std::uint32_t parameter, std::int32_t& value)
{
    return TakeNumber(DeviceParam(device, parameter), TarnTypeFlag, value);
}

std::uint32_t SetDeviceFlag(std::uint32_t device, std::uint32_t parameter, std::int32_t value)
{
    const TarnValue record =
        NumberValue(parameter, TarnTypeFlag, static_cast<std::uint32_t>(value));
    return TarnSetDeviceParam(device, parameter, &record);
}

bool GetDeviceBlock(std::uint32_t device, std::uint32_t parameter, void* bytes, std::size_t size)
{
    TarnValue* received = nullptr;
    const std::uint32_t result = TarnGetDeviceParam(device, parameter, &received);
    const Value object(received);
    if (result != 0 || !IsType(object, TarnTypeBlock)) {
        return false;
    }
    if (object->value != size || object->pointer == nullptr) {
        return false;
    }
    std::memcpy(bytes, object->pointer, size);
    return true;
}

std::uint32_t SetDeviceBlock(std::uint32_t device, std::uint32_t parameter, const void* bytes,
                             std::size_t size)
{
    const TarnValue value = BlockValue(parameter, bytes, size);
    return TarnSetDeviceParam(device, parameter, &value);
}

bool AllDevicesIdle()
{
    DeviceList* received = nullptr;
    TarnGetDeviceList(&received);
    const LibraryObject<DeviceList> list(received);
    return std::ranges::all_of(Entries(list.get()), [](const DeviceListEntry& entry) {
        return entry.state == StateStandBy || entry.state == StateFault ||
               entry.state == StateOtherFault;
    });
}

namespace {

Value LibraryParam(std::uint32_t parameter)
{
    TarnValue* received = nullptr;
    TarnGetLibraryParam(parameter, &received);
    return Value(received);
}

Value DeviceParam(std::uint32_t device, std::uint32_t parameter)
{
    TarnValue* received = nullptr;
    TarnGetDeviceParam(device, parameter, &received);
    return Value(received);
}

bool IsType(const Value& object, std::uint32_t type)
{
    return object != nullptr && TypeOf(*object) == type;
}

bool AppendText(const Value& object, std::string& text)
{
    if (!IsType(object, TarnTypeText)) {
        return false;
    }
    text += TextOrEmpty(reinterpret_cast<const char*>(object->value));
    return true;
}

template <typename Number>
bool TakeNumber(const Value& object, std::uint32_t type, Number& value)
{
    if (!IsType(object, type)) {
        return false;
    }
    value = static_cast<Number>(object->value);
    return true;
}

TarnValue NumberValue(std::uint32_t parameter, std::uint32_t type, std::uint32_t number)
{
    TarnValue value{};
    value.tag = TagOf(parameter, type);
    value.value = number;
    return value;
}

TarnValue TextValue(std::uint32_t parameter, const std::string& text)
{
    TarnValue value{};
    value.tag = TagOf(parameter, TarnTypeText);
    value.value = reinterpret_cast<std::uintptr_t>(text.c_str());
    return value;
}

TarnValue BlockValue(std::uint32_t parameter, const void* bytes, std::size_t size)
{
    TarnValue value{};
    value.tag = TagOf(parameter, TarnTypeBlock);
    value.value = size;
    value.pointer = bytes;
    return value;
}

} // namespace
