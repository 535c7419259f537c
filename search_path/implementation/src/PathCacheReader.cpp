#include "PathCacheReader.hpp"

#include "fl/ustring.hpp"

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

} // namespace

PathCacheReader::PathCacheReader(std::istream& in, fl::i18n::codecvt_string_to_ustring& textConverter)
    : stream(&in), buffer(in.rdbuf()), converter(&textConverter) {}

// The helpers that look at each byte are inline, so that the scan calls
// none of them through the library's symbol table.
inline Traits::int_type PathCacheReader::Peek() {
    const Traits::int_type c = buffer->sgetc();
    // The stream says where the input ended, as reading through it would.
    if (Traits::eq_int_type(c, Traits::eof())) stream->setstate(std::ios::eofbit);
    return c;
}

inline void PathCacheReader::SkipWhiteSpace() {
    while (IsWhiteSpace(Peek())) buffer->sbumpc();
}

inline void PathCacheReader::Expect(const char* text) {
    // Each byte is looked at before it is taken, so that a fault leaves the
    // stream at the offending byte.
    for (; *text; ++text) {
        if (Peek() != Traits::to_int_type(*text)) Reject();
        buffer->sbumpc();
    }
}

int PathCacheReader::NextElement() {
    SkipWhiteSpace();
    Expect("<");
    const Traits::int_type letter = Peek();
    if (letter == Traits::eof()) Reject();
    return letter;
}

void PathCacheReader::ReadNameBytes() {
    SkipWhiteSpace();
    Expect("name=\"");
    // The end of the input before the closing quotation mark. Tested first,
    // so that the getline below always takes a byte and only ever adds the
    // end-of-file state, never the failure state, to the stream.
    if (Traits::eq_int_type(Peek(), Traits::eof())) Reject();
    // One buffer for every name of the file: most names fit in what the
    // names before them left. The getline looks for the quotation mark in
    // the stream's buffer a block at a time, not a byte at a time.
    std::getline(*stream, nameBytes, '"');
    if (!stream->good()) Reject();
}

ustring PathCacheReader::ReadName() {
    ReadNameBytes();
    return (*converter)(nameBytes);
}

PathCacheReader::FolderContents PathCacheReader::ReadFolder(std::size_t depth) {
    if (depth > kMaxFolderDepth) Reject();
    FolderContents folder;
    // Folders of one installation hold files in similar numbers: room for
    // as many as the folder before had spares most of the growth steps.
    folder.files.reserve(filesInLastFolder);
    auto text = std::make_unique<ustring>();
    text->reserve(textInLastFolder);
    // Where each file's name ends in the text: the views are taken once the
    // text has stopped growing.
    std::vector<std::size_t> ends;
    ends.reserve(filesInLastFolder);
    folder.name = ReadName();
    Expect(">");
    for (;;) {
        switch (const int letter = NextElement()) {
        case '/': {
            buffer->sbumpc();
            Expect("D>");
            filesInLastFolder = folder.files.size();
            textInLastFolder = text->size();
            fl::i18n::for_each_name_view(*text, ends,
                                         [&](std::size_t i, ustring_view name) { folder.files[i].name = name; });
            folder.fileNameText = std::move(text);
            return folder;
        }
        case 'D':
            buffer->sbumpc();
            folder.subfolders.push_back(ReadFolder(depth + 1));
            break;
        case 'C':
        case 'N':
        case 'U':
            buffer->sbumpc();
            ReadNameBytes();
            converter->append(*text, nameBytes);
            ends.push_back(text->size());
            folder.files.push_back({ustring_view(), static_cast<char>(letter)});
            Expect("/>");
            break;
        default: Reject();
        }
    }
}

void PathCacheReader::ReadFolders(const std::function<void(std::shared_ptr<FolderContents>)>& onFolder) {
    // A stream that already failed, or has no buffer, has nothing to read.
    if (!stream->good() || !buffer) Reject();
    SkipWhiteSpace();
    Expect("<Thornfell type=\"Path Cache File\" version=\"2.0\" date=");
    // The date is for people; nothing reads it.
    for (Traits::int_type c = buffer->sbumpc(); c != '>'; c = buffer->sbumpc()) {
        if (Traits::eq_int_type(c, Traits::eof())) {
            stream->setstate(std::ios::eofbit);
            Reject();
        }
    }
    for (;;) {
        switch (NextElement()) {
        case '/':
            buffer->sbumpc();
            Expect("Thornfell>");
            return;  // what follows the end line isn't read
        case 'D':
            buffer->sbumpc();
            onFolder(std::make_shared<FolderContents>(ReadFolder(1)));
            break;
        default: Reject();
        }
    }
}

} // namespace Thornfell::PathManagement
