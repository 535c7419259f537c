// The session's host commands, called with host arrays:
//   packages-after STAMP   the folders that the packages installed after STAMP
//                          put at the front and at the back of the path
// A message the command raises is reported like the manager's messages.
#include "HostArrays.hpp"
#include "ScriptSession.hpp"

#include "tfsearch_path/HostCommands.hpp"

#include <charconv>

namespace tfpath {

namespace {

std::uint64_t ParseStamp(const std::string& word) {
    std::uint64_t stamp = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), stamp);
    if (error != std::errc() || end != word.data() + word.size())
        throw SessionError("packages-after: '" + word + "' is not an install stamp");
    return stamp;
}

void PrintList(ScriptSession& session, const char* label, const qvArray_tag* folders) {
    const std::string text = TextOf(folders);
    session.out() << label << (text.empty() ? "" : " ") << text << "\n";
}

void PackagesAfter(ScriptSession& session, const std::vector<std::string>& words) {
    RefuseOptions(words, "packages-after");
    if (words.size() != 1) throw SessionError("usage: packages-after STAMP");
    const auto stamp = matrix::createScalar(ParseStamp(words[0]));
    const qvArray_tag* inputs[] = {stamp.get()};
    matrix::unique_array_ptr outputs[2];
    try {
        Thornfell::PathManagement::GetPathForPackagesInstalledAfter(2, outputs, 1, inputs);
    } catch (const foundation::core::except::MessageException& e) {
        session.Report(e.getMessageID());
        return;
    }
    PrintList(session, "front:", outputs[0].get());
    PrintList(session, "back:", outputs[1].get());
}

}  // namespace

void AddHostSessionCommands(SessionCommandTable& table) {
    table["packages-after"] = {PackagesAfter,
                               {{"packages-after STAMP",
                                 "folders of the packages installed after STAMP (--feature zpm)"}}};
}

}  // namespace tfpath
