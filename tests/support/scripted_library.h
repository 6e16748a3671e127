// A capture and preview library for tests: it answers from tables, can be made to fail, logs every
// call and counts the objects it handed out.
#pragma once

#include "device/libraries.h"
#include "simulator/tarn/objects.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

struct ScriptedDevice
{
    std::uint32_t number = 0;
    std::uint32_t state = StateStandBy;
    std::string name = "Sensor";
    std::string description = "Scripted sensor";
};

// An image in the store; a null pointer for pixels when there are none. The number asked for is its
// own, or 0 for the first of the store.
struct ScriptedImage : tarn::StoredImage
{
    ScriptedImage() : StoredImage{2, 2, 2, 12, 1, 0, std::vector<std::uint8_t>(8), {}, {}} {}

    std::uint32_t number = 1;
};

// Replaces the loaded libraries while it exists. One at a time.
class ScriptedLibrary
{
public:
    using Block = std::vector<std::uint8_t>;
    // The alternatives are the types integer, flag, text and block.
    using Parameter = std::variant<std::uint32_t, std::int32_t, std::string, Block>;

    static constexpr unsigned Always = ~0u;

    ScriptedLibrary();
    ~ScriptedLibrary();
    ScriptedLibrary(const ScriptedLibrary&) = delete;
    ScriptedLibrary& operator=(const ScriptedLibrary&) = delete;

    LibraryExports exports; // set a member to null to let the library lack it

    std::vector<ScriptedDevice> devices;
    std::vector<ScriptedImage> images; // the store; TarnRemoveImage takes images out
    std::map<std::uint32_t, std::string> descriptions; // "Result 0x..." where missing
    // What reads give. Writes are logged only.
    std::map<std::uint32_t, Parameter> libraryParams;
    std::map<std::pair<std::uint32_t, std::uint32_t>, Parameter> deviceParams; // {device, number}

    void SetDeviceInt(std::uint32_t device, std::uint32_t parameter, std::uint32_t value)
    {
        deviceParams[{device, parameter}] = value;
    }

    // The export's next calls return the result, or 0, and do nothing else; a read gives no object.
    void Fail(Export which, std::uint32_t result, unsigned callCount = 1);
    // The export's next calls hand out objects that lack what the rule says; the result is result.
    // An image without entries keeps its size and has no pixels.
    void Break(Export which, const tarn::FaultRule& rule, unsigned callCount = 1,
               std::uint32_t result = 0);

    // Runs before the call does its work: sends events, changes the tables, waits.
    std::function<void(Export)> onCall;
    // Sees each image that TarnGetImage is about to hand out with the result 0.
    std::function<void(const TarnImageRecord&)> onImage;

    // Every call in order: the operation's name and its arguments, texts in quotes, windows, areas
    // and places of results left out: TarnEnableCapture 0 "My ID" 0; TarnSetDeviceParam 1 10 block
    // 01 00 0C 00.
    std::vector<std::string> calls;
    // Those that begin with one of the prefixes.
    std::vector<std::string> CallsOf(std::initializer_list<const char*> prefixes) const;

    std::size_t Outstanding() const { return m_objects.Outstanding(); } // handed out, not freed
    unsigned wrongFrees = 0; // of addresses that were not outstanding

private:
    friend struct ScriptedExports;

    struct Script
    {
        std::uint32_t result = 0;
        tarn::FaultRule rule = {};
        unsigned calls = 0;
        bool fails = false;
    };

    // Logs the call, runs onCall and takes the export's script for it.
    Script Begin(Export which, std::initializer_list<std::string> arguments);

    std::map<Export, Script> m_scripts;
    tarn::ObjectLedger m_objects;
};
