#pragma once
// Runs a member function of an object on a thread of its own.

#include "baselib/thread/thread.h"

// The object must outlive the thread: ask it to end and call waitend() first.
template <class T>
class KLTpthreadT : public KLTpthreadBase {
public:
    using Function = void (T::*)();

    // What the next run() runs. A null function: the thread ends at once.
    void bind(T* object, Function function) {
        function_ = function;
        object_ = object;
    }

    void threadFuncOwn() override {
        if (function_) (object_->*function_)();
    }

private:
    Function function_ = nullptr;
    T* object_ = nullptr;
};
