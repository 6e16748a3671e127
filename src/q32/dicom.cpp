// DICOM files by DCMTK: one frame of a Multi-frame Grayscale Byte or Word Secondary Capture image,
// with what the picture holds and nothing invented.
#include "q32/bad_file.h"
#include "q32/picture_format.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>
#include <nlohmann/json.hpp>
#include <random>
#include <vector>

namespace {

constexpr std::size_t LongestComment = 10240; // bytes; a value of the type LT may have more

struct Element
{
    DcmTagKey tag;
    const char* value;
};

// What is the same in every file. An empty value says that nothing is known.
const Element FixedElements[] = {
    {DCM_PatientName, "TEST"},
    {DCM_PatientID, ""},
    {DCM_PatientBirthDate, ""},
    {DCM_PatientSex, ""},
    {DCM_StudyDate, ""},
    {DCM_StudyTime, ""},
    {DCM_ReferringPhysicianName, ""},
    {DCM_StudyID, ""},
    {DCM_AccessionNumber, ""},
    {DCM_Modality, "OT"},
    {DCM_SeriesNumber, ""},
    {DCM_Laterality, ""},
    {DCM_InstanceNumber, "1"},
    {DCM_ConversionType, "WSD"},
    {DCM_PatientOrientation, ""},
    {DCM_SamplesPerPixel, "1"},
    {DCM_PhotometricInterpretation, "MONOCHROME2"},
    {DCM_NumberOfFrames, "1"},
    {DCM_PixelRepresentation, "0"},
    {DCM_BurnedInAnnotation, "NO"},
    {DCM_PresentationLUTShape, "IDENTITY"},
    {DCM_RescaleIntercept, "0"},
    {DCM_RescaleSlope, "1"},
    {DCM_RescaleType, "US"},
};

void Require(const OFCondition& condition)
{
    if (condition.bad()) {
        throw BadFile(condition.text());
    }
}

// "2.25." and a random number of 128 bits in decimal: unique without a registered root.
std::string NewUid()
{
    std::random_device device;
    std::uint32_t words[4] = {device(), device(), device(), device()};
    std::string digits;
    while (std::ranges::any_of(words, [](std::uint32_t word) { return word != 0; })) {
        std::uint64_t rest = 0;
        for (std::uint32_t& word : words) {
            const std::uint64_t part = rest << 32 | word;
            word = static_cast<std::uint32_t>(part / 10);
            rest = part % 10;
        }
        digits += static_cast<char>('0' + rest);
    }
    return "2.25." + std::string(digits.rbegin(), digits.rend());
}

// The picture's rows from the top.
void PutPixels(DcmDataset& dataset, const CImage& picture)
{
    const std::size_t rowBytes = std::size_t{picture.m_width} * picture.m_pixelBytes;
    DcmPixelData* const pixels = new DcmPixelData(DCM_PixelData);
    pixels->setVR(picture.m_pixelBytes == 1 ? EVR_OB : EVR_OW);
    Require(dataset.insert(pixels, true));
    const std::uint32_t count = picture.m_dataSize;
    Uint8* bytes = nullptr;
    Uint16* words = nullptr;
    Require(picture.m_pixelBytes == 1 ? pixels->createUint8Array(count, bytes)
                                      : pixels->createUint16Array(count / 2, words));
    std::uint8_t* target = bytes != nullptr ? bytes : reinterpret_cast<std::uint8_t*>(words);
    for (std::uint32_t y = 0; y < picture.m_height; ++y, target += rowBytes) {
        std::memcpy(target, RowFromTop(picture, y), rowBytes);
    }
}

bool IsUtf8(const std::string& text)
{
    try {
        return !nlohmann::json(text).dump().empty();
    } catch (const nlohmann::json::type_error&) {
        return false;
    }
}

void PutComment(DcmDataset& dataset, const std::string& text)
{
    const bool isUtf8 = IsUtf8(text);
    const auto isInside = [&](std::size_t i) {
        return i < text.size() && (text[i] & 0xC0) == 0x80;
    };
    std::size_t length = std::min(text.size(), LongestComment);
    while (isUtf8 && isInside(length)) {
        --length;
    }
    if (std::ranges::any_of(text, [](char c) { return (c & 0x80) != 0; })) {
        Require(dataset.putAndInsertString(DCM_SpecificCharacterSet,
                                           isUtf8 ? "ISO_IR 192" : "ISO_IR 100"));
    }
    Require(dataset.putAndInsertString(DCM_ImageComments, text.substr(0, length).c_str()));
}

} // namespace

void WriteDicom(const char* path, const CImage& picture)
{
    if (picture.m_width > 65535 || picture.m_height > 65535) {
        throw BadFile("is too large for DICOM");
    }
    OFLog::configure(OFLogger::OFF_LOG_LEVEL);
    DcmFileFormat file;
    DcmDataset& dataset = *file.getDataset();
    for (const Element& element : FixedElements) {
        Require(dataset.putAndInsertString(element.tag, element.value));
    }
    const bool isByte = picture.m_pixelBytes == 1;
    Require(dataset.putAndInsertString(
        DCM_SOPClassUID, isByte ? UID_MultiframeGrayscaleByteSecondaryCaptureImageStorage
                                : UID_MultiframeGrayscaleWordSecondaryCaptureImageStorage));
    for (const DcmTagKey& tag : {DCM_SOPInstanceUID, DCM_StudyInstanceUID, DCM_SeriesInstanceUID}) {
        Require(dataset.putAndInsertString(tag, NewUid().c_str()));
    }
    const std::uint32_t bits = isByte ? 8 : std::max(BitsInUse(picture), 9u);
    const std::pair<DcmTagKey, std::uint32_t> numbers[] = {
        {DCM_Rows, picture.m_height},
        {DCM_Columns, picture.m_width},
        {DCM_BitsAllocated, 8 * picture.m_pixelBytes},
        {DCM_BitsStored, bits},
        {DCM_HighBit, bits - 1},
    };
    for (const auto& [tag, number] : numbers) {
        Require(dataset.putAndInsertUint16(tag, static_cast<Uint16>(number)));
    }
    if (!picture.m_headerText.empty()) {
        PutComment(dataset, picture.m_headerText);
    }
    PutPixels(dataset, picture);
    Require(file.saveFile(path, EXS_LittleEndianExplicit));
}
