// Printing takes nothing from the heap. Counts the requests of this thread: operator new
// ends in malloc too. Not where a sanitizer owns malloc.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

#include "baselib/print/nstream.h"
#include "baselib/print/print.h"
#include "baselib/print/vecprt.h"

#include <cstddef>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace {

// Volatile: the compiler takes malloc for a function that changes no variable.
thread_local volatile int requests = 0;

void noteRequest() { requests = requests + 1; }

} // namespace

extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

void* malloc(size_t size) noexcept {
    noteRequest();
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept {
    noteRequest();
    return __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) noexcept {
    noteRequest();
    return __libc_realloc(memory, size);
}
}

namespace {

template <class Action>
int requestsOf(Action action) {
    const int before = requests;
    action();
    return requests - before;
}

TEST(NoHeap, CounterCounts) {
    std::unique_ptr<int> kept;
    EXPECT_EQ(requestsOf([&] { kept = std::make_unique<int>(1); }), 1);
    void* volatile memory = nullptr;
    EXPECT_EQ(requestsOf([&] {
                  free(memory);
                  memory = malloc(10);
              }),
              1);
    EXPECT_GE(requestsOf([&] { memory = realloc(memory, 100000); }), 1);
    free(memory);
}

TEST(NoHeap, PrintingTakesNothing) {
    using namespace KLNstream;
    static constexpr int words[] = {1, 2, 3};
    EXPECT_EQ(requestsOf([] {
                  KLTprint print(devNull);
                  print << -1 << 1ULL << hex16 << -1LL << bin << -1LL << oct << 1L;
                  print << width(500) << 7 << deca(200) << 7 << rep(1000, '-');
                  print << 0.5 << dbl(30, 'f') << 1e300 << dblw(400, 9, 'e') << -1e-300;
                  print << "text" << KLTastrc("view") << 'c' << true << width(-90) << "field";
                  print << static_cast<const void*>(words) << KLTvecPrt(words, 3, ",", ".", 4);
                  print << cr << crlf << crfld << norm;
              }),
              0);
}

} // namespace

#endif
