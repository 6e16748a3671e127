// The report that the Info command shows.
#include "device/report.h"

#include "device/libraries.h"
#include "device/parameters.h"
#include "device/results.h"

namespace {

constexpr char DetailIndent[] = "    ";

// What a state is called, or the device parameter whose result code tells it.
struct StateLine
{
    std::uint32_t state;
    const char* text;
    std::uint32_t resultParameter;
};

constexpr StateLine StateLines[] = {
    {StateStandBy, "Stand by", 0},
    {StateActive, "Active", 0},
    {StateWaiting, "Waiting for image data", 0},
    {StateCaptureEnabled, "Capture enabled", 0},
    {StateFault, nullptr, DeviceParameter::FaultResult},
    {StateOtherFault, nullptr, DeviceParameter::OtherFaultResult},
};

std::string StateText(const DeviceListEntry& entry);

// The value, or empty and 0 when the library does not give it.
std::string DeviceText(std::uint32_t device, std::uint32_t parameter);
std::uint32_t DeviceInt(std::uint32_t device, std::uint32_t parameter);

} // namespace

std::string LibraryReport()
{
    std::string version;
    GetLibraryText(LibraryParameter::Version, version);
    std::string report = "***** Tarn *****\nVersion:\n" + IndentText(version, DetailIndent) +
                         "\n\n***** Tarn devices *****\n";

    DeviceList* received = nullptr;
    const std::uint32_t result = TarnGetDeviceList(&received);
    const LibraryObject<DeviceList> list(received);
    std::string explanation;
    DescribeResult(result, explanation, nullptr, "");
    if (!list) {
        return report + "\nCould not get devicelist. Tarn reports:\n" + explanation + '\n';
    }
    for (const DeviceListEntry& entry : Entries(list.get())) {
        report += DeviceStatusText(entry) + "\n\n";
    }
    return report;
}

std::string DeviceStatusText(const DeviceListEntry& entry)
{
    const std::uint32_t device = entry.number;
    const std::uint32_t gainResult = DeviceInt(device, DeviceParameter::GainResult);
    const std::string gainRemark = gainResult != 0 ? ResultDescription(gainResult) : "";

    std::string text =
        std::string("   ** ") + TextOrEmpty(entry.name) + " **\n" + TextOrEmpty(entry.description);
    text += "\nStatus: " + StateText(entry);
    const std::string hardwareId = DeviceText(device, DeviceParameter::HardwareId);
    const std::string gainFile = DeviceText(device, DeviceParameter::GainFile);
    text += "\nHwID: " + hardwareId;
    text += "\nGain file: " + (gainRemark.empty() ? gainFile : "\n     " + gainRemark + '\n');
    text += "\nVersion:\n" + IndentText(DeviceText(device, DeviceParameter::Version), DetailIndent);
    const std::string specific = DeviceText(device, DeviceParameter::SpecificInfo);
    if (!specific.empty()) {
        text += "\nDevice specific:\n" + IndentText(specific, DetailIndent);
    }
    return text;
}

std::string IndentText(const std::string& text, const std::string& indent)
{
    std::string indented = text.starts_with('\n') ? "" : indent;
    for (const char character : text) {
        indented += character;
        if (character == '\n') {
            indented += indent;
        }
    }
    return indented;
}

namespace {

std::string StateText(const DeviceListEntry& entry)
{
    for (const StateLine& line : StateLines) {
        if (line.state == entry.state) {
            return line.text != nullptr
                       ? line.text
                       : ResultDescription(DeviceInt(entry.number, line.resultParameter));
        }
    }
    return "Unknown";
}

std::string DeviceText(std::uint32_t device, std::uint32_t parameter)
{
    std::string text;
    GetDeviceText(device, parameter, text);
    return text;
}

std::uint32_t DeviceInt(std::uint32_t device, std::uint32_t parameter)
{
    std::uint32_t value = 0;
    GetDeviceInt(device, parameter, value);
    return value;
}

} // namespace
