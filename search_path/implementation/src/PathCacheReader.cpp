#include "PathCacheReader.hpp"

#include <limits>
#include <string>

namespace Thornfell::PathManagement {

namespace {

using Traits = std::istream::traits_type;

// White space as isspace() has it in the classic locale, whatever locale the
// process has set: a carriage return counts, the end of the input doesn't.
bool IsWhiteSpace(Traits::int_type c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

[[noreturn]] void Reject() { throw ToolboxCacheWrongFormatException(); }

// A name is read into a buffer of this capacity, so that a path of ordinary
// length costs a single allocation.
constexpr std::size_t kNameCapacity = 1295;

} // namespace

PathCacheReader::PathCacheReader(std::istream& in, fl::i18n::codecvt_string_to_ustring& textConverter)
    : stream(&in), converter(&textConverter) {}

void PathCacheReader::SkipWhiteSpace() {
    while (IsWhiteSpace(stream->peek())) stream->get();
}

void PathCacheReader::Expect(const char* text) {
    // Each byte is looked at before it is taken, so that a fault leaves the
    // stream at the offending byte.
    for (; *text; ++text) {
        if (stream->peek() != Traits::to_int_type(*text)) Reject();
        stream->get();
    }
}

int PathCacheReader::NextElement() {
    SkipWhiteSpace();
    Expect("<");
    const Traits::int_type letter = stream->peek();
    if (letter == Traits::eof()) Reject();
    return letter;
}

ustring PathCacheReader::ReadName() {
    SkipWhiteSpace();
    Expect("name=\"");
    std::string bytes;
    bytes.reserve(kNameCapacity);
    std::getline(*stream, bytes, '"');
    // The end of the input before the closing quotation mark.
    if (!stream->good()) Reject();
    return (*converter)(bytes);
}

PathCacheReader::FolderContents PathCacheReader::ReadFolder(std::size_t depth) {
    if (depth > kMaxFolderDepth) Reject();
    FolderContents folder;
    folder.name = ReadName();
    Expect(">");
    for (;;) {
        switch (const int letter = NextElement()) {
        case '/':
            stream->get();
            Expect("D>");
            return folder;
        case 'D':
            stream->get();
            folder.subfolders.push_back(ReadFolder(depth + 1));
            break;
        case 'C':
        case 'N':
        case 'U':
            stream->get();
            folder.files.push_back({ReadName(), static_cast<char>(letter)});
            Expect("/>");
            break;
        default: Reject();
        }
    }
}

void PathCacheReader::ReadFolders(const std::function<void(std::shared_ptr<FolderContents>)>& onFolder) {
    SkipWhiteSpace();
    Expect("<Thornfell type=\"Path Cache File\" version=\"2.0\" date=");
    // The date is for people; nothing reads it.
    stream->ignore(std::numeric_limits<std::streamsize>::max(), '>');
    if (!stream->good()) Reject();
    for (;;) {
        switch (NextElement()) {
        case '/':
            stream->get();
            Expect("Thornfell>");
            return;  // what follows the end line isn't read
        case 'D':
            stream->get();
            onFolder(std::make_shared<FolderContents>(ReadFolder(1)));
            break;
        default: Reject();
        }
    }
}

} // namespace Thornfell::PathManagement
