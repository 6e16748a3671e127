// What edit fields hold, what they are called and how templates are measured: arithmetic that every
// implementation of the windows shares.
#pragma once

#include "platform/dialog_template.h"
#include "platform/types.h"

#include <cstdint>
#include <string>
#include <string_view>

// Numbers are read and written the same in every country: a point, no thousands' marks, blanks
// around them allowed. A text that is no finite number of that type gives false and leaves value.
bool ParseNumber(std::string_view text, std::uint32_t& value); // no sign
bool ParseNumber(std::string_view text, double& value);

// The shortest text that reads back as the same number.
std::string FormatNumber(std::uint32_t value);
std::string FormatNumber(double value);

// What the operator calls the field of this id: the label before it in the template, without its
// mnemonic's mark and colon; "Field <id>" where there is none.
std::string FieldName(const DialogTemplate& form, int id);

// The character cell of the 8-point sans serif that the templates are designed in. It is fixed, so
// that a dialog has the same pixels with every font.
inline constexpr int BaseUnitX = 6;
inline constexpr int BaseUnitY = 13;

// Dialog units in pixels where the average character is as large as the base. Edges are rounded,
// not sizes, so that what touches in the template touches on the screen.
RECT UnitsToPixels(const DialogUnits& place, int baseWidth, int baseHeight);

// Where a control of these flags stands when its dialog has grown by so many pixels.
RECT GrownPlace(const RECT& place, unsigned flags, int across, int down);
