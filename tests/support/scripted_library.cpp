// The scripted library: exports that log the call, follow the script and answer from the tables.
#include "support/scripted_library.h"

#include <algorithm>
#include <concepts>
#include <cstdio>
#include <cstring>

namespace {

ScriptedLibrary* current = nullptr;

constexpr std::uint32_t TypeOfAlternative[] = {TarnTypeInteger, TarnTypeFlag, TarnTypeText,
                                               TarnTypeBlock};

std::string Formatted(const char* format, std::uint32_t number)
{
    char text[32];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

// An argument as the call log shows it; empty for what it leaves out.
std::string Word(const char* text)
{
    return text != nullptr ? '"' + std::string(text) + '"' : "null";
}

std::string Word(std::integral auto number)
{
    return std::to_string(number);
}

std::string Word(HWND)
{
    return "";
}

std::string Word(const TarnValue& value)
{
    const std::uint32_t type = TypeOf(value);
    if (type == TarnTypeInteger) {
        return "int " + std::to_string(value.value);
    }
    if (type == TarnTypeFlag) {
        return "flag " + std::to_string(static_cast<std::int32_t>(value.value));
    }
    if (type == TarnTypeText) {
        return "text " + Word(reinterpret_cast<const char*>(value.value));
    }
    std::string words = type == TarnTypeBlock ? "block" : "type " + std::to_string(type);
    for (std::uintptr_t i = 0; type == TarnTypeBlock && i < value.value; ++i) {
        words += Formatted(" %02X", static_cast<const std::uint8_t*>(value.pointer)[i]);
    }
    return words;
}

ScriptedLibrary::Parameter ParameterOf(const TarnValue& value)
{
    const auto* bytes = static_cast<const std::uint8_t*>(value.pointer);
    switch (TypeOf(value)) {
    case TarnTypeFlag:
        return static_cast<std::int32_t>(value.value);
    case TarnTypeText:
        return std::string(TextOrEmpty(reinterpret_cast<const char*>(value.value)));
    case TarnTypeBlock:
        return ScriptedLibrary::Block(bytes, bytes + value.value);
    default:
        return static_cast<std::uint32_t>(value.value);
    }
}

template <typename Table, typename Key>
const ScriptedLibrary::Parameter* Find(const Table& table, const Key& key)
{
    const auto found = table.find(key);
    return found == table.end() ? nullptr : &found->second;
}

} // namespace

struct ScriptedExports
{
    // An export that does nothing but return the scripted result.
    template <Export Which, typename... Arguments>
    static std::uint32_t Plain(Arguments... arguments)
    {
        return current->Begin(Which, {Word(arguments)...}).result;
    }

    static std::uint32_t GetLibraryParam(std::uint32_t number, TarnValue** out)
    {
        const auto script = current->Begin(Export::GetLibraryParam, {Word(number)});
        return current->Read(script, number, Find(current->libraryParams, number), out);
    }

    static std::uint32_t SetLibraryParam(std::uint32_t number, const TarnValue* value)
    {
        const auto script =
            current->Begin(Export::SetLibraryParam, {Word(value->tag >> 16), Word(*value)});
        if (!script.fails) {
            current->libraryParams[number] = ParameterOf(*value);
        }
        return script.result;
    }

    static std::uint32_t GetDeviceParam(std::uint32_t device, std::uint32_t number, TarnValue** out)
    {
        const auto script = current->Begin(Export::GetDeviceParam, {Word(device), Word(number)});
        const auto* parameter = Find(current->deviceParams, std::pair(device, number));
        return current->Read(script, number, parameter, out);
    }

    static std::uint32_t SetDeviceParam(std::uint32_t device, std::uint32_t number,
                                        const TarnValue* value)
    {
        const auto script = current->Begin(Export::SetDeviceParam,
                                           {Word(device), Word(value->tag >> 16), Word(*value)});
        if (!script.fails) {
            current->deviceParams[{device, number}] = ParameterOf(*value);
        }
        return script.result;
    }

    static std::uint32_t GetImage(const char* userId, std::uint32_t number, TarnImageRecord** out)
    {
        struct Holder
        {
            ScriptedImage image;
            TarnImageRecord record;
        };
        const auto script = current->Begin(Export::GetImage, {Word(userId), Word(number)});
        if (script.fails || script.fault == Fault::NullObject) {
            return script.result;
        }
        const auto found = std::ranges::find_if(current->images, [number](const auto& image) {
            return number == 0 || image.number == number;
        });
        if (found == current->images.end()) {
            return ScriptedLibrary::NoSuchImage;
        }
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
        if (current->onImage && script.result == 0) {
            current->onImage(holder->record);
        }
        *out = current->HandOut(holder, holder->record);
        return script.result;
    }

    static std::uint32_t RemoveImage(const char* userId, std::uint32_t imageId)
    {
        const auto script = current->Begin(Export::RemoveImage, {Word(userId), Word(imageId)});
        if (!script.fails) {
            std::erase_if(current->images,
                          [imageId](const auto& image) { return image.imageId == imageId; });
        }
        return script.result;
    }

    static std::uint32_t GetImageCount(std::uint32_t* count)
    {
        const auto script = current->Begin(Export::GetImageCount, {});
        if (!script.fails) {
            *count = static_cast<std::uint32_t>(current->images.size());
        }
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
        if (script.fails || script.fault == Fault::NullObject) {
            return script.result;
        }
        const auto holder = std::make_shared<Holder>(Holder{current->devices, {}, {}});
        const bool texts = script.fault != Fault::NullTexts;
        for (const auto& device : holder->devices) {
            holder->entries.push_back({device.number, device.state,
                                       texts ? device.name.c_str() : nullptr,
                                       texts ? device.description.c_str() : nullptr});
        }
        holder->list.count = static_cast<std::uint32_t>(holder->entries.size());
        holder->list.entries =
            script.fault == Fault::NullEntries ? nullptr : holder->entries.data();
        *out = current->HandOut(holder, holder->list);
        return script.result;
    }

    // A description that fills the capacity is not terminated.
    static std::uint32_t DescribeResult(std::uint32_t result, char* text, std::uint32_t capacity)
    {
        const auto script =
            current->Begin(Export::DescribeResult, {Formatted("0x%X", result), Word(capacity)});
        if (script.fails) {
            return script.result;
        }
        const auto found = current->descriptions.find(result);
        const std::string description =
            found != current->descriptions.end() ? found->second : Formatted("Result 0x%X", result);
        std::memcpy(text, description.c_str(),
                    std::min<std::size_t>(description.size() + 1, capacity));
        return result;
    }

    static void FreeObject(void* object)
    {
        current->Begin(Export::FreeObject, {object != nullptr ? "" : "null"});
        if (object != nullptr && current->m_objects.erase(object) == 0) {
            ++current->wrongFrees;
        }
    }

    static std::uint32_t QuilletOpen(HWND, std::uint32_t, const RECT* area, std::uint32_t,
                                     std::uintptr_t* handle)
    {
        const auto script =
            current->Begin(Export::QuilletOpen, {Word(area->left), Word(area->top),
                                                 Word(area->right), Word(area->bottom)});
        if (!script.fails) {
            *handle = ScriptedLibrary::PreviewHandle;
        }
        return script.result;
    }
};

ScriptedLibrary::ScriptedLibrary()
    : exports{
          .open = ScriptedExports::Plain<Export::Open>,
          .close = ScriptedExports::Plain<Export::Close>,
          .setNotifyWindow = ScriptedExports::Plain<Export::SetNotifyWindow>,
          .clearNotifyWindow = ScriptedExports::Plain<Export::ClearNotifyWindow>,
          .enableCapture = ScriptedExports::Plain<Export::EnableCapture>,
          .disableCapture = ScriptedExports::Plain<Export::DisableCapture>,
          .getLibraryParam = ScriptedExports::GetLibraryParam,
          .setLibraryParam = ScriptedExports::SetLibraryParam,
          .getImage = ScriptedExports::GetImage,
          .removeImage = ScriptedExports::RemoveImage,
          .getImageCount = ScriptedExports::GetImageCount,
          .getDeviceList = ScriptedExports::GetDeviceList,
          .getDeviceParam = ScriptedExports::GetDeviceParam,
          .setDeviceParam = ScriptedExports::SetDeviceParam,
          .describeResult = ScriptedExports::DescribeResult,
          .freeObject = ScriptedExports::FreeObject,
          .quilletOpen = ScriptedExports::QuilletOpen,
          .quilletClose = ScriptedExports::Plain<Export::QuilletClose>,
          .quilletShow = ScriptedExports::Plain<Export::QuilletShow>,
      },
      m_formerExports(UseLibraryExports(&exports)), m_former(std::exchange(current, this))
{
}

ScriptedLibrary::~ScriptedLibrary()
{
    UseLibraryExports(m_formerExports);
    current = m_former;
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
    for (const std::string& call : calls) {
        if (std::ranges::any_of(prefixes, [&](const char* p) { return call.starts_with(p); })) {
            found.push_back(call);
        }
    }
    return found;
}

ScriptedLibrary::Script ScriptedLibrary::Begin(Export which,
                                               std::initializer_list<std::string> arguments)
{
    std::string line = NameOf(which);
    for (const std::string& argument : arguments) {
        line += (argument.empty() ? "" : " ") + argument;
    }
    calls.push_back(line);
    if (onCall) {
        onCall(which);
    }
    Script& script = m_scripts[which];
    if (script.calls == 0) {
        return {};
    }
    if (script.calls != Always) {
        --script.calls;
    }
    return script;
}

std::uint32_t ScriptedLibrary::Read(const Script& script, std::uint32_t number,
                                    const Parameter* parameter, TarnValue** out)
{
    struct Holder
    {
        Parameter parameter;
        TarnValue value;
    };
    if (script.fails || script.fault == Fault::NullObject) {
        return script.result;
    }
    if (parameter == nullptr) {
        return NoSuchParameter;
    }
    const auto holder = std::make_shared<Holder>(Holder{*parameter, {}});
    TarnValue& value = holder->value;
    value.tag = TagOf(
        number, script.fault == Fault::WrongType ? 99 : TypeOfAlternative[parameter->index()]);
    const bool pointers = script.fault != Fault::NullTexts;
    if (const auto* integer = std::get_if<std::uint32_t>(parameter)) {
        value.value = *integer;
    }
    if (const auto* flag = std::get_if<std::int32_t>(parameter)) {
        value.value = static_cast<std::uint32_t>(*flag);
    }
    if (const auto* text = std::get_if<std::string>(&holder->parameter)) {
        value.value = pointers ? reinterpret_cast<std::uintptr_t>(text->c_str()) : 0;
    }
    if (const auto* block = std::get_if<Block>(&holder->parameter)) {
        value.value = block->size();
        value.pointer = pointers ? block->data() : nullptr;
    }
    *out = HandOut(holder, value);
    return script.result;
}
