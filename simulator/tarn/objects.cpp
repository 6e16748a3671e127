// Makes the records of the library's interface from the simulator's own values.
#include "simulator/tarn/objects.h"

namespace tarn {

struct ObjectLedger::ValueHolder : Holder
{
    Value value;
    TarnValue record{};
};

struct ObjectLedger::ImageHolder : Holder
{
    StoredImage image;
    TarnImageRecord record{};
};

struct ObjectLedger::ListHolder : Holder
{
    std::vector<Device> devices;
    std::vector<DeviceListEntry> entries;
    DeviceList record{};
};

TarnValue* ObjectLedger::Give(Value value, const FaultRule& rule)
{
    auto holder = std::make_unique<ValueHolder>();
    holder->value = std::move(value);
    const Value& held = holder->value;
    TarnValue& record = holder->record;
    record.tag = TagOf(held.parameter, held.type);
    switch (held.type) {
    case TarnTypeText:
        record.value = rule.nullTexts ? 0 : reinterpret_cast<std::uintptr_t>(held.bytes.c_str());
        break;
    case TarnTypeBlock:
        record.value = held.bytes.size();
        record.pointer = rule.nullTexts ? nullptr : held.bytes.data();
        break;
    default:
        record.value = held.number;
    }
    if (rule.wrongType) {
        record.tag =
            TagOf(held.parameter, held.type == TarnTypeInteger ? TarnTypeFlag : TarnTypeInteger);
    }
    Keep(&record, std::move(holder));
    return &record;
}

TarnImageRecord* ObjectLedger::Give(StoredImage image, const FaultRule& rule)
{
    auto holder = std::make_unique<ImageHolder>();
    holder->image = std::move(image);
    const StoredImage& held = holder->image;
    TarnImageRecord& record = holder->record;
    if (!rule.emptyImage) {
        record.width = held.width;
        record.height = held.height;
        record.pixels = held.pixels.data();
    }
    record.pixelBytes = held.pixelBytes;
    record.bitsPerSample = held.bitsPerSample;
    record.imageId = held.imageId;
    record.tag = held.tag;
    if (!rule.noHeader && !rule.nullTexts) {
        record.headerText = held.headerText.c_str();
    }
    if (!rule.noUser && !rule.nullTexts) {
        record.userId = held.userId.c_str();
    }
    Keep(&record, std::move(holder));
    return &record;
}

DeviceList* ObjectLedger::Give(std::vector<Device> devices, const FaultRule& rule)
{
    auto holder = std::make_unique<ListHolder>();
    holder->devices = std::move(devices);
    for (const Device& device : holder->devices) {
        DeviceListEntry entry{device.number, device.state, nullptr, nullptr};
        if (!rule.nullTexts) {
            entry.name = device.name.c_str();
            entry.description = device.description.c_str();
        }
        holder->entries.push_back(entry);
    }
    DeviceList& record = holder->record;
    record.count = static_cast<std::uint32_t>(holder->entries.size());
    record.entries = rule.noEntries ? nullptr : holder->entries.data();
    Keep(&record, std::move(holder));
    return &record;
}

bool ObjectLedger::Free(void* object)
{
    if (object == nullptr) {
        return true;
    }
    const std::lock_guard lock(m_mutex);
    return m_holders.erase(object) != 0;
}

std::size_t ObjectLedger::Given() const
{
    const std::lock_guard lock(m_mutex);
    return m_given;
}

std::size_t ObjectLedger::Outstanding() const
{
    const std::lock_guard lock(m_mutex);
    return m_holders.size();
}

void ObjectLedger::Keep(void* object, std::unique_ptr<Holder> holder)
{
    const std::lock_guard lock(m_mutex);
    m_holders.emplace(object, std::move(holder));
    ++m_given;
}

} // namespace tarn
