#include "CommandArguments.hpp"

#include "thornfell/string/StringArray.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"

namespace Thornfell::PathManagement::detail {

namespace {

[[noreturn]] void RefuseText(MessageIdentifier refusal) {
    throw foundation::core::except::MessageException(refusal.Message());
}

}  // namespace

ustring_view GetTextArgument(const qvArray_tag* argument, bool strict) {
    if (!argument) RefuseText(MessageIds::string::MustBeStringScalarOrCharacterVector);
    if (matrix::getClassID(*argument) == matrix::ClassID::Char) {
        const bool rowOrEmpty =
            matrix::getM(*argument) == 1 || (matrix::getM(*argument) == 0 && matrix::getN(*argument) == 0);
        if (rowOrEmpty || !strict) return matrix::getChars(*argument);
    }
    if (!Thornfell::String::isString(argument)) RefuseText(MessageIds::string::MustBeStringScalarOrCharacterVector);
    const auto elements = Thornfell::String::getString(argument);
    if (elements.size() != 1) RefuseText(MessageIds::string::MustBeStringScalarOrCharacterVector);
    if (!elements.front()) RefuseText(MessageIds::string::MissingNotSupported);
    return *elements.front();
}

void RaiseMessage(resource_core::BaseMsgID message) {
    foundation::core::except::MessageException exception(std::move(message));
    matrix::detail::do_legacy_qv_error(exception);
    throw exception;
}

}  // namespace Thornfell::PathManagement::detail
