// Strings, of one line of the panel and of a page of text.

#include "table.h"

#include "baselib/text/astr.h"
#include "baselib/text/strextr.h"

#include <cstring>
#include <string>

namespace {

// Volatile: their lengths are not known before.
const char* volatile shortText = "Missing USBs: 1"; // as much as a std::string holds in itself
const char* volatile longText = "Check for loopback audio, then plug it in";
constexpr int appends = 100;
constexpr int pageLines = 80;
constexpr const char* pageLine = "a line of some fifty characters, as a log has it\n";

// A page with a word behind it that is nowhere else.
std::string makePage() {
    std::string page;
    for (int line = 0; line < pageLines; ++line)
        page += pageLine;
    return page + "{needle}";
}

const std::string page = makePage();
const std::string samePage = page;
const KLTastr ownPage(page.c_str());
const KLTastr sameOwnPage(page.c_str());

std::string replaced(const std::string& text, const std::string& from, const std::string& to) {
    std::string result;
    size_t start = 0;
    for (size_t pos = text.find(from); pos != std::string::npos; pos = text.find(from, start)) {
        result.append(text, start, pos - start).append(to);
        start = pos + from.size();
    }
    return result.append(text, start);
}

size_t charactersOfLines(const std::string& text) {
    size_t characters = 0;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line(text, start, end - start);
        characters += line.size();
        start = end + 1;
    }
    return characters;
}

int charactersOfLines(const KLTastr& text) {
    KLTstrextr lines(text);
    int characters = 0;
    for (int line = 0; line <= pageLines; ++line)
        characters += lines.extractLine().length();
    return characters;
}

void addMaking(Table& table) {
    table.compare(
        "string of 15 characters from char*", 2, "std::string",
        [] { keep(KLTastr(shortText).text()); }, [] { keep(std::string(shortText).data()); });
    table.compare(
        "string of 41 characters from char*", 2, "std::string",
        [] { keep(KLTastr(longText).text()); }, [] { keep(std::string(longText).data()); });
    table.compare(
        "copy of 41 characters into an own node", 2, "std::string",
        [text = KLTastr(longText)] { keep(KLTastr(static_cast<const KLTastrc&>(text)).text()); },
        [text = std::string(longText)] { keep(std::string(text).data()); });
    table.compare(
        "a character appended 100 times", 1.5, "std::string",
        [] {
            KLTastr text;
            for (int i = 0; i < appends; ++i)
                text.append('x');
            keep(text.text());
        },
        [] {
            std::string text;
            for (int i = 0; i < appends; ++i)
                text.push_back('x');
            keep(text.data());
        });
    table.compare(
        "8 characters appended 100 times", 2, "std::string",
        [] {
            KLTastr text;
            for (int i = 0; i < appends; ++i)
                text.append("12345678", 8);
            keep(text.text());
        },
        [] {
            std::string text;
            for (int i = 0; i < appends; ++i)
                text.append("12345678", 8);
            keep(text.data());
        });
    static volatile long long number = 201903041;
    table.compare(
        "itos of 9 digits", 3, "std::to_string",
        [] { keep(KLTastr().itos(static_cast<long long>(number)).text()); },
        [] { keep(std::to_string(static_cast<long long>(number)).data()); });
}

void addSearching(Table& table) {
    table.compare(
        "findStr at the end of 4 KB", 1.2, "memmem", [] { keep(ownPage.findStr("{needle}")); },
        [] { keep(memmem(page.data(), page.size(), "{needle}", 8)); });
    table.compare(
        "findChr of a set at the end of 4 KB", 1.5, "strpbrk",
        [] { keep(ownPage.findChr("{}[]")); }, [] { keep(strpbrk(page.data(), "{}[]")); });
    table.compare(
        "replaceAll of 80 words in 4 KB", 1.5, "std::string find, append",
        [] {
            KLTastr text(ownPage);
            keep(text.replaceAll("fifty", "5 * 10"));
        },
        [] { keep(replaced(page, "fifty", "5 * 10")); });
    table.compare(
        "compare of equal 4 KB", 2, "std::string", [] { keep(ownPage.compare(sameOwnPage)); },
        [] { keep(page.compare(samePage)); });
    table.compare(
        "lines of 4 KB", 2, "std::string find", [] { keep(charactersOfLines(ownPage)); },
        [] { keep(charactersOfLines(page)); });
}

} // namespace

void addTextRows(Table& table) {
    addMaking(table);
    addSearching(table);
}
