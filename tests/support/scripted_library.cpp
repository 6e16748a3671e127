// The scripted library: exports that log the call, follow the script and answer from the tables.
#include "support/scripted_library.h"

#include <algorithm>
#include <concepts>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::uint32_t NoSuchParameter = ResultError | 1;
constexpr std::uint32_t NoSuchImage = ResultError | 2;
constexpr std::uintptr_t PreviewHandle = 77;

constexpr std::uint32_t TypeOfAlternative[] = {TarnTypeInteger, TarnTypeFlag, TarnTypeText,
                                               TarnTypeBlock};

ScriptedLibrary* current = nullptr;

std::string Formatted(const char* format, std::uint32_t number)
{
    char text[32];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

// An argument as the call log shows it; empty for what it leaves out.
std::string Word(std::integral auto number)
{
    return std::to_string(number);
}

std::string Word(const char* text)
{
    return text != nullptr ? '"' + std::string(text) + '"' : "null";
}

std::string Word(const TarnValue* value)
{
    std::string words;
    switch (TypeOf(*value)) {
    case TarnTypeInteger:
        return "int " + std::to_string(value->value);
    case TarnTypeFlag:
        return "flag " + std::to_string(static_cast<std::int32_t>(value->value));
    case TarnTypeText:
        return "text " + Word(reinterpret_cast<const char*>(value->value));
    case TarnTypeBlock:
        words = "block";
        for (std::uintptr_t i = 0; i < value->value; ++i) {
            words += Formatted(" %02X", static_cast<const std::uint8_t*>(value->pointer)[i]);
        }
        return words;
    default:
        return "of no type";
    }
}

std::string Word(auto*)
{
    return "";
}

} // namespace

struct ScriptedExports
{
    template <Export Which, typename... Arguments>
    static std::uint32_t TARN_CALL Call(Arguments... arguments)
    {
        auto script = current->Begin(Which, {Word(arguments)...});
        if (!script.fails) {
            Work(script, arguments...);
        }
        return script.result;
    }

    static void TARN_CALL FreeObject(void* object)
    {
        current->Begin(Export::FreeObject, {object != nullptr ? "" : "null"});
        current->wrongFrees += current->m_objects.Free(object) ? 0 : 1;
    }

private:
    using Script = ScriptedLibrary::Script;

    // What an export with these arguments does; it may set the result. Most do nothing.
    template <typename... Arguments>
    static void Work(const Script&, Arguments...)
    {
    }

    static void Work(Script& script, std::uint32_t number, TarnValue** out)
    {
        Read(script, number, current->libraryParams, number, out);
    }

    static void Work(Script& script, std::uint32_t device, std::uint32_t number, TarnValue** out)
    {
        Read(script, number, current->deviceParams, std::pair(device, number), out);
    }

    template <typename Table>
    static void Read(Script& script, std::uint32_t number, const Table& table,
                     const typename Table::key_type& key, TarnValue** out)
    {
        const auto found = table.find(key);
        if (found == table.end()) {
            script.result = NoSuchParameter;
            return;
        }
        const ScriptedLibrary::Parameter& parameter = found->second;
        tarn::Value value{TypeOfAlternative[parameter.index()], 0, {}, number};
        if (const auto* integer = std::get_if<std::uint32_t>(&parameter)) {
            value.number = *integer;
        } else if (const auto* flag = std::get_if<std::int32_t>(&parameter)) {
            value.number = static_cast<std::uint32_t>(*flag);
        } else if (const auto* text = std::get_if<std::string>(&parameter)) {
            value.bytes = *text;
        } else if (const auto* block = std::get_if<ScriptedLibrary::Block>(&parameter)) {
            value.bytes.assign(block->begin(), block->end());
        }
        *out = current->m_objects.Give(value, script.rule);
    }

    static void Work(Script&, std::uint32_t number, const TarnValue* value)
    {
        if (value->tag >> 16 != number) {
            current->calls.back() += ", of another parameter";
        }
    }

    static void Work(Script& script, std::uint32_t, std::uint32_t number, const TarnValue* value)
    {
        Work(script, number, value);
    }

    static void Work(Script& script, const char*, std::uint32_t number, TarnImageRecord** out)
    {
        const auto found = std::ranges::find_if(current->images, [number](const auto& image) {
            return number == 0 || image.number == number;
        });
        if (found == current->images.end()) {
            script.result = NoSuchImage;
            return;
        }
        ScriptedImage image = *found;
        if (script.rule.noEntries) {
            image.pixels = {};
        }
        *out = current->m_objects.Give(image, script.rule);
        if (current->onImage && script.result == 0) {
            current->onImage(**out);
        }
    }

    static void Work(Script&, const char*, std::uint32_t imageId)
    {
        std::erase_if(current->images,
                      [imageId](const auto& image) { return image.imageId == imageId; });
    }

    static void Work(Script&, std::uint32_t* imageCount)
    {
        *imageCount = static_cast<std::uint32_t>(current->images.size());
    }

    static void Work(Script& script, DeviceList** out)
    {
        std::vector<tarn::Device> devices;
        for (const auto& [number, state, name, description] : current->devices) {
            devices.push_back({number, state, name, description});
        }
        *out = current->m_objects.Give(devices, script.rule);
    }

    // A description that fills the capacity is not terminated.
    static void Work(Script& script, std::uint32_t result, char* text, std::uint32_t capacity)
    {
        const auto found = current->descriptions.find(result);
        const std::string description =
            found != current->descriptions.end() ? found->second : Formatted("Result 0x%X", result);
        std::memcpy(text, description.c_str(),
                    std::min<std::size_t>(description.size() + 1, capacity));
        script.result = result;
    }

    static void Work(Script&, HWND, std::uint32_t, const RECT*, std::uint32_t,
                     std::uintptr_t* handle)
    {
        *handle = PreviewHandle;
    }
};

ScriptedLibrary::ScriptedLibrary()
    : exports{
          .open = ScriptedExports::Call<Export::Open>,
          .close = ScriptedExports::Call<Export::Close>,
          .setNotifyWindow = ScriptedExports::Call<Export::SetNotifyWindow>,
          .clearNotifyWindow = ScriptedExports::Call<Export::ClearNotifyWindow>,
          .enableCapture = ScriptedExports::Call<Export::EnableCapture>,
          .disableCapture = ScriptedExports::Call<Export::DisableCapture>,
          .getLibraryParam = ScriptedExports::Call<Export::GetLibraryParam>,
          .setLibraryParam = ScriptedExports::Call<Export::SetLibraryParam>,
          .getImage = ScriptedExports::Call<Export::GetImage>,
          .removeImage = ScriptedExports::Call<Export::RemoveImage>,
          .getImageCount = ScriptedExports::Call<Export::GetImageCount>,
          .getDeviceList = ScriptedExports::Call<Export::GetDeviceList>,
          .getDeviceParam = ScriptedExports::Call<Export::GetDeviceParam>,
          .setDeviceParam = ScriptedExports::Call<Export::SetDeviceParam>,
          .describeResult = ScriptedExports::Call<Export::DescribeResult>,
          .freeObject = ScriptedExports::FreeObject,
          .quilletOpen = ScriptedExports::Call<Export::QuilletOpen>,
          .quilletClose = ScriptedExports::Call<Export::QuilletClose>,
          .quilletShow = ScriptedExports::Call<Export::QuilletShow>,
      }
{
    current = this;
    UseLibraryExports(&exports);
}

ScriptedLibrary::~ScriptedLibrary()
{
    UseLibraryExports(nullptr);
    current = nullptr;
}

void ScriptedLibrary::Fail(Export which, std::uint32_t result, unsigned callCount)
{
    m_scripts[which] = {result, {}, callCount, true};
}

void ScriptedLibrary::Break(Export which, const tarn::FaultRule& rule, unsigned callCount,
                            std::uint32_t result)
{
    m_scripts[which] = {result, rule, callCount, false};
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
