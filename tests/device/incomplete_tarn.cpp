// A capture library of another version: it opens, but lacks most exports.
#include "device/tarn_abi.h"

std::uint32_t TARN_CALL Tarn_1(HWND, const char*)
{
    return 0;
}

std::uint32_t TARN_CALL Tarn_22(std::uint32_t* count)
{
    *count = 3;
    return 0;
}

std::uint32_t TARN_CALL Tarn_31(std::uint32_t, std::uint32_t, TarnValue** out)
{
    static TarnValue value{TagOf(1, TarnTypeInteger), 0, 7, nullptr, {}};
    *out = &value;
    return 0;
}
