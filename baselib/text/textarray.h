#pragma once
// A list of texts, printed one after the other.

#include "baselib/text/astr.h"

#include <cstddef>
#include <vector>

class KLTtextarray {
public:
    void add(const KLTastrc& text) { texts_.emplace_back(text); }
    void clr() { texts_.clear(); }
    int count() const { return static_cast<int>(texts_.size()); }
    // 0 <= index < count().
    const KLTastr& operator[](int index) const { return texts_[static_cast<std::size_t>(index)]; }

private:
    std::vector<KLTastr> texts_;
};
