// The objects that the library hands out, counted until they are freed.
#pragma once

#include "device/tarn_abi.h"
#include "simulator/tarn/faults.h"
#include "simulator/tarn/store.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarn {

// The value of a parameter of any type.
struct Value
{
    std::uint32_t type = TarnTypeInteger;
    std::uint32_t number = 0; // integer, flag
    std::string bytes;        // text, block
    std::uint32_t parameter = 0;
};

struct Device
{
    std::uint32_t number = 0;
    std::uint32_t state = 0;
    std::string name;
    std::string description;
};

// Owns every object from Give until Free. Any thread may call.
class ObjectLedger
{
public:
    // The rule says which parts the object is to lack.
    TarnValue* Give(Value value, const FaultRule& rule);
    TarnImageRecord* Give(StoredImage image, const FaultRule& rule);
    DeviceList* Give(std::vector<Device> devices, const FaultRule& rule);

    // False when the object did not come from the ledger or is freed already. Null is allowed.
    bool Free(void* object);

    std::size_t Given() const;
    std::size_t Outstanding() const;

private:
    struct Holder
    {
        virtual ~Holder() = default;
    };
    struct ValueHolder;
    struct ImageHolder;
    struct ListHolder;

    void Keep(void* object, std::unique_ptr<Holder> holder);

    mutable std::mutex m_mutex;
    std::unordered_map<void*, std::unique_ptr<Holder>> m_holders;
    std::size_t m_given = 0;
};

} // namespace tarn
