#pragma once
// Identity of an installed component (package) version.
#include "fl/ustring.hpp"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace OrvianComponents {

// A dotted version such as "1.2.0". Numeric parts compare as numbers;
// trailing zero parts don't count ("1.2" equals "1.2.0").
class ComponentVersion {
public:
    ComponentVersion() = default;
    // Throws std::invalid_argument for text that isn't numbers separated by dots.
    explicit ComponentVersion(const std::string& text);
    std::string toString() const;
    // Equal versions hash alike.
    std::size_t hash() const;
    friend bool operator==(const ComponentVersion& a, const ComponentVersion& b);
    friend bool operator<(const ComponentVersion& a, const ComponentVersion& b);
    friend bool operator!=(const ComponentVersion& a, const ComponentVersion& b) { return !(a == b); }

private:
    std::vector<unsigned> parts_;
};

class ComponentIdentifier {
public:
    ComponentIdentifier(ustring name, ComponentVersion version, boost::uuids::uuid uniqueID)
        : name_(std::move(name)), version_(std::move(version)), uniqueID_(uniqueID) {}

    const ustring& GetName() const { return name_; }
    const ComponentVersion& GetVersion() const { return version_; }
    const boost::uuids::uuid& GetUniqueID() const { return uniqueID_; }
    std::size_t hash() const;

    // The same component version: equal UUID and version; the name doesn't count.
    friend bool operator==(const ComponentIdentifier& a, const ComponentIdentifier& b) {
        return a.uniqueID_ == b.uniqueID_ && a.version_ == b.version_;
    }
    friend bool operator!=(const ComponentIdentifier& a, const ComponentIdentifier& b) { return !(a == b); }

private:
    ustring name_;
    ComponentVersion version_;
    boost::uuids::uuid uniqueID_;
};

struct ComponentIdentifierHash {
    std::size_t operator()(const ComponentIdentifier& id) const { return id.hash(); }
};

}  // namespace OrvianComponents
