#pragma once
// A thread record for tests: its body is any callable.

#include "baselib/thread/thread.h"

#include <functional>
#include <utility>

class ThreadBody : public KLTpthreadBase {
public:
    explicit ThreadBody(std::function<void()> body, const char* name = "body")
        : KLTpthreadBase(name), body_(std::move(body)) {}
    void threadFuncOwn() override { body_(); }

private:
    std::function<void()> body_;
};

// Runs body on a thread of its own, to its end.
inline void onOtherThread(std::function<void()> body) {
    ThreadBody thread(std::move(body), "other");
    thread.run();
    thread.waitend();
}
