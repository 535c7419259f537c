#include "PathCacheReader.hpp"

#include "fl/ustring.hpp"
#include "tfsearch_path/PathFunctions.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace Thornfell::PathManagement {

namespace {

using Traits = std::istream::traits_type;

// White space as isspace() has it in the classic locale, whatever locale the
// process has set: a carriage return counts, the end of the input doesn't.
bool IsWhiteSpace(Traits::int_type c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

[[noreturn]] void Reject() { throw ToolboxCacheWrongFormatException(); }

// The bytes that a stream buffer holds ahead of its position, which
// std::streambuf shows only to its own kind. Each scan below looks at them
// in place first and takes what it read with one step; only a scan that
// reaches their end, or finds a fault, goes on byte by byte, through the
// calls that refill the buffer and leave the stream at the fault. Byte by
// byte everywhere, the reader spent more time on the calls than on the
// bytes.
struct BufferedBytes : std::streambuf {
    static std::string_view Ahead(std::streambuf& buffer) {
        char* (std::streambuf::*const position)() const = &BufferedBytes::gptr;
        char* (std::streambuf::*const end)() const = &BufferedBytes::egptr;
        const char* const begin = (buffer.*position)();
        // No more than one step can take: the rest is seen after it.
        const auto size = std::min<std::size_t>((buffer.*end)() - begin, std::numeric_limits<int>::max());
        return {begin, size};
    }
    // Takes `count` of the bytes ahead, which must be there.
    static void Take(std::streambuf& buffer, std::size_t count) {
        void (std::streambuf::*const bump)(int) = &BufferedBytes::gbump;
        (buffer.*bump)(static_cast<int>(count));
    }
};

// The scan of the bytes, in functions of this file alone, so that the
// compiler calls none of them through the library's symbol table and
// inlines the small ones.

Traits::int_type Peek(std::istream& stream) {
    const Traits::int_type c = stream.rdbuf()->sgetc();
    // The stream says where the input ended, as reading through it would.
    if (Traits::eq_int_type(c, Traits::eof())) stream.setstate(std::ios::eofbit);
    return c;
}

void SkipWhiteSpace(std::istream& stream) {
    std::streambuf& buffer = *stream.rdbuf();
    const std::string_view ahead = BufferedBytes::Ahead(buffer);
    std::size_t count = 0;
    while (count != ahead.size() && IsWhiteSpace(static_cast<unsigned char>(ahead[count]))) ++count;
    BufferedBytes::Take(buffer, count);
    if (count != ahead.size()) return;
    while (IsWhiteSpace(Peek(stream))) buffer.sbumpc();
}

// Each byte is looked at before it is taken, so that a fault leaves the
// stream at the offending byte.
void ExpectByteByByte(std::istream& stream, std::string_view text) {
    for (const char c : text) {
        if (Peek(stream) != Traits::to_int_type(c)) Reject();
        stream.rdbuf()->sbumpc();
    }
}

// Whether `ahead` begins with the literal `text`. Its length known, the
// comparison is a load or two instead of a call.
template <std::size_t Size>
bool StartsWith(std::string_view ahead, const char (&text)[Size]) {
    return ahead.size() >= Size - 1 && std::memcmp(ahead.data(), text, Size - 1) == 0;
}

template <std::size_t Size>
void Expect(std::istream& stream, const char (&text)[Size]) {
    std::streambuf& buffer = *stream.rdbuf();
    if (StartsWith(BufferedBytes::Ahead(buffer), text)) {
        BufferedBytes::Take(buffer, Size - 1);
        return;
    }
    ExpectByteByByte(stream, std::string_view(text, Size - 1));
}

// The letter of the element after a "<" (white space before it skipped).
int NextElement(std::istream& stream) {
    SkipWhiteSpace(stream);
    Expect(stream, "<");
    const Traits::int_type letter = Peek(stream);
    if (letter == Traits::eof()) Reject();
    return letter;
}

// Reads ` name="..."` and gives the name's bytes, valid until the next read:
// in the stream's buffer, where they stay until a later read refills it, or
// in `spill` when the buffer didn't hold them whole.
std::string_view ReadNameBytes(std::istream& stream, std::string& spill) {
    SkipWhiteSpace(stream);
    std::streambuf& buffer = *stream.rdbuf();
    static constexpr char kOpening[] = "name=\"";
    static constexpr std::size_t kOpened = sizeof kOpening - 1;
    if (const std::string_view ahead = BufferedBytes::Ahead(buffer); StartsWith(ahead, kOpening)) {
        if (const std::size_t closing = ahead.find('"', kOpened); closing != std::string_view::npos) {
            BufferedBytes::Take(buffer, closing + 1);
            return ahead.substr(kOpened, closing - kOpened);
        }
    }
    Expect(stream, kOpening);
    // The end of the input before the closing quotation mark. Tested first,
    // so that the getline below always takes a byte and only ever adds the
    // end-of-file state, never the failure state, to the stream.
    if (Traits::eq_int_type(Peek(stream), Traits::eof())) Reject();
    // One buffer for every such name of the file. The getline looks for the
    // quotation mark in the stream's buffer a block at a time.
    std::getline(stream, spill, '"');
    if (!stream.good()) Reject();
    return spill;
}

// A file element whole in the bytes ahead, as the writer writes it or with
// the white space allowed: what the steps above would read, read in place
// with one step at the end. The file's name is in the buffer.
struct FileElement {
    char kind;
    std::string_view name;
    std::size_t length;  // from the bytes' start to past the "/>"
};

std::optional<FileElement> ScanFileElement(std::string_view ahead) {
    std::size_t at = 0;
    const auto skipWhiteSpace = [&] {
        while (at != ahead.size() && IsWhiteSpace(static_cast<unsigned char>(ahead[at]))) ++at;
    };
    skipWhiteSpace();
    if (ahead.size() - at < 2 || ahead[at] != '<') return std::nullopt;
    const char kind = ahead[at + 1];
    if (kind != 'C' && kind != 'N' && kind != 'U') return std::nullopt;
    at += 2;
    skipWhiteSpace();
    static constexpr char kOpening[] = "name=\"";
    if (!StartsWith(ahead.substr(at), kOpening)) return std::nullopt;
    at += sizeof kOpening - 1;
    const std::size_t closing = ahead.find('"', at);
    if (closing == std::string_view::npos || !StartsWith(ahead.substr(closing + 1), "/>")) return std::nullopt;
    return FileElement{kind, ahead.substr(at, closing - at), closing + 3};
}

// The last component of a folder's name as its IRI takes it, empty ones
// and "." skipped; empty for a name of none (the root itself).
ustring_view LastComponent(ustring_view name) {
    for (;;) {
        while (!name.empty() && name.back() == u'/') name.remove_suffix(1);
        const std::size_t slash = name.rfind(u'/');
        const ustring_view last = slash == ustring_view::npos ? name : name.substr(slash + 1);
        if (last != u".") return last;
        name.remove_suffix(last.size());
    }
}

}  // namespace

PathCacheReader::PathCacheReader(std::istream& in, fl::i18n::codecvt_string_to_ustring& textConverter)
    : stream(&in), buffer(in.rdbuf()), converter(&textConverter) {}

void PathCacheReader::OpenFolderAt(std::size_t depth) {
    if (depth == kMaxFolderDepth) Reject();
    if (depth == frames.size()) frames.emplace_back();
    OpenFolder& frame = frames[depth];
    frame.contents = FolderContents();
    // Folders of one installation hold files in similar numbers: room for
    // as many as the folder before had spares most of the growth steps.
    frame.contents.files.reserve(filesInLastFolder);
    frame.fileNameBytes.clear();
    frame.ends.clear();
    frame.ends.reserve(filesInLastFolder);
    frame.contents.name = (*converter)(ReadNameBytes(*stream, nameBytes));
    if (depth != 0 && GetPathEntryTypeFromBaseName(ustring(LastComponent(frame.contents.name))) == Main) Reject();
    Expect(*stream, ">");
}

PathCacheReader::FolderContents PathCacheReader::CloseFolder(OpenFolder& frame) {
    FolderContents& folder = frame.contents;
    const std::string& bytes = frame.fileNameBytes;
    filesInLastFolder = folder.files.size();
    // Each file's name gives its view by the place where its bytes end.
    assert(frame.ends.size() == folder.files.size());
    // No byte gives more than one unit: the text is cut to its size.
    auto text = std::make_unique<ustring>(bytes.size(), u'\0');
    // All names at once. Where each byte gave one unit, no sequence was
    // decoded, none ran from one name into the next, and names end where
    // their bytes do: so it is for names in ASCII. Else each name again on
    // its own.
    std::size_t written = converter->widen(bytes, text->data());
    if (written != bytes.size()) {
        std::size_t start = 0;
        written = 0;
        for (std::size_t& end : frame.ends) {
            written += converter->widen(std::string_view(bytes).substr(start, end - start), text->data() + written);
            start = std::exchange(end, written);
        }
    }
    text->resize(written);
    fl::i18n::for_each_name_view(*text, std::span<const std::size_t>(frame.ends.data(), frame.ends.size()),
                                 [&](std::size_t i, ustring_view name) { folder.files[i].name = name; });
    folder.fileNameText = std::move(text);
    return std::move(folder);
}

PathCacheReader::FolderContents PathCacheReader::ReadFolder() {
    // Nesting is followed on `frames`, not on the call stack, so that a deep
    // file costs heap rather than overflowing the stack of a small thread.
    std::size_t depth = 0;
    OpenFolderAt(depth);
    for (;;) {
        OpenFolder& frame = frames[depth];
        const auto addFile = [&frame](char kind, std::string_view name) {
            frame.fileNameBytes += name;
            frame.ends.push_back(frame.fileNameBytes.size());
            frame.contents.files.push_back({ustring_view(), kind});
        };
        if (const std::optional<FileElement> file = ScanFileElement(BufferedBytes::Ahead(*buffer))) {
            addFile(file->kind, file->name);
            BufferedBytes::Take(*buffer, file->length);
            continue;
        }
        switch (const int letter = NextElement(*stream)) {
        case '/': {
            buffer->sbumpc();
            Expect(*stream, "D>");
            FolderContents folder = CloseFolder(frame);
            if (depth == 0) return folder;
            frames[--depth].contents.subfolders.push_back(std::move(folder));
            break;
        }
        case 'D':
            buffer->sbumpc();
            OpenFolderAt(++depth);
            break;
        case 'C':
        case 'N':
        case 'U':
            buffer->sbumpc();
            addFile(static_cast<char>(letter), ReadNameBytes(*stream, nameBytes));
            Expect(*stream, "/>");
            break;
        default: Reject();
        }
    }
}

void PathCacheReader::ReadFolders(const std::function<void(std::shared_ptr<FolderContents>)>& onFolder) {
    // A stream that already failed, or has no buffer, has nothing to read.
    if (!stream->good() || !buffer) Reject();
    SkipWhiteSpace(*stream);
    Expect(*stream, "<Thornfell type=\"Path Cache File\" version=\"2.0\" date=");
    // The date is for people; nothing reads it.
    for (Traits::int_type c = buffer->sbumpc(); c != '>'; c = buffer->sbumpc()) {
        if (Traits::eq_int_type(c, Traits::eof())) {
            stream->setstate(std::ios::eofbit);
            Reject();
        }
    }
    for (;;) {
        switch (NextElement(*stream)) {
        case '/':
            buffer->sbumpc();
            Expect(*stream, "Thornfell>");
            return;  // what follows the end line isn't read
        case 'D':
            buffer->sbumpc();
            onFolder(std::make_shared<FolderContents>(ReadFolder()));
            break;
        default: Reject();
        }
    }
}

}  // namespace Thornfell::PathManagement
