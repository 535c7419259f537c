#pragma once
// An exception that carries a message of the catalogue: its identifier and
// its arguments. The host's commands raise their failures as these, and the
// host shows the catalogue's words for them.
#include "foundation/core/except/Exception.hpp"
#include "resource_core/BaseMsgID.hpp"

#include <string>

namespace foundation::core::except {

class MessageException : public Exception<IException, std::exception, void> {
public:
    explicit MessageException(resource_core::BaseMsgID message);

    const resource_core::BaseMsgID& getMessageID() const { return message_; }
    // The identifier, "component:key"; the words belong to the catalogue.
    const char* what() const noexcept override;

private:
    resource_core::BaseMsgID message_;
    std::string identifier_;
};

}  // namespace foundation::core::except
