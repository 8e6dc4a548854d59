#include "grc/geometry.h"

#include <algorithm>

namespace {

GRCrect spanning(long long left, long long top, long long right, long long bottom) {
    return {{static_cast<int>(left), static_cast<int>(top)},
            {static_cast<int>(right - left), static_cast<int>(bottom - top)}};
}

} // namespace

GRCrect intersection(const GRCrect& a, const GRCrect& b) {
    if (a.empty() || b.empty()) return {};
    const long long left = std::max(a.position.x, b.position.x);
    const long long top = std::max(a.position.y, b.position.y);
    const long long right = std::min(a.right(), b.right());
    const long long bottom = std::min(a.bottom(), b.bottom());
    if (right <= left || bottom <= top) return {};
    return spanning(left, top, right, bottom);
}

GRCrect bounding(const GRCrect& a, const GRCrect& b) {
    if (a.empty()) return b;
    if (b.empty()) return a;
    return spanning(std::min(a.position.x, b.position.x), std::min(a.position.y, b.position.y),
                    std::max(a.right(), b.right()), std::max(a.bottom(), b.bottom()));
}
