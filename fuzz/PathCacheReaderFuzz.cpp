// Any input is either read or rejected with the format exception: any other
// exception, a crash, a read past the input or unbounded memory is a finding.
//
// The reader reads straight from the fuzzer's buffer, which is allocated to
// the byte, so that AddressSanitizer sees a read past the end of the input.
#include "PathCacheReader.hpp"

#include <cstdint>
#include <cstdlib>
#include <streambuf>

namespace {

using Thornfell::PathManagement::PathCacheReader;

class InputBuffer : public std::streambuf {
public:
    InputBuffer(const std::uint8_t* data, std::size_t size) {
        // The get area is only read from; streambuf wants plain pointers.
        char* begin = const_cast<char*>(reinterpret_cast<const char*>(data));
        setg(begin, begin, begin + size);
    }
};

// What the reader hands out keeps the format's own limits.
void Check(const PathCacheReader::FolderContents& folder, std::size_t depth) {
    if (depth > PathCacheReader::kMaxFolderDepth) std::abort();
    for (const auto& file : folder.files)
        if (file.kind != 'C' && file.kind != 'N' && file.kind != 'U') std::abort();
    for (const auto& subfolder : folder.subfolders) Check(subfolder, depth + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    InputBuffer buffer(data, size);
    std::istream in(&buffer);
    fl::i18n::codecvt_string_to_ustring fromUtf8("UTF-8", true);
    PathCacheReader reader(in, fromUtf8);
    try {
        reader.ReadFolders([](std::shared_ptr<PathCacheReader::FolderContents> folder) { Check(*folder, 1); });
    } catch (const Thornfell::PathManagement::ToolboxCacheWrongFormatException&) {
    }
    return 0;
}
