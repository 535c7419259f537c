#pragma once
// What the host commands share: reading a text argument, and raising a
// message to the host.
#include "matrix/Matrix.hpp"

namespace Thornfell::PathManagement::detail {

// The text an argument holds: a character row vector (or the empty 0-by-0
// array) as it is; with `strict` false, a character array of any shape, in
// storage order; otherwise a string array of one element that isn't
// missing. Throws (without reporting) the MessageException of
// "ORVIAN:string:MustBeStringScalarOrCharacterVector" for anything else, and
// of "ORVIAN:string:MissingNotSupported" for a missing element. The view
// points into the array.
ustring_view GetTextArgument(const qvArray_tag* argument, bool strict);

// Reports the message to the host and throws it.
[[noreturn]] void RaiseMessage(resource_core::BaseMsgID message);

}  // namespace Thornfell::PathManagement::detail
