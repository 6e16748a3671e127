// The layout of Q32 files, their round trip, and files that are not what they claim.
#include "storage/file_access.h"
#include "storage/image_saving.h"
#include "test_files.h"

namespace {

std::string Header(const Q32FileHeader& header)
{
    const auto bytes = EncodeQ32Header(header);
    return {bytes.begin(), bytes.end()};
}

TEST(Q32File, IsLaidOutByteForByte)
{
    const TestFolder folder;
    CImage image(2, 2, 12, 0, 3, 1);
    constexpr std::uint16_t Pixels[] = {0x0102, 0x0304, 0x0506, 0x0708};
    image.PutPixels(Pixels, 4, 0);
    image.m_orientation = 3; // file row 0 is the last column, top-down
    image.m_widthDivisor = 1;
    image.m_imageId = 0xA1B2C3D4;
    image.m_headerText = "kV=60;";
    image.m_userId = "My ID";
    WriteBytes(folder / "a.Q32", std::string(100, 'x')); // which is replaced
    EXPECT_TRUE(WriteQ32File((folder / "a.Q32").c_str(), image));
    constexpr char Expected[] = "Wq\x00\x01\x2C\0\0\0"
                                "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                                "\xD4\xC3\xB2\xA1\x01\0\0\0"
                                "\x02\0\0\0\x02\0\0\0\x0C\0\0\0"
                                "\x04\x03\x08\x07\x02\x01\x06\x05"
                                "\x06\0\0\0kV=60;\x05\0\0\0My ID";
    EXPECT_EQ(ReadBytes(folder / "a.Q32"), std::string(Expected, sizeof Expected - 1));
}

// Sizes with and without whole tiles and bands.
TEST(Q32File, HoldsTheViewRowsFromTheLastToTheFirst)
{
    const TestFolder folder;
    const std::string path = folder / "a.q32";
    constexpr std::uint32_t Sizes[][2] = {{3, 2}, {67, 129}, {400, 701}};
    // bits, width divisor, color type
    constexpr std::uint32_t Formats[][3] = {{8, 1, 1},  {12, 1, 1}, {12, 2, 1}, {24, 1, 1},
                                            {32, 1, 1}, {40, 1, 1}, {16, 1, 2}};
    for (const auto& [width, height] : Sizes) {
        for (const auto& [bits, divisor, colorType] : Formats) {
            for (std::uint32_t code = 0; code < CImage::OrientationCount; ++code) {
                SCOPED_TRACE(testing::Message() << width << ", " << bits << ", " << code);
                CImage image(width, height, bits, 0, divisor, colorType);
                reference::FillWithNoise(image);
                image.m_orientation = code;
                image.m_headerText = std::string(3000, 'h');
                ASSERT_TRUE(WriteQ32File(path.c_str(), image));
                EXPECT_EQ(std::filesystem::file_size(path), 44 + image.m_dataSize + 8 + 3000);
                std::string pixels;
                for (std::uint32_t row = image.RowsAreRows() ? height : width; row-- > 0;) {
                    const Bytes bytes = ViewRow(image, row);
                    pixels.append(bytes.begin(), bytes.end());
                }
                ASSERT_TRUE(ReadBytes(path).substr(44, pixels.size()) == pixels);
                ASSERT_EQ(ReadsBack(path, image), WhyNotQ32(image).empty());
            }
        }
    }
}

TEST(Q32File, PathsThatCannotBeOpened)
{
    const TestFolder folder;
    WriteBytes(folder / "file", "");
    std::filesystem::create_directory(folder / "folder");
    for (const std::string& path : {folder / "none/a", folder / "file/a", std::string()}) {
        ExpectRefused(path, InvalidPathText);
    }
    ExpectRefused(folder / "folder", DeniedText);
    for (const std::string& path : {folder / "none", std::string("none")}) {
        EXPECT_EQ(ReadFailure(path), Message("File %1% not found.", path));
    }
    EXPECT_EQ(WriteFailure(folder / "none"), "");
}

TEST(Q32File, AFileInUseIsLeftAlone)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    ASSERT_EQ(WriteFailure(path), "");
    const std::string bytes = ReadBytes(path);
    CFileHolder file;
    ASSERT_TRUE(file.Open(path.c_str(), "rb"));
    EXPECT_EQ(ReadFailure(path), "") << "readers share";
    EXPECT_EQ(WriteFailure(path), Message(SharedText, path));
    EXPECT_EQ(ReadBytes(path), bytes);
    ASSERT_TRUE(file.Open(path.c_str(), "wb"));
    EXPECT_EQ(ReadFailure(path), Message(SharedText, path));
    EXPECT_EQ(file.Open(nullptr, "rb"), nullptr);
    EXPECT_EQ(WriteFailure(path), "");
}

TEST(Q32File, MissingMemoryIsNoEmptyFile)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    const CImage tooLarge(65536, 65536, 16, 0, 1);
    EXPECT_EQ(FailureOf([&] { WriteQ32File(path.c_str(), tooLarge); }),
              Message("Fatal memory allocation error on error writing q32 file %1%", path));
    EXPECT_FALSE(SaveImage(path, CLinkedPtr<CImage>()));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Q32File, RefusesWhatIsNoImage)
{
    constexpr std::uint32_t Most = 0xFFFFFFFF, Half = 1u << 15;
    const std::string tooLong = std::string(4, '\xFF') + std::string(Q32MaxTextBytes + 1, 't');
    const std::string refused[] = {
        "",
        Header({Q32Magic, 44, {}, 1, 1, 2, 2, 12}).substr(0, 43),
        Header({Q32Magic ^ 0x20, 44, {}, 1, 1, 2, 2, 12}),
        Header({Q32Magic, 44, {}, 1, 1, 2, 2, 33}),
        Header({Q32Magic, 44, {}, 1, 1, 2, 2, Most}),
        Header({Q32Magic, 44, {}, 1, 1, Most, Most, 32}),
        Header({Q32Magic, 44, {}, 1, 1, Half + 1, Half / 2, 8}), // 512 MiB is the most
        Header({Q32Magic, 44, {}, 1, 1, Half, Half, 12}),
        Header({Q32Magic, 44, {}, 1, 1, 1, 1, 8}) + "p" + tooLong,
        Header({Q32Magic, 44, {}, 1, 1, 1, 1, 8}) + "p" + std::string(4, '\0') + tooLong,
    };
    const TestFolder folder;
    const std::string path = folder / "a.q32";
    for (const std::string& bytes : refused) {
        WriteBytes(path, bytes);
        EXPECT_EQ(FailureOf([&] { ReadQ32File(path.c_str()); }),
                  "File " + path + " is not q32 format");
    }
}

TEST(Q32File, ATextOf16MiBIsReadBack)
{
    const TestFolder folder;
    const std::string path = folder / "a.q32";
    CImage image(1, 1, 8, 0, 1);
    image.Fill(0);
    image.m_headerText = image.m_userId = std::string(Q32MaxTextBytes, 't');
    ASSERT_TRUE(WriteQ32File(path.c_str(), image));
    EXPECT_TRUE(WhyNotQ32(image).empty() && ReadsBack(path, image));
    for (std::string* const text : {&image.m_headerText, &image.m_userId}) {
        *text += 't';
        EXPECT_NE(WhyNotQ32(image).find("more than 16 MiB"), std::string::npos);
        text->clear();
    }
}

TEST(Q32File, TakesDamagedFilesForWhatTheyHold)
{
    const auto plain = [](std::uint32_t offset, std::uint32_t bits, std::uint32_t divisor = 1) {
        return Q32FileHeader{Q32Magic, offset, {9, 9, 9, 9}, 5, divisor, 1, 2, bits};
    };
    const std::string none(4, '\0'), one("\1\0\0\0", 4), huge("\xFF\xFF\xFF\xFF", 4);
    const std::string thousand("\xE8\3\0\0", 4), zeroInside = "ab" + std::string(996, '\0');
    const struct
    {
        const char* name;
        Q32FileHeader header;
        std::string rest;
        std::uint32_t bits, divisor;
        std::string pixels, headerText, userId;
    } cases[] = {
        {"offset 0", plain(0, 16), "abcd" + none + none, 16, 1, "abcd", "", ""},
        {"offset 44", plain(44, 16), "abcd" + one + "h" + one + "u", 16, 1, "abcd", "h", "u"},
        {"offset 47", plain(47, 8), "---ab" + one + "h", 8, 1, "ab", "h", ""},
        {"few bits, no divisor", plain(44, 7, 0), "abcd", 12, 1, "abcd", "", ""},
        {"divisor", plain(44, 0, 9), "abcd", 12, 9, "abcd", "", ""},
        {"cut pixels", plain(44, 16), "abc", 16, 1, std::string("abc\0", 4), "", ""},
        {"offset beyond the end", plain(0xFFFFFFFF, 8), "ab", 8, 1, std::string(2, '\0'), "", ""},
        {"cut length", plain(44, 8), std::string("ab\2\0", 4), 8, 1, "ab", "", ""},
        {"length beyond the end", plain(44, 8), "ab" + huge + "text", 8, 1, "ab", "text", ""},
        {"zero in a piece", plain(44, 8), "ab" + thousand + zeroInside + "cd" + one + "u", 8, 1,
         "ab", "abcd", "u"},
        {"no rows", {Q32Magic, 44, {}, 5, 1, 0, 7, 8}, one + "h", 8, 1, "", "h", ""},
        {"no width", {Q32Magic, 44, {}, 5, 1, 0xFFFFFFFF, 0, 8}, one + "h", 8, 1, "", "h", ""},
    };
    const TestFolder folder;
    const std::string path = folder / "a.q32";
    for (const auto& [name, header, rest, bits, divisor, pixels, headerText, userId] : cases) {
        SCOPED_TRACE(name);
        WriteBytes(path, Header(header) + rest);
        const CLinkedPtr<CImage> image = ReadQ32File(path.c_str());
        EXPECT_EQ(std::string(image->m_data, image->m_data + image->m_dataSize), pixels);
        EXPECT_TRUE(image->m_bitsPerSample == bits && image->m_widthDivisor == divisor &&
                    image->m_imageId == 5);
        EXPECT_EQ(image->m_headerText, headerText);
        EXPECT_EQ(image->m_userId, userId);
    }
}

} // namespace
