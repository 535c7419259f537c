#pragma once
// The engine's strings are UTF-16; expectations and messages are UTF-8.
#include "fl/ustring.hpp"

#include <string>

namespace tfsp::test {

std::string Utf8(const ustring& text);
ustring Utf16(const std::string& text);

}  // namespace tfsp::test
