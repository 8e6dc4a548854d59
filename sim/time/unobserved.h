// While one of these lives, ThreadSanitizer overlooks what the calling thread reads and
// writes. Needed around the virtual device's own work: its memory functions are the
// sanitizer's, but the hand-over that keeps its threads apart is not visible to it.
// Without that sanitizer it does nothing.
#pragma once

namespace k4sim {

class Unobserved {
public:
    Unobserved();
    ~Unobserved();
    Unobserved(const Unobserved&) = delete;
    Unobserved& operator=(const Unobserved&) = delete;
};

} // namespace k4sim
