// Rendering where the system starts no further thread.
#include "display/lut.h"
#include "display/resample.h"
#include "image/image.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <pthread.h>
#include <random>
#include <system_error>
#include <thread>
#include <vector>

namespace {

TEST(Render, DrawsAllOfALargePictureWhereNoSecondThreadStarts)
{
    CImage source(1200, 1000, 16, 0, 1), two(1200, 1000, 8, 0, 1), one(1200, 1000, 8, 0, 1);
    std::generate_n(source.m_data, source.m_dataSize, std::minstd_rand());
    std::vector<std::uint8_t> lut(DisplayLutSize);
    std::generate(lut.begin(), lut.end(), std::minstd_rand());
    one.Fill(0);
    two.Fill(0);
    RenderToDisplay(&source, lut.data(), 1, 600, 500, &two);
    pthread_attr_t former, noRoom;
    pthread_getattr_default_np(&former);
    pthread_getattr_default_np(&noRoom);
    pthread_attr_setstacksize(&noRoom, std::size_t{1} << 46);
    pthread_setattr_default_np(&noRoom);
    EXPECT_THROW(std::thread([] {}), std::system_error);
    RenderToDisplay(&source, lut.data(), 1, 600, 500, &one);
    pthread_setattr_default_np(&former);
    EXPECT_EQ(std::memcmp(one.m_data, two.m_data, one.m_dataSize), 0);
}

} // namespace
