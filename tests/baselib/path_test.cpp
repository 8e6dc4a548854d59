#include "baselib/text/astr.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>

namespace {

std::string withoutEnd(const std::string& path) {
    return std::regex_replace(path, std::regex("(.)/+$"), "$1");
}

// A path and all longer ones.
void comparePaths(const std::string& text, int longest) {
    SCOPED_TRACE(text);
    const KLTastrc path(text.c_str());
    const std::filesystem::path expected(text);
    const std::string name = expected.filename();
    const std::string directory = text.substr(0, text.size() - name.size());
    EXPECT_EQ(path.pathGetName(), name.c_str());
    EXPECT_EQ(path.pathGetPath(), directory.c_str());
    EXPECT_EQ(path.pathGetDir(), withoutEnd(directory).c_str());
    // Only for us the second "." begins an (empty) extension.
    EXPECT_EQ(path.pathGetName(false), name == ".." ? "." : expected.stem().c_str());
    EXPECT_EQ(KLTastr(".").append(path.pathGetExt()),
              expected.has_extension() ? expected.extension().c_str() : ".");
    const std::string added = std::regex_replace(text, std::regex("([^/])$"), "$1/");
    EXPECT_EQ(KLTastr(path).pathAddDelim(), added.c_str());
    EXPECT_EQ(KLTastr(path).pathRemDelim(), withoutEnd(text).c_str());
    const std::string corrected = std::regex_replace(text, std::regex(R"([/\\]+)"), "/");
    EXPECT_EQ(KLTastr(path).pathCorrDelim(), corrected.c_str());
    for (const char c : {'a', '.', '/', '\\'})
        if (longest > 0) comparePaths(text + c, longest - 1);
}

} // namespace

TEST(Path, IsTakenApartAsByStdFilesystem) { comparePaths("", 5); }

TEST(Path, ComparesDirectories) {
    EXPECT_EQ(KLTastrc("/etc/a").pathCompDir("/etc//b"), 0);
    EXPECT_EQ(KLTastrc("/etc/z").pathCompDir("/lib/a"), -1);
    EXPECT_EQ(KLTastrc("/lib/a").pathCompDir("a"), 1);
    EXPECT_NE(KLTastrc("/ETC/a").pathCompDir("/etc/a"), 0);
    EXPECT_EQ(KLTastrc("/ETC/a").pathCompDir("/etc/a", false), 0);
}
