// Threads as the program makes them, for tests of the scheduler and the stand-ins.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <utility>

namespace k4sim {

// Runs a body in a thread of its own; joins it in `join` or at its own end.
class ProgramThread {
public:
    explicit ProgramThread(std::function<void()> body) : body_(std::move(body)) {
        EXPECT_EQ(pthread_create(&handle_, nullptr, run, this), 0);
    }
    ~ProgramThread() { join(); }
    ProgramThread(const ProgramThread&) = delete;
    ProgramThread& operator=(const ProgramThread&) = delete;

    pthread_t handle() const { return handle_; }

    // What the thread returned: null, or PTHREAD_CANCELED.
    void* join() {
        void* result = nullptr;
        if (!joined_) {
            EXPECT_EQ(pthread_join(handle_, &result), 0);
        }
        joined_ = true;
        return result;
    }

private:
    static void* run(void* self) {
        static_cast<ProgramThread*>(self)->body_();
        return nullptr;
    }

    std::function<void()> body_;
    pthread_t handle_{};
    bool joined_ = false;
};

// A text that several threads write. The scheduler keeps them apart, but a sanitizer
// rightly wants more than that.
class SharedText {
public:
    void add(char c) {
        pthread_mutex_lock(&mutex_);
        text_ += c;
        pthread_mutex_unlock(&mutex_);
    }
    // Adds it unless it is the last one already.
    void add_once(char c) {
        if (const std::string text = get(); text.empty() || text.back() != c) add(c);
    }
    std::string get() {
        pthread_mutex_lock(&mutex_);
        std::string copy = text_;
        pthread_mutex_unlock(&mutex_);
        return copy;
    }

private:
    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    std::string text_;
};

} // namespace k4sim
