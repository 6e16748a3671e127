// Draws what the simulated sensors see.
#include "simulator/tarn/picture.h"

#include "simulator/tarn/hash.h"
#include "simulator/tarn/system.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tarn {
namespace {

// The phantom is drawn on a sheet of 1300 x 1700 points, x to the right, y downwards, fingers up:
//
//    letter      |  |  |
//             \  |  |  |  /
//    wedge     \ palm    /
//              | wrist  |
//
// which is scaled to fit the image's middle. Thicknesses are in points as well.
struct Point
{
    double x, y;
};
constexpr double SheetWidth = 1300, SheetHeight = 1700;

// A rod of round cross-section, flared at its ends like a long bone.
struct Rod
{
    Point from, to;
    double shaft, end; // radius in the middle and at the ends
    double cortex;     // thickness of the dense shell
};
constexpr Rod LongBones[] = {
    // little finger: metacarpal, then the phalanges from the palm outwards
    {{524, 1172}, {430, 972}, 20, 32, 8},
    {{424, 958}, {388, 786}, 17, 27, 7},
    {{385, 773}, {369, 668}, 14, 22, 6},
    {{367, 656}, {358, 584}, 9, 16, 5},
    // ring finger
    {{583, 1162}, {533, 906}, 21, 34, 8},
    {{530, 890}, {502, 680}, 19, 30, 7},
    {{500, 666}, {486, 532}, 16, 25, 6},
    {{485, 519}, {479, 437}, 10, 18, 5},
    // middle finger
    {{646, 1150}, {651, 868}, 23, 37, 9},
    {{652, 851}, {656, 612}, 21, 32, 8},
    {{656, 597}, {658, 444}, 17, 27, 6},
    {{659, 430}, {660, 340}, 11, 19, 5},
    // index finger
    {{716, 1160}, {771, 896}, 23, 37, 9},
    {{775, 880}, {809, 670}, 20, 31, 8},
    {{812, 656}, {828, 532}, 16, 25, 6},
    {{830, 519}, {840, 440}, 10, 18, 5},
    // thumb
    {{838, 1188}, {949, 1062}, 25, 37, 9},
    {{960, 1047}, {1030, 934}, 20, 31, 8},
    {{1038, 920}, {1086, 838}, 13, 22, 6},
    // radius and ulna
    {{712, 1362}, {690, 1830}, 52, 98, 15},
    {{556, 1384}, {566, 1830}, 36, 54, 13},
};

struct Ellipse
{
    Point center;
    double radiusX, radiusY, turn; // radians
    double depth;                  // thickness in the middle
};
constexpr Ellipse WristBones[] = {
    {{742, 1296}, 58, 36, -0.7, 62}, {{660, 1314}, 44, 40, 0.2, 60},
    {{580, 1294}, 40, 34, 0.5, 56},  {{556, 1320}, 23, 22, 0.0, 40},
    {{796, 1232}, 42, 34, 0.7, 58},  {{728, 1214}, 32, 30, 0.0, 52},
    {{655, 1226}, 38, 62, 0.05, 62}, {{582, 1224}, 38, 46, -0.3, 58},
};

// Soft parts: rods whose thickness is flatter than wide by a factor.
struct SoftRod
{
    Point from, to;
    double radiusFrom, radiusTo, flatness;
};
constexpr SoftRod SoftRods[] = {
    {{430, 975}, {386, 770}, 60, 48, 0.95},     {{386, 770}, {356, 566}, 47, 34, 0.95},
    {{532, 905}, {501, 672}, 64, 52, 0.95},     {{501, 672}, {477, 420}, 51, 37, 0.95},
    {{651, 865}, {656, 605}, 66, 54, 0.95},     {{656, 605}, {660, 322}, 53, 39, 0.95},
    {{773, 890}, {811, 662}, 64, 52, 0.95},     {{811, 662}, {842, 422}, 51, 37, 0.95},
    {{900, 1120}, {1034, 926}, 84, 56, 0.9},    {{1034, 926}, {1094, 816}, 55, 38, 0.95},
    {{524, 1200}, {430, 960}, 120, 76, 0.75},   {{583, 1190}, {532, 895}, 120, 74, 0.8},
    {{646, 1190}, {651, 855}, 124, 76, 0.8},    {{716, 1190}, {773, 880}, 120, 76, 0.8},
    {{770, 1260}, {915, 1090}, 128, 96, 0.85},  {{640, 1230}, {632, 1400}, 205, 184, 0.62},
    {{632, 1400}, {628, 1900}, 184, 232, 0.66},
};

constexpr double SoftAttenuation = 0.0034;   // per point
constexpr double CortexAttenuation = 0.0152; // per point
constexpr double MarrowShare = 0.42;         // attenuation of a bone's inside against its shell

// Ten steps of a metal wedge, thicker downwards.
constexpr Point WedgeFrom = {80, 820}, WedgeTo = {190, 1620};
constexpr int WedgeSteps = 10;
constexpr double WedgeStepAttenuation = 0.26;

constexpr double LetterAttenuation = 3.6;
constexpr double LetterStroke = 15; // half its width

// The size and place of the sheet in an image.
struct Sheet
{
    double scale, left, top; // pixels per point, pixels
    bool mirrored;

    Point At(std::uint32_t x, std::uint32_t y) const
    {
        const Point point = {(x + 0.5 - left) / scale, (y + 0.5 - top) / scale};
        return {mirrored ? SheetWidth - point.x : point.x, point.y};
    }
};

// A float per pixel of an image.
struct Plane
{
    std::uint32_t width, height;
    std::vector<float> values;

    Plane(std::uint32_t w, std::uint32_t h) : width(w), height(h), values(std::size_t{w} * h) {}
    float& At(std::uint32_t x, std::uint32_t y) { return values[std::size_t{y} * width + x]; }
};

void DrawSoftParts(Plane& plane, const Sheet& sheet);
void DrawLongBones(Plane& plane, const Sheet& sheet);
void DrawWristBones(Plane& plane, const Sheet& sheet);
void DrawWedge(Plane& plane, const Sheet& sheet);
void DrawLetter(Plane& plane, const Sheet& sheet, bool leftHand);
void Blur(Plane& plane);
double Rounding(double along, double length, double end);
double Trabeculae(Point point);
// The sample of which 1 in 1000 is lower, and the one of which 1 in 1000 is higher.
std::pair<std::uint16_t, std::uint16_t> SampleRange(const Frame& frame);

// Calls draw(value, point) for every pixel whose point lies in the rectangle.
template <class Draw>
void ForEachPixel(Plane& plane, const Sheet& sheet, Point low, Point high, Draw draw);

// Distance of a point to a line and how far along it the nearest place is.
struct Nearness
{
    double along, distance; // along: 0 at the start, 1 at the end, beyond them outside
};
Nearness Near(Point point, Point from, Point to);

} // namespace

const std::vector<std::uint16_t>& Phantom::Transmission(std::uint32_t width, std::uint32_t height,
                                                        bool leftHand)
{
    if (m_width == width && m_height == height && m_leftHand == leftHand &&
        !m_transmission.empty()) {
        return m_transmission;
    }
    m_width = width;
    m_height = height;
    m_leftHand = leftHand;

    Sheet sheet{};
    sheet.scale = std::min(m_width / SheetWidth, m_height / SheetHeight);
    sheet.left = (m_width - sheet.scale * SheetWidth) / 2;
    sheet.top = (m_height - sheet.scale * SheetHeight) / 2;
    sheet.mirrored = !m_leftHand;

    Plane plane(m_width, m_height);
    DrawSoftParts(plane, sheet);
    DrawLongBones(plane, sheet);
    DrawWristBones(plane, sheet);
    DrawWedge(plane, sheet);
    sheet.mirrored = false;
    DrawLetter(plane, sheet, m_leftHand);

    // The beam is a little weaker away from its middle, which lies above the palm.
    for (std::uint32_t y = 0; y < m_height; ++y) {
        for (std::uint32_t x = 0; x < m_width; ++x) {
            const Point point = sheet.At(x, y);
            const double away = std::hypot(point.x - 650, point.y - 800) / 1000;
            float& value = plane.At(x, y);
            value = std::exp(-value) * static_cast<float>(1 - 0.07 * away * away);
        }
    }
    Blur(plane);
    m_transmission.resize(plane.values.size());
    for (std::size_t i = 0; i < m_transmission.size(); ++i) {
        m_transmission[i] =
            static_cast<std::uint16_t>(std::clamp(plane.values[i], 0.f, 1.f) * 65535);
    }
    return m_transmission;
}

namespace {

// The rods blend into one another: the fourth powers of their thicknesses are added.
void DrawSoftParts(Plane& plane, const Sheet& sheet)
{
    for (const SoftRod& rod : SoftRods) {
        const double reach = std::max(rod.radiusFrom, rod.radiusTo);
        const Point low = {std::min(rod.from.x, rod.to.x) - reach,
                           std::min(rod.from.y, rod.to.y) - reach};
        const Point high = {std::max(rod.from.x, rod.to.x) + reach,
                            std::max(rod.from.y, rod.to.y) + reach};
        ForEachPixel(plane, sheet, low, high, [&](float& value, Point point) {
            const double along = std::clamp(Near(point, rod.from, rod.to).along, 0.0, 1.0);
            const Point axis = {rod.from.x + along * (rod.to.x - rod.from.x),
                                rod.from.y + along * (rod.to.y - rod.from.y)};
            const double dx = point.x - axis.x, dy = point.y - axis.y;
            const double radius = rod.radiusFrom + along * (rod.radiusTo - rod.radiusFrom);
            const double square = radius * radius - dx * dx - dy * dy;
            if (square <= 0) {
                return;
            }
            const double fourth = square * rod.flatness * square * rod.flatness;
            value += static_cast<float>(fourth);
        });
    }
    for (float& value : plane.values) {
        value = static_cast<float>(SoftAttenuation) * 2 * std::sqrt(std::sqrt(value));
    }
}

void DrawLongBones(Plane& plane, const Sheet& sheet)
{
    for (const Rod& bone : LongBones) {
        const double length = std::hypot(bone.to.x - bone.from.x, bone.to.y - bone.from.y);
        const double reach = bone.end;
        const Point low = {std::min(bone.from.x, bone.to.x) - reach,
                           std::min(bone.from.y, bone.to.y) - reach};
        const Point high = {std::max(bone.from.x, bone.to.x) + reach,
                            std::max(bone.from.y, bone.to.y) + reach};
        ForEachPixel(plane, sheet, low, high, [&](float& value, Point point) {
            const auto [along, distance] = Near(point, bone.from, bone.to);
            if (along <= 0 || along >= 1 || distance >= bone.end) {
                return;
            }
            const double flare = std::pow(std::abs(2 * along - 1), 3);
            const double radius =
                (bone.shaft + (bone.end - bone.shaft) * flare) * Rounding(along, length, bone.end);
            const double outer = radius * radius - distance * distance;
            if (outer <= 0) {
                return;
            }
            const double cortex = bone.cortex * (1 - 0.7 * flare);
            const double inside = std::max(radius - cortex, 0.0);
            const double inner = std::max(inside * inside - distance * distance, 0.0);
            const double marrow = 1 - MarrowShare * Trabeculae(point);
            value += static_cast<float>(CortexAttenuation * 2 *
                                        (std::sqrt(outer) - marrow * std::sqrt(inner)));
        });
    }
}

void DrawWristBones(Plane& plane, const Sheet& sheet)
{
    for (const Ellipse& bone : WristBones) {
        const double reach = std::max(bone.radiusX, bone.radiusY);
        const Point low = {bone.center.x - reach, bone.center.y - reach};
        const Point high = {bone.center.x + reach, bone.center.y + reach};
        const double c = std::cos(bone.turn), s = std::sin(bone.turn);
        ForEachPixel(plane, sheet, low, high, [&](float& value, Point point) {
            const double dx = point.x - bone.center.x, dy = point.y - bone.center.y;
            const double u = (c * dx + s * dy) / bone.radiusX;
            const double v = (c * dy - s * dx) / bone.radiusY;
            const double outer = 1 - u * u - v * v;
            if (outer <= 0) {
                return;
            }
            const double inner = std::max(0.8 - u * u - v * v, 0.0);
            const double marrow = 1 - MarrowShare * Trabeculae(point);
            value += static_cast<float>(CortexAttenuation * bone.depth *
                                        (std::sqrt(outer) - marrow * std::sqrt(inner)));
        });
    }
}

void DrawWedge(Plane& plane, const Sheet& sheet)
{
    ForEachPixel(plane, sheet, WedgeFrom, WedgeTo, [](float& value, Point point) {
        const double share = (point.y - WedgeFrom.y) / (WedgeTo.y - WedgeFrom.y);
        const int step = std::clamp(static_cast<int>(share * WedgeSteps), 0, WedgeSteps - 1);
        value += static_cast<float>(WedgeStepAttenuation * (step + 1));
    });
}

void DrawLetter(Plane& plane, const Sheet& sheet, bool leftHand)
{
    // L and R are drawn as strokes; the bowl of the R is half a ring.
    struct Stroke
    {
        Point from, to;
    };
    const double left = leftHand ? 110 : 1080;
    std::vector<Stroke> strokes = {{{left, 150}, {left, 330}}};
    if (leftHand) {
        strokes.push_back({{left, 330}, {left + 100, 330}});
    } else {
        strokes.push_back({{left, 150}, {left + 55, 150}});
        strokes.push_back({{left, 240}, {left + 55, 240}});
        strokes.push_back({{left + 45, 240}, {left + 105, 330}});
    }
    ForEachPixel(plane, sheet, {left - 60, 100}, {left + 160, 380}, [&](float& value, Point point) {
        bool inside = !leftHand && point.x > left + 55 &&
                      std::abs(std::hypot(point.x - left - 55, point.y - 195) - 45) < LetterStroke;
        for (const Stroke& stroke : strokes) {
            const Nearness near = Near(point, stroke.from, stroke.to);
            const double end =
                LetterStroke / std::hypot(stroke.to.x - stroke.from.x, stroke.to.y - stroke.from.y);
            inside = inside ||
                     (near.distance < LetterStroke && near.along > -end && near.along < 1 + end);
        }
        if (inside) {
            value += static_cast<float>(LetterAttenuation);
        }
    });
}

// The focal spot's size and the scintillator's spread: the binomial 1 2 1 both ways.
void Blur(Plane& plane)
{
    if (plane.width < 3 || plane.height < 3) {
        return;
    }
    std::vector<float> line(std::max(plane.width, plane.height));
    const auto blurLine = [&](std::size_t start, std::size_t step, std::size_t count) {
        float* values = plane.values.data() + start;
        for (std::size_t i = 0; i < count; ++i) {
            line[i] = values[i * step];
        }
        for (std::size_t i = 1; i + 1 < count; ++i) {
            values[i * step] = (line[i - 1] + 2 * line[i] + line[i + 1]) / 4;
        }
    };
    for (std::uint32_t y = 0; y < plane.height; ++y) {
        blurLine(std::size_t{y} * plane.width, 1, plane.width);
    }
    for (std::uint32_t x = 0; x < plane.width; ++x) {
        blurLine(x, plane.width, plane.height);
    }
}

// How much of a bone's radius is left near its ends, which are rounded.
double Rounding(double along, double length, double end)
{
    const double toEnd = std::min(along, 1 - along) * length;
    const double cap = std::min(0.75 * end, length / 2);
    if (toEnd >= cap) {
        return 1;
    }
    const double depth = 1 - toEnd / cap;
    return std::sqrt(1 - depth * depth);
}

// A fine irregular grain around 1.
double Trabeculae(Point point)
{
    const auto lattice = [](double x, double y) {
        const double left = std::floor(x), top = std::floor(y);
        const auto corner = [&](double dx, double dy) {
            const auto column = static_cast<std::uint64_t>(left + dx + 65536);
            const auto row = static_cast<std::uint64_t>(top + dy + 65536);
            return static_cast<double>(Hash(column << 32 | row) >> 40) / (1 << 24);
        };
        const double u = x - left, v = y - top;
        return (1 - v) * ((1 - u) * corner(0, 0) + u * corner(1, 0)) +
               v * ((1 - u) * corner(0, 1) + u * corner(1, 1));
    };
    return 0.6 + 0.45 * lattice(point.x / 5, point.y / 8) +
           0.35 * lattice(point.x / 17 + 300, point.y / 23);
}

template <class Draw>
void ForEachPixel(Plane& plane, const Sheet& sheet, Point low, Point high, Draw draw)
{
    if (sheet.mirrored) {
        const double left = SheetWidth - high.x;
        high.x = SheetWidth - low.x;
        low.x = left;
    }
    const auto pixel = [](double place, std::uint32_t limit) {
        return static_cast<std::uint32_t>(std::clamp(std::round(place), 0.0, double(limit)));
    };
    const std::uint32_t left = pixel(sheet.left + low.x * sheet.scale, plane.width);
    const std::uint32_t right = pixel(sheet.left + high.x * sheet.scale, plane.width);
    const std::uint32_t top = pixel(sheet.top + low.y * sheet.scale, plane.height);
    const std::uint32_t bottom = pixel(sheet.top + high.y * sheet.scale, plane.height);
    for (std::uint32_t y = top; y < bottom; ++y) {
        for (std::uint32_t x = left; x < right; ++x) {
            draw(plane.At(x, y), sheet.At(x, y));
        }
    }
}

Nearness Near(Point point, Point from, Point to)
{
    const double dx = to.x - from.x, dy = to.y - from.y;
    const double length = dx * dx + dy * dy;
    const double px = point.x - from.x, py = point.y - from.y;
    return {(px * dx + py * dy) / length, std::abs(px * dy - py * dx) / std::sqrt(length)};
}

void FillRectangle(Frame& frame, std::uint32_t left, std::uint32_t top, std::uint32_t size,
                   std::uint16_t value);
std::uint32_t ReadNumber(std::istream& file);

} // namespace

Frame TestPattern(std::uint32_t width, std::uint32_t height)
{
    Frame frame{width, height, 12, {}};
    frame.samples.resize(std::size_t{width} * height);
    const std::uint32_t grid = std::max(width / 13, 2u);
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            const bool upper = y < height / 2;
            std::uint32_t value = upper ? x * 4096 / width : 4095 - y * 4096 / height;
            if (x % grid == 0 || y % grid == 0) {
                value = 4095 - value;
            }
            if (x > width / 2 - grid && x < width / 2 + grid && y > height / 2 - grid &&
                y < height / 2 + grid) {
                value = (x + y) % 2 == 0 ? 3600 : 400;
            }
            frame.samples[std::size_t{y} * width + x] = static_cast<std::uint16_t>(value);
        }
    }
    const std::uint32_t mark = std::min({grid / 2, width / 2, height / 2});
    FillRectangle(frame, 0, 0, mark, 4095);
    FillRectangle(frame, width - mark, 0, mark, 3000);
    FillRectangle(frame, 0, height - mark, mark, 2000);
    FillRectangle(frame, width - mark, height - mark, mark, 1000);
    return frame;
}

Frame ReadGrayMap(const std::string& path)
{
    const auto fail = [&](const std::string& what) -> void {
        throw std::runtime_error("the picture " + path + " " + what);
    };
    std::ifstream file(PathOf(path), std::ios::binary);
    if (!file) {
        fail("cannot be opened");
    }
    if (file.get() != 'P' || file.get() != '5') {
        fail("is no binary gray map (P5)");
    }
    const std::uint32_t width = ReadNumber(file), height = ReadNumber(file);
    const std::uint32_t largest = ReadNumber(file);
    file.get();
    if (!file || width == 0 || height == 0 || width > 65535 || height > 65535 || largest == 0 ||
        largest > 65535 || std::uint64_t{width} * height > std::uint64_t{1} << 28) {
        fail("has an unusable size or largest value");
    }
    Frame frame{width, height, static_cast<std::uint32_t>(std::bit_width(largest)), {}};
    frame.samples.resize(std::size_t{width} * height);
    const std::size_t sampleBytes = largest > 255 ? 2 : 1;
    std::vector<std::uint8_t> bytes(frame.samples.size() * sampleBytes);
    if (!file.read(reinterpret_cast<char*>(bytes.data()), std::streamsize(bytes.size()))) {
        fail("is cut short");
    }
    for (std::size_t i = 0; i < frame.samples.size(); ++i) {
        frame.samples[i] = sampleBytes == 1
                               ? bytes[i]
                               : static_cast<std::uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]);
    }
    return frame;
}

std::vector<std::string> GrayMaps(const std::string& folder)
{
    std::vector<std::string> paths;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(PathOf(folder), error)) {
        if (entry.path().extension() == ".pgm") {
            paths.push_back(TextOf(entry.path()));
        }
    }
    std::ranges::sort(paths);
    return paths;
}

Frame ScaleToEightBits(const Frame& frame)
{
    const auto [low, high] = SampleRange(frame);
    const int width = std::max(high - low, 1);
    Frame scaled{frame.width, frame.height, 8, {}};
    scaled.samples.reserve(frame.samples.size());
    for (const std::uint16_t sample : frame.samples) {
        scaled.samples.push_back(
            static_cast<std::uint16_t>(std::clamp((sample - low) * 255 / width, 0, 255)));
    }
    return scaled;
}

std::vector<std::uint8_t> PackSamples(const Frame& frame, RowOrder order)
{
    std::vector<std::uint8_t> bytes;
    bytes.reserve(frame.samples.size() * (frame.bitsPerSample > 8 ? 2 : 1));
    for (std::size_t row = 0; row < frame.height; ++row) {
        const std::size_t y = order == RowOrder::TopFirst ? row : frame.height - 1 - row;
        for (std::size_t x = 0; x < frame.width; ++x) {
            const std::uint16_t sample = frame.samples[y * frame.width + x];
            bytes.push_back(static_cast<std::uint8_t>(sample));
            if (frame.bitsPerSample > 8) {
                bytes.push_back(static_cast<std::uint8_t>(sample >> 8));
            }
        }
    }
    return bytes;
}

namespace {

void FillRectangle(Frame& frame, std::uint32_t left, std::uint32_t top, std::uint32_t size,
                   std::uint16_t value)
{
    for (std::uint32_t y = top; y < top + size; ++y) {
        std::fill_n(frame.samples.begin() + static_cast<std::ptrdiff_t>(y) * frame.width + left,
                    size, value);
    }
}

// The next number of a gray map's header; comments run from # to the end of their line.
std::uint32_t ReadNumber(std::istream& file)
{
    while (file >> std::ws && file.peek() == '#') {
        file.ignore(1 << 16, '\n');
    }
    std::uint32_t number = 0;
    file >> number;
    return number;
}

std::pair<std::uint16_t, std::uint16_t> SampleRange(const Frame& frame)
{
    std::vector<std::size_t> counts(65536);
    for (const std::uint16_t sample : frame.samples) {
        ++counts[sample];
    }
    const std::size_t cut = frame.samples.size() / 1000;
    std::size_t low = 0, high = 65535;
    for (std::size_t below = counts[low]; below <= cut && low < high; below += counts[low]) {
        ++low;
    }
    for (std::size_t above = counts[high]; above <= cut && high > low; above += counts[high]) {
        --high;
    }
    return {static_cast<std::uint16_t>(low), static_cast<std::uint16_t>(high)};
}

} // namespace
} // namespace tarn
