// The scripted library: exports that note the call, follow the script and answer from the tables.
#include "support/scripted_library.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

ScriptedLibrary* current = nullptr;

constexpr const char* operationNames[] = {
    "TarnOpen",           "TarnClose",          "TarnSetNotifyWindow", "TarnClearNotifyWindow",
    "TarnEnableCapture",  "TarnDisableCapture", "TarnGetLibraryParam", "TarnSetLibraryParam",
    "TarnGetImage",       "TarnRemoveImage",    "TarnGetImageCount",   "TarnGetDeviceList",
    "TarnGetDeviceParam", "TarnSetDeviceParam", "TarnDescribeResult",  "TarnFreeObject",
    "QuilletOpen",        "QuilletClose",       "QuilletShow",
};
static_assert(std::size(operationNames) == static_cast<std::size_t>(Export::Count));

constexpr std::uint32_t typeOfAlternative[] = {TarnTypeInteger, TarnTypeFlag, TarnTypeText,
                                               TarnTypeBlock};

std::string Quoted(const char* text)
{
    return text ? '"' + std::string(text) + '"' : "null";
}

std::string Joined(std::initializer_list<std::string> words)
{
    std::string line;
    for (const std::string& word : words)
        line += ' ' + word;
    return line;
}

std::string Number(std::uint64_t number)
{
    return std::to_string(number);
}

std::string Hexadecimal(std::uint32_t number)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", number);
    return text;
}

// What a write passes, and the value to keep for the reads that follow.
struct Written
{
    std::string words;
    ScriptedLibrary::Parameter parameter;
};

Written Take(const TarnValue& value)
{
    switch (value.tag & 0xFFFF) {
    case TarnTypeInteger:
        return {"int " + Number(value.value), static_cast<std::uint32_t>(value.value)};
    case TarnTypeFlag:
        return {"flag " + std::to_string(static_cast<std::int32_t>(value.value)),
                static_cast<std::int32_t>(value.value)};
    case TarnTypeText: {
        const char* text = reinterpret_cast<const char*>(value.value);
        return {"text " + Quoted(text), std::string(text ? text : "")};
    }
    case TarnTypeBlock: {
        const auto* bytes = static_cast<const std::uint8_t*>(value.pointer);
        const ScriptedLibrary::Block block(bytes, bytes + value.value);
        std::string words = "block";
        for (std::uint8_t byte : block) {
            char text[4];
            std::snprintf(text, sizeof text, " %02X", byte);
            words += text;
        }
        return {words, block};
    }
    default:
        return {"type " + Number(value.tag & 0xFFFF), 0u};
    }
}

} // namespace

struct ScriptedExports
{
    static std::uint32_t Plain(Export which, const std::string& arguments = {})
    {
        return current->Begin(which, arguments).result;
    }

    static std::uint32_t Open(HWND, const char* name)
    {
        return Plain(Export::Open, Joined({Quoted(name)}));
    }

    static std::uint32_t Close() { return Plain(Export::Close); }

    static std::uint32_t SetNotifyWindow(HWND, std::uint32_t message)
    {
        return Plain(Export::SetNotifyWindow, Joined({Hexadecimal(message)}));
    }

    static std::uint32_t ClearNotifyWindow(HWND) { return Plain(Export::ClearNotifyWindow); }

    static std::uint32_t EnableCapture(std::uint32_t device, const char* userId, std::uint32_t zero)
    {
        return Plain(Export::EnableCapture, Joined({Number(device), Quoted(userId), Number(zero)}));
    }

    static std::uint32_t DisableCapture(std::uint32_t device, std::uint32_t abort)
    {
        return Plain(Export::DisableCapture, Joined({Number(device), Number(abort)}));
    }

    static std::uint32_t GetLibraryParam(std::uint32_t parameter, TarnValue** out)
    {
        const auto script = current->Begin(Export::GetLibraryParam, Joined({Number(parameter)}));
        const auto found = current->libraryParams.find(parameter);
        return current->Read(script, parameter,
                             found == current->libraryParams.end() ? nullptr : &found->second, out);
    }

    static std::uint32_t SetLibraryParam(std::uint32_t parameter, const TarnValue* value)
    {
        const Written written = Take(*value);
        const auto script = current->Begin(Export::SetLibraryParam,
                                           Joined({Number(value->tag >> 16), written.words}));
        if (!script.fails)
            current->libraryParams[parameter] = written.parameter;
        return script.result;
    }

    static std::uint32_t GetDeviceParam(std::uint32_t device, std::uint32_t parameter,
                                        TarnValue** out)
    {
        const auto script =
            current->Begin(Export::GetDeviceParam, Joined({Number(device), Number(parameter)}));
        const auto found = current->deviceParams.find({device, parameter});
        return current->Read(script, parameter,
                             found == current->deviceParams.end() ? nullptr : &found->second, out);
    }

    static std::uint32_t SetDeviceParam(std::uint32_t device, std::uint32_t parameter,
                                        const TarnValue* value)
    {
        const Written written = Take(*value);
        const auto script =
            current->Begin(Export::SetDeviceParam,
                           Joined({Number(device), Number(value->tag >> 16), written.words}));
        if (!script.fails)
            current->deviceParams[{device, parameter}] = written.parameter;
        return script.result;
    }

    static std::uint32_t GetImage(const char* userId, std::uint32_t number, TarnImageRecord** out)
    {
        struct Holder
        {
            ScriptedImage image;
            TarnImageRecord record;
        };
        const auto script =
            current->Begin(Export::GetImage, Joined({Quoted(userId), Number(number)}));
        *out = nullptr;
        if (script.fails || script.fault == Fault::NullObject)
            return script.result;
        const auto& images = current->images;
        const auto found = std::ranges::find_if(images, [number](const ScriptedImage& image) {
            return number == 0 || image.number == number;
        });
        if (found == images.end())
            return ScriptedLibrary::NoSuchImage;
        const auto holder = std::make_shared<Holder>(Holder{*found, {}});
        const ScriptedImage& image = holder->image;
        const bool texts = script.fault != Fault::NullTexts;
        const bool pixels = script.fault != Fault::NullEntries && !image.pixels.empty();
        holder->record = {image.width,
                          image.height,
                          image.pixelBytes,
                          image.bitsPerSample,
                          0,
                          image.imageId,
                          image.tag,
                          pixels ? image.pixels.data() : nullptr,
                          texts ? image.headerText.c_str() : nullptr,
                          texts ? image.userId.c_str() : nullptr};
        *out = static_cast<TarnImageRecord*>(current->HandOut(holder, &holder->record));
        return script.result;
    }

    static std::uint32_t RemoveImage(const char* userId, std::uint32_t imageId)
    {
        const auto script =
            current->Begin(Export::RemoveImage, Joined({Quoted(userId), Number(imageId)}));
        if (!script.fails)
            std::erase_if(current->images, [imageId](const ScriptedImage& image) {
                return image.imageId == imageId;
            });
        return script.result;
    }

    static std::uint32_t GetImageCount(std::uint32_t* count)
    {
        const auto script = current->Begin(Export::GetImageCount, {});
        if (!script.fails)
            *count = static_cast<std::uint32_t>(current->images.size());
        return script.result;
    }

    static std::uint32_t GetDeviceList(DeviceList** out)
    {
        struct Holder
        {
            std::vector<ScriptedDevice> devices;
            std::vector<DeviceListEntry> entries;
            DeviceList list;
        };
        const auto script = current->Begin(Export::GetDeviceList, {});
        *out = nullptr;
        if (script.fails || script.fault == Fault::NullObject)
            return script.result;
        const auto holder = std::make_shared<Holder>(Holder{current->devices, {}, {}});
        const bool texts = script.fault != Fault::NullTexts;
        for (const ScriptedDevice& device : holder->devices)
            holder->entries.push_back({device.number, device.state,
                                       texts ? device.name.c_str() : nullptr,
                                       texts ? device.description.c_str() : nullptr});
        holder->list = {static_cast<std::uint32_t>(holder->entries.size()), 0,
                        script.fault == Fault::NullEntries ? nullptr : holder->entries.data()};
        *out = static_cast<DeviceList*>(current->HandOut(holder, &holder->list));
        return script.result;
    }

    // A description that fills the capacity is not terminated.
    static std::uint32_t DescribeResult(std::uint32_t result, char* text, std::uint32_t capacity)
    {
        const auto script =
            current->Begin(Export::DescribeResult, Joined({Hexadecimal(result), Number(capacity)}));
        if (script.fails)
            return script.result;
        const auto found = current->descriptions.find(result);
        const std::string description = found == current->descriptions.end()
                                            ? "Description of " + Hexadecimal(result)
                                            : found->second;
        std::memcpy(text, description.c_str(),
                    std::min<std::size_t>(description.size() + 1, capacity));
        return result;
    }

    static void FreeObject(void* object)
    {
        current->Begin(Export::FreeObject, object ? "" : " null");
        if (object && current->m_objects.erase(object) == 0)
            ++current->wrongFrees;
    }

    static std::uint32_t QuilletOpen(HWND, std::uint32_t, const RECT* area, std::uint32_t,
                                     std::uintptr_t* handle)
    {
        const auto script =
            current->Begin(Export::QuilletOpen,
                           Joined({std::to_string(area->left), std::to_string(area->top),
                                   std::to_string(area->right), std::to_string(area->bottom)}));
        if (!script.fails)
            *handle = ScriptedLibrary::PreviewHandle;
        return script.result;
    }

    static std::uint32_t QuilletClose(std::uintptr_t handle)
    {
        return Plain(Export::QuilletClose, Joined({Number(handle)}));
    }

    static std::uint32_t QuilletShow(std::uintptr_t handle, std::uint32_t show)
    {
        return Plain(Export::QuilletShow, Joined({Number(handle), Number(show)}));
    }
};

ScriptedLibrary::ScriptedLibrary()
    : exports{ScriptedExports::Open,
              ScriptedExports::Close,
              ScriptedExports::SetNotifyWindow,
              ScriptedExports::ClearNotifyWindow,
              ScriptedExports::EnableCapture,
              ScriptedExports::DisableCapture,
              ScriptedExports::GetLibraryParam,
              ScriptedExports::SetLibraryParam,
              ScriptedExports::GetImage,
              ScriptedExports::RemoveImage,
              ScriptedExports::GetImageCount,
              ScriptedExports::GetDeviceList,
              ScriptedExports::GetDeviceParam,
              ScriptedExports::SetDeviceParam,
              ScriptedExports::DescribeResult,
              ScriptedExports::FreeObject,
              ScriptedExports::QuilletOpen,
              ScriptedExports::QuilletClose,
              ScriptedExports::QuilletShow},
      m_formerExports(UseLibraryExports(&exports)),
      m_former(current)
{
    current = this;
}

ScriptedLibrary::~ScriptedLibrary()
{
    UseLibraryExports(m_formerExports);
    current = m_former;
}

void ScriptedLibrary::SetDeviceInt(std::uint32_t device, std::uint32_t parameter,
                                   std::uint32_t value)
{
    deviceParams[{device, parameter}] = value;
}

void ScriptedLibrary::SetDeviceFlag(std::uint32_t device, std::uint32_t parameter,
                                    std::int32_t value)
{
    deviceParams[{device, parameter}] = value;
}

void ScriptedLibrary::SetDeviceText(std::uint32_t device, std::uint32_t parameter, std::string text)
{
    deviceParams[{device, parameter}] = std::move(text);
}

void ScriptedLibrary::SetDeviceBlock(std::uint32_t device, std::uint32_t parameter, Block bytes)
{
    deviceParams[{device, parameter}] = std::move(bytes);
}

void ScriptedLibrary::Fail(Export which, std::uint32_t result, unsigned callCount)
{
    m_scripts[which] = {result, Fault::None, callCount, true};
}

void ScriptedLibrary::Break(Export which, Fault fault, unsigned callCount, std::uint32_t result)
{
    m_scripts[which] = {result, fault, callCount, false};
}

std::vector<std::string> ScriptedLibrary::CallsOf(std::initializer_list<const char*> prefixes) const
{
    std::vector<std::string> found;
    for (const std::string& call : calls)
        if (std::ranges::any_of(prefixes, [&](const char* p) { return call.starts_with(p); }))
            found.push_back(call);
    return found;
}

ScriptedLibrary::Script ScriptedLibrary::Begin(Export which, const std::string& arguments)
{
    calls.push_back(operationNames[static_cast<int>(which)] + arguments);
    if (onCall)
        onCall(which);
    const auto found = m_scripts.find(which);
    if (found == m_scripts.end() || found->second.calls == 0)
        return {};
    if (found->second.calls != Always)
        --found->second.calls;
    return found->second;
}

void* ScriptedLibrary::HandOut(std::shared_ptr<void> holder, void* object)
{
    m_objects[object] = std::move(holder);
    return object;
}

std::uint32_t ScriptedLibrary::Read(const Script& script, std::uint32_t number,
                                    const Parameter* parameter, TarnValue** out)
{
    *out = nullptr;
    if (script.fails || script.fault == Fault::NullObject)
        return script.result;
    if (!parameter)
        return NoSuchParameter;
    *out = HandOutValue(number, *parameter, script.fault);
    return script.result;
}

TarnValue* ScriptedLibrary::HandOutValue(std::uint32_t number, const Parameter& parameter,
                                         Fault fault)
{
    struct Holder
    {
        Parameter parameter;
        TarnValue value;
    };
    const auto holder = std::make_shared<Holder>(Holder{parameter, {}});
    TarnValue& value = holder->value;
    const std::uint32_t type =
        fault == Fault::WrongType ? 99 : typeOfAlternative[parameter.index()];
    value.tag = number << 16 | type;
    const bool pointers = fault != Fault::NullTexts;
    if (const auto* integer = std::get_if<std::uint32_t>(&holder->parameter))
        value.value = *integer;
    else if (const auto* flag = std::get_if<std::int32_t>(&holder->parameter))
        value.value = static_cast<std::uint32_t>(*flag);
    else if (const auto* text = std::get_if<std::string>(&holder->parameter))
        value.value = pointers ? reinterpret_cast<std::uintptr_t>(text->c_str()) : 0;
    else if (const auto* block = std::get_if<Block>(&holder->parameter)) {
        value.value = block->size();
        value.pointer = pointers ? block->data() : nullptr;
    }
    return static_cast<TarnValue*>(HandOut(holder, &value));
}
