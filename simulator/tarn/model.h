// The simulated sensors: arming, exposure, read-out and store, on a thread of their own.
#pragma once

#include "simulator/tarn/image_maker.h"
#include "simulator/tarn/parameters.h"
#include "simulator/tarn/settings.h"
#include "simulator/tarn/store.h"
#include "simulator/tarn/storm.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tarn {

// One capture runs like this; abort, the inactivity timeout and unplugging lead back to idle:
//
//   Idle -Enable-> Arming -15-> Armed -hand switch or delay: 17, 7-> Reading -2, 4-> Idle
//
// Any thread may call; operations return results.
class Model
{
public:
    // Called in the order of the events with the model locked: it must not call the model.
    using EventSink = std::function<void(std::uint32_t image, std::uint32_t event)>;

    // settings must outlive the model. Opens the store and starts the thread; throws
    // std::runtime_error when the store cannot be used.
    Model(SettingsFile& settings, EventSink sink);
    // Ends the thread. An exposed image is stored first.
    ~Model();
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    // device: 0 for any sensor.
    std::uint32_t Enable(std::uint32_t device, const std::string& userId);
    // abort false cleans up after a failed Enable, which needs nothing: a running capture
    // continues.
    std::uint32_t Disable(std::uint32_t device, bool abort);
    std::uint32_t HandSwitch();
    // secondsLeft: see TarnSimulatorArmedState.
    Phase CurrentPhase(double& secondsLeft);

    // The image of that number, or the first of the store for number 0; an empty user id is any.
    std::uint32_t GetImage(const std::string& userId, std::uint32_t number, StoredImage& image);
    std::uint32_t RemoveImage(const std::string& userId, std::uint32_t imageId);
    std::uint32_t GetImageCount();

    std::vector<Device> Devices();
    std::uint32_t ReadLibrary(std::uint32_t parameter, Value& value);
    std::uint32_t WriteLibrary(std::uint32_t parameter, const Value& value);
    std::uint32_t ReadDevice(std::uint32_t device, std::uint32_t parameter, Value& value);
    std::uint32_t WriteDevice(std::uint32_t device, std::uint32_t parameter, const Value& value);

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    struct LateEvent
    {
        double due;
        std::uint32_t image, event;
    };

    // Updates the simulated time, the settings and everything that depends on them.
    void Refresh();
    void ApplySettings(const Settings& settings);
    void ApplyDevices(const Settings& settings);

    void Run();
    void Step(Lock& lock);
    void Arm();
    void Expose();
    void ReadOut(Lock& lock);
    void Store(Lock& lock);
    void StopCapture(std::uint32_t result);

    void PostImageReady(std::uint32_t imageId, const FaultRule& rule);
    void Post(std::uint32_t image, std::uint32_t event);
    // The sensor that would take the image, null when there is none.
    const DeviceState* UsableSensor(std::uint32_t device) const;
    std::pair<std::string, std::uint32_t> NextProgram() const;
    // Real seconds until the phase ends by itself; infinite when it does not, undefined while idle.
    double SecondsLeft() const;

    SettingsFile& m_settingsFile;
    const EventSink m_sink;
    std::shared_ptr<const Settings> m_settings, m_applied;
    ImageStore m_store;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stop = false;
    Registers m_registers;
    Clock::time_point m_lastRefresh = Clock::now();
    double m_time = 0;     // simulated seconds since the start
    double m_deadline = 0; // simulated time at which the phase ends by itself
    double m_timeout = 0;  // simulated time of the inactivity timeout
    std::uint32_t m_armedDevice = 0;
    std::string m_userId;
    std::string m_program; // of the previous image
    std::uint64_t m_imagesTaken = 0;
    bool m_storing = false; // the image is being written to the store and can no longer be lost
    Capture m_capture;
    std::vector<LateEvent> m_lateEvents;
    std::uint32_t m_eventsSerial = 0;
    EventStorm m_storm;

    ImageMaker m_imageMaker; // used by the thread only
    std::thread m_thread;
};

} // namespace tarn
