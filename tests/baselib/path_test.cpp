#include "baselib/text/astr.h"

#include <gtest/gtest.h>

TEST(Path, HasFourParts) {
    const struct {
        const char* text;
        const char* dir;
        const char* path;
        const char* name;
        const char* bareName;
        const char* extension;
    } rows[] = {
        {"/usr/lib/a.tar.gz", "/usr/lib", "/usr/lib/", "a.tar.gz", "a.tar", "gz"},
        {"a.so", "", "", "a.so", "a", "so"},
        {"a", "", "", "a", "a", ""},
        {"", "", "", "", "", ""},
        {"/", "/", "/", "", "", ""},
        {"//a", "/", "//", "a", "a", ""},
        {"lib//a", "lib", "lib//", "a", "a", ""},
        {"lib/", "lib", "lib/", "", "", ""},
        {"/etc/.profile.bak", "/etc", "/etc/", ".profile.bak", ".profile", "bak"},
        {"/etc/rc.d/file", "/etc/rc.d", "/etc/rc.d/", "file", "file", ""},
        {"a.", "", "", "a.", "a", ""},
        {"..", "", "", "..", ".", ""},
    };
    for (const auto& row : rows) {
        const KLTastrc text(row.text);
        EXPECT_STREQ(text.pathGetDir().text(), row.dir) << row.text;
        EXPECT_STREQ(text.pathGetPath().text(), row.path) << row.text;
        EXPECT_STREQ(text.pathGetName().text(), row.name) << row.text;
        EXPECT_STREQ(text.pathGetName(false).text(), row.bareName) << row.text;
        EXPECT_STREQ(text.pathGetExt().text(), row.extension) << row.text;
    }
}

TEST(Path, GetsAndLosesDelimiters) {
    const struct {
        const char* text;
        const char* added;
        const char* removed;
        const char* corrected;
    } rows[] = {
        {"", "", "", ""},         {"/", "/", "/", "/"},
        {"///", "///", "/", "/"}, {"a", "a/", "a", "a"},
        {"a/", "a/", "a", "a/"},  {"a\\b\\/c//d///", "a\\b\\/c//d///", "a\\b\\/c//d", "a/b/c/d/"},
        {"\\", "\\/", "\\", "/"},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(KLTastr(row.text).pathAddDelim().text(), row.added) << row.text;
        EXPECT_STREQ(KLTastr(row.text).pathRemDelim().text(), row.removed) << row.text;
        EXPECT_STREQ(KLTastr(row.text).pathCorrDelim().text(), row.corrected) << row.text;
    }
}

TEST(Path, ComparesDirectories) {
    EXPECT_EQ(KLTastrc("/etc/a").pathCompDir("/etc//b"), 0);
    EXPECT_EQ(KLTastrc("/etc/z").pathCompDir("/lib/a"), -1);
    EXPECT_EQ(KLTastrc("/lib/a").pathCompDir("a"), 1);
    EXPECT_NE(KLTastrc("/ETC/a").pathCompDir("/etc/a"), 0);
    EXPECT_EQ(KLTastrc("/ETC/a").pathCompDir("/etc/a", false), 0);
}
