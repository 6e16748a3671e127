// The inspector's window, in dialog units.
#pragma once

#include "platform/dialog_template.h"
#include "platform/types.h"

#include <array>
#include <cstddef>

inline constexpr int IdInspectorDialog = 134;

inline constexpr int IdPointer = 1101;
inline constexpr int IdPictureSize = 1102;
inline constexpr int IdPictureId = 1103;
inline constexpr int IdPictureProgram = 1104;
inline constexpr int IdPictureSeries = 1105;
inline constexpr int IdHistogram = 1106;
inline constexpr int IdLogarithmic = 1107;
inline constexpr int IdClipped = 1108;
inline constexpr int IdProfile = 1109;
inline constexpr int IdProfileText = 1110;
inline constexpr int IdHoldReference = 1111;
inline constexpr int IdClearMarks = 1112;
inline constexpr int IdCopyNumbers = 1113;
inline constexpr int IdSaveLog = 1114;
inline constexpr int IdObjects = 1115;
inline constexpr int IdSlowCalls = 1116;
inline constexpr int IdCallBar = 1117;
inline constexpr int IdFirstDifference = 1120; // one a line of the difference
inline constexpr int IdFirstCall = 1130;       // one a line of the list of calls
inline constexpr int IdFirstRegionCell = 1150; // row by row: the image, then the regions

inline constexpr std::size_t RegionRowCount = 5, RegionColumnCount = 10;
inline constexpr std::size_t DifferenceLineCount = 6;
inline constexpr std::size_t CallLineCount = 6;

constexpr int IdRegionCell(std::size_t row, std::size_t column)
{
    return IdFirstRegionCell + static_cast<int>(row * RegionColumnCount + column);
}

//   4                                320
//   +- Picture --------------------------+
//   | pointer, size       id, program    |
//   +- Histogram ------------------------+
//   | the histogram                      |
//   +- Profile --------------------------+
//   | the profile                        |
//   +- Regions --------------------------+
//   | a table: the image, regions 1 to 4 |
//   +- Difference -----------------------+
//   | lines                         Hold |
//   +- Library --------------------------+
//   | objects, slow calls, the list    v |
//   +------------------------------------+
//   Copy, Clear                      Close
//
// Narrow and not too high, so that it has room beside the main window.
namespace inspector_template {

inline constexpr ControlTemplate Plain[] = {
    {0, ControlKind::GroupBox, "Picture", {4, 2, 316, 42}},
    {0, ControlKind::Label, "Under the pointer:", {10, 13, 72, 9}},
    {IdPointer, ControlKind::Label, "", {84, 13, 90, 9}, 0, "Under the pointer"},
    {0, ControlKind::Label, "Size:", {10, 22, 72, 9}},
    {IdPictureSize, ControlKind::Label, "", {84, 22, 90, 9}, 0, "Size"},
    {0, ControlKind::Label, "Series:", {10, 31, 72, 9}},
    {IdPictureSeries, ControlKind::Label, "", {84, 31, 90, 9}, 0, "Series"},
    {0, ControlKind::Label, "Image id:", {178, 13, 40, 9}},
    {IdPictureId, ControlKind::Label, "", {220, 13, 96, 9}, 0, "Image id"},
    {0, ControlKind::Label, "Program:", {178, 22, 40, 9}},
    {IdPictureProgram, ControlKind::Label, "", {220, 22, 96, 9}, 0, "Program"},

    {0, ControlKind::GroupBox, "Histogram", {4, 46, 316, 84}},
    {IdHistogram, ControlKind::Frame, "", {10, 57, 304, 56}, FrameTakesInput, "Histogram"},
    {IdLogarithmic, ControlKind::CheckBox, "&Logarithmic", {10, 115, 66, 11}},
    {0, ControlKind::Label, "Clipped:", {84, 116, 34, 9}},
    {IdClipped, ControlKind::Label, "", {120, 116, 194, 9}, 0, "Clipped"},

    {0, ControlKind::GroupBox, "Profile: Ctrl and drag on the picture", {4, 132, 316, 58}},
    {IdProfile, ControlKind::Frame, "", {10, 143, 304, 32}, 0, "Profile"},
    {IdProfileText, ControlKind::Label, "", {10, 178, 304, 9}, 0, "Profile values"},

    {0, ControlKind::GroupBox, "Regions: Shift and drag on the picture", {4, 192, 316, 74}},
    {0, ControlKind::GroupBox, "Difference from the reference", {4, 268, 316, 46}},
    {IdHoldReference, ControlKind::PushButton, "&Hold as reference", {240, 296, 76, 15}},

    {0, ControlKind::GroupBox, "Library", {4, 316, 316, 88}},
    {0, ControlKind::Label, "Objects not freed:", {10, 328, 72, 9}},
    {IdObjects, ControlKind::Label, "", {84, 328, 36, 9}, 0, "Objects not freed"},
    {0, ControlKind::Label, "Calls over 50 ms:", {124, 328, 72, 9}},
    {IdSlowCalls, ControlKind::Label, "", {198, 328, 36, 9}, 0, "Calls over 50 ms"},
    {IdSaveLog, ControlKind::PushButton, "&Save log", {254, 325, 60, 14}},
    {IdCallBar, ControlKind::VerticalScrollBar, "", {306, 341, 8, 60}, 0, "List of calls"},

    {IdCopyNumbers, ControlKind::PushButton, "&Copy", {4, 407, 50, 15}},
    {IdClearMarks, ControlKind::PushButton, "Clear &regions and profile", {58, 407, 106, 15}},
    {IDCANCEL, ControlKind::PushButton, "Close", {270, 407, 50, 15}},
};

struct Column
{
    const char* name;
    int x, width;
};
inline constexpr Column RegionColumns[RegionColumnCount] = {
    {"Left", 36, 21}, {"Top", 57, 21},  {"Width", 78, 24},   {"Height", 102, 27}, {"Mean", 129, 37},
    {"SD", 166, 37},  {"SNR", 203, 36}, {"Median", 239, 32}, {"Min", 271, 24},    {"Max", 295, 23}};

struct Row
{
    const char* name;
    const char* cells[RegionColumnCount];
};
inline constexpr Row RegionRows[RegionRowCount] = {
    {"Image",
     {"Image left", "Image top", "Image width", "Image height", "Image mean", "Image SD",
      "Image SNR", "Image median", "Image minimum", "Image maximum"}},
    {"1",
     {"Region 1 left", "Region 1 top", "Region 1 width", "Region 1 height", "Region 1 mean",
      "Region 1 SD", "Region 1 SNR", "Region 1 median", "Region 1 minimum", "Region 1 maximum"}},
    {"2",
     {"Region 2 left", "Region 2 top", "Region 2 width", "Region 2 height", "Region 2 mean",
      "Region 2 SD", "Region 2 SNR", "Region 2 median", "Region 2 minimum", "Region 2 maximum"}},
    {"3",
     {"Region 3 left", "Region 3 top", "Region 3 width", "Region 3 height", "Region 3 mean",
      "Region 3 SD", "Region 3 SNR", "Region 3 median", "Region 3 minimum", "Region 3 maximum"}},
    {"4",
     {"Region 4 left", "Region 4 top", "Region 4 width", "Region 4 height", "Region 4 mean",
      "Region 4 SD", "Region 4 SNR", "Region 4 median", "Region 4 minimum", "Region 4 maximum"}},
};

inline constexpr const char* DifferenceNames[DifferenceLineCount] = {
    "Mean difference",    "SD of difference",   "Noise of one",
    "Minimum difference", "Maximum difference", "Unequal pixels"};

inline constexpr std::size_t ControlCount = std::size(Plain) + RegionColumnCount +
                                            RegionRowCount * (1 + RegionColumnCount) +
                                            2 * DifferenceLineCount + CallLineCount;

constexpr std::array<ControlTemplate, ControlCount> MakeControls()
{
    std::array<ControlTemplate, ControlCount> controls = {};
    std::size_t n = 0;
    for (const ControlTemplate& control : Plain) {
        controls[n++] = control;
    }
    for (const Column& column : RegionColumns) {
        controls[n++] = {0, ControlKind::Label, column.name, {column.x, 203, column.width, 9}};
    }
    for (std::size_t row = 0; row < RegionRowCount; ++row) {
        const int y = 213 + 10 * static_cast<int>(row);
        controls[n++] = {0, ControlKind::Label, RegionRows[row].name, {10, y, 26, 9}};
        for (std::size_t i = 0; i < RegionColumnCount; ++i) {
            const Column& column = RegionColumns[i];
            controls[n++] = {
                IdRegionCell(row, i),    ControlKind::Label, "", {column.x, y, column.width, 9}, 0,
                RegionRows[row].cells[i]};
        }
    }
    for (std::size_t i = 0; i < DifferenceLineCount; ++i) {
        const int x = i < 3 ? 10 : 124, y = 279 + 11 * static_cast<int>(i % 3);
        controls[n++] = {0, ControlKind::Label, DifferenceNames[i], {x, y, 77, 9}};
        controls[n++] = {IdFirstDifference + static_cast<int>(i),
                         ControlKind::Label,
                         "",
                         {x + 79, y, 34, 9},
                         0,
                         DifferenceNames[i]};
    }
    for (std::size_t i = 0; i < CallLineCount; ++i) {
        controls[n++] = {IdFirstCall + static_cast<int>(i),
                         ControlKind::Label,
                         "",
                         {10, 341 + 10 * static_cast<int>(i), 294, 9}};
    }
    return controls;
}
inline constexpr std::array<ControlTemplate, ControlCount> Controls = MakeControls();

} // namespace inspector_template

inline constexpr DialogTemplate InspectorDialogTemplate{
    IdInspectorDialog, "Inspector", 324, 426, "MS Sans Serif", 8, inspector_template::Controls};
