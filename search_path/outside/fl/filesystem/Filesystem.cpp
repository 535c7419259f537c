#include "fl/filesystem/Filesystem.hpp"

#include "foundation/usm/StateStore.hpp"

#include <algorithm>
#include <memory>
#include <mutex>
#include <stdexcept>

namespace fl::filesystem {

namespace {

using upath::constant::GENERIC_PATHNAME_SEPARATOR;

struct InstallPathState {
    std::mutex mutex;
    ustring path;  // guarded by mutex
};

InstallPathState& installPathState() {
    using Store = foundation::usm::Detail<foundation::usm::scope::Process>;
    static const foundation::usm::SlotID slot = Store::getNextID(typeid(InstallPathState));
    return Store::findOrInsert<InstallPathState>(slot, [] { return std::make_unique<InstallPathState>(); });
}

}  // namespace

ustring get_install_path() {
    InstallPathState& state = installPathState();
    std::lock_guard lock(state.mutex);
    return state.path;
}

void set_install_path(const ustring& path) {
    InstallPathState& state = installPathState();
    std::lock_guard lock(state.mutex);
    state.path = path;
}

ustring concatenate_pathname(const ustring& head, const ustring& tail) {
    if (head.empty()) return tail;
    if (tail.empty()) return head;
    if (head.back() == GENERIC_PATHNAME_SEPARATOR) return head + tail;
    return head + GENERIC_PATHNAME_SEPARATOR + tail;
}

namespace detail {

ustring make_native_form(ustring name, int mode) {
    switch (mode) {
    case 1:
        // A name read from the storage system is already in native form.
        return name;
    case 0: {
        std::replace(name.begin(), name.end(), u'\\', GENERIC_PATHNAME_SEPARATOR);
        // The root keeps its only separator.
        while (name.size() > 1 && name.back() == GENERIC_PATHNAME_SEPARATOR) name.pop_back();
        return name;
    }
    default: throw std::invalid_argument("make_native_form: unknown mode " + std::to_string(mode));
    }
}

bool is_absolute_path_when_expanded(const ustring& path) {
    // "~" and "~user" expand to a home folder, which is absolute; whether
    // that user exists is the expansion's business, not this test's.
    return !path.empty() && (path.front() == GENERIC_PATHNAME_SEPARATOR || path.front() == u'~');
}

}  // namespace detail

std::size_t extension_dot(ustring_view name) {
    // From the end: the last dot is found as soon as the name's extension
    // is passed, and only what follows it is looked at for a separator,
    // which would make it a dot of a folder above.
    const std::size_t dot = name.rfind(u'.');
    if (dot == ustring_view::npos || name.find(GENERIC_PATHNAME_SEPARATOR, dot + 1) != ustring_view::npos)
        return ustring_view::npos;
    return dot;
}

ustring extract_extension(const ustring& name) {
    const std::size_t dot = extension_dot(name);
    if (dot == ustring::npos) return {};
    return name.substr(dot + 1);
}

ustring extract_stem(const ustring& name) {
    const std::size_t dot = extension_dot(name);
    if (dot == ustring::npos) return name;
    return name.substr(0, dot);
}

}  // namespace fl::filesystem
