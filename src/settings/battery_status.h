// The blocks of bytes that the sensor settings exchange with the device; little-endian.
#pragma once

#include "resources/settings_dialog_template.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

using BatteryStatus = std::array<std::uint8_t, 36>;
using BinningRecord = std::array<std::uint8_t, 4>;

enum class FieldType
{
    UnsignedByte,
    UnsignedWord,
    SignedWord,
    UnsignedLong
};

constexpr std::size_t FieldSize(FieldType type)
{
    return type == FieldType::UnsignedByte ? 1 : type == FieldType::UnsignedLong ? 4 : 2;
}

// A field of a BatteryStatus and the read-out that shows it.
struct BatteryField
{
    std::size_t offset;
    FieldType type;
    std::uint32_t whenUnknown; // shown while the status cannot be read
    int control;
};

// In the order in which the read-outs are set. The bytes 30 and 31 are not used.
inline constexpr BatteryField BatteryFields[] = {
    {10, FieldType::UnsignedWord, 0, IdBatteryPercent},
    {12, FieldType::UnsignedLong, 0, IdBatteryOk},
    {32, FieldType::UnsignedLong, 0, IdCapacityLeft},
    {26, FieldType::SignedWord, 0, IdCharge},
    {29, FieldType::UnsignedByte, 0, IdExternalPower},
    {20, FieldType::UnsignedLong, 0, IdNeedChange},
    {16, FieldType::UnsignedLong, 0, IdNeedRefresh},
    {0, FieldType::UnsignedLong, 0, IdRefreshWear},
    {28, FieldType::UnsignedByte, 128, IdState},
    {24, FieldType::UnsignedWord, 35, IdTemperature},
    {4, FieldType::UnsignedLong, 0, IdTotalWear},
    {8, FieldType::UnsignedWord, 1200, IdVoltage},
};

// A status with every field as shown when it is unknown.
BatteryStatus UnknownBatteryStatus();

// The field widened to 32 bits, by its sign where it has one, and read as signed.
std::int32_t BatteryValue(const BatteryStatus& status, const BatteryField& field);

// Bytes 0, 1: the low 16 bits of the binning factor; bytes 2, 3: the sensor code.
BinningRecord EncodeBinning(std::int32_t binning, std::uint16_t sensorCode);
