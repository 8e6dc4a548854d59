#include "baselib/text/randastr.h"

#include "baselib/time/clock.h"

#include <algorithm>

KLTrandastr::KLTrandastr(const KLTastrc& alphabet)
    : alphabet_(alphabet), generator_(static_cast<std::minstd_rand::result_type>(KLFnow())) {}

KLTastr KLTrandastr::text(int lengthMin, int lengthMax) {
    KLTastr result;
    if (alphabet_.length() == 0) return result;
    const int shortest = std::max(lengthMin, 0);
    for (int left = draw(shortest, std::max(lengthMax, shortest)); left > 0; --left)
        result.append(alphabet_.text()[draw(0, alphabet_.length() - 1)]);
    return result;
}

int KLTrandastr::draw(int min, int max) {
    return std::uniform_int_distribution<int>(min, max)(generator_);
}
