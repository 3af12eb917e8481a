// Texts as they appear in columns.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orva_accelerator::tools {

// Columns that a UTF-8 text takes on a console: two for the wide characters of Chinese, Japanese
// and Korean, none for combining marks, one for everything else.
std::size_t displayWidth(std::string_view utf8);

// `utf8` with blanks behind it up to `width` columns.
std::string padded(std::string_view utf8, std::size_t width);

// Control characters and marks of direction written out, as \xNN or \uNNNN for people and always as
// \uNNNN in JSON: a text that comes from elsewhere must not move the reader's cursor, change its
// colours or turn what stands beside it.
enum class ControlsAs { ForPeople, ForJson };
std::string withoutControls(std::string_view utf8, ControlsAs controls = ControlsAs::ForPeople);

}  // namespace orva_accelerator::tools
