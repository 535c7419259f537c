#pragma once
// The host's string arrays: arrays of texts, each of which may be missing
// (matrix/Matrix.hpp makes and reads the arrays themselves).
#include "matrix/Matrix.hpp"

namespace Thornfell::String {

// How far a character array passes for one text.
enum class CharTolerance : int {
    RowVector = 0,  // a 1-by-n row, or the empty 0-by-0 array
    AnyShape = 1,   // any character array, read in storage order
};

// Whether `array` is a string array (of any shape). False for null.
bool isString(const qvArray_tag* array);
// The elements of a string array in storage order; empty for any other.
std::span<const std::optional<ustring>> getString(const qvArray_tag* array);
// Whether `array` holds one text that is there: a string array of one
// element that isn't missing, or a character array within `tolerance`.
bool isNonMissingScalarText(const qvArray_tag* array, CharTolerance tolerance);
// A 1-by-1 string array of `text`.
matrix::unique_array_ptr createStringArray(const ustring& text);

}  // namespace Thornfell::String
