#pragma once
// The English texts of every message identifier the system raises.
#include "resource_core/BaseMsgID.hpp"

#include <optional>
#include <string>

namespace fl::i18n {

class MessageCatalog {
public:
    // The text of an identifier with "{1}", "{2}", ... for its arguments, or
    // nothing for an identifier the catalogue doesn't know.
    static std::optional<std::string> findTemplate(const std::string& identifier);
    // The message with its arguments filled in. An unknown identifier gives
    // the identifier followed by its arguments, so nothing is ever lost.
    static ustring format(const resource_core::BaseMsgID& message);
    static std::string formatUtf8(const resource_core::BaseMsgID& message);
};

}  // namespace fl::i18n
