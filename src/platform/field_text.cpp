// Numbers as texts, the names of fields and dialog units.
#include "platform/field_text.h"

#include <charconv>
#include <cmath>

namespace {

template <typename Number>
bool ParseWhole(std::string_view text, Number& value);
std::string_view Trim(std::string_view text);
template <typename Number>
std::string Format(Number value);

} // namespace

bool ParseNumber(std::string_view text, std::uint32_t& value)
{
    return ParseWhole(Trim(text), value);
}

bool ParseNumber(std::string_view text, double& value)
{
    text = Trim(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    double number = 0.0;
    if (!ParseWhole(text, number) || !std::isfinite(number)) {
        return false;
    }
    value = number;
    return true;
}

std::string FormatNumber(std::uint32_t value)
{
    return Format(value);
}

std::string FormatNumber(double value)
{
    return Format(value);
}

std::string FieldName(const DialogTemplate& form, int id)
{
    const ControlTemplate* before = nullptr;
    for (const ControlTemplate& control : form.controls) {
        if (control.id == id) {
            break;
        }
        before = &control;
    }
    if (before == nullptr || before->kind != ControlKind::Label) {
        return "Field " + std::to_string(id);
    }
    std::string name = before->text;
    std::erase(name, '&');
    while (name.ends_with(':') || name.ends_with(' ')) {
        name.pop_back();
    }
    return name;
}

RECT UnitsToPixels(const DialogUnits& place, int baseWidth, int baseHeight)
{
    const auto x = [baseWidth](int units) { return (units * baseWidth + 2) / 4; };
    const auto y = [baseHeight](int units) { return (units * baseHeight + 4) / 8; };
    return {x(place.x), y(place.y), x(place.x + place.width), y(place.y + place.height)};
}

RECT GrownPlace(const RECT& place, unsigned flags, int across, int down)
{
    const int left = (flags & MovesAcross) != 0 ? across : 0;
    const int top = (flags & MovesDown) != 0 ? down : 0;
    const int right = (flags & (MovesAcross | GrowsAcross)) != 0 ? across : 0;
    const int bottom = (flags & (MovesDown | GrowsDown)) != 0 ? down : 0;
    return {place.left + left, place.top + top, place.right + right, place.bottom + bottom};
}

namespace {

template <typename Number>
bool ParseWhole(std::string_view text, Number& value)
{
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end) {
        return false;
    }
    value = number;
    return true;
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view Blanks = " \t\r\n";
    const std::size_t start = text.find_first_not_of(Blanks);
    if (start == std::string_view::npos) {
        return {};
    }
    return text.substr(start, text.find_last_not_of(Blanks) - start + 1);
}

template <typename Number>
std::string Format(Number value)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

} // namespace
