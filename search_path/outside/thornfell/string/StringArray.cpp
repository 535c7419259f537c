#include "thornfell/string/StringArray.hpp"

namespace Thornfell::String {

bool isString(const qvArray_tag* array) { return array && matrix::getClassID(*array) == matrix::ClassID::String; }

std::span<const std::optional<ustring>> getString(const qvArray_tag* array) {
    return array ? matrix::getStrings(*array) : std::span<const std::optional<ustring>>();
}

bool isNonMissingScalarText(const qvArray_tag* array, CharTolerance tolerance) {
    if (!array) return false;
    if (matrix::getClassID(*array) == matrix::ClassID::Char) {
        if (tolerance == CharTolerance::AnyShape) return true;
        return matrix::getM(*array) == 1 || (matrix::getM(*array) == 0 && matrix::getN(*array) == 0);
    }
    const auto strings = getString(array);
    return strings.size() == 1 && strings.front().has_value();
}

matrix::unique_array_ptr createStringArray(const ustring& text) { return matrix::createStringArray(1, 1, {text}); }

}  // namespace Thornfell::String
