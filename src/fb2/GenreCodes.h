// The genre codes of the FictionBook format, as the shipped schema enumerates them.
#pragma once

#include <span>
#include <string_view>

namespace pw::fb2 {

std::span<const std::string_view> GenreCodes();

// Whether `code` is one of the format's genre codes.
bool IsGenreCode(std::string_view code);

}  // namespace pw::fb2
