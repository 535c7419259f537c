#include "orvian/ComponentIdentifier.hpp"

#include <boost/container_hash/hash.hpp>
#include <boost/uuid/uuid_hash.hpp>

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace OrvianComponents {

namespace {

// The parts that count: trailing zeros don't, so "1.2" and "1.2.0" compare,
// and hash, alike.
std::size_t significantLength(const std::vector<unsigned>& parts) {
    std::size_t length = parts.size();
    while (length > 0 && parts[length - 1] == 0) --length;
    return length;
}

}  // namespace

ComponentVersion::ComponentVersion(const std::string& text) {
    const char* it = text.data();
    const char* const end = it + text.size();
    for (;;) {
        unsigned part = 0;
        // from_chars takes no sign and no spaces, so each part is plain digits.
        auto [next, error] = std::from_chars(it, end, part);
        if (error != std::errc() || next == it)
            throw std::invalid_argument("not a component version: \"" + text + "\"");
        parts_.push_back(part);
        it = next;
        if (it == end) break;
        if (*it != '.' || ++it == end) throw std::invalid_argument("not a component version: \"" + text + "\"");
    }
}

std::string ComponentVersion::toString() const {
    if (parts_.empty()) return "0";
    std::string text;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (i) text += '.';
        text += std::to_string(parts_[i]);
    }
    return text;
}

bool operator==(const ComponentVersion& a, const ComponentVersion& b) {
    const std::size_t length = significantLength(a.parts_);
    return length == significantLength(b.parts_) &&
           std::equal(a.parts_.begin(), a.parts_.begin() + length, b.parts_.begin());
}

bool operator<(const ComponentVersion& a, const ComponentVersion& b) {
    const std::size_t length = std::max(a.parts_.size(), b.parts_.size());
    for (std::size_t i = 0; i < length; ++i) {
        const unsigned left = i < a.parts_.size() ? a.parts_[i] : 0;
        const unsigned right = i < b.parts_.size() ? b.parts_[i] : 0;
        if (left != right) return left < right;
    }
    return false;
}

std::size_t ComponentVersion::hash() const {
    return boost::hash_range(parts_.begin(), parts_.begin() + static_cast<std::ptrdiff_t>(significantLength(parts_)));
}

std::size_t ComponentIdentifier::hash() const {
    // Equal identifiers (same UUID, same version) must hash alike, so the name
    // stays out.
    std::size_t seed = boost::hash<boost::uuids::uuid>()(uniqueID_);
    boost::hash_combine(seed, version_.hash());
    return seed;
}

}  // namespace OrvianComponents
