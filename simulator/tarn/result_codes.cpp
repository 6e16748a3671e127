// The texts of the simulated library's results.
#include "simulator/tarn/result_codes.h"

#include <cstdio>
#include <string_view>

namespace tarn {
namespace {

struct ResultText
{
    std::uint32_t result;
    std::string_view text;
};
constexpr ResultText Rows[] = {
    {0, "Success."},
    {LibraryClosed, "The capture library is not open."},
    {LibraryOpen, "The capture library is open already."},
    {NoSuchDevice, "There is no such device, or it is not connected."},
    {NoSuchParameter, "There is no such parameter."},
    {BadValue, "The value is of another type or size than the parameter, or out of its range."},
    {ReadOnlyParameter, "The parameter cannot be written."},
    {NoSensor, "No sensor is connected that could take an image."},
    {AlreadyEnabled, "Capture is enabled already."},
    {ReadingOut, "The image is being read out; this cannot be stopped."},
    {NotArmed, "No sensor is armed."},
    {StoreFull, "The image store is full. Remove images first."},
    {NoSuchImage, "There is no such image in the store."},
    {NotStored, "The image could not be written to the image store."},
    {NullPointer, "A pointer is missing."},
    {BatteryEmpty, "The sensor's battery is empty. Connect external power."},
    {StoreUnusable, "The image store cannot be opened."},
    {InternalFailure, "The capture library failed internally."},
    {ReadOutLost, "The sensor was disconnected during the read-out. The image is lost."},
    {Unplugged, "The armed sensor was disconnected. Capture is disabled."},
    {BatteryLow, "The sensor's battery is nearly empty."},
    {PictureUnusable, "A picture of the image folder cannot be used; the phantom stands in."},
    {RawFileNotWritten, "The raw file could not be written."},
    {TimedOut, "No exposure came before the inactivity timeout. Capture is disabled."},
    {GainCheckOff, "The gain check is off: images are not corrected."},
};

} // namespace

std::string DescriptionOf(std::uint32_t result)
{
    for (const ResultText& row : Rows) {
        if (row.result == result) {
            return std::string(row.text);
        }
    }
    char text[64];
    std::snprintf(text, sizeof text, "Simulated result 0x%06X.", static_cast<unsigned>(result));
    return text;
}

} // namespace tarn
