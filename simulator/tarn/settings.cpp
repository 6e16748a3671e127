// Reads the settings file into the knobs and runs its script.
#include "simulator/tarn/settings.h"

#include "simulator/tarn/trace.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tarn {
namespace {

constexpr std::uint64_t LargestFile = 1 << 20; // bytes

std::string_view Trim(std::string_view text);
std::pair<std::string_view, std::string_view> Split(std::string_view text, char separator);
ScriptStep ParseStep(std::string_view line);
const Knob* FindKnob(std::string_view key);
bool IsRule(std::string_view key);
void CopyKnob(Settings& to, const Settings& from, const std::string& key);
void ClearFaults(Settings& settings);

void Assign(double& to, std::string_view text, const Knob& knob);
void Assign(std::uint32_t& to, std::string_view text, const Knob& knob);
void Assign(bool& to, std::string_view text, const Knob& knob);
void Assign(std::string& to, std::string_view text, const Knob& knob);
void Assign(std::vector<std::string>& to, std::string_view text, const Knob& knob);
void Assign(std::vector<std::uint32_t>& to, std::string_view text, const Knob& knob);
void Assign(std::vector<DeviceFault>& to, std::string_view text, const Knob& knob);
void Assign(Scene& to, std::string_view text, const Knob& knob);

} // namespace

const std::vector<Knob>& Knobs()
{
    static const std::vector<Knob> Knobs = {
        {"time_factor", &Settings::timeFactor, 0.01, 100},
        {"seed", &Settings::seed},
        {"arming_delay", &Settings::armingDelay},
        {"exposure_delay", &Settings::exposureDelay},
        {"exposure_time", &Settings::exposureTime},
        {"readout_time", &Settings::readoutTime},
        {"base_unit", &Settings::baseUnit},
        {"sensors", &Settings::sensors, 1, 999},
        {"inactivity_timeout", &Settings::inactivityTimeout, 0, 4000000},
        {"battery", &Settings::battery, 0, 100},
        {"battery_per_exposure", &Settings::batteryPerExposure, 0, 100},
        {"external_power", &Settings::externalPower},
        {"image_folder", &Settings::imageFolder},
        {"store_folder", &Settings::storeFolder},
        {"removed_folder", &Settings::removedFolder},
        {"store_limit", &Settings::storeLimit},
        {"next_image_id", &Settings::nextImageId},
        {"image_width", &Settings::imageWidth, 0, 16384},
        {"image_height", &Settings::imageHeight, 0, 16384},
        {"scene", &Settings::scene},
        {"shading", &Settings::shading, 0, 100},
        {"edge_blur", &Settings::edgeBlur, 0, 100},
        {"lag", &Settings::lag, 0, 100},
        {"dead_pixels", &Settings::deadPixels, 0, 1000000},
        {"hot_pixels", &Settings::hotPixels, 0, 1000000},
        {"noisy_pixels", &Settings::noisyPixels, 0, 1000000},
        {"dead_line", &Settings::deadLines, 0, 1000},
        {"truth_file", &Settings::truthFile},
        {"programs", &Settings::programs},
        {"series_length", &Settings::seriesLength, 1},
        {"test_image_mode", &Settings::testImageMode},
        {"gain_check", &Settings::gainCheck},
        {"raw_folder", &Settings::rawFolder},
        {"filter_chain", &Settings::filterChain},
        {"trace_file", &Settings::traceFile},
        {"strict", &Settings::strict},
        {"faults", &Settings::faults},
        {"device_fault", &Settings::deviceFaults},
        {"events", &Settings::events},
        {"storm", &Settings::storm, 0, 10000000},
        {"storm_count", &Settings::stormCount},
        {"storm_events", &Settings::stormEvents},
        {"texts", &Settings::texts},
    };
    return Knobs;
}

SettingsFile::SettingsFile(std::string path)
    : m_path(std::move(path)), m_settings(std::make_shared<const Settings>())
{
}

void SettingsFile::SetPath(const std::string& path)
{
    const std::lock_guard lock(m_mutex);
    m_read = m_read && path == m_path;
    m_path = path;
}

std::shared_ptr<const Settings> SettingsFile::Current()
{
    const std::lock_guard lock(m_mutex);
    const FileStamp stamp = StampOf(m_path);
    if (!m_read || stamp != m_stamp) {
        m_read = true;
        m_stamp = stamp;
        std::optional<std::string> text = ReadText();
        // Otherwise a file replaced meanwhile would be read twice, and its events posted twice.
        for (FileStamp after = StampOf(m_path); after != m_stamp; after = StampOf(m_path)) {
            m_stamp = after;
            text = ReadText();
        }
        if (text) {
            Take(*text);
        } else if (m_read) {
            Report(m_path, "is no settings file");
        }
    }
    return m_settings;
}

void SettingsFile::Advance(double simulatedSeconds, std::uint64_t imagesTaken)
{
    const std::lock_guard lock(m_mutex);
    m_seconds = simulatedSeconds;
    m_images = imagesTaken;
    while (m_step < m_settings->script.size()) {
        const ScriptStep step = m_settings->script[m_step];
        if (m_images < m_stepImages + step.images || m_seconds < m_stepSeconds + step.seconds) {
            return;
        }
        auto settings = std::make_shared<Settings>(*m_settings);
        Set(*settings, step.key, step.value);
        m_settings = std::move(settings);
        ++m_step;
        m_stepSeconds += step.seconds;
        if (step.images != 0) {
            m_stepSeconds = m_seconds;
            m_stepImages += step.images;
        }
    }
}

bool SettingsFile::TakeRule(std::string_view name, FaultRule& rule)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_settings->rules.find(name);
    if (found == m_settings->rules.end() || !Applies(found->second, m_calls[found->first])) {
        return false;
    }
    rule = found->second;
    return true;
}

std::optional<std::string> SettingsFile::ReadText()
{
    std::error_code error;
    if (!m_stamp.exists) {
        return "";
    }
    if (!std::filesystem::is_regular_file(PathOf(m_path), error) ||
        std::filesystem::file_size(PathOf(m_path), error) > LargestFile) {
        return std::nullopt;
    }
    const std::ifstream file(PathOf(m_path));
    m_read =
        file.is_open(); // not for a moment on Windows, while it is replaced: the next call tries
    if (!m_read) {
        return std::nullopt;
    }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void SettingsFile::Take(const std::string& content)
{
    auto settings = std::make_shared<Settings>();
    settings->eventsSerial = m_settings->eventsSerial;
    settings->stormSerial = m_settings->stormSerial;
    m_calls.clear();

    std::istringstream lines(content);
    std::string line, section;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::string where = m_path + ":" + std::to_string(number);
        const std::string_view text = Trim(line);
        if (text.empty() || text[0] == '#' || text[0] == ';') {
            continue;
        }
        if (text[0] == '[') {
            section = text;
            continue;
        }
        std::string key;
        try {
            if (section == "[script]") {
                const ScriptStep step = ParseStep(text);
                Settings trial;
                Set(trial, step.key, step.value);
                settings->script.push_back(step);
                continue;
            }
            const auto [name, value] = Split(text, '=');
            key = name;
            Set(*settings, key, value);
        } catch (const std::exception& failure) {
            CopyKnob(*settings, *m_settings, key);
            Report(where, failure.what());
        }
    }
    if (!settings->faults) {
        ClearFaults(*settings);
    }
    m_settings = std::move(settings);
    m_step = 0;
    m_stepSeconds = m_seconds;
    m_stepImages = m_images;
}

void SettingsFile::Set(Settings& settings, const std::string& key, std::string_view value)
{
    if (IsRule(key)) {
        try {
            settings.rules[key] = ParseFaultRule(value);
        } catch (const std::invalid_argument& failure) {
            throw std::invalid_argument(key + " " + failure.what());
        }
        m_calls.erase(key);
        return;
    }
    const Knob* knob = FindKnob(key);
    if (knob == nullptr) {
        throw std::invalid_argument("there is no setting '" + key + "'");
    }
    try {
        std::visit([&](auto member) { Assign(settings.*member, value, *knob); }, knob->place);
    } catch (const std::invalid_argument& failure) {
        throw std::invalid_argument(key + " " + failure.what());
    }
    if (key == "events") {
        ++settings.eventsSerial;
    }
    if (key == "storm") {
        ++settings.stormSerial;
    }
    if (key == "faults" && !settings.faults) {
        ClearFaults(settings);
    }
}

void SettingsFile::Report(const std::string& where, const std::string& what) const
{
    Warn(where + ": " + what + "; keeping the previous value");
}

std::string ResolvePath(const std::string& path)
{
    return TextOf(PathOf(OwnFolder()) / PathOf(path));
}

namespace {

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view Blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(Blanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(Blanks) - begin + 1);
}

std::pair<std::string_view, std::string_view> Split(std::string_view text, char separator)
{
    const std::size_t at = text.find(separator);
    if (at == std::string_view::npos) {
        throw std::invalid_argument("'" + std::string(text) + "' lacks a '" + separator + "'");
    }
    return {Trim(text.substr(0, at)), Trim(text.substr(at + 1))};
}

// "after 3 images: key = value", "after 2 s: key = value" or "now: key = value"
ScriptStep ParseStep(std::string_view line)
{
    auto [when, what] = Split(line, ':');
    const auto [key, value] = Split(what, '=');
    ScriptStep step;
    step.key = key;
    step.value = value;
    if (when == "now") {
        return step;
    }
    const std::string_view after = TakeWord(when);
    const std::string_view amount = TakeWord(when);
    if (after == "after" && (when == "images" || when == "image")) {
        step.images = ParseInteger(amount);
    } else if (after == "after" && when == "s") {
        step.seconds = ParseNumber(amount);
    } else {
        throw std::invalid_argument("a step begins with 'after N images:', 'after N s:' or 'now:'");
    }
    return step;
}

const Knob* FindKnob(std::string_view key)
{
    const auto found = std::ranges::find(Knobs(), key, &Knob::key);
    return found == Knobs().end() ? nullptr : &*found;
}

bool IsRule(std::string_view key)
{
    return key == ImageReadyRule ||
           std::ranges::find(Exports, key, &ExportEntry::name) != std::end(Exports);
}

void CopyKnob(Settings& to, const Settings& from, const std::string& key)
{
    if (const Knob* knob = FindKnob(key)) {
        std::visit([&](auto member) { to.*member = from.*member; }, knob->place);
    } else if (const auto rule = from.rules.find(key); rule != from.rules.end()) {
        to.rules[key] = rule->second;
    }
}

void ClearFaults(Settings& settings)
{
    settings.rules.clear();
    settings.deviceFaults.clear();
    settings.events.clear();
    settings.storm = 0;
    settings.texts.clear();
    settings.script.clear();
}

void Assign(double& to, std::string_view text, const Knob& knob)
{
    if (text == "never" && knob.key == "exposure_delay") {
        to = Settings::Never;
        return;
    }
    const double number = ParseNumber(text);
    if (number < knob.low || number > knob.high) {
        throw std::invalid_argument("takes a number from " + std::to_string(knob.low) + " to " +
                                    std::to_string(knob.high));
    }
    to = number;
}

void Assign(std::uint32_t& to, std::string_view text, const Knob& knob)
{
    const std::uint32_t number = ParseInteger(text);
    if (number < knob.low || number > knob.high) {
        throw std::invalid_argument("takes a whole number from " + std::to_string(knob.low) +
                                    " to " + std::to_string(knob.high));
    }
    to = number;
}

void Assign(bool& to, std::string_view text, const Knob&)
{
    if (text != "on" && text != "off") {
        throw std::invalid_argument("takes on or off");
    }
    to = text == "on";
}

void Assign(std::string& to, std::string_view text, const Knob& knob)
{
    if (knob.key == "texts" && text == "off") {
        text = {};
    }
    if (knob.key == "texts" && !text.empty() && HostileText(text).empty()) {
        throw std::invalid_argument("takes off, long, utf8, control, markup, bidi, format or path");
    }
    to = text;
}

void Assign(std::vector<std::string>& to, std::string_view text, const Knob&)
{
    std::vector<std::string> list;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(','), text.size());
        if (const std::string_view entry = Trim(text.substr(0, end)); !entry.empty()) {
            list.emplace_back(entry);
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (list.empty()) {
        throw std::invalid_argument("takes at least one name");
    }
    to = std::move(list);
}

// "1 2 5-9" with ranges, "none", or results such as "error 5".
void Assign(std::vector<std::uint32_t>& to, std::string_view text, const Knob& knob)
{
    std::vector<std::uint32_t> list;
    if (text == "none") {
        text = {};
    }
    while (!text.empty()) {
        std::string_view rest = text;
        const std::string_view word = TakeWord(rest);
        const std::size_t dash = word.find('-');
        std::uint32_t first = 0, last = 0;
        if (dash != std::string_view::npos) {
            first = ParseInteger(word.substr(0, dash));
            last = ParseInteger(word.substr(dash + 1));
            text = rest;
        } else {
            first = last = ParseResult(text);
        }
        if (first < knob.low || last > knob.high || last < first || last - first > 100000) {
            throw std::invalid_argument("takes numbers from " + std::to_string(knob.low) + " to " +
                                        std::to_string(knob.high));
        }
        for (std::uint64_t number = first; number <= last; ++number) {
            list.push_back(static_cast<std::uint32_t>(number));
        }
    }
    to = std::move(list);
}

// "1 100 error 7, 2 101 error 8" or "none".
void Assign(std::vector<DeviceFault>& to, std::string_view text, const Knob&)
{
    std::vector<DeviceFault> list;
    if (text == "none") {
        text = {};
    }
    while (!text.empty()) {
        DeviceFault fault;
        fault.device = ParseInteger(TakeWord(text));
        fault.state = ParseInteger(TakeWord(text));
        fault.result = ParseResult(text);
        list.push_back(fault);
    }
    to = std::move(list);
}

void Assign(Scene& to, std::string_view text, const Knob&)
{
    const auto* const found = std::ranges::find(SceneNames, text, &SceneName::name);
    if (found == std::end(SceneNames)) {
        throw std::invalid_argument("takes phantom, flat, dark or edge");
    }
    to = found->scene;
}

} // namespace
} // namespace tarn
