// Runs the simulated sensors.
#include "simulator/tarn/model.h"

#include "simulator/tarn/result_codes.h"
#include "simulator/tarn/trace.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <tuple>

namespace tarn {
namespace {

constexpr double LongestWait = 0.02;          // real seconds between two checks of the settings
constexpr std::uint32_t NoImage = 4000000000; // number of an image that does not exist

} // namespace

Model::Model(SettingsFile& settings, EventSink sink)
    : m_settingsFile(settings),
      m_sink(std::move(sink)),
      m_settings(settings.Current()),
      m_store(ResolvePath(m_settings->storeFolder),
              m_settings->removedFolder.empty() ? "" : ResolvePath(m_settings->removedFolder)),
      m_imageMaker(m_settings->seed != 0 ? m_settings->seed : std::random_device()())
{
    m_registers.testImageMode = m_settings->testImageMode;
    m_registers.gainCheck = m_settings->gainCheck;
    m_registers.rawFolder = m_settings->rawFolder;
    m_registers.filterChain = m_settings->filterChain;
    m_eventsSerial = m_settings->eventsSerial;
    ApplySettings(*m_settings);
    m_program = NextProgram().first;
    m_thread = std::thread(&Model::Run, this);
}

Model::~Model()
{
    {
        const Lock lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

std::uint32_t Model::Enable(std::uint32_t device, const std::string& userId)
{
    const Lock lock(m_mutex);
    Refresh();
    const auto found = m_registers.devices.find(device);
    if (found == m_registers.devices.end() || !found->second.present) {
        return NoSuchDevice;
    }
    if (m_registers.phase != Phase::Idle) {
        return AlreadyEnabled;
    }
    const DeviceState* sensor = UsableSensor(device);
    if (sensor == nullptr) {
        return NoSensor;
    }
    if (sensor->battery.IsEmpty()) {
        return BatteryEmpty;
    }
    if (!m_store.HasRoom(m_settings->storeLimit)) {
        return StoreFull;
    }
    m_armedDevice = sensor->number;
    m_userId = userId;
    m_registers.phase = Phase::Arming;
    m_deadline = m_time + m_settings->armingDelay;
    m_wake.notify_all();
    return 0;
}

std::uint32_t Model::Disable(std::uint32_t device, bool abort)
{
    const Lock lock(m_mutex);
    Refresh();
    if (!m_registers.devices.contains(device)) {
        return NoSuchDevice;
    }
    if (m_registers.phase == Phase::Reading && abort) {
        return ReadingOut;
    }
    if (m_registers.phase == Phase::Idle || !abort) {
        return 0;
    }
    m_registers.phase = Phase::Idle;
    Post(0, EventCaptureDisabled);
    return 0;
}

std::uint32_t Model::HandSwitch()
{
    const Lock lock(m_mutex);
    Refresh();
    if (m_registers.phase != Phase::Armed) {
        return NotArmed;
    }
    Expose();
    m_wake.notify_all();
    return 0;
}

Phase Model::CurrentPhase(double& secondsLeft)
{
    const Lock lock(m_mutex);
    Refresh();
    secondsLeft = SecondsLeft();
    if (m_registers.phase == Phase::Idle || std::isinf(secondsLeft)) {
        secondsLeft = -1;
    }
    return m_registers.phase;
}

std::uint32_t Model::GetImage(const std::string& userId, std::uint32_t number, StoredImage& image)
{
    const std::vector<std::uint32_t> candidates =
        number == 0 && !userId.empty() ? m_store.Ids() : std::vector{number};
    for (const std::uint32_t candidate : candidates) {
        if (std::optional<StoredImage> found = m_store.Get(candidate);
            found && (userId.empty() || userId == found->userId)) {
            image = std::move(*found);
            return 0;
        }
    }
    return NoSuchImage;
}

std::uint32_t Model::RemoveImage(const std::string& userId, std::uint32_t imageId)
{
    if (!userId.empty()) {
        const std::optional<StoredImage> image = m_store.Get(imageId);
        if (imageId == 0 || !image || image->userId != userId) {
            return NoSuchImage;
        }
    }
    return m_store.Remove(imageId) ? 0 : NoSuchImage;
}

std::uint32_t Model::GetImageCount()
{
    return m_store.Count();
}

std::vector<Device> Model::Devices()
{
    const Lock lock(m_mutex);
    Refresh();
    std::vector<Device> devices;
    for (const auto& [number, state] : m_registers.devices) {
        if (!state.present) {
            continue;
        }
        Device device;
        device.number = number;
        device.state = ListState(m_registers, state);
        device.name = state.IsSensor() ? "Tolva sensor " + std::to_string(number) : "Base unit";
        device.description = state.IsSensor()
                                 ? "Simulated sensor, code " + std::to_string(state.SensorCode())
                                 : "Simulated base unit";
        if (!m_settings->texts.empty()) {
            device.name = HostileText(m_settings->texts);
            device.description = device.name;
        }
        devices.push_back(std::move(device));
    }
    return devices;
}

std::uint32_t Model::ReadLibrary(std::uint32_t parameter, Value& value)
{
    const Lock lock(m_mutex);
    Refresh();
    return ReadLibraryParameter(m_registers, parameter, value);
}

std::uint32_t Model::WriteLibrary(std::uint32_t parameter, const Value& value)
{
    const Lock lock(m_mutex);
    Refresh();
    return WriteLibraryParameter(m_registers, parameter, value);
}

std::uint32_t Model::ReadDevice(std::uint32_t device, std::uint32_t parameter, Value& value)
{
    const Lock lock(m_mutex);
    Refresh();
    return ReadDeviceParameter(m_registers, device, parameter, value);
}

std::uint32_t Model::WriteDevice(std::uint32_t device, std::uint32_t parameter, const Value& value)
{
    const Lock lock(m_mutex);
    Refresh();
    return WriteDeviceParameter(m_registers, device, parameter, value);
}

void Model::Refresh()
{
    const Clock::time_point now = Clock::now();
    const double real = std::chrono::duration<double>(now - m_lastRefresh).count();
    m_lastRefresh = now;
    m_time += real * m_settings->timeFactor;
    m_settingsFile.Advance(m_time, m_imagesTaken);
    m_settings = m_settingsFile.Current();
    m_storm.Advance(*m_settings, real);
    for (auto& [number, device] : m_registers.devices) {
        device.battery.Charge(real * m_settings->timeFactor);
    }
    if (m_settings != m_applied) {
        ApplySettings(*m_settings);
    }
}

void Model::ApplySettings(const Settings& settings)
{
    ApplyDevices(settings);
    if (settings.nextImageId != 0 &&
        (m_applied == nullptr || settings.nextImageId != m_applied->nextImageId)) {
        m_store.SetNextId(settings.nextImageId);
    }
    m_applied = m_settings;
    if (settings.eventsSerial != m_eventsSerial) {
        m_eventsSerial = settings.eventsSerial;
        for (const std::uint32_t event : settings.events) {
            Post(0, event);
        }
    }
}

void Model::ApplyDevices(const Settings& settings)
{
    std::vector<std::uint32_t> present = settings.sensors;
    if (settings.baseUnit) {
        present.push_back(0);
    }
    for (const std::uint32_t number : present) {
        m_registers.devices[number].number = number;
    }
    for (auto& [number, device] : m_registers.devices) {
        device.present = std::ranges::find(present, number) != present.end();
        device.battery.externalPower = settings.externalPower;
        if (m_applied == nullptr || m_applied->battery != settings.battery) {
            device.battery.charge = settings.battery;
        }
        if (m_applied == nullptr || m_applied->inactivityTimeout != settings.inactivityTimeout) {
            device.inactivityTimeout =
                static_cast<std::uint32_t>(std::lround(settings.inactivityTimeout * 1000));
        }
        const auto fault = std::ranges::find(settings.deviceFaults, number, &DeviceFault::device);
        device.faultState = fault == settings.deviceFaults.end() ? 0 : fault->state;
        device.faultResult = fault == settings.deviceFaults.end() ? 0 : fault->result;
    }
    if (m_registers.phase == Phase::Idle || m_storing) {
        return;
    }
    const DeviceState& armed = m_registers.devices.at(m_armedDevice);
    if (!armed.present || !settings.baseUnit) {
        StopCapture(m_registers.phase == Phase::Reading ? ReadOutLost : Unplugged);
    } else if (armed.faultState != 0) {
        StopCapture(armed.faultResult);
    }
}

void Model::Run()
{
    Lock lock(m_mutex);
    while (!m_stop) {
        Step(lock);
        if (m_stop) {
            break;
        }
        double wait = LongestWait;
        if (m_registers.phase != Phase::Idle) {
            wait = std::min(wait, SecondsLeft());
        }
        for (const LateEvent& event : m_lateEvents) {
            wait = std::min(wait, (event.due - m_time) / m_settings->timeFactor);
        }
        if (m_settings->storm > 0) {
            wait = std::min(wait, 0.0002);
        }
        m_wake.wait_for(lock, std::chrono::duration<double>(std::max(wait, 0.0002)));
    }
    if (m_registers.phase == Phase::Reading && !m_capture.isMade) {
        ReadOut(lock);
    }
    if (m_registers.phase == Phase::Reading) {
        Store(lock);
    }
}

void Model::Step(Lock& lock)
{
    Refresh();
    for (const std::uint32_t event : m_storm.TakeDue(*m_settings)) {
        Post(event == EventImageReady ? NoImage : 0, event);
    }
    std::erase_if(m_lateEvents, [&](const LateEvent& late) {
        if (late.due > m_time) {
            return false;
        }
        Post(late.image, late.event);
        return true;
    });
    switch (m_registers.phase) {
    case Phase::Idle:
        break;
    case Phase::Arming:
        if (m_time >= m_deadline) {
            Arm();
        }
        break;
    case Phase::Armed:
        if (m_time >= m_deadline) {
            Expose();
        } else if (m_time >= m_timeout) {
            StopCapture(TimedOut);
        }
        break;
    case Phase::Reading:
        if (!m_capture.isMade) {
            ReadOut(lock);
        }
        if (m_registers.phase == Phase::Reading && m_time >= m_deadline) {
            Store(lock);
        }
    }
}

void Model::Arm()
{
    const std::string program = NextProgram().first;
    if (program != m_program) {
        Post(0, EventNewSeries);
    }
    m_program = program;
    m_registers.phase = Phase::Armed;
    m_deadline = m_time + m_settings->exposureDelay;
    const std::uint32_t timeout = m_registers.devices.at(m_armedDevice).inactivityTimeout;
    m_timeout = timeout == 0 ? Settings::Never : m_time + timeout / 1000.0;
    Post(0, EventArmed);
}

void Model::Expose()
{
    DeviceState& device = m_registers.devices.at(m_armedDevice);
    m_capture = {};
    m_capture.device = device;
    m_capture.userId = m_userId;
    std::tie(m_capture.program, m_capture.programCode) = NextProgram();
    m_capture.filterChain = m_registers.filterChain;
    m_capture.rawFolder = m_registers.rawFolder;
    m_capture.testImage = m_registers.testImageMode;
    m_capture.gainCheck = m_registers.gainCheck;
    if (device.battery.Expose(m_settings->batteryPerExposure)) {
        m_capture.warnings.push_back(BatteryLow);
    }
    m_registers.phase = Phase::Reading;
    m_deadline = m_time + m_settings->exposureTime + m_settings->readoutTime;
    Post(0, EventExposure);
    Post(0, EventPreviewEnds);
}

// Makes the image without the lock, so that calls are served meanwhile.
void Model::ReadOut(Lock& lock)
{
    Capture capture = m_capture;
    const std::shared_ptr<const Settings> settings = m_settings;
    lock.unlock();
    std::uint32_t failure = 0;
    try {
        capture.imageId = m_store.TakeId();
        m_imageMaker.Make(capture, *settings);
    } catch (const std::exception& error) {
        Warn(error.what());
        failure = NotStored;
    }
    lock.lock();
    Refresh();
    if (m_registers.phase != Phase::Reading) {
        return;
    }
    m_capture = std::move(capture);
    m_capture.isMade = true;
    if (failure != 0) {
        StopCapture(failure);
    }
}

void Model::Store(Lock& lock)
{
    const StoredImage image = std::move(m_capture.image);
    m_storing = true;
    lock.unlock();
    std::uint32_t failure = 0;
    try {
        m_store.Add(image);
    } catch (const std::exception& error) {
        Warn(error.what());
        failure = NotStored;
    }
    lock.lock();
    m_storing = false;
    m_registers.phase = Phase::Idle;
    if (failure == 0) {
        FaultRule rule;
        m_settingsFile.TakeRule(ImageReadyRule, rule);
        // The script first, so that its step is done when the event is seen.
        m_settingsFile.Advance(m_time, ++m_imagesTaken);
        PostImageReady(image.imageId, rule);
    }
    Post(0, EventCaptureDone);
    for (const std::uint32_t warning : m_capture.warnings) {
        Post(0, warning);
    }
    if (failure != 0) {
        Post(0, failure);
    }
    Refresh();
}

void Model::StopCapture(std::uint32_t result)
{
    if (m_registers.phase != Phase::Reading) {
        Post(0, EventPreviewEnds);
    }
    m_registers.phase = Phase::Idle;
    Post(0, EventCaptureDisabled);
    Post(0, result);
}

void Model::PostImageReady(std::uint32_t imageId, const FaultRule& rule)
{
    if (rule.never) {
        return;
    }
    const std::uint32_t image = rule.missing ? imageId + 1000 : imageId;
    for (int times = rule.twice ? 2 : 1; times > 0; --times) {
        if (rule.lateSeconds > 0) {
            m_lateEvents.push_back({m_time + rule.lateSeconds, image, EventImageReady});
        } else {
            Post(image, EventImageReady);
        }
    }
}

void Model::Post(std::uint32_t image, std::uint32_t event)
{
    m_sink(image, event);
}

const DeviceState* Model::UsableSensor(std::uint32_t device) const
{
    for (const auto& [number, state] : m_registers.devices) {
        if (state.IsSensor() && state.present && state.faultState == 0 &&
            (device == 0 || device == number)) {
            return &state;
        }
    }
    return nullptr;
}

std::pair<std::string, std::uint32_t> Model::NextProgram() const
{
    const auto index = static_cast<std::uint32_t>(m_imagesTaken / m_settings->seriesLength %
                                                  m_settings->programs.size());
    return {m_settings->programs[index], index + 1};
}

double Model::SecondsLeft() const
{
    const double ends =
        m_registers.phase == Phase::Armed ? std::min(m_deadline, m_timeout) : m_deadline;
    return std::max(ends - m_time, 0.0) / m_settings->timeFactor;
}

} // namespace tarn
