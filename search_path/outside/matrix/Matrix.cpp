#include "matrix/Matrix.hpp"

#include "host/HostServices.hpp"

#include <stdexcept>
#include <string_view>
#include <utility>
#include <variant>

// The elements, one alternative for each class, in the order of ClassID.
struct qvArray_tag {
    using Elements =
        std::variant<ustring, std::vector<std::optional<ustring>>, std::vector<std::uint64_t>, std::vector<double>>;
    std::size_t rows = 0;
    std::size_t columns = 0;
    Elements elements;
};

namespace matrix {

namespace {

unique_array_ptr make(std::size_t rows, std::size_t columns, qvArray_tag::Elements elements) {
    return unique_array_ptr(new qvArray_tag{rows, columns, std::move(elements)});
}

void checkCount(std::size_t rows, std::size_t columns, std::size_t count) {
    if (rows * columns != count) throw std::invalid_argument("the number of elements doesn't fit the dimensions");
}

resource_core::BaseMsgID standardError(const char* key) { return resource_core::BaseMsgID("ORVIAN", key); }

}  // namespace

namespace detail {

void qvDestroy_deleter::operator()(qvArray_tag* array) const noexcept { delete array; }

void error_maxlhs() { throw foundation::core::except::MessageException(standardError("maxlhs")); }
void error_maxrhs() { throw foundation::core::except::MessageException(standardError("maxrhs")); }
void error_minrhs() { throw foundation::core::except::MessageException(standardError("minrhs")); }

void do_legacy_qv_error(const foundation::core::except::MessageException& exception) {
    host::noteReportedError(exception.getMessageID());
}

}  // namespace detail

unique_array_ptr create(const char16_t* text, std::size_t length) {
    if (length == 0) return createEmpty(ClassID::Char);
    return make(1, length, ustring(text, length));
}

unique_array_ptr create(const char* text, std::size_t length) {
    const ustring converted = fl::i18n::utf8_to_ustring(std::string_view(text, length));
    return create(converted.data(), converted.size());
}

unique_array_ptr createCharArray(std::size_t rows, std::size_t columns, ustring_view storageOrder) {
    checkCount(rows, columns, storageOrder.size());
    return make(rows, columns, ustring(storageOrder));
}

unique_array_ptr createStringArray(std::size_t rows, std::size_t columns,
                                   std::vector<std::optional<ustring>> elements) {
    checkCount(rows, columns, elements.size());
    return make(rows, columns, std::move(elements));
}

unique_array_ptr createScalar(std::uint64_t value) { return make(1, 1, std::vector<std::uint64_t>{value}); }
unique_array_ptr createScalar(double value) { return make(1, 1, std::vector<double>{value}); }

unique_array_ptr createEmpty(ClassID classID) {
    switch (classID) {
    case ClassID::Char: return make(0, 0, ustring());
    case ClassID::String: return make(0, 0, std::vector<std::optional<ustring>>());
    case ClassID::Uint64: return make(0, 0, std::vector<std::uint64_t>());
    case ClassID::Double: break;
    }
    return make(0, 0, std::vector<double>());
}

qvArray_tag* to_orvian(unique_array_ptr array) { return array.release(); }

OutputSlots::~OutputSlots() {
    for (qvArray_tag* slot : slots_) unique_array_ptr owned(slot);
}

ClassID getClassID(const qvArray_tag& array) { return static_cast<ClassID>(array.elements.index()); }
std::size_t getM(const qvArray_tag& array) { return array.rows; }
std::size_t getN(const qvArray_tag& array) { return array.columns; }
std::size_t getNumberOfElements(const qvArray_tag& array) { return array.rows * array.columns; }

const void* getData(const qvArray_tag& array) {
    return std::visit([](const auto& elements) -> const void* { return elements.empty() ? nullptr : elements.data(); },
                      array.elements);
}

std::size_t getElementSize(const qvArray_tag& array) {
    return std::visit([](const auto& elements) { return sizeof(elements[0]); }, array.elements);
}

ustring_view getChars(const qvArray_tag& array) {
    const auto* chars = std::get_if<ustring>(&array.elements);
    return chars ? ustring_view(*chars) : ustring_view();
}

std::span<const std::optional<ustring>> getStrings(const qvArray_tag& array) {
    const auto* strings = std::get_if<std::vector<std::optional<ustring>>>(&array.elements);
    return strings ? std::span<const std::optional<ustring>>(*strings) : std::span<const std::optional<ustring>>();
}

}  // namespace matrix

qvArray_tag* qvCreateString(const char* text) {
    const std::string_view view = text ? std::string_view(text) : std::string_view();
    return matrix::to_orvian(matrix::create(view.data(), view.size()));
}
