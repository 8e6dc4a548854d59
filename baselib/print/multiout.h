#pragma once
// A fan-out: one sink that hands everything to several.

#include "baselib/print/out.h"

// Sinks stay their owners'; one that is destroyed is removed by itself. Calls go to the
// sinks in turn, the one added last first. ochar answers 1 and the others 0 whatever the
// sinks answer.
//
// No locking of its own: a subclass puts a mutex into globalLock() and globalRelease().
class KLTmultiout : public KLTout {
public:
    KLTmultiout();
    ~KLTmultiout() override;

    // An attached sink is not added twice.
    void add(KLTout& sink);
    void remove(const KLTout& sink);
    void removeall();
    bool find(const KLTout& sink) const;
    // No sink is attached.
    bool off() const { return first_ == nullptr; }

    void olock() override;
    void orelease() override;
    int ochar(int c) override;
    int oblock(const void* data, int n) override;
    int ostring(const char* text) override;
    void oflush(bool all) override;
    int ofull() override { return 0; }

    // Around every change of the list, and around a lock of all sinks.
    virtual void globalLock() {}
    virtual void globalRelease() {}

    // A dying sink leaves every fan-out.
    static void forget(const KLTout& sink);

private:
    struct Node {
        KLTout* sink;
        Node* next;
    };

    template <class Call>
    void forEach(Call call);
    void unlink(const KLTout& sink);
    void leaveChain();

    static constinit KLTmultiout* chain_;

    Node* first_ = nullptr;
    KLTmultiout* nextInChain_;
};
