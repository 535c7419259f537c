#pragma once
// The ordered list of messages in which soft failures reach the caller.
#include "resource_core/BaseMsgID.hpp"

#include <cstddef>
#include <vector>

namespace foundation::core::except {

class Notification {
public:
    using const_iterator = std::vector<resource_core::BaseMsgID>::const_iterator;

    void add(resource_core::BaseMsgID message) { messages_.push_back(std::move(message)); }
    void append(const Notification& other) {
        messages_.insert(messages_.end(), other.messages_.begin(), other.messages_.end());
    }

    const std::vector<resource_core::BaseMsgID>& messages() const { return messages_; }
    std::size_t size() const { return messages_.size(); }
    bool empty() const { return messages_.empty(); }
    const_iterator begin() const { return messages_.begin(); }
    const_iterator end() const { return messages_.end(); }
    // True if some message has this identifier ("component:key").
    bool contains(const std::string& identifier) const;

private:
    std::vector<resource_core::BaseMsgID> messages_;
};

inline bool Notification::contains(const std::string& identifier) const {
    for (const auto& m : messages_)
        if (m.getIdentifier() == identifier) return true;
    return false;
}

}  // namespace foundation::core::except
