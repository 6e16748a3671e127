// Moves pixels of B bytes (1, 2, 3, 4 or 6): reversed, and transposed a tile at a time.
//
// Every change of orientation and every row in viewing order is made of these three:
//
//   ReverseCopy     16 bytes from the end of the source at a time, turned around by one shuffle
//   ReversePixels   the same in place, from both ends at once; what remains in the middle pixel by
//                   pixel
//   TransposeTile   squares whose rows fill a vector are transposed in registers (1, 2 and 4
//                   bytes), others pixel by pixel; the callers walk the picture tile by tile, put
//                   each tile into a buffer on the stack and copy its rows from there, because the
//                   rows of a picture are often a power of two apart, where a whole tile would
//                   fall into the same few cache lines
//
// The shuffles are vector extensions of GCC and Clang, for any processor.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

// Rows and columns of a tile: runs of some 256 bytes a row, and not less, keep the number of pages
// touched small.
template <std::size_t B>
inline constexpr std::size_t TileSide = B == 3   ? 128
                                        : B == 6 ? 64
                                                 : 256 / B;

// Places pixel count - 1 - k of the source at k; the two blocks must not overlap.
template <std::size_t B>
void ReverseCopy(const std::uint8_t* source, std::size_t count, std::uint8_t* destination);

// Exchanges pixel k with pixel count - 1 - k.
template <std::size_t B>
void ReversePixels(std::uint8_t* first, std::size_t count);

// to(x, y) = from(y, x) for the rows and columns of `from`; steps are the bytes from row to row.
template <std::size_t B>
void TransposeTile(const std::uint8_t* from, std::size_t fromStep, std::size_t rows,
                   std::size_t columns, std::uint8_t* to, std::size_t toStep);

namespace pixels {

using Vector = std::uint8_t __attribute__((vector_size(16)));
inline constexpr auto VectorBytes = std::make_index_sequence<16>();

inline Vector Load(const std::uint8_t* from)
{
    Vector vector;
    std::memcpy(&vector, from, sizeof vector);
    return vector;
}

inline void Store(std::uint8_t* to, Vector vector)
{
    std::memcpy(to, &vector, sizeof vector);
}

// Any order of bytes is one instruction on all but the oldest x86 processors: asked at run time.
#if (defined(__x86_64__) || defined(__i386__)) && !defined(__SSSE3__)
#define TARNTEST_SHUFFLES [[gnu::target("ssse3")]]
inline bool ShufflesAreFast()
{
    return __builtin_cpu_supports("ssse3");
}
#else
#define TARNTEST_SHUFFLES
inline bool ShufflesAreFast()
{
    return true;
}
#endif

// The whole pixels at the end of `high`, last to first, then what `low` has there.
template <std::size_t B, std::size_t... I>
TARNTEST_SHUFFLES Vector ReversedToLow(Vector high, Vector low, std::index_sequence<I...>)
{
    return __builtin_shufflevector(high, low,
                                   (I < 16 / B * B ? 16 - (I / B + 1) * B + I % B : 16 + I)...);
}

// What `high` has before the whole pixels at its end, then the pixels of `low`, last to first.
template <std::size_t B, std::size_t... I>
TARNTEST_SHUFFLES Vector ReversedToHigh(Vector low, Vector high, std::index_sequence<I...>)
{
    return __builtin_shufflevector(
        low, high, (I >= 16 % B ? ((15 - I) / B + 1) * B - 1 - (15 - I) % B : 16 + I)...);
}

// Returns how many pixels were placed.
template <std::size_t B>
TARNTEST_SHUFFLES std::size_t ReverseCopyVectors(const std::uint8_t* source, std::size_t count,
                                                 std::uint8_t* destination)
{
    std::size_t k = 0;
    for (; (count - k) * B >= 16; k += 16 / B) {
        const Vector last = Load(source + (count - k) * B - 16);
        Store(destination + k * B, ReversedToLow<B>(last, last, VectorBytes));
    }
    return k;
}

// Windows of 3- and 6-byte pixels overlap by a byte or four: the next are loaded before these are
// stored, because a load that has to wait for part of a store waits long. Returns how many pixels
// were placed at either end.
template <std::size_t B>
TARNTEST_SHUFFLES std::size_t ReverseVectors(std::uint8_t* first, std::size_t count)
{
    if (count * B < 32) {
        return 0;
    }
    constexpr std::size_t Step = 16 / B * B;
    std::uint8_t* lowEnd = first;
    std::uint8_t* highEnd = first + count * B - 16;
    Vector low = Load(lowEnd);
    Vector high = Load(highEnd);
    while (lowEnd + 16 <= highEnd) {
        const Vector nextLow = Load(lowEnd + Step);
        const Vector nextHigh = Load(highEnd - Step);
        Store(lowEnd, ReversedToLow<B>(high, low, VectorBytes));
        Store(highEnd, ReversedToHigh<B>(low, high, VectorBytes));
        low = nextLow;
        high = nextHigh;
        lowEnd += Step;
        highEnd -= Step;
    }
    return static_cast<std::size_t>(lowEnd - first) / B;
}

// Pixels of a and b by turns, from their low halves (half 0) or their high halves (half 1).
template <std::size_t B, std::size_t Half, std::size_t... I>
Vector Interleave(Vector a, Vector b, std::index_sequence<I...>)
{
    return __builtin_shufflevector(
        a, b, (Half * 8 + I / (2 * B) * B + I % B + (I / B % 2 == 0 ? 0 : 16))...);
}

// Transposes a square of n x n pixels.
template <std::size_t B>
inline constexpr std::size_t SquareSide = 16 % B == 0 ? 16 / B : 8;

template <std::size_t B>
void TransposeSquare(const std::uint8_t* from, std::size_t fromStep, std::uint8_t* to,
                     std::size_t toStep)
{
    constexpr std::size_t N = SquareSide<B>;
    if constexpr (16 % B == 0) {
        // A row fills a vector. Interleaving row i with row i + n/2 halves the distance of pixels
        // that belong together; log2(n) rounds make columns of rows.
        Vector rows[N], mixed[N];
        for (std::size_t i = 0; i < N; ++i) {
            rows[i] = Load(from + i * fromStep);
        }
        for (std::size_t round = 1; round < N; round *= 2) {
            for (std::size_t i = 0; i < N / 2; ++i) {
                mixed[2 * i] = Interleave<B, 0>(rows[i], rows[i + N / 2], VectorBytes);
                mixed[2 * i + 1] = Interleave<B, 1>(rows[i], rows[i + N / 2], VectorBytes);
            }
            std::copy_n(mixed, N, rows);
        }
        for (std::size_t i = 0; i < N; ++i) {
            Store(to + i * toStep, rows[i]);
        }
        return;
    }
    for (std::size_t y = 0; y < N; ++y) {
        for (std::size_t x = 0; x < N; ++x) {
            std::memcpy(to + x * toStep + y * B, from + y * fromStep + x * B, B);
        }
    }
}

// Has the processor fetch the n rows behind the n rows that begin here: the tiles of a wide picture
// jump from page to page, which no processor foresees. Only a hint, so they may lie beyond its end.
inline void FetchRowsBehind(const std::uint8_t* rows, std::size_t step, std::size_t n,
                            std::size_t rowBytes)
{
    constexpr std::size_t CacheLine = 64;
    const auto first = reinterpret_cast<std::uintptr_t>(rows) + n * step;
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t x = 0; x < rowBytes; x += CacheLine) {
            __builtin_prefetch(reinterpret_cast<const void*>(first + i * step + x));
        }
    }
}

} // namespace pixels

template <std::size_t B>
void ReverseCopy(const std::uint8_t* source, std::size_t count, std::uint8_t* destination)
{
    std::size_t k = 0;
    if (pixels::ShufflesAreFast()) {
        k = pixels::ReverseCopyVectors<B>(source, count, destination);
    }
    for (; k < count; ++k) {
        std::memcpy(destination + k * B, source + (count - 1 - k) * B, B);
    }
}

template <std::size_t B>
void ReversePixels(std::uint8_t* first, std::size_t count)
{
    std::size_t k = 0;
    if (pixels::ShufflesAreFast()) {
        k = pixels::ReverseVectors<B>(first, count);
    }
    for (; k < count / 2; ++k) {
        std::uint8_t held[B];
        std::memcpy(held, first + k * B, B);
        std::memcpy(first + k * B, first + (count - 1 - k) * B, B);
        std::memcpy(first + (count - 1 - k) * B, held, B);
    }
}

template <std::size_t B>
void TransposeTile(const std::uint8_t* from, std::size_t fromStep, std::size_t rows,
                   std::size_t columns, std::uint8_t* to, std::size_t toStep)
{
    constexpr std::size_t N = pixels::SquareSide<B>;
    const std::size_t squareRows = rows / N * N;
    const std::size_t squareColumns = columns / N * N;
    for (std::size_t y = 0; y < squareRows; y += N) {
        const std::uint8_t* const row = from + y * fromStep;
        pixels::FetchRowsBehind(row, fromStep, N, columns * B);
        for (std::size_t x = 0; x < squareColumns; x += N) {
            pixels::TransposeSquare<B>(row + x * B, fromStep, to + x * toStep + y * B, toStep);
        }
    }
    for (std::size_t y = 0; y < rows; ++y) {
        for (std::size_t x = y < squareRows ? squareColumns : 0; x < columns; ++x) {
            std::memcpy(to + x * toStep + y * B, from + y * fromStep + x * B, B);
        }
    }
}

#undef TARNTEST_SHUFFLES
