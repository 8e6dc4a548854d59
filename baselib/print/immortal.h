#pragma once
// Global objects that are there before the first static initialiser and after the last
// static destructor.

#include <utility>

// Holds an object that is never destroyed. Declared constinit, with a constexpr constructor
// of T, it is part of the program's data: no initialisation order can come too late for it.
template <class T>
union KLTimmortal {
    template <class... Arguments>
    constexpr explicit KLTimmortal(Arguments&&... arguments)
        : object(std::forward<Arguments>(arguments)...) {}
    constexpr ~KLTimmortal() {}

    T object;
};
