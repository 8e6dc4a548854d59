// Printing takes nothing from the heap. Counts the requests of this thread: operator new
// ends in malloc too. Not where a sanitizer owns malloc.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

#include "baselib/print/nstream.h"
#include "baselib/print/vecprt.h"

#include <gtest/gtest.h>
#include <memory>

// Volatile: the compiler takes malloc for a function that changes no variable.
static thread_local volatile int requests = 0;

extern "C" void* __libc_malloc(size_t size);

extern "C" void* malloc(size_t size) noexcept {
    requests = requests + 1;
    return __libc_malloc(size);
}

namespace {

TEST(NoHeap, PrintingTakesNothing) {
    using namespace KLNstream;
    const int words[] = {1, 2, 3};
    const int before = requests;
    KLTprint print(devNull);
    print << -1LL << bin << -1LL << width(500) << 7 << deca(200) << 7 << rep(1000, '-');
    print << 0.5 << dbl(30, 'f') << 1e300 << dblw(400, 9, 'e') << -1e-300 << width(-90) << "field";
    print << KLTastrc("view") << KLTvecPrt(words, 3, ",", ".", 4) << cr << crlf << crfld << norm;
    EXPECT_EQ(requests, before);
    const auto kept = std::make_unique<int>(1);
    EXPECT_EQ(requests, before + 1) << "what is taken is counted";
}

} // namespace

#endif
