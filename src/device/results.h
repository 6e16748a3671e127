// Library results turned into messages for the operator.
#pragma once

#include "platform/types.h"

#include <cstdint>
#include <string>

// The library's own description of a result; empty when it has none.
std::string ResultDescription(std::uint32_t result);

// Builds "<category word><number>\n<description>" in text and, when there is an owner or a caption,
// shows it in a box with the category's icon. Result 0 does nothing. Returns the code that
// TarnDescribeResult returned, which is the one in the text.
std::uint32_t DescribeResult(std::uint32_t result, std::string& text, HWND owner,
                             const std::string& caption);

// Shows a result of a library operation; 0 shows nothing. Returns the code as DescribeResult does.
std::uint32_t ReportResult(std::uint32_t result, HWND owner, const std::string& caption);

// The same for the last of several results that waited behind an open box: the text also says how
// many earlier ones are not shown.
std::uint32_t ReportLastResult(std::uint32_t result, std::uint32_t earlier, HWND owner,
                               const std::string& caption);
