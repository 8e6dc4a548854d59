// The functions that libasound calls are the virtual device's own work.
#pragma once

#include "sim/time/unobserved.h"

namespace k4sim {

// `callback<function>` is `function`, overlooked by ThreadSanitizer.
template <auto function>
struct Callback;

template <typename Result, typename... Arguments, Result (*function)(Arguments...)>
struct Callback<function> {
    static Result call(Arguments... arguments) {
        const Unobserved unobserved;
        return function(arguments...);
    }
};

template <auto function>
inline constexpr auto* callback = &Callback<function>::call;

} // namespace k4sim
