#pragma once
// Ownership of what ALSA allocates.

#include <memory>

template <class T, void (*release)(T*)>
struct KLTalsaRelease {
    void operator()(T* object) const { release(object); }
};

// Null, or an object that `release` frees.
template <class T, void (*release)(T*)>
using KLTalsaOwned = std::unique_ptr<T, KLTalsaRelease<T, release>>;

// Null when there is no memory. allocate: ALSA's function for the kind of object.
template <class Owned, class T = typename Owned::element_type>
Owned KLFalsaMake(int (*allocate)(T**)) {
    T* object = nullptr;
    return Owned(allocate(&object) < 0 ? nullptr : object);
}
