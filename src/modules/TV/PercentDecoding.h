// Percent-escaped URL text back to plain text, as a file URL's path is taken.
#pragma once

#include <string>
#include <string_view>

namespace modules {

// Every "%XY" with two hexadecimal digits becomes the byte 0xXY; anything else stays as it is.
std::string percent_decode(std::string_view text);

}  // namespace modules
