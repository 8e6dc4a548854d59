#include "baselib/print/multiout.h"

#include <utility>

constinit KLTmultiout* KLTmultiout::chain_ = nullptr;

KLTmultiout::KLTmultiout() : nextInChain_(std::exchange(chain_, this)) {}

// The subclass with its lock is gone already, and so is whoever could use this list.
KLTmultiout::~KLTmultiout() {
    leaveChain();
    while (first_ != nullptr)
        delete std::exchange(first_, first_->next);
}

void KLTmultiout::add(KLTout& sink) {
    globalLock();
    if (!find(sink)) first_ = new Node{&sink, first_};
    globalRelease();
}

void KLTmultiout::remove(const KLTout& sink) {
    globalLock();
    unlink(sink);
    globalRelease();
}

void KLTmultiout::removeall() {
    globalLock();
    while (first_ != nullptr)
        delete std::exchange(first_, first_->next);
    globalRelease();
}

bool KLTmultiout::find(const KLTout& sink) const {
    for (const Node* node = first_; node != nullptr; node = node->next)
        if (node->sink == &sink) return true;
    return false;
}

void KLTmultiout::olock() {
    globalLock();
    forEach([](KLTout& sink) { sink.olock(); });
}

void KLTmultiout::orelease() {
    forEach([](KLTout& sink) { sink.orelease(); });
    globalRelease();
}

int KLTmultiout::ochar(int c) {
    forEach([c](KLTout& sink) { sink.ochar(c); });
    return 1;
}

int KLTmultiout::oblock(const void* data, int n) {
    forEach([data, n](KLTout& sink) { sink.oblock(data, n); });
    return 0;
}

int KLTmultiout::ostring(const char* text) {
    forEach([text](KLTout& sink) { sink.ostring(text); });
    return 0;
}

void KLTmultiout::oflush(bool all) {
    forEach([all](KLTout& sink) { sink.oflush(all); });
}

void KLTmultiout::forget(const KLTout& sink) {
    for (KLTmultiout* fanOut = chain_; fanOut != nullptr; fanOut = fanOut->nextInChain_)
        fanOut->remove(sink);
}

template <class Call>
void KLTmultiout::forEach(Call call) {
    for (const Node* node = first_; node != nullptr; node = node->next)
        call(*node->sink);
}

void KLTmultiout::unlink(const KLTout& sink) {
    for (Node** link = &first_; *link != nullptr; link = &(*link)->next) {
        if ((*link)->sink != &sink) continue;
        delete std::exchange(*link, (*link)->next);
        return;
    }
}

void KLTmultiout::leaveChain() {
    for (KLTmultiout** link = &chain_; *link != nullptr; link = &(*link)->nextInChain_) {
        if (*link != this) continue;
        *link = nextInChain_;
        return;
    }
}
