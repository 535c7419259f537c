#pragma once
// The scanner of the toolbox cache file. The file looks like XML but isn't
// read as XML: the reader compares it byte by byte against the fixed strings
// the writer writes, allows free white space only before each "<" and before
// "name=", and rejects everything else with ToolboxCacheWrongFormatException.
//
//   <Thornfell type="Path Cache File" version="2.0" date="...">
//    <D name="folder/relative/to/root">
//     <D name="folder/relative/to/root/+pkg"> ... </D>
//     <C name="file.ext"/>            (C, N or U: the item's content kind)
//    </D>
//   </Thornfell>
//
// Names have no escapes: a name ends at the first quotation mark.
#include "fl/i18n/TextConverters.hpp"
#include "tfsearch_path/ToolboxCacheWrongFormatException.hpp"

#include <cstddef>
#include <functional>
#include <istream>
#include <memory>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace Thornfell::PathManagement {

class PathCacheReader {
public:
    // Folder elements nest at most this deep. Nested elements are special
    // folders (packages inside packages, a class's private folder, ...):
    // no installation comes near it, and it bounds the reader's recursion
    // and the loader's on any input.
    static constexpr std::size_t kMaxFolderDepth = 64;

    struct FileContents {
        ustring_view name;  // into the folder's fileNameText
        char kind;          // 'C', 'N' or 'U'
    };

    struct FolderContents {
        ustring name;
        std::vector<FolderContents> subfolders;
        // The files' names one after another, in one buffer rather than one
        // allocation each on the reading thread; held apart, so that the
        // views of `files` stay valid wherever the folder is moved.
        std::unique_ptr<const ustring> fileNameText;
        std::vector<FileContents> files;
    };

    // Keeps both references; neither is owned.
    PathCacheReader(std::istream& stream, fl::i18n::codecvt_string_to_ustring& converter);

    // Reads from the stream's position to the end line and no further,
    // calling `onFolder` on this thread for each top-level folder as soon as
    // its closing tag has been read. Throws ToolboxCacheWrongFormatException
    // at the first fault, with the stream standing at the offending byte (or
    // at the end of the input); what `onFolder` got before stays given.
    void ReadFolders(const std::function<void(std::shared_ptr<FolderContents>)>& onFolder);

private:
    // The reader takes bytes from the stream's buffer itself: a stream call
    // for each byte would cost more than all the rest of the reading.
    // Entered after "<D"; `depth` is 1 for a top-level folder.
    FolderContents ReadFolder(std::size_t depth);

    std::istream* stream;
    std::streambuf* buffer;
    fl::i18n::codecvt_string_to_ustring* converter;
    std::string nameBytes;  // a name's bytes when the buffer didn't hold them whole
    // The bytes of the file names of the folder open at each depth, one
    // after another, converted when the folder closes: one conversion into
    // a text of the right size instead of a text grown name by name. Made
    // for every depth at once, so that none moves while a parent uses it.
    std::vector<std::string> fileNameBytes;
    std::size_t filesInLastFolder = 0;  // of the folder closed last
};

} // namespace Thornfell::PathManagement
