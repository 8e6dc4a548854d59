#include "baselib/print/multiout.h"

#include <pthread.h>
#include <utility>

namespace {

pthread_mutex_t listsLock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t visitorLeft = PTHREAD_COND_INITIALIZER;
unsigned long nextNumber = 0;

class ListsHold {
public:
    ListsHold() { pthread_mutex_lock(&listsLock); }
    ~ListsHold() { pthread_mutex_unlock(&listsLock); }
    ListsHold(const ListsHold&) = delete;
    ListsHold& operator=(const ListsHold&) = delete;
};

} // namespace

// One way through the list. Nodes stay while there is any.
class KLTmultiout::Walk {
public:
    explicit Walk(KLTmultiout& fanOut) : fanOut_(fanOut) {
        const ListsHold hold;
        ++fanOut_.walks_;
    }
    ~Walk() {
        const ListsHold hold;
        --fanOut_.walks_;
        fanOut_.purge();
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // Null at the end.
    KLTout* next() {
        const ListsHold hold;
        do
            node_ = node_ != nullptr ? node_->next : fanOut_.first_;
        while (node_ != nullptr && node_->sink == nullptr);
        return node_ != nullptr ? node_->sink : nullptr;
    }

private:
    KLTmultiout& fanOut_;
    const Node* node_ = nullptr;
};

constinit std::atomic<KLTmultiout*> KLTmultiout::chain_{nullptr};

KLTmultiout::KLTmultiout() {
    const ListsHold hold;
    number_ = nextNumber++;
    nextInChain_ = chain_.exchange(this);
}

// The subclass with its lock is gone already, and so is whoever could use this list.
KLTmultiout::~KLTmultiout() {
    const ListsHold hold;
    leaveChain();
    while (visitors_ > 0)
        pthread_cond_wait(&visitorLeft, &listsLock);
    while (first_ != nullptr)
        delete std::exchange(first_, first_->next);
}

void KLTmultiout::add(KLTout& sink) {
    globalLock();
    {
        const ListsHold hold;
        if (nodeOf(sink) == nullptr) first_ = new Node{&sink, first_};
    }
    globalRelease();
}

void KLTmultiout::remove(const KLTout& sink) {
    globalLock();
    {
        const ListsHold hold;
        if (Node* node = nodeOf(sink)) takeOff(*node);
    }
    globalRelease();
}

void KLTmultiout::removeall() {
    globalLock();
    {
        const ListsHold hold;
        for (Node* node = first_; node != nullptr; node = node->next)
            node->sink = nullptr;
        purge();
    }
    globalRelease();
}

bool KLTmultiout::find(const KLTout& sink) const {
    const ListsHold hold;
    return nodeOf(sink) != nullptr;
}

bool KLTmultiout::off() const {
    const ListsHold hold;
    for (const Node* node = first_; node != nullptr; node = node->next)
        if (node->sink != nullptr) return false;
    return true;
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

int KLTmultiout::oflush(bool all) {
    forEach([all](KLTout& sink) { sink.oflush(all); });
    return 0;
}

// A fan-out's own lock comes before the lists' lock, so the chain is not held meanwhile: each
// fan-out stays while it is visited.
void KLTmultiout::forget(const KLTout& sink) {
    if (chain_.load() == nullptr) return; // as nearly always
    for (KLTmultiout* fanOut = visit(nullptr); fanOut != nullptr; fanOut = visit(fanOut))
        fanOut->remove(sink);
}

// The next fan-out of the chain, which is newest first; of the one before the visit ends.
KLTmultiout* KLTmultiout::visit(KLTmultiout* before) {
    const ListsHold hold;
    KLTmultiout* next = chain_.load();
    if (before != nullptr) {
        while (next != nullptr && next->number_ >= before->number_)
            next = next->nextInChain_;
        --before->visitors_;
        pthread_cond_broadcast(&visitorLeft);
    }
    if (next != nullptr) ++next->visitors_;
    return next;
}

template <class Call>
void KLTmultiout::forEach(Call call) {
    Walk walk(*this);
    while (KLTout* sink = walk.next())
        call(*sink);
}

KLTmultiout::Node* KLTmultiout::nodeOf(const KLTout& sink) const {
    Node* node = first_;
    while (node != nullptr && node->sink != &sink)
        node = node->next;
    return node;
}

void KLTmultiout::takeOff(Node& node) {
    node.sink = nullptr;
    purge();
}

void KLTmultiout::purge() {
    if (walks_ > 0) return;
    for (Node** link = &first_; *link != nullptr;) {
        if ((*link)->sink != nullptr)
            link = &(*link)->next;
        else
            delete std::exchange(*link, (*link)->next);
    }
}

void KLTmultiout::leaveChain() {
    if (chain_.load() == this) {
        chain_.store(nextInChain_);
        return;
    }
    for (KLTmultiout* other = chain_.load(); other != nullptr; other = other->nextInChain_)
        if (other->nextInChain_ == this) {
            other->nextInChain_ = nextInChain_;
            return;
        }
}
