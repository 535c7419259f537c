#pragma once
// File name helpers.
#include "fl/ustring.hpp"

namespace fl::filesystem {

namespace upath::constant {
inline constexpr char16_t GENERIC_PATHNAME_SEPARATOR = u'/';
}

// The installation folder of the environment, as a native path; empty until
// set. Kept in the process scope of the state store.
ustring get_install_path();
void set_install_path(const ustring& path);

// `head` and `tail` joined by one separator; either alone when the other is
// empty.
ustring concatenate_pathname(const ustring& head, const ustring& tail);

namespace detail {
// The native form of a name or path. Mode 1 is the form of a single name
// read from the storage system, which on this platform is the name itself;
// mode 0 also turns "\\" into "/" and removes a trailing separator. Taken
// by value, so that a caller done with the name hands over its buffer.
ustring make_native_form(ustring name, int mode);
// Whether a path is absolute once "~" at its start is expanded.
bool is_absolute_path_when_expanded(const ustring& path);
}  // namespace detail

// Where the dot that starts a name's extension stands: the last dot of the
// name, or of a path's last name; npos when there is none.
std::size_t extension_dot(ustring_view name);
// What follows the last dot of a name, without the dot; empty when there is
// no dot or the name ends in one. A leading dot of a name (".profile") counts
// as a dot like any other. Given a path, only dots of its last name count.
ustring extract_extension(const ustring& name);
// The name before its last dot; the whole name when it has none (dots of
// the folders of a path don't count).
ustring extract_stem(const ustring& name);

}  // namespace fl::filesystem
