// Reading single fields out of an image's header text.
//
//   ProgramName="Prog A;1";kV=60;mA=  4;Note=a\;b
//
// A key ends with "=", blanks after it are skipped, a value ends at the separator. Double quotes
// may enclose a value (the separator still ends it); \n, \r and \t are control characters and a
// backslash before any other character stands for that character.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

// The separator, then the 28 keys of the capture library's header texts, all in one list.
inline constexpr std::array<std::string_view, 29> HeaderVocabulary = {
    ";",
    "ProgramMsg=",
    "ProgramCode=",
    "ProgramCPPos=",
    "ProgramName=",
    "ExposureTime=",
    "SelectedExposureTime=",
    "mA=",
    "kV=",
    "SourceID=",
    "DevINro=",
    "CameraHwID=",
    "CameraMode=",
    "AecBaseDensity=",
    "AecDensityOffset=",
    "ImagingMode=",
    "Date=",
    "Time=",
    "NasioPos=",
    "PixelWidth=",
    "PixelHeight=",
    "IntegrationTime=",
    "TolvaSensorCode=",
    "Binning=",
    "BlackLevel=",
    "TargetLevel=",
    "ExpLevel=",
    "ExpLevelPercentage=",
    "AEC=",
};
inline constexpr std::string_view HeaderSeparator = HeaderVocabulary[0];
inline constexpr const std::string_view* HeaderKeys = &HeaderVocabulary[1]; // 28 keys

// The keys that the program itself reads.
inline constexpr std::string_view ProgramNameKey = HeaderKeys[3];
inline constexpr std::string_view MilliampereKey = HeaderKeys[6];
inline constexpr std::string_view KilovoltKey = HeaderKeys[7];
inline constexpr std::string_view DateKey = HeaderKeys[15];
static_assert(ProgramNameKey == "ProgramName=" && MilliampereKey == "mA=" && KilovoltKey == "kV=" &&
              DateKey == "Date=");

// In all of these value must not be the text itself, and a position of npos (or any beyond the
// text) means past its end.

// Looks the key up: the first place where it occurs, be it inside a longer key or a value. False
// when there is none; value is then the default.
bool GetHeaderValue(std::string_view text, std::string_view key, std::string_view separators,
                    std::string_view defaultValue, std::string& value);

// Searches the key from keyPosition on, which becomes the key's place (npos when there is none);
// valuePosition becomes the place where the value ended, after a closing quote.
bool FindKeyValue(std::string_view text, std::string_view key, std::string_view separators,
                  std::string_view defaultValue, std::string& value, std::size_t& keyPosition,
                  std::size_t& valuePosition);

// To the first character at or after the position that is neither space nor tab; npos when none.
void SkipBlanks(std::string_view text, std::size_t& position);

// Appends (after clearing, when asked) the text up to the first terminator, where the position
// then stands. An empty text gives the default and false. A backslash that ends the text stands for
// itself.
bool ExtractValue(std::string_view text, std::size_t& position, std::string_view terminators,
                  std::string_view defaultValue, std::string& value, bool clearFirst,
                  bool useEscapes);
