#pragma once
// A fan-out: one sink that hands everything to several.

#include "baselib/print/out.h"

#include <atomic>

// Sinks stay their owners'; one that is destroyed is removed by itself. Calls go to the
// sinks in turn, the one added last first. ochar answers 1 and the others 0 whatever the
// sinks answer.
//
// Sinks may come and go at any time, on any thread, also while they are written to. That no two
// threads write to a sink at once is up to a subclass, which puts a mutex into globalLock() and
// globalRelease().
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
    bool off() const;

    void olock() override;
    void orelease() override;
    int ochar(int c) override;
    int oblock(const void* data, int n) override;
    int ostring(const char* text) override;
    int oflush(bool all) override;
    int ofull() override { return 0; }

    // Around every change of the list, and around a lock of all sinks.
    virtual void globalLock() {}
    virtual void globalRelease() {}

    // A dying sink leaves every fan-out.
    static void forget(const KLTout& sink);

private:
    struct Node {
        KLTout* sink; // null: taken off while the list was walked through
        Node* next;
    };

    class Walk;

    template <class Call>
    void forEach(Call call);
    Node* nodeOf(const KLTout& sink) const;
    void takeOff(Node& node);
    void purge();
    void leaveChain();
    static KLTmultiout* visit(KLTmultiout* before);

    // Of all fan-outs; with the lists below under one lock, which is never held while a sink is
    // called.
    static constinit std::atomic<KLTmultiout*> chain_;

    Node* first_ = nullptr;
    int walks_ = 0;    // through the list
    int visitors_ = 0; // who are about to take a dying sink off it
    unsigned long number_ = 0;
    KLTmultiout* nextInChain_ = nullptr;
};
