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

#include <boost/container/small_vector.hpp>

#include <climits>
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
    // Folder elements nest at most this deep. The bound is for inputs that
    // no writer made (a million levels of nesting): every level below a
    // folder adds a separator and a name to its path, so no folder of a
    // path within PATH_MAX bytes lies this deep, and the writer leaves out
    // a folder that holds anything deeper. Nesting costs the reader heap,
    // not stack: open folders are frames of a stack of its own.
    static constexpr std::size_t kMaxFolderDepth = PATH_MAX / 2;

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
    // A nested folder must have a special base name ("+", "@", "private",
    // "resources"): one with a plain name is refused with the stream just
    // past that name, so that whoever reads the file, to load or to check
    // it, refuses the same files at the same byte.
    void ReadFolders(const std::function<void(std::shared_ptr<FolderContents>)>& onFolder);

private:
    // A folder element that is open, with what its files gathered so far.
    struct OpenFolder {
        FolderContents contents;
        // The bytes of the file names, one after another, converted when the
        // folder closes: one conversion into a text of the right size instead
        // of a text grown name by name. Kept from one folder at this depth to
        // the next, so that its room is reused.
        std::string fileNameBytes;
        // Where each file's name ends in `fileNameBytes`, and then in the text.
        boost::container::small_vector<std::size_t, 64> ends;
    };

    // The reader takes bytes from the stream's buffer itself: a stream call
    // for each byte would cost more than all the rest of the reading.
    // Entered after the "<D" of a top-level folder; reads it and everything
    // nested in it.
    FolderContents ReadFolder();
    // Reads the start of a folder element after its "<D" into the frame of
    // `depth` (0 for a top-level folder).
    void OpenFolderAt(std::size_t depth);
    // The folder of `frame`, its file names converted, taken out of it.
    FolderContents CloseFolder(OpenFolder& frame);

    std::istream* stream;
    std::streambuf* buffer;
    fl::i18n::codecvt_string_to_ustring* converter;
    std::string nameBytes;  // a name's bytes when the buffer didn't hold them whole
    // One frame for each depth reached so far; those up to the innermost
    // open folder are in use.
    std::vector<OpenFolder> frames;
    std::size_t filesInLastFolder = 0;  // of the folder closed last
};

}  // namespace Thornfell::PathManagement
