// Results as the functions of libc give them.
#pragma once

#include <cerrno>

namespace k4sim {

// A result, or an error number, negative, which goes to errno.
template <typename Result>
Result libc_result(Result result) {
    if (result >= 0) return result;
    errno = static_cast<int>(-result);
    return -1;
}

// The other way round.
template <typename Result>
Result with_error(Result result) {
    return result < 0 ? static_cast<Result>(-errno) : result;
}

} // namespace k4sim
