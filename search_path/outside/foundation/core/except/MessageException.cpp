#include "foundation/core/except/MessageException.hpp"

#include <utility>

namespace foundation::core::except {

MessageException::MessageException(resource_core::BaseMsgID message)
    : message_(std::move(message)), identifier_(message_.getIdentifier()) {}

const char* MessageException::what() const noexcept { return identifier_.c_str(); }

}  // namespace foundation::core::except
