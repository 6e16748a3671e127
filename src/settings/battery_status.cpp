// Encoding and decoding by offset.
#include "settings/battery_status.h"

namespace {

constexpr bool FieldsFillTheStatus()
{
    std::array<int, BatteryStatus{}.size()> uses{};
    for (const BatteryField& field : BatteryFields) {
        for (std::size_t i = 0; i < FieldSize(field.type); ++i) {
            ++uses[field.offset + i];
        }
    }
    for (std::size_t offset = 0; offset < uses.size(); ++offset) {
        if (uses[offset] != (offset == 30 || offset == 31 ? 0 : 1)) {
            return false;
        }
    }
    return true;
}
static_assert(FieldsFillTheStatus(), "every byte but the two unused ones belongs to one field");
static_assert(sizeof(BatteryStatus) == 36 && sizeof(BinningRecord) == 4);

void StoreLittleEndian(std::uint8_t* bytes, std::size_t size, std::uint32_t value)
{
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(value >> 8 * i);
    }
}

std::uint32_t LoadLittleEndian(const std::uint8_t* bytes, std::size_t size)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value |= static_cast<std::uint32_t>(bytes[i]) << 8 * i;
    }
    return value;
}

} // namespace

BatteryStatus UnknownBatteryStatus()
{
    BatteryStatus status{};
    for (const BatteryField& field : BatteryFields) {
        StoreLittleEndian(&status[field.offset], FieldSize(field.type), field.whenUnknown);
    }
    return status;
}

std::int32_t BatteryValue(const BatteryStatus& status, const BatteryField& field)
{
    const std::uint32_t value = LoadLittleEndian(&status[field.offset], FieldSize(field.type));
    return field.type == FieldType::SignedWord ? static_cast<std::int16_t>(value)
                                               : static_cast<std::int32_t>(value);
}

BinningRecord EncodeBinning(std::int32_t binning, std::uint16_t sensorCode)
{
    BinningRecord record;
    StoreLittleEndian(&record[0], 2, static_cast<std::uint32_t>(binning));
    StoreLittleEndian(&record[2], 2, sensorCode);
    return record;
}
