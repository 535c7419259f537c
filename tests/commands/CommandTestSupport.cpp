#include "commands/CommandTestSupport.hpp"

#include "host/HostServices.hpp"
#include "thornfell/string/StringArray.hpp"

#include <gtest/gtest.h>

namespace tfsp::test {

namespace {
ustring U(const std::string& text) { return fl::i18n::utf8_to_ustring(text); }
}  // namespace

InputMaker Chars(const std::string& text) {
    return [text] {
        const ustring u = U(text);
        return matrix::create(u.data(), u.size());
    };
}

InputMaker CharMatrix(std::size_t rows, std::size_t columns, const std::string& storageOrder) {
    return [=] { return matrix::createCharArray(rows, columns, U(storageOrder)); };
}

InputMaker Str(const std::string& text) {
    return [text] { return Thornfell::String::createStringArray(U(text)); };
}

InputMaker Strings(std::size_t rows, std::size_t columns, std::vector<std::optional<std::string>> elements) {
    return [=] {
        std::vector<std::optional<ustring>> texts;
        for (const auto& element : elements) texts.push_back(element ? std::optional(U(*element)) : std::nullopt);
        return matrix::createStringArray(rows, columns, std::move(texts));
    };
}

InputMaker Missing() { return Strings(1, 1, {std::nullopt}); }
InputMaker Null() {
    return [] { return matrix::unique_array_ptr(); };
}
InputMaker Empty(matrix::ClassID classID) {
    return [classID] { return matrix::createEmpty(classID); };
}
InputMaker Number(double value) {
    return [value] { return matrix::createScalar(value); };
}
InputMaker Stamp(std::uint64_t value) {
    return [value] { return matrix::createScalar(value); };
}

Inputs::Inputs(const std::vector<InputMaker>& makers) {
    for (const auto& make : makers) {
        arrays_.push_back(make());
        pointers_.push_back(arrays_.back().get());
    }
}

std::string Describe(const qvArray_tag* array) {
    if (!array) return "null";
    switch (matrix::getClassID(*array)) {
    case matrix::ClassID::Char: return "char:" + fl::i18n::ustring_to_utf8(matrix::getChars(*array));
    case matrix::ClassID::String: {
        const auto strings = matrix::getStrings(*array);
        if (strings.size() == 1 && strings[0]) return "string:" + fl::i18n::ustring_to_utf8(*strings[0]);
        return "string array of " + std::to_string(strings.size());
    }
    default: return "class " + std::to_string(static_cast<int>(matrix::getClassID(*array)));
    }
}

Raised CallCommand(const std::function<void()>& command) {
    host::takeReportedErrors();
    Raised raised;
    try {
        command();
    } catch (const foundation::core::except::MessageException& e) {
        raised.identifier = e.getMessageID().getIdentifier();
        raised.arguments = e.getMessageID().getArguments();
    }
    const auto reported = host::takeReportedErrors();
    raised.reported = !reported.empty();
    if (raised.reported) {
        EXPECT_EQ(reported.back().getIdentifier(), raised.identifier) << "the one raised is reported";
    }
    return raised;
}

}  // namespace tfsp::test
