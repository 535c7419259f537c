#pragma once
// The host's arrays, as far as the commands of the search path use them.
//
// An array has a class, two dimensions (rows and columns) and its elements
// in storage order, column after column: a 2-by-3 character matrix holds its
// first column first. Character arrays hold UTF-16 code units, string arrays
// texts that may be missing, numeric arrays their values. Arrays are made
// here and read through the functions below; their layout stays inside.
//
// Commands get their inputs as `const qvArray_tag*` (any of them may be
// null) and hand their outputs over as plain pointers that the caller owns
// from then on (`to_orvian`).
#include "fl/ustring.hpp"
#include "foundation/core/except/MessageException.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

struct qvArray_tag;

namespace matrix {

enum class ClassID { Char, String, Uint64, Double };

namespace detail {
struct qvDestroy_deleter {
    void operator()(qvArray_tag* array) const noexcept;
};
}  // namespace detail

using unique_array_ptr = std::unique_ptr<qvArray_tag, detail::qvDestroy_deleter>;

// A 1-by-n character row vector of the text: UTF-8 bytes, or UTF-16 code
// units. A length of 0 gives an empty array of 0 rows and 0 columns.
unique_array_ptr create(const char* text, std::size_t length);
unique_array_ptr create(const char16_t* text, std::size_t length);
// A character array of any shape, its code units given in storage order.
// Throws std::invalid_argument when their number isn't rows * columns.
unique_array_ptr createCharArray(std::size_t rows, std::size_t columns, ustring_view storageOrder);
// A string array of any shape; an element without a value is missing.
// Throws std::invalid_argument when the count isn't rows * columns.
unique_array_ptr createStringArray(std::size_t rows, std::size_t columns, std::vector<std::optional<ustring>> elements);
// 1-by-1 numeric arrays.
unique_array_ptr createScalar(std::uint64_t value);
unique_array_ptr createScalar(double value);
// A 0-by-0 array of the class.
unique_array_ptr createEmpty(ClassID classID);

// Hands the array to the caller of a command, who owns it from then on.
qvArray_tag* to_orvian(unique_array_ptr array);

// The caller's side of a command's outputs: slots that the command fills
// with arrays it hands over, freed with this object.
class OutputSlots {
public:
    OutputSlots() = default;
    OutputSlots(const OutputSlots&) = delete;
    OutputSlots& operator=(const OutputSlots&) = delete;
    ~OutputSlots();

    qvArray_tag** data() { return slots_.data(); }
    const qvArray_tag* operator[](std::size_t i) const { return slots_[i]; }

private:
    std::array<qvArray_tag*, 2> slots_{};
};

ClassID getClassID(const qvArray_tag& array);
std::size_t getM(const qvArray_tag& array);  // rows
std::size_t getN(const qvArray_tag& array);  // columns
std::size_t getNumberOfElements(const qvArray_tag& array);
// The elements as the host keeps them, and the size in bytes of one; for a
// string array, the elements are std::optional<ustring>. Null when there are
// no elements.
const void* getData(const qvArray_tag& array);
std::size_t getElementSize(const qvArray_tag& array);
// The code units of a character array in storage order; empty for any
// other class.
ustring_view getChars(const qvArray_tag& array);
// The elements of a string array in storage order; empty for any other class.
std::span<const std::optional<ustring>> getStrings(const qvArray_tag& array);

namespace detail {
// The host's standard argument errors: too many outputs asked for, too many
// inputs, too few inputs. Each throws the MessageException of
// "ORVIAN:maxlhs", "ORVIAN:maxrhs" or "ORVIAN:minrhs".
[[noreturn]] void error_maxlhs();
[[noreturn]] void error_maxrhs();
[[noreturn]] void error_minrhs();

// Reports a command's failure to the host, which shows it once the command
// has thrown it. The stand-in keeps them for host::takeReportedErrors.
void do_legacy_qv_error(const foundation::core::except::MessageException& exception);
}  // namespace detail

}  // namespace matrix

// A character row vector of a zero-terminated UTF-8 string; the caller owns
// it.
qvArray_tag* qvCreateString(const char* text);
