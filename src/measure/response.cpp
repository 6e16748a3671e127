// Responses of pixels, with vectors.
#include "measure/response.h"

#include "image/vector_clones.h"

namespace {

TARNTEST_VECTOR_CLONES
void ComputeAll(const Response response, std::size_t first, std::uint32_t count,
                float* __restrict values)
{
    for (std::uint32_t i = 0; i < count; ++i) {
        values[i] = response.At(first + i);
    }
}

} // namespace

void Response::Compute(std::size_t i, std::uint32_t count, float* values) const
{
    ComputeAll(*this, i, count, values);
}
