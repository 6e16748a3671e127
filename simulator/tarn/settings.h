// The simulator's settings: an INI file that is reread whenever it changes, and the script in it.
#pragma once

#include "device/tarn_abi.h"
#include "simulator/tarn/faults.h"
#include "simulator/tarn/scene.h"
#include "simulator/tarn/system.h"

#include <cstdint>
#include <ctime>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tarn {

// A step of the script: key = value, once that many more images are taken and seconds have passed
// since the previous step.
struct ScriptStep
{
    std::uint64_t images = 0;
    double seconds = 0;
    std::string key;
    std::string value;
};

// A device in a fault state, from "1 100 error 7".
struct DeviceFault
{
    std::uint32_t device = 0;
    std::uint32_t state = 0;
    std::uint32_t result = 0;
};

// Every knob with its default. Durations are simulated seconds: with a time factor of 100 they pass
// a hundred times faster. Folders are absolute, or relative to the library's folder.
struct Settings
{
    static constexpr double Never = std::numeric_limits<double>::infinity();

    double timeFactor = 1;
    std::uint32_t seed = 0; // 0: a different run every time, with today's date
    double armingDelay = 0.6;
    double exposureDelay = 4;
    double exposureTime = 0.2;
    double readoutTime = 0.8;

    bool baseUnit = true;
    std::vector<std::uint32_t> sensors = {1, 2};
    double inactivityTimeout = 300;
    double battery = 90; // percent
    double batteryPerExposure = 0.5;
    bool externalPower = false;

    std::string imageFolder;
    std::string storeFolder = "TarnStore";
    std::string removedFolder; // empty: removed images are deleted
    std::uint32_t storeLimit = 1000000;
    std::uint32_t nextImageId = 0; // 0: the one after the last
    std::uint32_t imageWidth = 0;  // 0: the sensor's
    std::uint32_t imageHeight = 0;
    Scene scene = Scene::Phantom;
    double shading = 0;  // percent of the signal
    double edgeBlur = 0; // pixels
    double lag = 0;      // percent of the signal
    std::uint32_t deadPixels = 0;
    std::uint32_t hotPixels = 0;
    std::uint32_t noisyPixels = 0;
    std::uint32_t deadLines = 0;
    std::string truthFile;
    std::vector<std::string> programs = {"Hand PA", "Hand oblique", "Hand lateral"};
    std::uint32_t seriesLength = 5;

    bool testImageMode = false;
    bool gainCheck = true;
    std::string rawFolder;
    std::string filterChain;

    std::string traceFile;
    bool strict = false;

    bool faults = true;                                  // false: no faults, no script
    std::map<std::string, FaultRule, std::less<>> rules; // by export name, or ImageReadyRule
    std::vector<DeviceFault> deviceFaults;
    std::vector<std::uint32_t> events; // to post once
    std::uint32_t eventsSerial = 0;    // changes whenever events is set
    double storm = 0;                  // events per real second
    std::uint32_t stormCount = 0;      // total of events; 0: endless
    std::uint32_t stormSerial = 0;     // changes whenever storm is set
    std::vector<std::uint32_t> stormEvents = {ResultInformation | 900, ResultWarning | 900,
                                              ResultError | 900,       99,
                                              EventImageReady,         EventExposure};
    std::string texts; // kind of hostile texts
    std::vector<ScriptStep> script;
};

// The member that a knob sets.
using Place = std::variant<double Settings::*, std::uint32_t Settings::*, bool Settings::*,
                           std::string Settings::*, std::vector<std::string> Settings::*,
                           std::vector<std::uint32_t> Settings::*,
                           std::vector<DeviceFault> Settings::*, Scene Settings::*>;

struct Knob
{
    std::string_view key;
    Place place;
    double low = 0; // range of a number
    double high = 4294967295.0;
};

// Every knob but the rules and the script, in the order of Settings.
const std::vector<Knob>& Knobs();

// Rules are named after the exports; this one is of the event.
inline constexpr std::string_view ImageReadyRule = "event_2";

// The settings file of one library. Any thread may call.
class SettingsFile
{
public:
    // Until the file exists, the defaults hold.
    explicit SettingsFile(std::string path);

    // Another path is read at the next call of Current.
    void SetPath(const std::string& path);

    // Rereads the file if it has changed and returns the current settings. An invalid line is
    // reported on stderr once; the previous value stays in force.
    std::shared_ptr<const Settings> Current();

    // Takes the steps of the script that are due. Neither argument may decrease.
    void Advance(double simulatedSeconds, std::uint64_t imagesTaken);

    // Whether the rule of that name applies to this call, which is counted; *rule is then set.
    bool TakeRule(std::string_view name, FaultRule& rule);

private:
    // Nothing when it is no settings file.
    std::optional<std::string> ReadText();
    void Take(const std::string& content);
    void Set(Settings& settings, const std::string& key, std::string_view value);
    void Report(const std::string& where, const std::string& what) const;

    std::mutex m_mutex;
    std::string m_path;
    FileStamp m_stamp;
    bool m_read = false;
    std::shared_ptr<const Settings> m_settings;
    std::map<std::string, std::uint32_t, std::less<>> m_calls; // of each rule
    std::size_t m_step = 0;                                    // next step of the script
    double m_stepSeconds = 0, m_seconds = 0; // simulated time of the last step, and now
    std::uint64_t m_stepImages = 0, m_images = 0;
};

// A path of the settings or of a parameter, made absolute from the library's folder.
std::string ResolvePath(const std::string& path);

} // namespace tarn
