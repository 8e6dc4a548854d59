// Takes any text apart at any delimiters, by words and by lines, and compares with
// std::string.

#include "baselib/text/number.h"
#include "baselib/text/strextr.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

void compareTokens(const std::string& text, const std::string& delimiters, int maxLength) {
    KLTstrextr extractor(text.c_str(), delimiters.c_str());
    KLTastr token;
    std::size_t pos = text.find_first_not_of(delimiters);
    while (pos != std::string::npos) {
        require(extractor.skipDelims());
        const std::size_t end = text.find_first_of(delimiters, pos);
        const std::string expected =
            text.substr(pos, end - pos).substr(0, static_cast<std::size_t>(maxLength));
        require(extractor.extract(token, maxLength) == KLTnumberOk);
        require(token == expected.c_str());
        pos = text.find_first_not_of(delimiters, pos + expected.size());
    }
    require(extractor.extract(token) == KLTnumberEmpty && !extractor.skipDelims());
}

void compareLines(const std::string& text) {
    KLTstrextr extractor(text.c_str());
    std::size_t pos = 0;
    while (pos < text.size()) {
        const std::size_t end = std::min(text.find_first_of("\r\n", pos), text.size());
        require(extractor.extractLine() == text.substr(pos, end - pos).c_str());
        pos = end + (text.compare(end, 2, "\r\n") == 0 ? 2 : 1);
    }
    require(extractor.extractLine() == "");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4) return 0;
    const std::string delimiters = std::string(data, data + 3).c_str();
    std::string text(data + 4, data + size);
    text = text.c_str(); // up to its NUL
    compareTokens(text, delimiters, data[3] % 8 + 1);
    compareLines(text);
    return 0;
}
