#pragma once
// A message: an identifier ("ORVIAN:mpath" plus a key) and its arguments.
// The words belong to the message catalogue (fl/i18n/MessageCatalog.hpp).
#include "fl/ustring.hpp"

#include <string>
#include <utility>
#include <vector>

namespace resource_core {

class BaseMsgID {
public:
    BaseMsgID(std::string component, std::string key, std::vector<ustring> arguments = {})
        : component_(std::move(component)), key_(std::move(key)), arguments_(std::move(arguments)) {}

    const std::string& getComponent() const { return component_; }
    const std::string& getKey() const { return key_; }
    // "component:key", e.g. "ORVIAN:mpath:packagesMustBeLastOnPath".
    std::string getIdentifier() const { return component_ + ":" + key_; }
    const std::vector<ustring>& getArguments() const { return arguments_; }

    friend bool operator==(const BaseMsgID&, const BaseMsgID&) = default;

private:
    std::string component_;
    std::string key_;
    std::vector<ustring> arguments_;
};

}  // namespace resource_core
