#pragma once
// Calling the library's host commands from the tool, with host arrays, so
// that the tool shows what the host would get.
#include "foundation/core/except/MessageException.hpp"
#include "matrix/Matrix.hpp"

#include <functional>
#include <string>

namespace tfpath {

// A character row vector of UTF-8 text, as the host passes a text argument.
matrix::unique_array_ptr TextArgument(const std::string& text);
// The text of a character array or of a one-element string array, as UTF-8;
// empty for null and for anything else.
std::string TextOf(const qvArray_tag* array);
// "IDENTIFIER: the catalogue's text".
std::string Describe(const foundation::core::except::MessageException& exception);

// Runs a command; a message it raises ends the tool with status 2 (the
// host refuses the input), printed on standard error as the host shows it.
void RunHostCommand(const std::function<void()>& command);

}  // namespace tfpath
