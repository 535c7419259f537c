#pragma once
// Calling host commands as the host does: inputs made from small
// descriptions, outputs owned by the call, and what a command raised.
#include "matrix/Matrix.hpp"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tfsp::test {

// Makes one input array; may give null.
using InputMaker = std::function<matrix::unique_array_ptr()>;

InputMaker Chars(const std::string& text);
InputMaker CharMatrix(std::size_t rows, std::size_t columns, const std::string& storageOrder);
InputMaker Str(const std::string& text);
InputMaker Strings(std::size_t rows, std::size_t columns, std::vector<std::optional<std::string>> elements);
InputMaker Missing();
InputMaker Null();
InputMaker Empty(matrix::ClassID classID);
InputMaker Number(double value);
InputMaker Stamp(std::uint64_t value);

// The inputs of one call, alive as long as it.
class Inputs {
public:
    explicit Inputs(const std::vector<InputMaker>& makers);
    int count() const { return static_cast<int>(pointers_.size()); }
    const qvArray_tag** data() { return pointers_.data(); }
    // For the commands whose inputs aren't const.
    qvArray_tag** mutableData() { return const_cast<qvArray_tag**>(pointers_.data()); }

private:
    std::vector<matrix::unique_array_ptr> arrays_;
    std::vector<const qvArray_tag*> pointers_;
};

// What an output holds, as "char:TEXT", "string:TEXT" or "null"; other
// arrays as "class N".
std::string Describe(const qvArray_tag* array);

// What one call raised: the identifier of the MessageException, empty when
// it returned; and whether the host was told of it (do_legacy_qv_error).
struct Raised {
    std::string identifier;
    bool reported = false;
    std::vector<ustring> arguments;
};
Raised CallCommand(const std::function<void()>& command);

}  // namespace tfsp::test
