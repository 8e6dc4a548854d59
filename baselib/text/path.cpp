// KLTastrc and KLTastr: paths.

#include "baselib/text/astr.h"
#include "baselib/text/astr_node.h"

#include <algorithm>

namespace {

constexpr char delimiter = '/';
constexpr const char* delimiters = "/";

// Where the name begins: behind the last delimiter.
int nameStart(const KLTastrc& path) { return path.findChrRev(delimiters) + 1; }

// Where the "." of the extension stands; the end of the path when there is none.
int extensionStart(const KLTastrc& path) {
    const int dot = path.findChrRev(".");
    return dot > nameStart(path) ? dot : path.length();
}

} // namespace

KLTastr KLTastrc::pathGetDir() const { return pathGetPath().pathRemDelim(); }

KLTastr KLTastrc::pathGetPath() const { return left(nameStart(*this)); }

KLTastr KLTastrc::pathGetName(bool withExtension) const {
    const int start = nameStart(*this);
    return substr(start, (withExtension ? length_ : extensionStart(*this)) - start);
}

KLTastr KLTastrc::pathGetExt() const { return substr(extensionStart(*this)).delN(0, 1); }

int KLTastrc::pathCompDir(const KLTastrc& other, bool caseSensitive) const {
    return pathGetDir().compare(other.pathGetDir(), caseSensitive);
}

KLTastr& KLTastr::pathAddDelim() {
    if (length_ > 0 && text_[length_ - 1] != delimiter) append(delimiter);
    return *this;
}

KLTastr& KLTastr::pathRemDelim() {
    // One past the last other character; the root keeps its delimiter.
    const int end = findChrOtherRev(delimiters) + 1;
    return dellast(length_ - std::max(end, std::min(length_, 1)));
}

KLTastr& KLTastr::pathCorrDelim() {
    replace('\\', delimiter);
    if (findStr("//") < 0) return *this;
    char* const first = cleanCopy(length_).node_->text();
    char* const end = std::unique(first, first + length_,
                                  [](char a, char b) { return a == delimiter && b == delimiter; });
    return dellast(length_ - static_cast<int>(end - first));
}
