// The cache reader accepts what the writer writes and a little free white
// space, and nothing else; it hands out each top-level folder as soon as it
// is closed, and stops at the end line.
#include "PathCacheReader.hpp"

#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace tfsp::test {
namespace {

using Thornfell::PathManagement::PathCacheReader;
using Thornfell::PathManagement::ToolboxCacheWrongFormatException;

const std::string kStart = "<Thornfell type=\"Path Cache File\" version=\"2.0\" date=\"Thu Nov 19 04:12:03 2026\">\n";
const std::string kEnd = "</Thornfell>\n";

// "name[subfolders files]" with files as "K:name", all in file order.
std::string Dump(const PathCacheReader::FolderContents& folder) {
    std::string text = fl::i18n::ustring_to_utf8(folder.name) + "[";
    std::string separator;
    for (const auto& sub : folder.subfolders) text += std::exchange(separator, " ") + Dump(sub);
    for (const auto& file : folder.files)
        text += std::exchange(separator, " ") + file.kind + ":" + fl::i18n::ustring_to_utf8(file.name);
    return text + "]";
}

struct ReadResult {
    std::string folders;  // the dumps of the folders handed out, separated by " | "
    bool rejected = false;
    std::streamoff stoppedAt = -1;
};

// Hands out the text a few bytes at a time, as a file's buffer does at the
// end of each block it reads: every scan of the reader then also meets the
// end of what the buffer holds, in every place.
class TricklingBuffer : public std::streambuf {
public:
    TricklingBuffer(std::string text, std::size_t step) : text_(std::move(text)), step_(step) {
        setg(text_.data(), text_.data(), text_.data());
    }

protected:
    int_type underflow() override {
        const std::size_t at = static_cast<std::size_t>(gptr() - eback());
        if (at == text_.size()) return traits_type::eof();
        setg(eback(), gptr(), eback() + std::min(text_.size(), at + step_));
        return traits_type::to_int_type(*gptr());
    }
    // Only what tellg asks: the position.
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode) override {
        if (offset != 0 || from != std::ios::cur) return pos_type(off_type(-1));
        return pos_type(gptr() - eback());
    }

private:
    std::string text_;
    const std::size_t step_;
};

// The same text whole in a string stream, and trickled in steps of a few
// bytes.
constexpr std::size_t kWhole = 0;
constexpr std::size_t kSteps[] = {kWhole, 1, 2, 3, 7};

ReadResult Read(const std::string& text, std::size_t step = kWhole) {
    std::istringstream whole(text);
    TricklingBuffer trickle(text, step);
    std::istream trickled(&trickle);
    std::istream& in = step == kWhole ? static_cast<std::istream&>(whole) : trickled;
    fl::i18n::codecvt_string_to_ustring converter("UTF-8", true);
    PathCacheReader reader(in, converter);
    ReadResult result;
    try {
        reader.ReadFolders([&](std::shared_ptr<PathCacheReader::FolderContents> folder) {
            result.folders += (result.folders.empty() ? "" : " | ") + Dump(*folder);
        });
    } catch (const ToolboxCacheWrongFormatException&) {
        result.rejected = true;
    }
    in.clear();
    result.stoppedAt = in.tellg();
    return result;
}

std::string Nested(std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) text += "<D name=\"+p\">";
    for (std::size_t i = 0; i < depth; ++i) text += "</D>";
    return text;
}

struct AcceptCase {
    const char* what;
    std::string file;
    std::string folders;
};

TEST(CacheReaderTest, AcceptsTheWritersFormatAndFreeWhiteSpace) {
    const AcceptCase cases[] = {
        {"no folders", kStart + kEnd, ""},
        {"the writer's layout",
         kStart +
             " <D name=\"alpha\">\n  <D name=\"alpha/private\">\n   <N name=\"inner.ext\"/>\n  </D>\n"
             "  <C name=\"first.ext\"/>\n  <U name=\"noextension\"/>\n </D>\n" +
             kEnd,
         "alpha[alpha/private[N:inner.ext] C:first.ext U:noextension]"},
        {"each top-level folder apart", kStart + " <D name=\"a\">\n </D>\n <D name=\"b\">\n </D>\n" + kEnd,
         "a[] | b[]"},
        {"carriage returns and tabs as white space",
         "\r\n\t" + kStart.substr(0, kStart.size() - 1) +
             "\r\n <D\r\n\tname=\"x\">\r\n  <C  name=\"f\"/>\r\n </D>\r\n" + "</Thornfell>\r\n",
         "x[C:f]"},
        {"no white space at all", kStart + "<Dname=\"x\"><Cname=\"f\"/></D></Thornfell>", "x[C:f]"},
        {"an empty name, names without escapes",
         kStart + "<D name=\"\"><C name=\"a&amp;b\"/><U name=\"<x> &\"/></D>" + kEnd, "[C:a&amp;b U:<x> &]"},
        {"files before, between and after subfolders",
         kStart +
             "<D name=\"m\"><C name=\"1\"/><D name=\"m/+p\"></D><N name=\"2\"/><D name=\"m/@c\"></D><U "
             "name=\"3\"/></D>" +
             kEnd,
         "m[m/+p[] m/@c[] C:1 N:2 U:3]"},
        {"a nested folder's last name as its IRI takes it",
         kStart + "<D name=\"m\"><D name=\"m/private/.\"></D><D name=\"m//+p/\"></D></D>" + kEnd,
         "m[m/private/.[] m//+p/[]]"},
        {"any date, and nothing read after the end line",
         "<Thornfell type=\"Path Cache File\" version=\"2.0\" date='whenever'>" + kEnd + "<D name=\"late\">garbage",
         ""},
        {"UTF-8 names", kStart + "<D name=\"caf\xC3\xA9\"><C name=\"\xE2\x82\xAC.tf\"/></D>" + kEnd,
         "caf\xC3\xA9[C:\xE2\x82\xAC.tf]"},
        {"a name that ends in a cut sequence doesn't join the next",
         kStart + "<D name=\"m\"><C name=\"a\xC3\"/><C name=\"\xA9z\"/></D>" + kEnd,
         "m[C:a\xC3 C:\xA9z]"},  // each name's bytes as they were
        {"nesting to the depth limit", kStart + Nested(PathCacheReader::kMaxFolderDepth) + kEnd,
         [] {
             std::string dump;
             for (std::size_t i = 0; i < PathCacheReader::kMaxFolderDepth; ++i) dump += "+p[";
             return dump + std::string(PathCacheReader::kMaxFolderDepth, ']');
         }()},
    };
    for (const auto& c : cases) {
        for (const std::size_t step : kSteps) {
            SCOPED_TRACE(std::string(c.what) + ", step " + std::to_string(step));
            const ReadResult result = Read(c.file, step);
            EXPECT_FALSE(result.rejected);
            EXPECT_EQ(result.folders, c.folders);
        }
    }
    // The reader stops right after the end line.
    EXPECT_EQ(Read(cases[7].file).stoppedAt, static_cast<std::streamoff>(cases[7].file.find(kEnd) + kEnd.size() - 1));
}

// Nesting is followed without the call stack: on a thread with a small stack,
// a file nested to the limit is read, and one nested a million levels is
// refused at the limit.
TEST(CacheReaderTest, DeepNestingNeedsNoDeepStack) {
    struct Reading {
        std::string text;
        std::shared_ptr<PathCacheReader::FolderContents> folder;  // freed on this thread, not the small one
        bool rejected = false;
        std::streamoff stoppedAt = -1;
    };
    Reading deepest, million;
    deepest.text = kStart + Nested(PathCacheReader::kMaxFolderDepth) + kEnd;
    million.text = kStart;
    for (int i = 0; i < 1000000; ++i) million.text += "<D name=\"+p\">";
    const auto read = [](void* argument) -> void* {
        for (Reading* reading : *static_cast<std::array<Reading*, 2>*>(argument)) {
            std::istringstream in(reading->text);
            fl::i18n::codecvt_string_to_ustring converter("UTF-8", true);
            PathCacheReader reader(in, converter);
            try {
                reader.ReadFolders(
                    [&](std::shared_ptr<PathCacheReader::FolderContents> folder) { reading->folder = folder; });
            } catch (const ToolboxCacheWrongFormatException&) {
                reading->rejected = true;
            }
            in.clear();
            reading->stoppedAt = in.tellg();
        }
        return nullptr;
    };
    // A reader that recursed, at some hundreds of bytes a level, would need
    // several times this at the limit.
    std::array<Reading*, 2> readings{&deepest, &million};
    pthread_attr_t small;
    ASSERT_EQ(pthread_attr_init(&small), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&small, 256 * 1024), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &small, read, &readings), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&small);

    EXPECT_FALSE(deepest.rejected);
    std::size_t depth = 0;
    for (const PathCacheReader::FolderContents* folder = deepest.folder.get(); folder;
         folder = folder->subfolders.empty() ? nullptr : &folder->subfolders.front())
        ++depth;
    EXPECT_EQ(depth, PathCacheReader::kMaxFolderDepth);
    EXPECT_TRUE(million.rejected);
    EXPECT_EQ(million.stoppedAt,
              static_cast<std::streamoff>(kStart.size() + 13 * PathCacheReader::kMaxFolderDepth + 2));
}

// A folder's file names share one buffer: they must read back as written,
// short and long, empty and not ASCII, also after the folder has been moved
// about as its parent's list of subfolders grew.
TEST(CacheReaderTest, FileNamesReadBackAfterTheirFoldersMoved) {
    std::string file = kStart + "<D name=\"m\">";
    std::string dump = "m[";
    for (int i = 0; i < 40; ++i) {
        const std::string sub = "m/+p" + std::to_string(i);
        const std::string names[] = {"a", "", "a_rather_long_file_name_" + std::to_string(i) + ".tf",
                                     "\xC3\xA9t\xC3\xA9.tf"};
        file += "<D name=\"" + sub + "\">";
        dump += (i ? " " : "") + sub + "[";
        for (std::size_t n = 0; n < std::size(names); ++n) {
            file += "<N name=\"" + names[n] + "\"/>";
            dump += (n ? " N:" : "N:") + names[n];
        }
        file += "</D>";
        dump += "]";
    }
    file += "<C name=\"last\"/></D>" + kEnd;
    dump += " C:last]";
    for (const std::size_t step : kSteps) {
        SCOPED_TRACE(step);
        const ReadResult result = Read(file, step);
        EXPECT_FALSE(result.rejected);
        EXPECT_EQ(result.folders, dump);
    }
}

// Each file marks its fault with "^": the reader must stop there (at the
// offending byte, or at the end of the input), having handed out exactly the
// folders closed before it.
struct RejectCase {
    const char* what;
    std::string file;
    std::string foldersBefore;
};

TEST(CacheReaderTest, RejectsEverythingElseAtTheFirstFault) {
    const std::string start = kStart;
    const RejectCase cases[] = {
        {"an empty file", "^", ""},
        {"white space only", " \r\n\t^", ""},
        {"a byte order mark", "^\xEF\xBB\xBF" + kStart + kEnd, ""},
        {"another version", "<Thornfell type=\"Path Cache File\" version=\"2.^1\" date=\"x\">" + kEnd, ""},
        {"another type", "<Thornfell type=\"Path ^cache File\" version=\"2.0\" date=\"x\">" + kEnd, ""},
        {"single quotes", "<Thornfell type=^'Path Cache File' version=\"2.0\" date=\"x\">" + kEnd, ""},
        {"another attribute order", "<Thornfell ^version=\"2.0\" type=\"Path Cache File\" date=\"x\">" + kEnd, ""},
        {"no end line", start + "<D name=\"a\"></D>\n^", "a[]"},
        {"the end inside a folder", start + "<D name=\"a\"><C name=\"f\"/>^", ""},
        {"a file at the top level", start + "<^C name=\"f\"/>" + kEnd, ""},
        {"an unknown element in a folder", start + "<D name=\"a\"><^X name=\"f\"/></D>" + kEnd, ""},
        {"a lower-case element", start + "<^d name=\"a\"></d>" + kEnd, ""},
        {"no name attribute", start + "<D ^id=\"a\"></D>" + kEnd, ""},
        {"a name without its closing quotation mark", start + "<D name=\"a></D></Thornfell>^", ""},
        {"the end right after a name's opening quotation mark", start + "<D name=\"a\"><C name=\"^", ""},
        {"white space before >", start + "<D name=\"a\"^ ></D>" + kEnd, ""},
        {"a file line without />", start + "<D name=\"a\"><C name=\"f\"^></D>" + kEnd, ""},
        {"white space in a closing tag", start + "<D name=\"a\"></^ D>" + kEnd, ""},
        {"another closing tag in a folder", start + "<D name=\"a\"></^E>" + kEnd, ""},
        {"a fault in the last line", start + "<D name=\"a\"></D><D name=\"b\"></D></Thornfel^d>", "a[] | b[]"},
        {"a > in the date", "<Thornfell type=\"Path Cache File\" version=\"2.0\" date=\"a>^b\">" + kEnd, ""},
        // A nested folder is a special folder: one of a plain name (or of
        // none, the root itself) is refused just past its name, wherever
        // the file goes on.
        {"a nested folder of a plain name",
         start + "<D name=\"extra\"><D name=\"extra/sub\"^></D></D><D name=\"good\"></D>" + kEnd, ""},
        {"a nested folder named by the root", start + "<D name=\"a\"></D><D name=\"m\"><D name=\"./\"^></D></D>" + kEnd,
         "a[]"},
        {"a nested folder whose last name is ..", start + "<D name=\"m\"><D name=\"m/+p/..\"^></D></D>" + kEnd, ""},
        {"nesting beyond the depth limit",
         [&] {
             std::string text = start;
             for (std::size_t i = 0; i < PathCacheReader::kMaxFolderDepth; ++i) text += "<D name=\"+p\">";
             return text + "<D^ name=\"+p\">";
         }(),
         ""},
    };
    for (const auto& c : cases) {
        std::string file = c.file;
        const std::size_t fault = file.find('^');
        ASSERT_NE(fault, std::string::npos) << c.what;
        file.erase(fault, 1);
        for (const std::size_t step : kSteps) {
            SCOPED_TRACE(std::string(c.what) + ", step " + std::to_string(step));
            const ReadResult result = Read(file, step);
            EXPECT_TRUE(result.rejected);
            EXPECT_EQ(result.folders, c.foldersBefore);
            EXPECT_EQ(result.stoppedAt, static_cast<std::streamoff>(fault));
        }
    }
}

// A caller's stream may throw on failure: a name cut short by the end of the
// input is still the file's fault, not the stream's.
TEST(CacheReaderTest, AStreamThatThrowsOnFailureStillGetsTheFormatFault) {
    for (const std::string& file : {kStart + "<D name=\"", kStart + "<D name=\"a"}) {
        SCOPED_TRACE(file);
        std::istringstream in(file);
        in.exceptions(std::ios::failbit | std::ios::badbit);
        fl::i18n::codecvt_string_to_ustring converter("UTF-8", true);
        PathCacheReader reader(in, converter);
        EXPECT_THROW(reader.ReadFolders([](std::shared_ptr<PathCacheReader::FolderContents>) {}),
                     ToolboxCacheWrongFormatException);
    }
}

}  // namespace
}  // namespace tfsp::test
