#include "HostArrays.hpp"

#include "ExitStatus.hpp"

#include "fl/i18n/MessageCatalog.hpp"

namespace tfpath {

matrix::unique_array_ptr TextArgument(const std::string& text) { return matrix::create(text.data(), text.size()); }

std::string TextOf(const qvArray_tag* array) {
    if (!array) return "";
    if (matrix::getClassID(*array) == matrix::ClassID::Char) return fl::i18n::ustring_to_utf8(matrix::getChars(*array));
    const auto strings = matrix::getStrings(*array);
    return strings.size() == 1 && strings.front() ? fl::i18n::ustring_to_utf8(*strings.front()) : "";
}

std::string Describe(const foundation::core::except::MessageException& exception) {
    return exception.getMessageID().getIdentifier() + ": " +
           fl::i18n::MessageCatalog::formatUtf8(exception.getMessageID());
}

void RunHostCommand(const std::function<void()>& command) {
    try {
        command();
    } catch (const foundation::core::except::MessageException& e) {
        throw BadInput(Describe(e));
    }
}

}  // namespace tfpath
