// The numbered exports: each logs its call, applies its fault rule and calls the model.
#include "device/tarn_abi.h"
#include "platform/messages.h"
#include "simulator/tarn/faults.h"
#include "simulator/tarn/hand_switch.h"
#include "simulator/tarn/model.h"
#include "simulator/tarn/objects.h"
#include "simulator/tarn/result_codes.h"
#include "simulator/tarn/settings.h"
#include "simulator/tarn/system.h"
#include "simulator/tarn/trace.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>

namespace {

using namespace tarn;

// The state of the loaded library. It is destroyed when the library is unloaded or the process
// ends, and its thread with it.
class Library
{
public:
    ~Library() { ClearWindow(m_window); }

    std::uint32_t Open();
    std::uint32_t Close();
    void SetWindow(HWND window, UINT message);
    void ClearWindow(HWND window);

    // Null while the library is closed.
    std::shared_ptr<Model> OpenModel();
    // After a call of TarnOpen. A program may go on after a refusal: until TarnClose its calls
    // fail, but are no misuse.
    void NoteOpening(std::uint32_t result) { m_refused = result != 0; }
    void MisuseWhileClosed(const std::string& name);
    void Post(std::uint32_t image, std::uint32_t event);
    void Misuse(const std::string& what);

    SettingsFile settings{SettingsPath()};
    ObjectLedger ledger;
    Trace trace;

private:
    static std::string SettingsPath();

    std::mutex m_windowMutex;
    HWND m_window = nullptr;
    UINT m_message = 0;
    std::mutex m_mutex;
    std::atomic<bool> m_refused = false;
    std::shared_ptr<Model> m_model; // destroyed first, because its thread posts
};

Library& TheLibrary();
std::string Number(std::uint32_t number);
std::string Address(const void* pointer);
std::string Describe(const TarnValue* value);
Value ReadValue(const TarnValue& record);

// Runs one call: reads changed settings, applies the fault rule and logs. work(library, rule)
// returns the result; it is not called when the rule gives a result or no object.
template <class Work>
std::uint32_t Call(std::string_view name, const std::string& arguments, Work work)
{
    Library& library = TheLibrary();
    const std::shared_ptr<const Settings> settings = library.settings.Current();
    library.trace.SetFile(settings->traceFile.empty() ? "" : ResolvePath(settings->traceFile));
    FaultRule rule;
    library.settings.TakeRule(name, rule);
    if (rule.blockSeconds > 0) {
        std::this_thread::sleep_for(
            std::chrono::duration<double>(rule.blockSeconds / settings->timeFactor));
    }
    std::uint32_t result = rule.result;
    if (result == 0 && !rule.nullObject) {
        try {
            result = work(library, rule);
        } catch (const std::exception& failure) {
            Warn(std::string(name) + ": " + failure.what());
            result = InternalFailure;
        }
    }
    if (library.trace.IsOn()) {
        library.trace.Write(name, arguments + " -> " + Number(result));
    }
    return result;
}

// The same for the exports that need the library to be open.
template <class Work>
std::uint32_t CallModel(std::string_view name, const std::string& arguments, Work work)
{
    return Call(name, arguments, [&](Library& library, const FaultRule& rule) {
        const std::shared_ptr<Model> model = library.OpenModel();
        if (model == nullptr) {
            library.MisuseWhileClosed(std::string(name));
            return LibraryClosed;
        }
        return work(library, *model, rule);
    });
}

// The same for the exports that give an object. read(model, object) returns the result.
template <class Object, class Record, class Read>
std::uint32_t CallRead(Export which, const std::string& arguments, Record** out, Read read)
{
    if (out != nullptr) {
        *out = nullptr;
    }
    return CallModel(
        NameOf(which), arguments, [&](Library& library, Model& model, const FaultRule& rule) {
            Object object;
            const std::uint32_t result = out != nullptr ? read(model, object) : NullPointer;
            if (result == 0) {
                *out = library.ledger.Give(std::move(object), rule);
            }
            return result;
        });
}

} // namespace

std::uint32_t Tarn_1(HWND owner, const char* name)
{
    const std::uint32_t result =
        Call(NameOf(Export::Open), Address(owner) + " " + Quoted(name),
             [](Library& library, const FaultRule&) { return library.Open(); });
    TheLibrary().NoteOpening(result);
    return result;
}

std::uint32_t Tarn_2()
{
    return Call(NameOf(Export::Close), "",
                [](Library& library, const FaultRule&) { return library.Close(); });
}

std::uint32_t Tarn_3(HWND window, std::uint32_t message)
{
    return Call(NameOf(Export::SetNotifyWindow), Address(window) + " " + Number(message),
                [&](Library& library, const FaultRule&) {
                    library.SetWindow(window, message);
                    return 0u;
                });
}

std::uint32_t Tarn_4(HWND window)
{
    return Call(NameOf(Export::ClearNotifyWindow), Address(window),
                [&](Library& library, const FaultRule&) {
                    library.ClearWindow(window);
                    return 0u;
                });
}

std::uint32_t Tarn_5(std::uint32_t device, const char* userId, std::uint32_t zero)
{
    return CallModel(NameOf(Export::EnableCapture),
                     Number(device) + " " + Quoted(userId) + " " + Number(zero),
                     [&](Library&, Model& model, const FaultRule&) {
                         return model.Enable(device, userId == nullptr ? "" : userId);
                     });
}

std::uint32_t Tarn_6(std::uint32_t device, std::uint32_t abort)
{
    return CallModel(NameOf(Export::DisableCapture), Number(device) + " " + Number(abort),
                     [&](Library&, Model& model, const FaultRule&) {
                         return model.Disable(device, abort != 0);
                     });
}

std::uint32_t Tarn_7(std::uint32_t parameter, TarnValue** out)
{
    return CallRead<Value>(
        Export::GetLibraryParam, Number(parameter), out,
        [&](Model& model, Value& value) { return model.ReadLibrary(parameter, value); });
}

std::uint32_t Tarn_8(std::uint32_t parameter, const TarnValue* value)
{
    return CallModel(NameOf(Export::SetLibraryParam), Number(parameter) + " " + Describe(value),
                     [&](Library&, Model& model, const FaultRule&) {
                         return value == nullptr ? NullPointer
                                                 : model.WriteLibrary(parameter, ReadValue(*value));
                     });
}

std::uint32_t Tarn_20(const char* userId, std::uint32_t number, TarnImageRecord** out)
{
    return CallRead<StoredImage>(Export::GetImage, Quoted(userId) + " " + Number(number), out,
                                 [&](Model& model, StoredImage& image) {
                                     return model.GetImage(userId == nullptr ? "" : userId, number,
                                                           image);
                                 });
}

std::uint32_t Tarn_21(const char* userId, std::uint32_t imageId)
{
    return CallModel(NameOf(Export::RemoveImage), Quoted(userId) + " " + Number(imageId),
                     [&](Library&, Model& model, const FaultRule&) {
                         return model.RemoveImage(userId == nullptr ? "" : userId, imageId);
                     });
}

std::uint32_t Tarn_22(std::uint32_t* count)
{
    if (count != nullptr) {
        *count = 0;
    }
    return CallModel(NameOf(Export::GetImageCount), "",
                     [&](Library&, Model& model, const FaultRule&) {
                         if (count == nullptr) {
                             return NullPointer;
                         }
                         *count = model.GetImageCount();
                         return 0u;
                     });
}

std::uint32_t Tarn_30(DeviceList** out)
{
    return CallRead<std::vector<Device>>(Export::GetDeviceList, "", out,
                                         [](Model& model, std::vector<Device>& devices) {
                                             devices = model.Devices();
                                             return 0u;
                                         });
}

std::uint32_t Tarn_31(std::uint32_t device, std::uint32_t parameter, TarnValue** out)
{
    return CallRead<Value>(
        Export::GetDeviceParam, Number(device) + " " + Number(parameter), out,
        [&](Model& model, Value& value) { return model.ReadDevice(device, parameter, value); });
}

std::uint32_t Tarn_32(std::uint32_t device, std::uint32_t parameter, const TarnValue* value)
{
    return CallModel(NameOf(Export::SetDeviceParam),
                     Number(device) + " " + Number(parameter) + " " + Describe(value),
                     [&](Library&, Model& model, const FaultRule&) {
                         return value == nullptr
                                    ? NullPointer
                                    : model.WriteDevice(device, parameter, ReadValue(*value));
                     });
}

std::uint32_t Tarn_98(std::uint32_t result, char* text, std::uint32_t capacity)
{
    const std::uint32_t fault =
        Call(NameOf(Export::DescribeResult), Number(result) + " " + Number(capacity),
             [&](Library& library, const FaultRule& rule) {
                 if (text == nullptr || capacity == 0) {
                     return 0u;
                 }
                 const std::string& texts = library.settings.Current()->texts;
                 std::string description =
                     texts.empty() ? DescriptionOf(result) : HostileText(texts);
                 if (rule.nullTexts) {
                     description.clear();
                 }
                 const std::size_t length = std::min<std::size_t>(description.size(), capacity - 1);
                 std::memcpy(text, description.data(), length);
                 text[length] = 0;
                 return 0u;
             });
    return fault != 0 ? fault : result;
}

void Tarn_99(void* object)
{
    Call(NameOf(Export::FreeObject), Address(object),
         [](Library&, const FaultRule&) { return 0u; });
    Library& library = TheLibrary();
    if (!library.ledger.Free(object)) {
        library.Misuse("TarnFreeObject was given what the library did not hand out, or what is "
                       "freed already");
    }
}

std::uint32_t TarnSimulatorHandSwitch()
{
    return CallModel("HandSwitch", "",
                     [](Library&, Model& model, const FaultRule&) { return model.HandSwitch(); });
}

std::uint32_t TarnSimulatorArmedState(double* secondsLeft)
{
    double seconds = -1;
    const std::shared_ptr<Model> model = TheLibrary().OpenModel();
    const Phase phase = model == nullptr ? Phase::Idle : model->CurrentPhase(seconds);
    if (secondsLeft != nullptr) {
        *secondsLeft = seconds;
    }
    return static_cast<std::uint32_t>(phase);
}

std::uint32_t TarnSimulatorPreviewCall(Export which)
{
    return Call(NameOf(which), "", [](Library&, const FaultRule&) { return 0u; });
}

namespace {

std::uint32_t Library::Open()
{
    const std::lock_guard lock(m_mutex);
    if (m_model != nullptr) {
        return LibraryOpen;
    }
    settings.SetPath(SettingsPath());
    const std::string traceFile = settings.Current()->traceFile;
    trace.Reopen(traceFile.empty() ? "" : ResolvePath(traceFile));
    try {
        m_model = std::make_shared<Model>(
            settings, [this](std::uint32_t image, std::uint32_t event) { Post(image, event); });
    } catch (const std::runtime_error& failure) {
        Warn(failure.what());
        return StoreUnusable;
    }
    return 0;
}

std::uint32_t Library::Close()
{
    std::shared_ptr<Model> closing;
    {
        const std::lock_guard lock(m_mutex);
        closing.swap(m_model);
    }
    if (closing == nullptr) {
        MisuseWhileClosed(NameOf(Export::Close));
        m_refused = false;
        return LibraryClosed;
    }
    closing.reset();
    const std::string counts = std::to_string(ledger.Given()) + " objects handed out, " +
                               std::to_string(ledger.Outstanding()) + " not freed";
    Warn(counts);
    trace.Write("objects", counts);
    if (ledger.Outstanding() != 0) {
        Misuse("objects were not freed");
    }
    return 0;
}

void Library::SetWindow(HWND window, UINT message)
{
    const std::lock_guard lock(m_windowMutex);
    m_window = window;
    m_message = message;
}

void Library::ClearWindow(HWND window)
{
    const std::lock_guard lock(m_windowMutex);
    if (window == m_window) {
        m_window = nullptr;
    }
}

std::shared_ptr<Model> Library::OpenModel()
{
    const std::lock_guard lock(m_mutex);
    return m_model;
}

void Library::Post(std::uint32_t image, std::uint32_t event)
{
    static const auto PostInProgram =
        reinterpret_cast<decltype(&PostMessageA)>(FindInProgram("PostMessageA"));
    static const auto Post = PostInProgram != nullptr ? PostInProgram : &PostMessageA;
    const std::lock_guard lock(m_windowMutex);
    const bool posted =
        m_window != nullptr && Post(m_window, m_message, image, static_cast<LPARAM>(event)) != 0;
    if (trace.IsOn()) {
        trace.Write("event", Number(event) + " " + Number(image) + (posted ? "" : " lost"));
    }
}

void Library::MisuseWhileClosed(const std::string& name)
{
    if (!m_refused) {
        Misuse(name + " was called while the library is closed");
    }
}

void Library::Misuse(const std::string& what)
{
    Warn(what);
    trace.Write("misuse", what);
    if (settings.Current()->strict) {
        std::abort();
    }
}

std::string Library::SettingsPath()
{
    const std::string named = EnvironmentText("TARN_SIMULATOR");
    return named.empty() ? ResolvePath("Tarn.ini") : named;
}

Library& TheLibrary()
{
    static Library library;
    return library;
}

// Results, and other numbers above 16 bits, in hexadecimal.
std::string Number(std::uint32_t number)
{
    char text[16];
    std::snprintf(text, sizeof text, number > 0xFFFF ? "0x%X" : "%u",
                  static_cast<unsigned>(number));
    return text;
}

std::string Address(const void* pointer)
{
    char text[32];
    std::snprintf(text, sizeof text, "%p", pointer);
    return pointer == nullptr ? "null" : text;
}

std::string Describe(const TarnValue* value)
{
    if (value == nullptr) {
        return "null";
    }
    switch (TypeOf(*value)) {
    case TarnTypeText:
        return "text " + Quoted(reinterpret_cast<const char*>(value->value));
    case TarnTypeBlock: {
        std::string text = "block";
        for (std::size_t i = 0; value->pointer != nullptr && i < value->value && i < 64; ++i) {
            char byte[8];
            std::snprintf(
                byte, sizeof byte, " %02x",
                static_cast<unsigned>(static_cast<const std::uint8_t*>(value->pointer)[i]));
            text += byte;
        }
        return text;
    }
    default:
        return TypeOf(*value) == TarnTypeFlag
                   ? "flag " + Number(static_cast<std::uint32_t>(value->value))
                   : "integer " + Number(static_cast<std::uint32_t>(value->value));
    }
}

Value ReadValue(const TarnValue& record)
{
    Value value;
    value.type = TypeOf(record);
    if (value.type == TarnTypeText && record.value != 0) {
        value.bytes = reinterpret_cast<const char*>(record.value);
    } else if (value.type == TarnTypeBlock && record.pointer != nullptr) {
        value.bytes.assign(static_cast<const char*>(record.pointer), record.value);
    } else {
        value.number = static_cast<std::uint32_t>(record.value);
    }
    return value;
}

} // namespace
