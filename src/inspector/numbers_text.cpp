// Writes the inspector's numbers.
#include "inspector/numbers_text.h"

#include "platform/clock.h"
#include "storage/header_fields.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <span>

namespace {

template <typename... Values>
std::string Format(const char* format, Values... values)
{
    char text[160];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

// Control characters would break the table.
std::string Cell(std::string text)
{
    for (char& character : text) {
        if (static_cast<unsigned char>(character) < ' ') {
            character = ' ';
        }
    }
    return text;
}

std::string Line(std::span<const std::string> cells)
{
    std::string line;
    for (const std::string& cell : cells) {
        line.append(&cell == cells.data() ? "" : "\t").append(Cell(cell));
    }
    return line + '\n';
}

double Seconds(std::int64_t ticks)
{
    std::int64_t frequency = 1;
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(ticks) / static_cast<double>(frequency);
}

std::string TimeOfDay(std::int64_t ticks)
{
    std::int64_t now = 0;
    QueryPerformanceCounter(&now);
    using namespace std::chrono;
    const auto ago = duration_cast<system_clock::duration>(duration<double>(Seconds(now - ticks)));
    const system_clock::time_point time = system_clock::now() - ago;
    const std::time_t second = system_clock::to_time_t(time);
    const auto milliseconds =
        duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count() % 1000;
    char clock[16] = "";
    std::strftime(clock, sizeof clock, "%H:%M:%S", std::localtime(&second));
    return Format("%s.%03d", clock, static_cast<int>(milliseconds));
}

} // namespace

std::string NumberText(double value, int digits)
{
    std::string text = Format("%.*f", digits, value);
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') {
            text.pop_back();
        }
    }
    return text == "-0" ? "0" : text;
}

std::string SizeText(const Inspection& inspection)
{
    const CLinkedPtr<CImage>& image = inspection.Image();
    return image
               ? Format("%u x %u, %u bits", image->m_width, image->m_height, image->m_bitsPerSample)
               : "";
}

std::string PointText(std::uint32_t x, std::uint32_t y, std::uint32_t value)
{
    return Format("x %u, y %u: %u", x, y, value);
}

std::string ClippedText(const Inspection& inspection)
{
    if (!inspection.View()) {
        return "";
    }
    const ClippedShares& shares = inspection.Clipped();
    return NumberText(100 * shares.atZero, 4) + " % at 0, " +
           NumberText(100 * shares.atMaximum, 4) + " % at " +
           std::to_string(inspection.View()->MaxValue());
}

std::string ProfileText(const Inspection& inspection)
{
    const std::vector<ProfilePoint>& profile = inspection.Profile();
    if (profile.empty()) {
        return "";
    }
    const ProfileLine& line = *inspection.Line();
    const auto [least, most] = std::ranges::minmax_element(profile, {}, &ProfilePoint::mean);
    return Format("%zu points from %u, %u to %u, %u: ", profile.size(), line.x0, line.y0, line.x1,
                  line.y1) +
           NumberText(least->mean) + " to " + NumberText(most->mean);
}

RegionTexts TextsOf(const PixelRect& rect, const Statistics& statistics)
{
    RegionTexts texts = {std::to_string(rect.x), std::to_string(rect.y), std::to_string(rect.width),
                         std::to_string(rect.height)};
    if (statistics.count == 0) {
        return texts;
    }
    texts[4] = NumberText(statistics.mean);
    texts[5] = NumberText(statistics.standardDeviation);
    texts[6] = statistics.signalToNoise ? NumberText(*statistics.signalToNoise) : "";
    texts[7] = NumberText(statistics.median);
    texts[8] = std::to_string(statistics.minimum);
    texts[9] = std::to_string(statistics.maximum);
    return texts;
}

RegionTexts TextsOfWhole(const Inspection& inspection)
{
    if (!inspection.View()) {
        return {};
    }
    const GrayView& view = *inspection.View();
    return TextsOf({0, 0, view.width, view.height}, inspection.Whole());
}

DifferenceTexts TextsOf(const std::optional<Difference>& difference)
{
    if (!difference) {
        return {};
    }
    return {NumberText(difference->mean),        NumberText(difference->standardDeviation),
            NumberText(difference->noise),       std::to_string(difference->minimum),
            std::to_string(difference->maximum), std::to_string(difference->unequal)};
}

std::string TableOf(const Inspection& inspection)
{
    if (!inspection.View()) {
        return "";
    }
    std::string program;
    GetHeaderValue(inspection.Image()->m_headerText, ProgramNameKey, HeaderSeparator, "", program);
    const std::string facts[] = {"Image", std::to_string(inspection.Image()->m_imageId), program,
                                 SizeText(inspection), ClippedText(inspection)};
    std::string table = Line(facts) + "Region";
    for (const char* const name : RegionColumns) {
        table.append("\t").append(name);
    }
    table += "\nImage\t" + Line(TextsOfWhole(inspection));
    int number = 0;
    for (const RegionNumbers& region : inspection.Regions()) {
        table += std::to_string(++number) + '\t' + Line(TextsOf(region.rect, region.statistics));
    }
    const DifferenceTexts difference = TextsOf(inspection.ToReference());
    for (std::size_t i = 0; inspection.ToReference() && i < difference.size(); ++i) {
        const std::string cells[] = {DifferenceLines[i], difference[i]};
        table += Line(cells);
    }
    if (!inspection.Profile().empty()) {
        table += "Profile x\ty\tvalue\n";
    }
    for (const ProfilePoint& point : inspection.Profile()) {
        const std::string cells[] = {NumberText(point.x), NumberText(point.y),
                                     NumberText(point.mean)};
        table += Line(cells);
    }
    return table;
}

bool IsSlow(const LibraryCall& call)
{
    return call.end != 0 && Seconds(call.end - call.start) > SlowCall;
}

CallTexts TextsOf(const LibraryCall& call, const ResultText& resultText)
{
    CallTexts texts = {TimeOfDay(call.start), NameOf(call.which), ArgumentsText(call)};
    if (call.end == 0) {
        texts[6] = "running";
        return texts;
    }
    if (call.which != Export::FreeObject) {
        texts[3] = call.result == 0 ? "0" : Format("0x%X", call.result);
        texts[4] = call.result == 0 ? "" : resultText(call.result);
    }
    texts[5] = NumberText(1000 * Seconds(call.end - call.start));
    texts[6] = IsSlow(call) ? "slow" : "";
    return texts;
}

std::string TableOf(const std::vector<LibraryCall>& calls, const ResultText& resultText)
{
    std::string table;
    for (const char* const name : CallColumns) {
        table.append(table.empty() ? "" : "\t").append(name);
    }
    table += '\n';
    for (const LibraryCall& call : calls) {
        table += Line(TextsOf(call, resultText));
    }
    return table;
}
